#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvPlatform/ConditionLock.h"
#include "playback/LiveValue.h"

/// The one block that is on its way from the input to the output, and the room to treat it in.
class HandOff {
 public:
  /// No block is larger than what a device may be believed: 64 MiB.
  static constexpr std::uint32_t kMostBytes = 1U << 26;

  explicit HandOff(std::uint32_t bytes);

  /// Bytes of the largest block.
  std::uint32_t bufferLength() const { return bufferLength_; }

  /// Conditions: 0 empty, the input may write; 1 full, the output may read.
  static constexpr std::int32_t kEmpty = 0;
  static constexpr std::int32_t kFull = 1;
  orv::ConditionLock bufferLock{kEmpty};

  // By whoever holds the lock.
  std::vector<float> playThroughBuffer;
  std::uint32_t filled = 0;  // bytes

  // By the output.
  std::vector<float> mixBuffer;
  std::vector<float> spareBuffer;  // where the input may fill `playThroughBuffer` again already

 private:
  const std::uint32_t bufferLength_;
};

/// The rate converter, used such that nothing allocates or logs in a cycle.
class MonitorConverter {
 public:
  /// Null when the formats can't be converted.
  static std::shared_ptr<MonitorConverter> make(const std::shared_ptr<OrvAudioStreamBasicDescription>& source,
                                                const std::shared_ptr<OrvAudioStreamBasicDescription>& destination);

  /// Forgets what was converted, and converts silence in blocks of `largest` bytes and of `usual` bytes until the
  /// resampler's queues have the size that they keep: they grow with what passes through them, a few blocks late.
  void prepare(std::uint32_t largest, std::uint32_t usual);

  /// Converts as much of `inputBytes` as `capacity` has room for. Returns the bytes produced. Real-time safe.
  std::uint32_t convert(const float* input, std::uint32_t inputBytes, float* output, std::uint32_t capacity);

 private:
  std::shared_ptr<OrvAudioConverter> sampleRateConverter_;
  std::uint32_t sourceFrameBytes_ = 0;
  std::uint32_t destinationFrameBytes_ = 0;
  double ratio_ = 1;  // frames out for a frame in
};

/// All that a cycle works with. The objects in it are its own except that the buffers pass from one path to the next.
struct MonitorPath {
  std::shared_ptr<OrvAudioDevice> inputDevice;
  std::shared_ptr<OrvAudioDevice> outputDevice;
  std::shared_ptr<MonitorConverter> sampleRateConverter;
  std::shared_ptr<OrvAudioProcessor> audioProcessor;
  std::shared_ptr<OrvSoftwareVolumeControl> volumeControl;
  std::shared_ptr<HandOff> handOff;

  /// Leaves an input block for the output, unless one waits there. Real-time safe.
  void takeIn(const AudioBuffer& input) const noexcept;
  /// Fills an output block with the one that waits, or else with silence. Real-time safe.
  void giveOut(const AudioBuffer& output) const noexcept;

 private:
  void treat(const AudioBuffer& output) const noexcept;
};

class MonitorPaths : public LiveValue<MonitorPath> {
 public:
  using LiveValue::LiveValue;
};
