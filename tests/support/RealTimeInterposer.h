#pragma once

#include <cstddef>

/// Linked into a test program (`REAL_TIME` in orv_add_tests), it fails each of its tests in which a thread that is in a
/// device's cycle allocates, frees, waits for a lock, touches a file or makes another system call than the wake-up of
/// a thread.
namespace orv::test {

/// While it lives, the calling thread may do what it likes: for a subscriber that is part of the test's own machinery.
class AllowInCycle {
 public:
  AllowInCycle() noexcept;
  AllowInCycle(const AllowInCycle&) = delete;
  AllowInCycle& operator=(const AllowInCycle&) = delete;
  ~AllowInCycle();
};

/// Forbidden calls in this test so far.
std::size_t realTimeViolations() noexcept;
/// Forgets them, and returns how many there were: for the test of this very guard.
std::size_t forgiveRealTimeViolations() noexcept;

}  // namespace orv::test
