#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvPlatform/RunLoop.h"

namespace orv {

/// Calls on their way to a loop's thread, in order.
///
/// Posting threads, real-time ones among them, put them into a ring of fixed size without a lock. A thread of the
/// queue's own, which sleeps until the ring is half full, moves them on into a list that grows: so nothing is lost,
/// however long the loop's thread is away, and calls of high rate are left out long before.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): what different threads write lies apart
class LoopQueue {
 public:
  LoopQueue();
  LoopQueue(const LoopQueue&) = delete;
  LoopQueue& operator=(const LoopQueue&) = delete;
  ~LoopQueue();

  /// False for one of high rate that was left out. Thread-safe; real-time safe.
  bool post(LoopPriority priority, LoopCall call) noexcept;

  /// Takes all that waits, in order.
  std::vector<LoopCall> takeAll();

  std::uint64_t leftOut() const noexcept { return leftOut_.load(std::memory_order_relaxed); }

 private:
  struct Waiting {
    LoopCall call;
    bool isHighRate = false;
  };
  /// A place in the ring. `turn` says whose turn it is: the place's index in the endless row of places while it is
  /// empty, one more while it is filled.
  struct Place {
    std::atomic<std::size_t> turn{0};
    Waiting waiting;
  };

  bool tryPut(Waiting& waiting) noexcept;
  void wakeMover() noexcept;
  void drainRing();
  void moveOn();

  std::unique_ptr<Place[]> places_;
  alignas(64) std::atomic<std::size_t> put_{0};
  alignas(64) std::atomic<std::size_t> taken_{0};  // written under mutex_
  alignas(64) std::atomic<std::uint32_t> highRateWaiting_{0};
  std::atomic<std::uint64_t> leftOut_{0};

  std::mutex mutex_;
  std::deque<Waiting> list_;  // guarded by mutex_; ahead of what is in the ring

  std::atomic<std::uint32_t> moverCalls_{0};  // the word that the mover sleeps on
  std::atomic<bool> isEnding_{false};
  std::thread mover_;
};

}  // namespace orv
