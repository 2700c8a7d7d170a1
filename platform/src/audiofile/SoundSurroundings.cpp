#include "audiofile/SoundSurroundings.h"

#include <algorithm>

namespace orv::audiofile {

void SoundSurroundings::noteSound(ChunkWalker& walker, std::int64_t dataStart) {
  hasSound_ = true;
  soundBody_ = walker.chunk().body;
  dataStart_ = dataStart;
  soundEnd_ = walker.chunk().end();
  behindSound_ = std::min(walker.following(), fileSize_);
  tailStart_ = behindSound_;
  chunksEnd_ = behindSound_;
}

void SoundSurroundings::noteOther(ChunkWalker& walker) {
  const Chunk& chunk = walker.chunk();
  const bool isFiller = chunk.id == kFillerChunk && chunk.size == chunk.declaredSize;
  chunksEnd_ = std::min(walker.following(), fileSize_);
  if (hasSound_ && isFiller && chunk.header == tailStart_) {
    tailStart_ = chunksEnd_;
  }
  lastFiller_ = hasSound_ && isFiller && chunksEnd_ == fileSize_ ? chunk.header : -1;
}

Layout SoundSurroundings::layout(std::int64_t dataBytes, std::int64_t declaredFormEnd) const {
  Layout layout;
  layout.soundBody = soundBody_;
  layout.dataStart = dataStart_;
  layout.dataBytes = dataBytes;
  layout.soundEnd = soundEnd_;
  layout.fileEnd = fileSize_;
  layout.gapStart = behindSound_;
  layout.tailStart = tailStart_;
  layout.tailEnd = fileSize_;
  if (lastFiller_ >= tailStart_) {
    layout.tailEnd = lastFiller_;
  }
  if (layout.tailStart == layout.tailEnd) {
    // Nothing to keep, so a filler is of no use either.
    layout.tailStart = layout.gapStart;
    layout.tailEnd = layout.gapStart;
  }
  const bool isPlausible = declaredFormEnd >= layout.tailStart && declaredFormEnd <= layout.tailEnd;
  layout.formEnd = isPlausible ? declaredFormEnd : std::clamp(chunksEnd_, layout.tailStart, layout.tailEnd);
  return layout;
}

bool isUnfinished(ChunkWalker& walker, std::int64_t fileSize) {
  const std::int64_t end = walker.chunk().end();
  return end < fileSize && !walker.isChunkAt(end) && !walker.isChunkAt(end + 1);
}

}  // namespace orv::audiofile
