#include "OrvCoreAudio/OrvAudioDeviceDelegate.h"

OrvInputStreamFormatDelegate::~OrvInputStreamFormatDelegate() = default;
OrvOutputStreamFormatDelegate::~OrvOutputStreamFormatDelegate() = default;
OrvInputDataSourceDelegate::~OrvInputDataSourceDelegate() = default;
OrvOutputDataSourceDelegate::~OrvOutputDataSourceDelegate() = default;
OrvInputVolumeDelegate::~OrvInputVolumeDelegate() = default;
OrvOutputVolumeDelegate::~OrvOutputVolumeDelegate() = default;
