#include "hardware/pipewire/Device.h"

#include <utility>

#include "hardware/pipewire/DeviceFacts.h"

namespace orv::pipewire {

using hardwaremodel::Answer;
using hardwaremodel::DeviceState;
using hardwaremodel::PropertyAddress;
using hardwaremodel::PropertyChanges;

namespace {

/// The server takes over what is set within a few milliseconds, a card that lives in another process a little later.
/// What it says before then may be older than what was set.
constexpr std::chrono::milliseconds kSettling(150);

AudioStreamID firstStream(const hardwaremodel::SectionState& section) {
  return section.streams.empty() ? 0 : section.streams.front().id;
}

}  // namespace

Device::Device(DevicePlan plan, DeviceState state, Loop& loop, DeviceOwner& owner, const Teller& teller)
    : plan_(std::move(plan)),
      id_(state.id),
      inputStream_(firstStream(state.input)),
      outputStream_(firstStream(state.output)),
      loop_(loop),
      owner_(owner),
      teller_(teller),
      state_(std::move(state)) {}

Device::~Device() = default;

OSStatus Device::read(const PropertyAddress& address, Answer answer, bool* isWritable) {
  const std::lock_guard guard(mutex_);
  return hardwaremodel::readDeviceProperty(state_, address, answer, isWritable);
}

OSStatus Device::readStream(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property, Answer answer,
                            bool* isWritable) {
  const std::lock_guard guard(mutex_);
  return hardwaremodel::readStreamProperty(state_, stream, channel, property, answer, isWritable);
}

OSStatus Device::write(const PropertyAddress& address, std::uint32_t size, const void* data) {
  return change([&](PropertyChanges& changes) {
    return hardwaremodel::writeDeviceProperty(state_, address, size, data, changes);
  });
}

OSStatus Device::writeStream(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                             std::uint32_t size, const void* data) {
  return change([&](PropertyChanges& changes) {
    return hardwaremodel::writeStreamProperty(state_, stream, channel, property, size, data, changes);
  });
}

/// Runs `change` on the state, tells listeners, and leaves it to the loop to tell the server.
template <typename Change>
OSStatus Device::change(const Change& change) {
  PropertyChanges changes;
  Wishes wishes;
  {
    const std::lock_guard guard(mutex_);
    const DeviceState before = state_;
    if (const OSStatus status = change(changes); status != noErr) {
      return status;
    }
    wishes = differences(before, state_);
    if (!wishes.isNothing()) {
      settled_ = Clock::now() + kSettling;
    }
  }
  teller_.device(id_, changes);
  if (!wishes.isNothing()) {
    loop_.post([self = shared_from_this(), wishes = std::move(wishes)] {
      self->owner_.carryOut(wishes, self->plan_);
      if (wishes.frames) {
        self->applyCycle();
      }
    });
    loop_.postAfter(kSettling, [self = shared_from_this()] { self->owner_.refreshSoon(); });
  }
  return noErr;
}

void Device::update(const DeviceState& now) {
  PropertyChanges changes;
  {
    const std::lock_guard guard(mutex_);
    UpdateScope scope;
    scope.settings = Clock::now() >= settled_;
    scope.runningRate = runningRate_;
    pipewire::update(state_, now, scope, changes);
  }
  teller_.device(id_, changes);
  if (!changes.empty()) {
    applyCycle();
  }
}

void Device::overloaded() noexcept {
  teller_.device(id_, 0, false, kAudioDeviceProcessorOverload);
}

void Device::rateChanged(double rate) {
  {
    const std::lock_guard guard(mutex_);
    runningRate_ = rate;
  }
  owner_.refreshSoon();
}

}  // namespace orv::pipewire
