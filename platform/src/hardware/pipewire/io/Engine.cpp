#include "hardware/pipewire/io/Engine.h"

#include <spa/node/io.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <thread>

#include "OrvPlatform/Log.h"

namespace orv::pipewire {
namespace {

/// Nobody gains from shorter ones, and the server's own limit is the same where nobody has changed it.
constexpr std::uint32_t kShortestQuantum = 32;
/// Nanoseconds that a device has at most for its links to come up.
constexpr std::int64_t kPatience = 2'000'000'000;
/// A correction of the clock beyond this is none.
constexpr double kMostDrift = 0.1;
constexpr std::uint32_t kNoDriver = UINT32_MAX;

// Found without a call that might allocate: the I/O thread looks at it.
[[gnu::tls_model("initial-exec")]] thread_local bool isOnIOThread = false;

/// The server rounds what it is asked for down to a power of two; so the asker had better know which.
std::uint32_t quantumFor(std::uint32_t frames) {
  return std::max(std::bit_floor(frames), kShortestQuantum);
}

std::uint32_t inRange(std::uint32_t frames) {
  return std::clamp(frames, std::uint32_t{1}, DeviceIO::kMostFrames);
}

/// A copy, as the server may write to it meanwhile.
Quantum quantumOf(const spa_io_clock& clock) noexcept {
  Quantum quantum;
  quantum.host = clock.nsec != 0 ? clock.nsec : AudioGetCurrentHostTime();
  quantum.position = clock.position;
  quantum.frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(clock.duration, UINT32_MAX / 2));
  quantum.rate = clock.rate.denom;
  quantum.scalar = std::fabs(clock.rate_diff - 1.0) < kMostDrift ? clock.rate_diff : 1.0;
  quantum.driver = clock.id;
  return quantum;
}

}  // namespace

DeviceIO::Engine::Engine(const DeviceIOSetup& setup, DeviceIOEvents& events)
    : setup_(setup),
      events_(events),
      maker_(static_cast<std::uint32_t>(setup.input.ports.size()),
             static_cast<std::uint32_t>(setup.output.ports.size()), inRange(setup.frames),
             quantumFor(inRange(setup.frames))),
      toldRate_(static_cast<std::uint32_t>(std::lround(setup.rate))),
      driver_(kNoDriver) {}

DeviceIO::Engine::~Engine() {
  gate_.close();
  links_.reset();
  node_.reset();
  if (news_ != nullptr) {
    pw_loop_destroy_source(pw_thread_loop_get_loop(setup_.loop), news_);
  }
}

bool DeviceIO::Engine::connect() {
  if (setup_.input.ports.empty() && setup_.output.ports.empty()) {
    logf("%s has no ports", setup_.name.c_str());
    return false;
  }
  news_ = pw_loop_add_event(
      pw_thread_loop_get_loop(setup_.loop),
      [](void* data, std::uint64_t /*count*/) { static_cast<Engine*>(data)->handleNews(); }, this);
  if (news_ != nullptr && node_.emplace().connect(setup_, quantumFor(inRange(setup_.frames)), *this)) {
    return true;
  }
  logf("%s: the server does not take a filter", setup_.name.c_str());
  return false;
}

OSStatus DeviceIO::Engine::start(HardwareCycleSink* sink) {
  if (sink == nullptr || isOnIOThread || isRunning()) {
    return kAudioHardwareIllegalOperationError;
  }
  waitForQuantumEnd();
  pw_thread_loop_lock(setup_.loop);
  const bool isReady = waitUntilReady();
  const bool isLost = isLost_.load();
  if (isReady && !isLost) {
    gate_.open(sink);
  }
  pw_thread_loop_unlock(setup_.loop);
  if (isLost) {
    return kAudioHardwareBadDeviceError;
  }
  if (!isReady) {
    logf("%s does not start: the server has not linked it", setup_.name.c_str());
    return kAudioHardwareUnspecifiedError;
  }
  return noErr;
}

void DeviceIO::Engine::stop() {
  gate_.close();
  if (!isOnIOThread) {
    waitForQuantumEnd();
  }
}

void DeviceIO::Engine::setFrames(std::uint32_t frames) {
  const std::uint32_t wanted = inRange(frames);
  if (wanted == maker_.wantedFrames()) {
    return;
  }
  const std::uint32_t quantum = quantumFor(wanted);
  maker_.setFrames(wanted, quantum);
  if (node_) {
    node_->askFor(quantum, toldRate_);
  }
}

/// True at once when the device is linked already. Requires: the loop's lock is held, which is given up meanwhile.
bool DeviceIO::Engine::waitUntilReady() {
  timespec deadline{};
  pw_thread_loop_get_time(setup_.loop, &deadline, kPatience);
  while (!isLost_ && !(links_ && links_->areSettled())) {
    if (pw_thread_loop_in_thread(setup_.loop) || pw_thread_loop_timed_wait_full(setup_.loop, &deadline) != 0) {
      return false;
    }
  }
  return !isLost_ && links_->isAnyUp();
}

/// A quantum that begins after this looks at the gate anew.
void DeviceIO::Engine::waitForQuantumEnd() const {
  while (isInQuantum_.load()) {
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }
}

void DeviceIO::Engine::nodeReady() {
  links_.emplace(static_cast<DeviceLinks::Listener&>(*this)).make(setup_.core, node_->id(), setup_);
}

void DeviceIO::Engine::nodeGone(const char* why) {
  if (!isLost_) {
    logf("%s: %s", setup_.name.c_str(), why);
  }
  lose();
}

void DeviceIO::Engine::linksChanged() {
  pw_thread_loop_signal(setup_.loop, false);
}

void DeviceIO::Engine::sideGone() {
  lose();
}

void DeviceIO::Engine::lose() {
  if (!isLost_.exchange(true)) {
    gate_.close();
    pw_thread_loop_signal(setup_.loop, false);
    events_.lost();
  }
}

/// On the loop, after the I/O thread has woken it.
void DeviceIO::Engine::handleNews() {
  const std::uint32_t rate = rate_.load();
  if (rate != 0 && rate != toldRate_ && !isLost_) {
    toldRate_ = rate;
    events_.rateChanged(rate);
  }
}

void DeviceIO::Engine::quantum(const spa_io_position* position) noexcept {
  if (position == nullptr) {
    return;
  }
  const Quantum quantum = quantumOf(position->clock);
  if (quantum.frames == 0 || quantum.rate == 0) {
    return;
  }
  isOnIOThread = true;
  isInQuantum_.store(true);
  makeCycles(quantum);
  isInQuantum_.store(false);
  isOnIOThread = false;
}

void DeviceIO::Engine::makeCycles(const Quantum& quantum) noexcept {
  const FilterNode::Taken taken = node_->takeBuffers(quantum.frames);
  if (isOfDevice(quantum, taken)) {
    const bool isWhole = maker_.make(quantum, node_->heard(), node_->played(), gate_);
    if (!isWhole || (taken.isCut && isRunning())) {
      events_.overloaded();
    }
  } else {
    deinterleave(nullptr, 0, quantum.frames, node_->played());
  }
  node_->giveBuffersBack();
}

/// When a device goes the server may go on with our node, which the loop hears of only later. The driver's clock stands
/// still then until another driver takes over, which brings nothing to hear. That is no cycle, while the same driver
/// may have nothing to hear for once: that is a silent one.
bool DeviceIO::Engine::isOfDevice(const Quantum& quantum, const FilterNode::Taken& taken) noexcept {
  const bool stoodStill = quantum.host == last_.host && quantum.position == last_.position;
  last_ = quantum;
  if (taken.isAnything) {
    driver_ = quantum.driver;
  }
  if (rate_.exchange(quantum.rate) != quantum.rate) {
    pw_loop_signal_event(pw_thread_loop_get_loop(setup_.loop), news_);
  }
  return !stoodStill && (quantum.driver == driver_ || driver_ == kNoDriver);
}

}  // namespace orv::pipewire
