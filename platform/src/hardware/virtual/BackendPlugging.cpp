#include <algorithm>
#include <iterator>
#include <utility>

#include "OrvPlatform/Log.h"
#include "hardware/virtual/Backend.h"
#include "hardware/virtual/DescriptionCheck.h"

/// Devices that come and go.
namespace orv::virtualhardware {
namespace {

void report(std::string* problem, std::string text) {
  if (problem != nullptr) {
    *problem = std::move(text);
  }
}

}  // namespace

AudioDeviceID Backend::plug(const VirtualDevice& device, std::string* problem) {
  return exchange(kAudioDeviceUnknown, device, problem);
}

AudioDeviceID Backend::swap(AudioDeviceID device, const VirtualDevice& with, std::string* problem) {
  if (device == kAudioDeviceUnknown) {
    report(problem, "there is no device to take away");
    return kAudioDeviceUnknown;
  }
  return exchange(device, with, problem);
}

bool Backend::unplug(AudioDeviceID device) {
  collectGone();
  DevicePointer leaving;
  {
    const std::lock_guard guard(plugMutex_);
    const std::lock_guard listGuard(listMutex_);
    leaving = state_.device(device);
    if (leaving == nullptr) {
      return false;
    }
    HardwareChanges changes = {kAudioHardwarePropertyDevices};
    state_.remove(device);
    gone_.push_back(leaving);
    state_.chooseDefaults(changes);
    surroundings_.tellDevice(device, 0, false, kAudioDevicePropertyDeviceIsAlive);
    tell(changes);
  }
  letGo(leaving);
  return true;
}

/// One device, or none, goes, and one comes. Nothing changes when the one that comes makes no sense.
AudioDeviceID Backend::exchange(AudioDeviceID goes, const VirtualDevice& comes, std::string* problem) {
  collectGone();
  std::string why;
  DevicePointer leaving;
  DevicePointer coming;
  {
    const std::lock_guard guard(plugMutex_);
    coming = make(goes, comes, &why);
    if (coming == nullptr) {
      report(problem, formatText("device \"%s\": %s", comes.uid.c_str(), why.c_str()));
      return kAudioDeviceUnknown;
    }
    const std::lock_guard listGuard(listMutex_);
    leaving = state_.device(goes);
    HardwareChanges changes = {kAudioHardwarePropertyDevices};
    if (leaving != nullptr) {
      state_.remove(goes);
      gone_.push_back(leaving);
      surroundings_.tellDevice(goes, 0, false, kAudioDevicePropertyDeviceIsAlive);
    }
    state_.add(coming);
    state_.chooseDefaults(changes);
    tell(changes);
  }
  if (leaving != nullptr) {
    letGo(leaving);
  }
  return coming->id();
}

/// Requires: plugMutex_ is held.
Backend::DevicePointer Backend::make(AudioDeviceID goes, const VirtualDevice& description, std::string* problem) {
  *problem = goes == kAudioDeviceUnknown || find(goes) != nullptr ? problemOf(description)
                                                                  : "the device that it is to replace is not there";
  if (problem->empty()) {
    *problem = conflictOf(goes, description);
  }
  CycleCounters::Slot* const counter = problem->empty() ? counters_.take() : nullptr;
  if (counter == nullptr) {
    *problem = problem->empty() ? "there are too many devices" : *problem;
    return nullptr;
  }
  const AudioDeviceID id = description.id != 0 ? description.id : giveOutID();
  DevicePointer device;
  try {
    device = std::make_shared<Device>(description, id, lastStream_ + 1, surroundings_, *counter);
  } catch (...) {
    counter->isTaken = false;
    throw;
  }
  if (!connectInput(*device, description.source, problem) || !connectOutput(*device, description.sink, problem)) {
    return nullptr;
  }
  lastStream_ += device->streams();
  attachListeners(*device);
  device->settle();
  return device;
}

std::string Backend::conflictOf(AudioDeviceID goes, const VirtualDevice& description) {
  const std::lock_guard guard(listMutex_);
  const auto sameUID = state_.deviceForUID(description.uid);
  if (sameUID != nullptr && sameUID->id() != goes) {
    return "uid: there is a device with it already";
  }
  const bool isTaken = description.id != 0 && description.id != goes && state_.device(description.id) != nullptr;
  return isTaken ? formatText("id: there is a device with the ID %u already", description.id) : std::string();
}

/// Requires: plugMutex_ is held.
AudioDeviceID Backend::giveOutID() {
  do {
    ++lastDevice_;
  } while (lastDevice_ == kAudioDeviceUnknown || find(lastDevice_) != nullptr);
  return lastDevice_;
}

/// Ends the cycles of a device that is no longer in the list. In a cycle, which may be its own, it is kept until
/// somebody else comes by.
void Backend::letGo(const DevicePointer& device) {
  device->close();
  if (CycleRunner::current() != nullptr) {
    return;
  }
  device->settle();
  const std::lock_guard guard(listMutex_);
  std::erase(gone_, device);
}

/// Whoever stops or starts a device counts on it that no cycle of the one that had this ID is under way.
void Backend::endCyclesOfGone(AudioDeviceID id) {
  std::vector<DevicePointer> gone;
  {
    const std::lock_guard guard(listMutex_);
    std::copy_if(gone_.begin(), gone_.end(), std::back_inserter(gone),
                 [&](const DevicePointer& device) { return device->id() == id; });
  }
  for (const DevicePointer& device : gone) {
    device->close();
  }
}

void Backend::collectGone() {
  if (CycleRunner::current() != nullptr) {
    return;
  }
  std::vector<DevicePointer> gone;
  {
    const std::lock_guard guard(listMutex_);
    gone = gone_;
  }
  for (const DevicePointer& device : gone) {
    letGo(device);
  }
}

}  // namespace orv::virtualhardware
