#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvObject.h"

/// The framework's own processor: a gain. 1.0 to begin with, and not limited: a gain above 1.0 may drive samples past
/// full scale.
///
/// Gain: thread-safe and real-time safe; it takes effect with the block that follows. Processing: real-time safe, one
/// thread at a time. Without a frame count there are no frames.
class ORV_API OrvSoftwareVolumeControl : public OrvObject, public OrvAudioProcessor {
 public:
  static std::shared_ptr<OrvSoftwareVolumeControl> init();

  /// The factor, as it is.
  void setVolumeScalar(float scalar) { volumeSetting.store(scalar, std::memory_order_relaxed); }
  float volumeScalar() const { return volumeSetting.load(std::memory_order_relaxed); }
  /// 10^(dB/20): 0 dB is 1.0, minus infinity 0.
  void setVolumeDecibels(float decibels);

  void reset() override {}

  /// Interleaved samples. Always true. `output` may be `input`.
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames) override;
  /// One buffer a channel. Always true, without channels too. An output may be the input of the same channel.
  bool processAudio_outputBuffer_numChannels_numberOfFrames(const float* const* inputs, float* const* outputs,
                                                            std::uint32_t channels,
                                                            const std::uint32_t* numberOfFrames) const;
  /// Interleaved samples, in place.
  void processAudio_numChannels_numberOfFrames(float* samples, std::uint32_t channels,
                                               const std::uint32_t* numberOfFrames) const;

 protected:
  OrvSoftwareVolumeControl() = default;

 private:
  std::atomic<float> volumeSetting{1.0F};
};
