#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "OrvPlatform/AudioFile.h"

/// Frames of an audio file from one place on, read ahead by one thread and taken by another, which never waits for the
/// disk. The frames are as the file stores them.
class FileFeed {
 public:
  /// Frames that `fill` reads at once.
  static constexpr std::uint32_t kFramesInPiece = 8192;

  /// Requires: `bytesPerFrame` is not 0. The file stays open until `close`.
  FileFeed(AudioFileID file, std::uint32_t bytesPerFrame, std::uint32_t startFrame);

  /// Reads the next piece if there is room for it. Whether there may be another one to read. A read that fails is the
  /// end of the file. Thread-safe; not real-time safe.
  bool fill();
  /// The file is not touched any more. Thread-safe; not real-time safe.
  void close();

  // By the one who takes. Real-time safe.

  /// Copies up to `frames` frames, without taking them. Returns how many.
  std::uint32_t peek(std::byte* to, std::uint32_t frames) const noexcept;
  /// Takes what was copied.
  void advance(std::uint32_t frames) noexcept;
  /// Whether the frames that can be copied now are the last ones.
  bool hasEnded() const noexcept { return hasEnded_.load(std::memory_order_acquire); }
  /// Whether it is worth waking the thread that reads.
  bool wantsMore() const noexcept;

  /// Frame of the file that is next. Thread-safe; real-time safe.
  std::uint32_t position() const noexcept;

 private:
  std::uint64_t ready() const noexcept {
    return written_.load(std::memory_order_acquire) - taken_.load(std::memory_order_acquire);
  }

  const std::uint32_t frameBytes_;
  const std::uint32_t startFrame_;
  std::vector<std::byte> ring_;
  const std::uint64_t capacity_;  // frames
  std::mutex mutex_;              // reading
  AudioFileID file_;              // guarded by mutex_; null when closed
  std::atomic<std::uint64_t> written_{0};
  std::atomic<std::uint64_t> taken_{0};
  std::atomic<bool> hasEnded_{false};
};
