#pragma once

#include <string>

#include "OrvPlatform/AudioHardware.h"

namespace orv::pipewire {

/// What a device is known by in this process. The server's own IDs are given to others once an object is gone.
struct DeviceIDs {
  AudioDeviceID device;
  AudioStreamID inputStream;
  AudioStreamID outputStream;
};

/// The same for the same UID, as long as the process lives. Thread-safe.
DeviceIDs idsOf(const std::string& uid);

}  // namespace orv::pipewire
