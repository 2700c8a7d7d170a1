#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvPlatform/Export.h"

/// Single fields of the format that a device runs with now. A device class takes them on by deriving from this one and
/// answering `actualStreamFormat_isInput`.
///
/// `isInput` selects the input or the output section. Where the device's format can't be read every field is 0 and the
/// name is "Unknown format".
class ORV_API OrvAudioDeviceStreamDefaults {
 public:
  virtual ~OrvAudioDeviceStreamDefaults();

  /// The format of `channel` (0: the device as a whole); null or all zeros where it can't be read.
  virtual std::shared_ptr<OrvAudioStreamBasicDescription> actualStreamFormat_isInput(std::uint32_t channel,
                                                                                     bool isInput) const = 0;

  double sampleRate(bool isInput) const;  ///< Hz
  std::uint32_t formatID(bool isInput) const;
  std::string formatIDName(bool isInput) const;
  std::uint32_t formatFlags(bool isInput) const;
  std::uint32_t bytesPerPacket(bool isInput) const;
  std::uint32_t framesPerPacket(bool isInput) const;
  std::uint32_t bytesPerFrame(bool isInput) const;
  std::uint32_t channelsPerFrame(bool isInput) const;
  std::uint32_t bitsPerChannel(bool isInput) const;

 private:
  std::shared_ptr<OrvAudioStreamBasicDescription> defaultFormat(bool isInput) const;
};
