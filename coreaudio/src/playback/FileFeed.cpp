#include "playback/FileFeed.h"

#include <algorithm>
#include <cstring>

namespace {

/// Frames that are held: more than the largest slice several times over, and one and a half seconds at 44.1 kHz.
constexpr std::uint32_t kFramesHeld = 65536;

}  // namespace

FileFeed::FileFeed(AudioFileID file, std::uint32_t bytesPerFrame, std::uint32_t startFrame)
    : frameBytes_(bytesPerFrame),
      startFrame_(startFrame),
      ring_(std::size_t{kFramesHeld} * bytesPerFrame),
      capacity_(kFramesHeld),
      file_(file),
      hasEnded_(file == nullptr) {}

bool FileFeed::fill() {
  const std::lock_guard guard(mutex_);
  const std::uint64_t written = written_.load(std::memory_order_relaxed);
  if (file_ == nullptr || hasEnded() || capacity_ - ready() < kFramesInPiece) {
    return false;
  }
  // Pieces divide the ring, so none goes round its end, except behind one that was short: and that was the last.
  std::uint32_t bytes = kFramesInPiece * frameBytes_;
  const auto start = static_cast<std::int64_t>((startFrame_ + written) * frameBytes_);
  std::byte* const to = ring_.data() + (written % capacity_) * frameBytes_;
  const OSStatus status = AudioFileReadBytes(file_, true, start, &bytes, to);
  const std::uint32_t frames = status == noErr ? bytes / frameBytes_ : 0;
  written_.store(written + frames, std::memory_order_release);
  if (frames < kFramesInPiece) {
    hasEnded_.store(true, std::memory_order_release);
  }
  return !hasEnded();
}

void FileFeed::close() {
  const std::lock_guard guard(mutex_);
  file_ = nullptr;
  hasEnded_.store(true, std::memory_order_release);
}

std::uint32_t FileFeed::peek(std::byte* to, std::uint32_t frames) const noexcept {
  const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, ready()));
  const std::uint64_t begin = taken_.load(std::memory_order_relaxed) % capacity_;
  const auto untilEnd = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, capacity_ - begin));
  std::memcpy(to, ring_.data() + begin * frameBytes_, std::size_t{untilEnd} * frameBytes_);
  std::memcpy(to + std::size_t{untilEnd} * frameBytes_, ring_.data(), std::size_t{count - untilEnd} * frameBytes_);
  return count;
}

void FileFeed::advance(std::uint32_t frames) noexcept {
  taken_.store(taken_.load(std::memory_order_relaxed) + frames, std::memory_order_release);
}

bool FileFeed::wantsMore() const noexcept {
  return !hasEnded() && ready() <= capacity_ / 2;
}

std::uint32_t FileFeed::position() const noexcept {
  return static_cast<std::uint32_t>(startFrame_ + taken_.load(std::memory_order_acquire));
}
