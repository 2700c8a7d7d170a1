#pragma once

#include <atomic>
#include <cstdint>

namespace orv::virtualhardware {

/// Lets threads sleep until something may have changed. Who waits takes a ticket, looks at what it waits for, and
/// sleeps on the ticket: a wake-up in between is not missed.
class Waker {
 public:
  /// Real-time safe.
  std::uint32_t ticket() const noexcept { return wakeUps_.load(std::memory_order_seq_cst); }
  /// Wakes all who sleep; a system call only when somebody does. Real-time safe.
  void wake() noexcept;
  /// Returns after the next `wake` since `ticket` was taken, or by itself now and then.
  void sleep(std::uint32_t ticket) noexcept;
  /// As `sleep`, but not longer than until the host time `deadline`.
  void sleepUntil(std::uint32_t ticket, std::uint64_t deadline) noexcept;

 private:
  void sleepOn(std::uint32_t ticket, const void* deadline) noexcept;

  std::atomic<std::uint32_t> wakeUps_{0};  // the word that sleepers sleep on
  std::atomic<std::uint32_t> sleepers_{0};
};

}  // namespace orv::virtualhardware
