#include "HardwareNotifier.h"

#include <algorithm>
#include <condition_variable>
#include <utility>

#include "OrvPlatform/Thread.h"

namespace orv {
namespace {

// Places of a change in the two numbers of a call.
constexpr std::uint64_t kIsInput = std::uint64_t{1} << 32;

HardwareNotifier* notifierOf(const LoopCall& call) {
  return static_cast<HardwareNotifier*>(const_cast<void*>(static_cast<const void*>(call.receiver.get())));
}

/// A pointer that nothing is kept alive by, and that takes no heap block.
std::shared_ptr<void> unowned(void* object) noexcept {
  return {std::shared_ptr<void>(), object};
}

}  // namespace

HardwareNotifier::HardwareNotifier() {
  thread_ = startThread("orv hardware", [this] { loop_.run(); });
}

HardwareNotifier::~HardwareNotifier() {
  loop_.stop();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void HardwareNotifier::hardwareChanged(AudioHardwarePropertyID property) noexcept {
  LoopCall call;
  call.receiver = unowned(this);
  call.numbers[0] = property;
  call.perform = [](const LoopCall& told) {
    Change change;
    change.property = static_cast<std::uint32_t>(told.numbers[0]);
    notifierOf(told)->tell(change);
  };
  loop_.post(LoopPriority::state, std::move(call));
}

void HardwareNotifier::deviceChanged(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                     AudioDevicePropertyID property) noexcept {
  LoopCall call;
  call.receiver = unowned(this);
  call.numbers[0] = std::uint64_t{device} << 32 | channel;
  call.numbers[1] = property | (isInput ? kIsInput : 0);
  call.perform = [](const LoopCall& told) {
    Change change;
    change.isOfDevice = true;
    change.device = static_cast<std::uint32_t>(told.numbers[0] >> 32);
    change.channel = static_cast<std::uint32_t>(told.numbers[0]);
    change.property = static_cast<std::uint32_t>(told.numbers[1]);
    change.isInput = (told.numbers[1] & kIsInput) != 0;
    notifierOf(told)->tell(change);
  };
  loop_.post(LoopPriority::state, std::move(call));
}

void HardwareNotifier::add(const Listener& listener) {
  const std::lock_guard guard(listenersMutex_);
  if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
    listeners_.push_back(listener);
  }
}

void HardwareNotifier::remove(const Listener& listener) {
  {
    const std::lock_guard guard(listenersMutex_);
    std::erase(listeners_, listener);
  }
  if (!isOnThread()) {
    const std::lock_guard waitForTheOneBeingTold(tellingMutex_);
  }
}

bool HardwareNotifier::isPresent(const Listener& listener) {
  const std::lock_guard guard(listenersMutex_);
  return std::find(listeners_.begin(), listeners_.end(), listener) != listeners_.end();
}

bool HardwareNotifier::wants(const Listener& listener, const Change& change) {
  if (listener.property != kAudioPropertyWildcardPropertyID && listener.property != change.property) {
    return false;
  }
  if (!change.isOfDevice) {
    return listener.hardwareProc != nullptr;
  }
  return listener.deviceProc != nullptr && listener.device == change.device &&
         (listener.channel == kAudioPropertyWildcardChannel || listener.channel == change.channel) &&
         (listener.section == kAudioPropertyWildcardSection || (listener.section != 0) == change.isInput);
}

void HardwareNotifier::tell(const Change& change) {
  std::vector<Listener> wanting;
  {
    const std::lock_guard guard(listenersMutex_);
    std::copy_if(listeners_.begin(), listeners_.end(), std::back_inserter(wanting),
                 [&](const Listener& listener) { return wants(listener, change); });
  }
  for (const Listener& listener : wanting) {
    const std::lock_guard guard(tellingMutex_);
    if (!isPresent(listener)) {
      continue;
    }
    if (change.isOfDevice) {
      listener.deviceProc(change.device, change.channel, change.isInput, change.property, listener.clientData);
    } else {
      listener.hardwareProc(change.property, listener.clientData);
    }
  }
}

void HardwareNotifier::handOver(LoopCall call) noexcept {
  loop_.post(LoopPriority::state, std::move(call));
}

bool HardwareNotifier::isOnThread() const {
  return thread_.get_id() == std::this_thread::get_id();
}

void HardwareNotifier::waitUntilTold() {
  if (isOnThread()) {
    return;
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool isTold = false;
  loop_.perform([&] {
    const std::lock_guard guard(mutex);
    isTold = true;
    changed.notify_all();
  });
  std::unique_lock lock(mutex);
  changed.wait(lock, [&] { return isTold; });
}

}  // namespace orv
