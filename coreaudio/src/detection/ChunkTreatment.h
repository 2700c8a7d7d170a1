#pragma once

#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "detection/ChunkRelay.h"

namespace orv {

/// What is done to a file's audio on its way into another file, a chunk at a time. One thread at a time.
class ChunkTreatment {
 public:
  ChunkTreatment() = default;
  ChunkTreatment(const ChunkTreatment&) = delete;
  ChunkTreatment& operator=(const ChunkTreatment&) = delete;
  virtual ~ChunkTreatment() = default;

  /// Bytes of the source in a full chunk: whole frames, one at least.
  virtual std::uint32_t chunkBytes() const = 0;
  /// Bytes that a chunk becomes at most.
  virtual std::uint32_t treatedBytes() const = 0;

  /// `treated` has room for `treatedBytes`. What `chunk` holds afterwards is not defined.
  virtual OSStatus treat(AudioChunk& chunk, AudioChunk& treated) = 0;
  /// At the end of the source: what is still inside; to be called until it makes 0 bytes.
  virtual OSStatus drain(AudioChunk& treated) = 0;
};

using FormatPointer = std::shared_ptr<OrvAudioStreamBasicDescription>;

/// What takes audio from one format into another, through the processor unless that is null. Null where the formats
/// can't be converted. Throws `std::bad_alloc`.
std::unique_ptr<ChunkTreatment> makeTreatment(const FormatPointer& source, const FormatPointer& destination,
                                              const std::shared_ptr<OrvAudioProcessor>& processor);

}  // namespace orv
