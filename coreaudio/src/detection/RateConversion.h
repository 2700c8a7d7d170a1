#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "detection/ParallelTasks.h"

namespace orv {

/// Changes the rate of a file's audio, a chunk at a time and its channels beside each other:
///
///                                       ┌► channel 0 ─► resampled ┐
///   source samples ─► floats, as few ───┤                         ├─► floats ─► samples of the new file
///                     channels as go    └► channel 1 ─► resampled ┘
///
/// The floats have 64 bits where 32 would not hold every sample of both files, and are then resampled in the best
/// quality that there is; otherwise with errors 130 dB below full scale. One thread at a time.
class RateConversion {
 public:
  using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;

  /// Null where the formats can't be converted. Throws `std::bad_alloc`.
  static std::unique_ptr<RateConversion> make(const Format& source, const Format& destination);

  /// Bytes of the source in a full chunk: whole frames.
  std::uint32_t chunkBytes() const { return chunkBytes_; }
  /// Bytes that a chunk becomes at most.
  std::uint32_t convertedBytes() const;

  /// Converts a chunk of whole frames. `output` has room for `convertedBytes`; `*outputSize` gets the bytes made.
  OSStatus convert(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize);
  /// What is still inside at the end of the source; to be called until it makes 0 bytes.
  OSStatus drain(void* output, std::uint32_t* outputSize);

 private:
  /// A channel on its way.
  struct Lane {
    std::shared_ptr<OrvAudioConverter> resampler;
    std::vector<std::byte> input;
    std::vector<std::byte> output;
    std::uint32_t made = 0;  ///< bytes in `output`
    OSStatus status = noErr;
  };

  explicit RateConversion(std::uint32_t channels) : lanes_(channels), tasks_(channels) {}
  bool prepare(const OrvAudioStreamBasicDescription& source, double toRate);
  void take(std::size_t channel, std::size_t frames);  ///< out of `floats_` into the channel's lane
  void giveBack(std::size_t frames);                   ///< from all lanes into `resampled_`
  OSStatus gather(void* output, std::uint32_t* outputSize);

  std::shared_ptr<OrvAudioConverter> toFloat_;
  std::shared_ptr<OrvAudioConverter> fromFloat_;
  std::uint32_t sampleBytes_ = 0;  ///< of a float
  std::uint32_t chunkBytes_ = 0;
  std::vector<std::byte> floats_;     ///< interleaved, at the rate of the source
  std::vector<std::byte> resampled_;  ///< interleaved, at the new rate
  std::vector<Lane> lanes_;
  ParallelTasks tasks_;
};

}  // namespace orv
