#include "hardware/virtual/CycleRunner.h"

#include <algorithm>
#include <utility>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Thread.h"

namespace orv::virtualhardware {
namespace {

/// An accelerated clock that comes so much too late does not try to make up for it.
constexpr std::uint64_t kMostToMakeUp = 100'000'000;
/// Nanoseconds; more than a century, and added to any time of the machine still a number of 64 bits.
constexpr double kForEver = 4e18;

// Found without a call that might allocate: the I/O thread looks at it.
[[gnu::tls_model("initial-exec")]] thread_local CycleRunner* currentRunner = nullptr;

}  // namespace

/// While it lives, the cycle that the calling thread is in, if any, waits for the end of another device's cycle.
class CycleRunner::WaitMark {
 public:
  explicit WaitMark(CycleRunner& target) {
    if (currentRunner == nullptr) {
      return;
    }
    const std::lock_guard guard(mutex());
    currentRunner->waitsFor_ = &target;
    for (const CycleRunner* next = &target; next != nullptr && mayWait_; next = next->waitsFor_) {
      mayWait_ = next != currentRunner;
    }
    if (!mayWait_) {
      currentRunner->waitsFor_ = nullptr;
    }
  }
  WaitMark(const WaitMark&) = delete;
  WaitMark& operator=(const WaitMark&) = delete;
  ~WaitMark() {
    if (currentRunner != nullptr) {
      const std::lock_guard guard(mutex());
      currentRunner->waitsFor_ = nullptr;
    }
  }

  /// False when the other one waits for this one already.
  bool mayWait() const { return mayWait_; }

 private:
  static std::mutex& mutex() {
    static std::mutex mutex;
    return mutex;
  }

  bool mayWait_ = true;
};

CycleRunner::CycleRunner(CycleEngine& engine, const Surroundings& surroundings, std::shared_ptr<Waker> waker)
    : engine_(engine), surroundings_(surroundings), waker_(std::move(waker)) {}

CycleRunner* CycleRunner::current() noexcept {
  return currentRunner;
}

OSStatus CycleRunner::start(HardwareCycleSink* sink) {
  if (currentRunner == this) {
    // It was stopped in this very cycle and goes on with the next.
    if (isWanted_.load() || isClosing_.load() || isOver_.load()) {
      return kAudioHardwareIllegalOperationError;
    }
    sink_.store(sink);
    isWanted_.store(true);
    return noErr;
  }
  const WaitMark mark(*this);
  if (!mark.mayWait()) {
    return kAudioHardwareIllegalOperationError;
  }
  const std::lock_guard guard(mutex_);
  if (isWanted_.load() || isOver_.load()) {
    return kAudioHardwareIllegalOperationError;
  }
  joinStopped();
  const std::lock_guard stepGuard(stepMutex_);
  sink_.store(sink);
  hasBase_ = false;
  engine_.begin();
  isWanted_.store(true);
  if (!stepsByHand()) {
    thread_ = startThread("virtual-io", [this] { run(); });
    if (!thread_.joinable()) {
      isWanted_.store(false);
      return kAudioHardwareUnspecifiedError;
    }
  }
  return noErr;
}

bool CycleRunner::stop() {
  const WaitMark mark(*this);
  if (!mark.mayWait()) {
    const bool wasWanted = isWanted_.exchange(false);
    waker_->wake();
    return wasWanted;
  }
  const std::lock_guard guard(mutex_);
  const bool wasWanted = isWanted_.exchange(false);
  joinStopped();
  return wasWanted;
}

bool CycleRunner::close() {
  isOver_.store(true);
  return stop();
}

void CycleRunner::settle() {
  if (currentRunner != nullptr) {
    return;
  }
  const std::lock_guard guard(mutex_);
  if (!isWanted_.load()) {
    joinStopped();
    const std::lock_guard stepGuard(stepMutex_);
    engine_.plans().take();
  }
}

/// Returns when the last cycle has ended. Requires: mutex_ is held, and no cycle is wanted.
void CycleRunner::joinStopped() {
  isClosing_.store(true);
  waker_->wake();
  if (thread_.joinable()) {
    thread_.join();
  }
  const std::lock_guard stepGuard(stepMutex_);
  // Its own cycle may have wanted it to go on meanwhile.
  isWanted_.store(false);
  isClosing_.store(false);
}

bool CycleRunner::step() {
  const std::lock_guard guard(stepMutex_);
  if (!isRunning()) {
    return false;
  }
  engine_.prepare();
  if (!waitUntilReady()) {
    return false;
  }
  makeCycle(engine_.dueTime());
  return true;
}

/// I/O thread from here on.
void CycleRunner::run() {
  if (surroundings_.options.clock == VirtualClock::realTime) {
    makeCurrentThreadRealTime();
  }
  while (isRunning()) {
    engine_.prepare();
    std::uint64_t now = 0;
    if (waitForTurn(&now)) {
      makeCycle(now);
    }
  }
}

bool CycleRunner::waitForTurn(std::uint64_t* now) noexcept {
  *now = engine_.dueTime();
  switch (surroundings_.options.clock) {
    case VirtualClock::realTime:
      if (!waitUntil(*now)) {
        return false;
      }
      *now = AudioGetCurrentHostTime();
      engine_.skipMissed(*now);
      return true;
    case VirtualClock::accelerated:
      return waitUntil(acceleratedTime(*now)) && waitUntilReady();
    case VirtualClock::asFastAsItGoes:
    case VirtualClock::byHand:
      return waitUntilReady();
  }
  return false;
}

/// The machine's time for a host time.
std::uint64_t CycleRunner::acceleratedTime(std::uint64_t due) noexcept {
  const std::uint64_t now = AudioGetCurrentHostTime();
  if (!hasBase_) {
    hasBase_ = true;
    baseHost_ = due;
    baseTime_ = now;
  }
  const double passed = std::min(static_cast<double>(due - baseHost_) / surroundings_.options.acceleration, kForEver);
  const std::uint64_t time = baseTime_ + static_cast<std::uint64_t>(passed);
  if (now > time + kMostToMakeUp) {
    baseTime_ += now - time;
  }
  return time;
}

/// False when the device is to stop.
bool CycleRunner::waitUntil(std::uint64_t deadline) noexcept {
  for (;;) {
    const std::uint32_t ticket = waker_->ticket();
    if (!isRunning()) {
      return false;
    }
    if (AudioGetCurrentHostTime() >= deadline) {
      return true;
    }
    waker_->sleepUntil(ticket, deadline);
  }
}

/// False when the device is to stop.
bool CycleRunner::waitUntilReady() noexcept {
  for (;;) {
    const std::uint32_t ticket = waker_->ticket();
    if (!isRunning()) {
      return false;
    }
    if (engine_.isReady()) {
      return true;
    }
    waker_->sleep(ticket);
  }
}

void CycleRunner::makeCycle(std::uint64_t now) noexcept {
  currentRunner = this;
  engine_.cycle(*sink_.load(), now);
  currentRunner = nullptr;
}

}  // namespace orv::virtualhardware
