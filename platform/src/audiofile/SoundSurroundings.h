#pragma once

#include <cstdint>

#include "audiofile/ChunkWalker.h"
#include "audiofile/Container.h"

namespace orv::audiofile {

/// Notes, while a container walks over its chunks, what lies behind the sound chunk, and works out the file's layout.
class SoundSurroundings {
 public:
  explicit SoundSurroundings(std::int64_t fileSize) : fileSize_(fileSize) {}

  /// The walker stands on the sound chunk, whose audio begins at `dataStart`.
  void noteSound(ChunkWalker& walker, std::int64_t dataStart);
  /// The walker stands on any other chunk.
  void noteOther(ChunkWalker& walker);

  bool hasSound() const { return hasSound_; }
  /// Bytes of the sound chunk that may be audio.
  std::int64_t audioRoom() const { return soundEnd_ - dataStart_; }

  /// `declaredFormEnd`: by the header; where it can't be right the last chunk's end takes its place.
  Layout layout(std::int64_t dataBytes, std::int64_t declaredFormEnd) const;

 private:
  const std::int64_t fileSize_;
  bool hasSound_ = false;
  std::int64_t soundBody_ = 0;
  std::int64_t dataStart_ = 0;
  std::int64_t soundEnd_ = 0;
  std::int64_t behindSound_ = 0;  // where the next chunk begins, or would
  std::int64_t tailStart_ = 0;    // the same without our filler
  std::int64_t chunksEnd_ = 0;    // where the walk is now
  std::int64_t lastFiller_ = -1;  // begin of our filler when it is the last thing in the file
};

/// Whether a recording program was ended before it filled in the size of the sound chunk the walker stands on: it
/// claims to hold no audio, but what follows is no chunk. The audio then reaches to the end of the file.
bool isUnfinished(ChunkWalker& walker, std::int64_t fileSize);

}  // namespace orv::audiofile
