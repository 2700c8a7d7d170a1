#include "LoopQueue.h"

#include <sched.h>

#include <utility>

#include "OrvPlatform/Thread.h"

namespace orv {
namespace {

constexpr std::size_t kPlaces = 4096;
static_assert((kPlaces & (kPlaces - 1)) == 0);

/// A second of meters of a dozen devices.
constexpr std::uint32_t kMostOfHighRate = 256;

}  // namespace

LoopQueue::LoopQueue() : places_(new Place[kPlaces]) {
  for (std::size_t i = 0; i < kPlaces; ++i) {
    places_[i].turn.store(i, std::memory_order_relaxed);
  }
  mover_ = startThread("orv loop queue", [this] { moveOn(); });
}

LoopQueue::~LoopQueue() {
  isEnding_.store(true, std::memory_order_release);
  wakeMover();
  if (mover_.joinable()) {
    mover_.join();
  }
}

bool LoopQueue::post(LoopPriority priority, LoopCall call) noexcept {
  Waiting waiting{std::move(call), priority == LoopPriority::highRate};
  if (waiting.isHighRate && highRateWaiting_.fetch_add(1, std::memory_order_relaxed) >= kMostOfHighRate) {
    highRateWaiting_.fetch_sub(1, std::memory_order_relaxed);
    leftOut_.fetch_add(1, std::memory_order_relaxed);
    return false;
  }
  while (!tryPut(waiting)) {
    // The mover was woken half a ring ago: two thousand states in less time than it takes to wake up.
    wakeMover();
    sched_yield();
  }
  if (put_.load(std::memory_order_relaxed) - taken_.load(std::memory_order_relaxed) >= kPlaces / 2) {
    wakeMover();
  }
  return true;
}

bool LoopQueue::tryPut(Waiting& waiting) noexcept {
  std::size_t index = put_.load(std::memory_order_relaxed);
  for (;;) {
    Place& place = places_[index % kPlaces];
    const std::size_t turn = place.turn.load(std::memory_order_acquire);
    if (turn == index) {
      if (put_.compare_exchange_weak(index, index + 1, std::memory_order_relaxed)) {
        place.waiting = std::move(waiting);
        place.turn.store(index + 1, std::memory_order_release);
        return true;
      }
    } else if (static_cast<std::ptrdiff_t>(turn - index) < 0) {
      return false;
    } else {
      index = put_.load(std::memory_order_relaxed);
    }
  }
}

void LoopQueue::wakeMover() noexcept {
  moverCalls_.fetch_add(1, std::memory_order_release);
  moverCalls_.notify_one();
}

/// Requires: mutex_ is held.
void LoopQueue::drainRing() {
  for (std::size_t index = taken_.load(std::memory_order_relaxed);; ++index) {
    Place& place = places_[index % kPlaces];
    if (place.turn.load(std::memory_order_acquire) != index + 1) {
      return;
    }
    list_.push_back(std::move(place.waiting));
    place.waiting = Waiting();
    place.turn.store(index + kPlaces, std::memory_order_release);
    taken_.store(index + 1, std::memory_order_relaxed);
  }
}

void LoopQueue::moveOn() {
  std::uint32_t calls = moverCalls_.load(std::memory_order_acquire);
  while (!isEnding_.load(std::memory_order_acquire)) {
    {
      const std::lock_guard guard(mutex_);
      drainRing();
    }
    moverCalls_.wait(calls, std::memory_order_acquire);
    calls = moverCalls_.load(std::memory_order_acquire);
  }
}

std::vector<LoopCall> LoopQueue::takeAll() {
  std::deque<Waiting> all;
  {
    const std::lock_guard guard(mutex_);
    drainRing();
    all.swap(list_);
  }
  std::vector<LoopCall> calls;
  calls.reserve(all.size());
  for (Waiting& waiting : all) {
    if (waiting.isHighRate) {
      highRateWaiting_.fetch_sub(1, std::memory_order_relaxed);
    }
    calls.push_back(std::move(waiting.call));
  }
  return calls;
}

}  // namespace orv
