#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

class OrvAudioDevice;

/// One stream of a device: a group of channels that go one way. Its properties are read anew each time; a read that
/// fails gives 0, an all-zero format or an empty list. Thread-safe; not real-time safe.
class ORV_API OrvAudioStream : public OrvObject {
 public:
  /// Keeps the device. Without one the stream has no device and the ID 0.
  static std::shared_ptr<OrvAudioStream> initWithAudioDevice_streamID(const std::shared_ptr<OrvAudioDevice>& device,
                                                                      AudioStreamID streamID);

  std::shared_ptr<OrvAudioDevice> owningDevice() const { return _owningDevice; }
  AudioDeviceID owningDeviceID() const;
  AudioStreamID streamID() const { return _streamID; }
  /// The device's channel, counted from 1, that is the stream's first.
  std::uint32_t startingChannel() const;
  std::uint32_t streamDirection() const;  ///< 1: input, 0: output
  std::uint32_t terminalType() const;
  /// Channels of the device's whole section, not of this stream alone.
  std::uint32_t numberOfChannels() const;
  std::shared_ptr<OrvAudioStreamBasicDescription> physicalFormat() const;
  /// A sample rate of 0 stands for any rate.
  std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> physicalFormats() const;
  /// `physicalFormats` with each format of any rate replaced by one for every 25 Hz of the device's nominal rates,
  /// behind the others. The ranges of a device are not checked: a list of more than a million formats is cut there and
  /// logged.
  std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> expandedPhysicalFormats() const;

 protected:
  OrvAudioStream() = default;

 private:
  std::shared_ptr<OrvAudioDevice> _owningDevice;
  AudioStreamID _streamID = 0;
};
