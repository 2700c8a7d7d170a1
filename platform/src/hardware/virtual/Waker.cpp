#include "hardware/virtual/Waker.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace orv::virtualhardware {
namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace

void Waker::wake() noexcept {
  wakeUps_.fetch_add(1, std::memory_order_seq_cst);
  if (sleepers_.load(std::memory_order_seq_cst) != 0) {
    syscall(SYS_futex, &wakeUps_, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
  }
}

void Waker::sleep(std::uint32_t ticket) noexcept {
  sleepOn(ticket, nullptr);
}

void Waker::sleepUntil(std::uint32_t ticket, std::uint64_t deadline) noexcept {
  const timespec time = {static_cast<std::time_t>(deadline / kNanosecondsPerSecond),
                         static_cast<long>(deadline % kNanosecondsPerSecond)};
  sleepOn(ticket, &time);
}

void Waker::sleepOn(std::uint32_t ticket, const void* deadline) noexcept {
  sleepers_.fetch_add(1, std::memory_order_seq_cst);
  // With the bitset form the deadline is an absolute time of the monotonic clock, which is the clock of host times.
  syscall(SYS_futex, &wakeUps_, FUTEX_WAIT_BITSET_PRIVATE, ticket, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
  sleepers_.fetch_sub(1, std::memory_order_seq_cst);
}

}  // namespace orv::virtualhardware
