#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/Export.h"

/// Names for what the platform says in codes. Class operations only. Thread-safe.
class ORV_API OrvAudioDeviceUtils {
 public:
  OrvAudioDeviceUtils() = delete;

  /// Display name of a format ID: "Linear PCM"; "Unknown format" for one without a name.
  static std::string formatNameForID(std::uint32_t formatID);
};
