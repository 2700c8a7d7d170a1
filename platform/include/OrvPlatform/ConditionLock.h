#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "OrvPlatform/Export.h"

namespace orv {

/// A lock that carries an integer condition, by which two threads hand a buffer to each other.
///
/// Taking it waits until it is free and its condition has a given value. Releasing it sets a new condition and wakes
/// all who wait. Any thread may release it, whether or not it took it: that is how an owner resets a hand-off.
///
/// A releasing thread makes one system call at most, and that only when somebody sleeps on the lock. A waiting thread
/// watches for some microseconds before it goes to sleep, so that hand-offs between running threads cost no
/// wake-up.
class ORV_API ConditionLock {
 public:
  explicit ConditionLock(std::int32_t condition) noexcept;
  ConditionLock(const ConditionLock&) = delete;
  ConditionLock& operator=(const ConditionLock&) = delete;

  /// The condition now; may have changed when the caller looks at it. Real-time safe.
  std::int32_t condition() const noexcept;

  /// Waits until the lock is free and its condition is `condition`, and takes it. Not real-time safe.
  void lockWhenCondition(std::int32_t condition) noexcept;

  /// As `lockWhenCondition`, but gives up after `timeout`. Returns whether the lock was taken. Not real-time safe.
  bool lockWhenConditionBefore(std::int32_t condition, std::chrono::nanoseconds timeout) noexcept;

  /// Takes the lock if it is free and its condition is `condition`. Never waits. Real-time safe.
  bool tryLockWhenCondition(std::int32_t condition) noexcept;

  /// Sets the condition and leaves the lock free, whoever held it. Real-time safe.
  void unlockWithCondition(std::int32_t condition) noexcept;

  /// For the holder: as `unlockWithCondition`, unless somebody else has released the lock since it was taken; then it
  /// changes nothing and returns false. A worker ends its pass with it, so that a request that came in meanwhile is not
  /// wiped out. Real-time safe.
  bool unlockIfStillTaken(std::int32_t condition) noexcept;

 private:
  bool tryTake(std::int32_t condition) noexcept;
  void wakeWaiters() noexcept;

  std::atomic<std::uint64_t> state_;        // bit 32: taken; bits 0-31: condition
  std::atomic<std::uint32_t> releases_{0};  // counts releases: the word that waiters sleep on
  std::atomic<std::uint32_t> waiters_{0};   // threads that sleep or are about to
};

}  // namespace orv
