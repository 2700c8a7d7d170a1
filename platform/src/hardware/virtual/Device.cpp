#include "hardware/virtual/Device.h"

#include <utility>

#include "hardware/virtual/DescribedState.h"

namespace orv::virtualhardware {

using hardwaremodel::PropertyAddress;
using hardwaremodel::readDeviceProperty;
using hardwaremodel::readStreamProperty;
using hardwaremodel::writeDeviceProperty;
using hardwaremodel::writeStreamProperty;

Device::Device(const VirtualDevice& description, AudioDeviceID id, AudioStreamID firstStream,
               Surroundings& surroundings, CycleCounters::Slot& counter)
    : counter_(counter, id),
      surroundings_(surroundings),
      state_(stateOf(description, id, firstStream)),
      id_(id),
      uid_(state_.uid),
      firstStream_(firstStream),
      inputChannels_(state_.input.channels),
      outputChannels_(state_.output.channels),
      streams_(static_cast<std::uint32_t>(state_.input.streams.size() + state_.output.streams.size())),
      largestCycle_(static_cast<std::uint32_t>(description.bufferFrameSizes.mMaximum)),
      hasInput_(!state_.input.streams.empty()),
      hasOutput_(!state_.output.streams.empty()),
      canBeDefault_(state_.canBeDefault),
      canBeSystemDefault_(state_.canBeSystemDefault),
      engine_(state_, surroundings, counter.count),
      wiring_(state_, engine_.plans()),
      runner_(engine_, surroundings, waker_) {}

double Device::nominalRate() {
  const std::lock_guard guard(stateMutex_);
  return state_.cycle.nominalRate;
}

OSStatus Device::read(const PropertyAddress& address, Answer answer, bool* isWritable) {
  const std::lock_guard guard(stateMutex_);
  state_.isRunning = runner_.isRunning();
  state_.isRunningSomewhere = state_.isRunning;
  return readDeviceProperty(state_, address, answer, isWritable);
}

OSStatus Device::propertyInfo(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t* size,
                              bool* isWritable) {
  return read({channel, isInput, property}, Answer(size), isWritable);
}

OSStatus Device::property(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t* size,
                          void* data) {
  const OSStatus fault = faults_.next(VirtualFault::Kind::propertyRead, property);
  return fault != noErr ? fault : read({channel, isInput, property}, Answer(size, data), nullptr);
}

OSStatus Device::setProperty(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t size,
                             const void* data) {
  if (const OSStatus fault = faults_.next(VirtualFault::Kind::propertyWrite, property); fault != noErr) {
    return fault;
  }
  return change([&](PropertyChanges& changes) {
    return writeDeviceProperty(state_, {channel, isInput, property}, size, data, changes);
  });
}

OSStatus Device::streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                    std::uint32_t* size, bool* isWritable) {
  const std::lock_guard guard(stateMutex_);
  return readStreamProperty(state_, stream, channel, property, Answer(size), isWritable);
}

OSStatus Device::streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                std::uint32_t* size, void* data) {
  if (const OSStatus fault = faults_.next(VirtualFault::Kind::propertyRead, property); fault != noErr) {
    return fault;
  }
  const std::lock_guard guard(stateMutex_);
  return readStreamProperty(state_, stream, channel, property, Answer(size, data), nullptr);
}

OSStatus Device::setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                   std::uint32_t size, const void* data) {
  if (const OSStatus fault = faults_.next(VirtualFault::Kind::propertyWrite, property); fault != noErr) {
    return fault;
  }
  return change([&](PropertyChanges& changes) {
    return writeStreamProperty(state_, stream, channel, property, size, data, changes);
  });
}

/// Runs `change` on the state, and lets the cycles and the listeners know. All of it happens, or nothing.
template <typename Change>
OSStatus Device::change(const Change& change) {
  {
    const std::lock_guard guard(changeMutex_);
    PropertyChanges changes;
    std::unique_lock stateLock(stateMutex_);
    const DeviceState before = state_;
    const OSStatus status = change(changes);
    if (status != noErr) {
      return status;
    }
    stateLock.unlock();
    apply(before, changes);
  }
  settle();
  return noErr;
}

/// Requires: changeMutex_ is held, so that the state does not change under it.
void Device::apply(const DeviceState& before, const PropertyChanges& changes) {
  engine_.setGains(state_);
  engine_.setDrift(state_.driftPartsPerMillion);
  const bool isSameCycle =
      before.cycle.frames == state_.cycle.frames && before.cycle.nominalRate == state_.cycle.nominalRate;
  if (!isSameCycle) {
    try {
      wiring_.setCycle(state_.cycle);
    } catch (...) {
      const std::lock_guard guard(stateMutex_);
      state_ = before;
      throw;
    }
  }
  for (const PropertyChange& change : changes) {
    surroundings_.tellDevice(id_, change.channel, change.isInput, change.property);
  }
}

OSStatus Device::start(HardwareCycleSink* sink) {
  if (const OSStatus fault = faults_.next(VirtualFault::Kind::start); fault != noErr) {
    return fault;
  }
  const OSStatus status = runner_.start(sink);
  if (status == noErr) {
    surroundings_.tellDevice(id_, 0, false, kAudioDevicePropertyDeviceIsRunning);
  }
  return status;
}

OSStatus Device::stop() {
  if (runner_.isRunning()) {
    if (const OSStatus fault = faults_.next(VirtualFault::Kind::stop); fault != noErr) {
      return fault;
    }
  }
  if (runner_.stop()) {
    surroundings_.tellDevice(id_, 0, false, kAudioDevicePropertyDeviceIsRunning);
    std::shared_ptr<OutputCapture> capture;
    {
      const std::lock_guard guard(changeMutex_);
      capture = wiring_.capture();
    }
    if (capture != nullptr && CycleRunner::current() == nullptr) {
      capture->flush();
    }
  }
  return noErr;
}

void Device::close() {
  counter_.hide();
  engine_.die();
  if (runner_.close()) {
    surroundings_.tellDevice(id_, 0, false, kAudioDevicePropertyDeviceIsRunning);
  }
  const std::lock_guard guard(changeMutex_);
  wiring_.disconnect();
}

void Device::settle() {
  if (CycleRunner::current() != nullptr) {
    return;
  }
  runner_.settle();
  engine_.plans().collect();
}

void Device::waitForWiring() {
  if (CycleRunner::current() != nullptr) {
    return;
  }
  if (runner_.isRunning() && surroundings_.options.clock != VirtualClock::byHand) {
    engine_.plans().waitUntilTaken();
  }
  settle();
}

void Device::setFeed(std::shared_ptr<InputFeed> feed) {
  const std::lock_guard guard(changeMutex_);
  wiring_.setFeed(std::move(feed));
}

void Device::setCapture(std::shared_ptr<OutputCapture> capture) {
  const std::lock_guard guard(changeMutex_);
  wiring_.setCapture(std::move(capture));
}

bool Device::captures(const std::string& path) {
  const std::lock_guard guard(changeMutex_);
  const auto capture = wiring_.capture();
  return capture != nullptr && capture->isOf(path);
}

void Device::addCable(std::shared_ptr<LoopbackCable> cable) {
  const std::lock_guard guard(changeMutex_);
  wiring_.addCable(std::move(cable));
}

bool Device::inputIsAtEnd() {
  const std::lock_guard guard(changeMutex_);
  const auto feed = wiring_.feed();
  return feed == nullptr || feed->isAtEnd();
}

OSStatus Device::setNominalRate(double rate) {
  return change([&](PropertyChanges& changes) { return hardwaremodel::changeNominalRate(state_, rate, changes); });
}

OSStatus Device::setFrames(std::uint32_t frames) {
  return change([&](PropertyChanges& changes) { return hardwaremodel::changeFrames(state_, frames, changes); });
}

OSStatus Device::setJack(bool isInput, bool isConnected) {
  return change([&](PropertyChanges& changes) {
    if (state_.section(isInput).streams.empty()) {
      return kAudioHardwareUnknownPropertyError;
    }
    hardwaremodel::changeJack(state_, isInput, isConnected, changes);
    return noErr;
  });
}

void Device::setDrift(double partsPerMillion) {
  change([&](PropertyChanges& changes) {
    hardwaremodel::changeDrift(state_, partsPerMillion, changes);
    return noErr;
  });
}

void Device::deliverLoopback() {
  const std::lock_guard guard(changeMutex_);
  wiring_.deliverLoopback();
}

}  // namespace orv::virtualhardware
