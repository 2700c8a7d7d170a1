#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

/// A block of captured bytes. In front of them is room for the rest of a frame that the block before left behind.
class OrvCaptureBuffer {
 public:
  /// Bytes of the largest frame: 1024 channels of 64 bits.
  static constexpr std::uint32_t kHeadroom = 8192;

  explicit OrvCaptureBuffer(std::uint32_t size);

  std::byte* data() { return start_ + kHeadroom; }

  std::uint32_t count = 0;  ///< bytes held

 private:
  std::unique_ptr<std::byte[]> memory_;
  std::byte* start_;
};

/// Hands capture buffers from the I/O thread to the saver and back, by pointer.
///
///   I/O thread ── full ──► saver
///        ▲── free ──────────┘
///
/// Buffers are made beforehand, so that a saver that is late costs memory and not audio. While it is in time the same
/// few go round, and stay in the processor's cache; the others wait until it is late.
class OrvCaptureQueue {
 public:
  /// Bytes of one buffer.
  static constexpr std::uint32_t kBufferSize = 0x60000;
  static constexpr std::uint32_t kMostBuffers = 1024;

  enum class Appended { refused, kept, handedOver };

  /// With the two buffers that it takes at least. Throws when there is no memory.
  OrvCaptureQueue();

  /// Makes more buffers, as many as `count` in all where there is memory. Control thread.
  void reserve(std::uint32_t count);
  /// Hands a buffer over once it holds so many bytes, though it is not full, while none waits. Requires: as `append`.
  void setHandOverSize(std::uint32_t bytes) { handOverSize_ = bytes; }

  /// Appends all bytes or, when the free buffers don't hold them, none. One thread at a time. Real-time safe.
  Appended append(const void* bytes, std::uint32_t length) noexcept;
  /// Hands over the buffer that is being filled, if it holds anything. Requires: as `append`.
  void handOverRest() noexcept;

  /// The oldest buffer that was handed over, null when there is none. Saver.
  OrvCaptureBuffer* next() noexcept { return full_.pop(); }
  /// Gives one back. Saver.
  void giveBack(OrvCaptureBuffer* buffer);

 private:
  /// One thread pushes, one pops. Invariant: it never holds more than there are buffers.
  class Ring {
   public:
    void push(OrvCaptureBuffer* buffer) noexcept;
    OrvCaptureBuffer* pop() noexcept;
    /// For the thread that pops: at least so many are there.
    std::uint32_t count() const noexcept;
    /// For the thread that pushes: at most so many are there.
    std::uint32_t mostCount() const noexcept;

   private:
    std::array<OrvCaptureBuffer*, kMostBuffers> slots_{};
    std::atomic<std::uint32_t> pushed_{0};
    std::atomic<std::uint32_t> popped_{0};
  };

  /// Buffers that go round: enough that the one to be filled is not the one that was just read on another processor.
  static constexpr std::uint32_t kInUse = 8;

  void keepFree(OrvCaptureBuffer* buffer);
  void handOver() noexcept;

  std::mutex pushLock_;                                     // the saver and the control thread push free buffers
  std::vector<std::unique_ptr<OrvCaptureBuffer>> buffers_;  // guarded by pushLock_
  Ring free_;
  Ring spare_;  // free too; taken where there is no other
  Ring full_;
  OrvCaptureBuffer* current_ = nullptr;       // I/O thread; null until there are bytes for it
  std::uint32_t handOverSize_ = kBufferSize;  // I/O thread
};
