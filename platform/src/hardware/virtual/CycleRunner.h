#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "hardware/virtual/CycleEngine.h"
#include "hardware/virtual/Waker.h"

namespace orv::virtualhardware {

/// Lets a device's cycles go by, as its clock says: on a thread of its own, or on that of whoever steps by hand.
class CycleRunner {
 public:
  CycleRunner(CycleEngine& engine, const Surroundings& surroundings, std::shared_ptr<Waker> waker);
  CycleRunner(const CycleRunner&) = delete;
  CycleRunner& operator=(const CycleRunner&) = delete;
  /// Stops. Must not run in a cycle of this device.
  ~CycleRunner() { stop(); }

  /// `kAudioHardwareIllegalOperationError` when it runs already.
  OSStatus start(HardwareCycleSink* sink);
  /// Waits for the end of a cycle that is under way, unless it is called from that very cycle, or from one that waits
  /// for it: then it ends all the same, and nobody waits for ever.
  /// Returns whether it ran.
  bool stop();
  /// As `stop`, and for good.
  bool close();
  /// While the device is stopped: lets it take over what was offered to it. Does nothing in a cycle.
  void settle();
  bool isRunning() const noexcept { return isWanted_.load() && !isClosing_.load(); }

  /// By hand: makes a cycle if the device runs. Waits until the input has its frames.
  bool step();

  /// The one in whose cycle the calling thread is; null outside of any. Real-time safe.
  static CycleRunner* current() noexcept;

 private:
  class WaitMark;

  void joinStopped();
  void run();
  bool waitForTurn(std::uint64_t* now) noexcept;
  bool waitUntil(std::uint64_t deadline) noexcept;
  bool waitUntilReady() noexcept;
  std::uint64_t acceleratedTime(std::uint64_t due) noexcept;
  void makeCycle(std::uint64_t now) noexcept;
  bool stepsByHand() const noexcept { return surroundings_.options.clock == VirtualClock::byHand; }

  CycleEngine& engine_;
  const Surroundings& surroundings_;
  const std::shared_ptr<Waker> waker_;  // wakes whoever makes the cycles
  std::mutex mutex_;                    // starting and stopping, from outside of the device's own cycle
  std::mutex stepMutex_;                // by hand: held during a cycle
  std::thread thread_;                  // guarded by mutex_
  std::atomic<HardwareCycleSink*> sink_{nullptr};
  std::atomic<bool> isWanted_{false};
  std::atomic<bool> isClosing_{false};  // somebody waits for the end
  std::atomic<bool> isOver_{false};
  CycleRunner* waitsFor_ = nullptr;  // in whose cycle's end this one's thread takes an interest

  // Accelerated, I/O thread only: this host time is at that time of the machine.
  bool hasBase_ = false;
  std::uint64_t baseHost_ = 0;
  std::uint64_t baseTime_ = 0;
};

}  // namespace orv::virtualhardware
