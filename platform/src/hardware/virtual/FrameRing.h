#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv::virtualhardware {

/// Interleaved frames on their way from one thread to another, without locks. What is written becomes visible with
/// `commit`. Every operation is real-time safe.
///
/// Invariant: consumed ≤ committed ≤ written ≤ consumed + capacity, each only ever growing.
class FrameRing {
 public:
  FrameRing(std::uint32_t channels, std::size_t capacity);

  std::uint32_t channels() const noexcept { return channels_; }
  std::size_t capacity() const noexcept { return capacity_; }

  /// Producer only. Frames that can be written.
  std::size_t room() const noexcept;
  /// Producer only. Writes as many of the frames as there is room for, which is returned; null: silence.
  std::size_t write(const float* frames, std::size_t count) noexcept;
  /// Producer only.
  void commit() noexcept { committed_.store(written_, std::memory_order_release); }
  /// Producer only. Frames written so far.
  std::uint64_t written() const noexcept { return written_; }

  /// Frames that can be read. Any thread once nothing more is written, before that the consumer only.
  std::size_t available() const noexcept;
  /// Consumer only. Reads as many frames as there are, at most `count`; null: throws them away.
  std::size_t read(float* frames, std::size_t count) noexcept;

  /// Any thread. Frames read so far.
  std::uint64_t consumed() const noexcept { return consumed_.load(std::memory_order_acquire); }
  /// Any thread. Whether anything was ever committed.
  bool hasBegun() const noexcept { return committed_.load(std::memory_order_acquire) != 0; }

 private:
  const std::uint32_t channels_;
  const std::size_t capacity_;  // frames
  std::vector<float> samples_;
  std::uint64_t written_ = 0;  // producer only
  std::atomic<std::uint64_t> committed_{0};
  std::atomic<std::uint64_t> consumed_{0};
};

}  // namespace orv::virtualhardware
