#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"

OrvCoreAudioIOSubscriber::~OrvCoreAudioIOSubscriber() = default;
