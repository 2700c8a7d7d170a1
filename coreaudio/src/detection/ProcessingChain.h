#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"

namespace orv {

/// Takes a file's audio through a processor, a chunk at a time:
///
///   file samples ─► 32-bit float ─► processor ─► float ─► samples of the new file
///
/// The processor sees the channels and the rate of the source. One thread at a time.
class ProcessingChain {
 public:
  using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;

  /// What file data a chunk holds at most: with the floats made of it, it stays in a second-level cache.
  static constexpr std::uint32_t kMostChunkBytes = 0x18000;
  /// What `process` answers when the processor says no.
  static constexpr OSStatus kProcessorSaidNo = statusCC("proc");

  /// Null where the formats can't be converted to floats or back. Throws `std::bad_alloc`.
  static std::unique_ptr<ProcessingChain> make(const Format& source, const Format& destination,
                                               std::shared_ptr<OrvAudioProcessor> processor);

  /// Bytes of source data in a full chunk: whole frames, one at least.
  std::uint32_t chunkBytes() const { return chunkBytes_; }
  /// Bytes that a full chunk becomes.
  std::uint32_t processedBytes() const;

  /// Processes a chunk of whole frames. `output` has room for `processedBytes`; `*outputSize` gets the bytes made.
  OSStatus process(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize);
  /// What a change of the rate still holds at the end of the source; to be called until it makes 0 bytes.
  OSStatus drain(void* output, std::uint32_t* outputSize);

 private:
  ProcessingChain() = default;

  std::shared_ptr<OrvAudioProcessor> processor_;
  std::shared_ptr<OrvAudioConverter> toFloat_;
  std::shared_ptr<OrvAudioConverter> fromFloat_;
  std::uint32_t channels_ = 0;
  std::uint32_t chunkBytes_ = 0;
  std::vector<float> samples_;
  std::vector<float> processed_;
};

/// One line on why a chunk could not be processed.
std::string describeProcessing(OSStatus status);

}  // namespace orv
