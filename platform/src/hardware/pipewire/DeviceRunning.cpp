#include <algorithm>
#include <utility>

#include "hardware/pipewire/Device.h"

/// A device that starts, stops and goes away. Whoever works with the I/O has claimed it; what others want to do to it
/// meanwhile is left to the loop, which is asked to look once the claim is given up.
namespace orv::pipewire {
namespace {

/// A device that was stopped stays linked for a moment, so that it starts again at once.
constexpr std::chrono::milliseconds kLinger(2000);

}  // namespace

OSStatus Device::start(HardwareCycleSink* sink) {
  // In a cycle nothing can be waited for: the loop may be waiting for that cycle's end.
  if (isInHardwareCycle() || !claimIO()) {
    return kAudioHardwareIllegalOperationError;
  }
  OSStatus status = openIO();
  if (status == noErr) {
    status = io_->start(sink);
  }
  bool isGone = false;
  {
    const std::lock_guard guard(mutex_);
    isGone = isGone_ || isBroken_;
  }
  if (status == noErr && isGone) {
    io_->stop();
    status = kAudioHardwareBadDeviceError;
  }
  if (status == noErr) {
    tellRunning(true);
  } else if (io_ != nullptr && !io_->isRunning()) {
    const Loop::Lock lock(loop_);
    io_ = nullptr;  // what did not start does not start later either
  }
  releaseIO();
  return status;
}

OSStatus Device::stop() {
  if (!claimIO()) {
    return noErr;  // in a cycle, while it is stopped by somebody else
  }
  const bool wasRunning = io_ != nullptr && io_->isRunning();
  if (wasRunning) {
    io_->stop();
  }
  tellRunning(false);
  std::uint64_t stops = 0;
  {
    const std::lock_guard guard(mutex_);
    stops = ++stops_;
  }
  releaseIO();
  loop_.postAfter(kLinger, [self = weak_from_this(), stops] {
    const auto device = self.lock();
    if (device == nullptr) {
      return;
    }
    {
      const std::lock_guard guard(device->mutex_);
      if (device->stops_ != stops || device->state_.isRunning) {
        return;
      }
    }
    device->discardIO();
  });
  return noErr;
}

/// Waits until nobody else has it; in a cycle it does not wait, and may answer false.
bool Device::claimIO() {
  std::unique_lock lock(mutex_);
  if (!isInHardwareCycle()) {
    released_.wait(lock, [&] { return !isClaimed_; });
  }
  return !std::exchange(isClaimed_, true);
}

/// Requires: the I/O is claimed.
OSStatus Device::openIO() {
  const Loop::Lock lock(loop_);
  {
    const std::lock_guard guard(mutex_);
    if (isGone_ || isBroken_) {
      return kAudioHardwareBadDeviceError;
    }
  }
  if (io_ == nullptr) {
    const DeviceIOSetup wanted = setup();
    io_ = wanted.core == nullptr ? nullptr : DeviceIO::make(wanted, *this);
    if (io_ != nullptr) {
      const std::lock_guard guard(mutex_);
      io_->setDeviceLatency(true, state_.input.latency);
      io_->setDeviceLatency(false, state_.output.latency);
    }
  }
  return io_ == nullptr ? kAudioHardwareUnspecifiedError : noErr;
}

DeviceIOSetup Device::setup() {
  DeviceIOSetup setup;
  setup.loop = loop_.handle();
  setup.core = owner_.core();
  const std::lock_guard guard(mutex_);
  setup.name = "OrvCoreAudio: " + state_.name.value_or(state_.uid);
  setup.input = {plan_.input.node, plan_.input.ports};
  setup.output = {plan_.output.node, plan_.output.ports};
  setup.frames = state_.cycle.frames;
  setup.rate = state_.cycle.nominalRate;
  return setup;
}

/// Lets the loop do what was left to it meanwhile.
void Device::releaseIO() {
  {
    const std::lock_guard guard(mutex_);
    isClaimed_ = false;
  }
  released_.notify_all();
  loop_.post([self = shared_from_this()] {
    bool isGone = false;
    {
      const std::lock_guard guard(self->mutex_);
      isGone = self->isGone_;
    }
    if (isGone) {
      self->discardIO();
    } else {
      self->applyCycle();
    }
  });
}

void Device::tellRunning(bool isRunning) {
  bool isNew = false;
  {
    const std::lock_guard guard(mutex_);
    isNew = std::exchange(state_.isRunning, isRunning) != isRunning;
  }
  if (isNew) {
    teller_.device(id_, 0, false, kAudioDevicePropertyDeviceIsRunning);
  }
}

/// With the loop's lock held. Where somebody works with the I/O it is done once they have finished.
void Device::discardIO() {
  {
    const std::lock_guard guard(mutex_);
    if (std::exchange(isClaimed_, true)) {
      return;
    }
  }
  io_ = nullptr;
  {
    const std::lock_guard guard(mutex_);
    isClaimed_ = false;
    runningRate_ = 0;
  }
  released_.notify_all();
  tellRunning(false);
}

/// With the loop's lock held: the I/O's cycle as the state says.
void Device::applyCycle() {
  std::uint32_t frames = 0;
  std::uint32_t inputLatency = 0;
  std::uint32_t outputLatency = 0;
  {
    const std::lock_guard guard(mutex_);
    if (std::exchange(isClaimed_, true)) {
      return;
    }
    frames = state_.cycle.frames;
    inputLatency = state_.input.latency;
    outputLatency = state_.output.latency;
  }
  if (io_ != nullptr) {
    io_->setFrames(frames);
    io_->setDeviceLatency(true, inputLatency);
    io_->setDeviceLatency(false, outputLatency);
  }
  {
    const std::lock_guard guard(mutex_);
    isClaimed_ = false;
  }
  released_.notify_all();
}

bool Device::isBroken() {
  const std::lock_guard guard(mutex_);
  return isBroken_;
}

void Device::retire() {
  {
    const std::lock_guard guard(mutex_);
    isGone_ = true;
  }
  discardIO();
}

void Device::lost() {
  {
    const std::lock_guard guard(mutex_);
    isBroken_ = true;
  }
  owner_.refreshSoon();
}

}  // namespace orv::pipewire
