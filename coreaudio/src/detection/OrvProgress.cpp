#include "OrvCoreAudio/OrvProgress.h"

OrvProgressDelegate::~OrvProgressDelegate() = default;
OrvAutoDefineProgressDelegate::~OrvAutoDefineProgressDelegate() = default;
