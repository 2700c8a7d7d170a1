#include "OrvPlatform/ConditionLock.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <thread>

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kTaken = std::uint64_t{1} << 32;

/// How long a waiter watches before it sleeps. A sleeping thread costs the releasing one a system call and comes back
/// tens of microseconds late, which is as long as filling a cache buffer takes.
constexpr auto kWatchTime = std::chrono::microseconds(50);

constexpr std::uint64_t freeWith(std::int32_t condition) {
  return static_cast<std::uint32_t>(condition);
}

void pauseProcessor() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

bool hasSeveralProcessors() {
  static const bool several = std::thread::hardware_concurrency() > 1;
  return several;
}

std::uint32_t* futexWord(std::atomic<std::uint32_t>& word) {
  static_assert(sizeof(word) == sizeof(std::uint32_t));
  return reinterpret_cast<std::uint32_t*>(&word);
}

void sleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t value, const std::chrono::nanoseconds* timeout) {
  timespec relative{};
  if (timeout != nullptr) {
    relative.tv_sec = static_cast<std::time_t>(timeout->count() / 1'000'000'000);
    relative.tv_nsec = static_cast<long>(timeout->count() % 1'000'000'000);
  }
  syscall(SYS_futex, futexWord(word), FUTEX_WAIT_PRIVATE, value, timeout != nullptr ? &relative : nullptr, nullptr, 0);
}

void wakeAll(std::atomic<std::uint32_t>& word) {
  syscall(SYS_futex, futexWord(word), FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace

ConditionLock::ConditionLock(std::int32_t condition) noexcept : state_(freeWith(condition)) {}

std::int32_t ConditionLock::condition() const noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(state_.load(std::memory_order_acquire)));
}

bool ConditionLock::tryTake(std::int32_t condition) noexcept {
  std::uint64_t expected = freeWith(condition);
  return state_.compare_exchange_strong(expected, expected | kTaken, std::memory_order_acq_rel,
                                        std::memory_order_relaxed);
}

bool ConditionLock::tryLockWhenCondition(std::int32_t condition) noexcept {
  return tryTake(condition);
}

void ConditionLock::lockWhenCondition(std::int32_t condition) noexcept {
  lockWhenConditionBefore(condition, std::chrono::nanoseconds::max());
}

bool ConditionLock::lockWhenConditionBefore(std::int32_t condition, std::chrono::nanoseconds timeout) noexcept {
  if (tryTake(condition)) {
    return true;
  }
  const Clock::time_point begin = Clock::now();
  const bool forever = timeout == std::chrono::nanoseconds::max();
  const auto watchTime = !hasSeveralProcessors() ? std::chrono::nanoseconds(0)
                         : forever               ? std::chrono::nanoseconds(kWatchTime)
                                                 : std::min<std::chrono::nanoseconds>(kWatchTime, timeout);
  while (Clock::now() - begin < watchTime) {
    for (int i = 0; i < 16; ++i) {
      pauseProcessor();
    }
    if (tryTake(condition)) {
      return true;
    }
  }

  waiters_.fetch_add(1, std::memory_order_seq_cst);
  bool taken = false;
  while (true) {
    // The count is read before the state: a release in between changes it, and the sleep ends at once.
    const std::uint32_t releases = releases_.load(std::memory_order_seq_cst);
    if (tryTake(condition)) {
      taken = true;
      break;
    }
    if (forever) {
      sleepWhile(releases_, releases, nullptr);
      continue;
    }
    const std::chrono::nanoseconds left = timeout - (Clock::now() - begin);
    if (left <= std::chrono::nanoseconds(0)) {
      break;
    }
    sleepWhile(releases_, releases, &left);
  }
  waiters_.fetch_sub(1, std::memory_order_relaxed);
  return taken;
}

void ConditionLock::unlockWithCondition(std::int32_t condition) noexcept {
  state_.store(freeWith(condition), std::memory_order_release);
  wakeWaiters();
}

bool ConditionLock::unlockIfStillTaken(std::int32_t condition) noexcept {
  std::uint64_t state = state_.load(std::memory_order_relaxed);
  do {
    if ((state & kTaken) == 0) {
      return false;
    }
  } while (
      !state_.compare_exchange_weak(state, freeWith(condition), std::memory_order_acq_rel, std::memory_order_relaxed));
  wakeWaiters();
  return true;
}

void ConditionLock::wakeWaiters() noexcept {
  releases_.fetch_add(1, std::memory_order_seq_cst);
  if (waiters_.load(std::memory_order_seq_cst) != 0) {
    wakeAll(releases_);
  }
}

}  // namespace orv
