#include "detection/ChunkRelay.h"

namespace orv {

ChunkRelay::ChunkRelay(std::size_t chunks, std::size_t bytesPerChunk) : chunks_(chunks) {
  for (AudioChunk& chunk : chunks_) {
    chunk.bytes.resize(bytesPerChunk);
  }
}

AudioChunk* ChunkRelay::toFill() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isStopped_ || given_ - givenBack_ < chunks_.size(); });
  return isStopped_ ? nullptr : &chunks_[given_ % chunks_.size()];
}

void ChunkRelay::give() {
  const std::lock_guard lock(mutex_);
  ++given_;
  changed_.notify_all();
}

void ChunkRelay::finish() {
  const std::lock_guard lock(mutex_);
  isFinished_ = true;
  changed_.notify_all();
}

AudioChunk* ChunkRelay::next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isFinished_ || given_ > givenBack_; });
  return given_ > givenBack_ ? &chunks_[givenBack_ % chunks_.size()] : nullptr;
}

void ChunkRelay::giveBack() {
  const std::lock_guard lock(mutex_);
  ++givenBack_;
  changed_.notify_all();
}

void ChunkRelay::stop() {
  const std::lock_guard lock(mutex_);
  isStopped_ = true;
  changed_.notify_all();
}

}  // namespace orv
