#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioChannelLayout.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvPlatform/Export.h"

class OrvAudioDevice;
class OrvAudioStream;

/// Devices, streams, formats and layouts as text of several lines, for diagnostics. Class operations only. For null
/// the text is empty. Thread-safe.
class ORV_API OrvAudioDeviceInfoOutput {
 public:
  OrvAudioDeviceInfoOutput() = delete;

  /// Identity and abilities.
  static std::string printGlobalDeviceInfo(const std::shared_ptr<OrvAudioDevice>& device);
  /// One section: streams, formats, buffering, sources, rates, volume.
  static std::string printDirectionalDeviceInfo_isInput(const std::shared_ptr<OrvAudioDevice>& device, bool isInput);
  static std::string printStreamInfo(const std::shared_ptr<OrvAudioStream>& stream);
  /// One line for each field.
  static std::string printStreamBasicInfo(const std::shared_ptr<OrvAudioStreamBasicDescription>& format);
  /// One line for each flag that is set among the low byte's six: two tabs, its name, a newline.
  static std::string printStreamFormatFlagNames(std::uint32_t formatFlags);
  static std::string printChannelLayoutInfo(const OrvAudioChannelLayout& layout);
};
