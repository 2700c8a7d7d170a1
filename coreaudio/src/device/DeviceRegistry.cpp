#include "device/DeviceRegistry.h"

#include <algorithm>
#include <utility>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "device/PropertyBlock.h"

namespace {

using Contents = DeviceRegistry::Contents;
using Device = DeviceRegistry::Device;

/// Devices may come while the list is read: it is asked for again then, a few times.
constexpr int kMostAttempts = 4;

OSStatus readDeviceIDs(std::vector<AudioDeviceID>* ids) {
  OSStatus status = kAudioHardwareBadPropertySizeError;
  PropertyBlock block;
  for (int i = 0; i < kMostAttempts && status == kAudioHardwareBadPropertySizeError; ++i) {
    status = fetchHardwareProperty(kAudioHardwarePropertyDevices, &block);
  }
  *ids = block.values<AudioDeviceID>();
  return status;
}

void takeOut(const std::map<AudioDeviceID, Device>& gone, std::vector<Device>* list) {
  std::erase_if(*list, [&](const Device& device) { return gone.contains(device->deviceID()); });
}

void takeOutAllBut(const std::vector<AudioDeviceID>& ids, Contents* contents) {
  std::map<AudioDeviceID, Device> gone = contents->devices;
  for (const AudioDeviceID id : ids) {
    gone.erase(id);
  }
  takeOut(gone, &contents->deviceArray);
  takeOut(gone, &contents->outputDeviceArray);
  takeOut(gone, &contents->inputDeviceArray);
  for (const auto& entry : gone) {
    contents->devices.erase(entry.first);
  }
}

void addNew(const std::vector<AudioDeviceID>& ids, DeviceRegistry::DeviceMaker makeDevice, Contents* contents) {
  for (const AudioDeviceID id : ids) {
    const Device device = contents->devices.contains(id) ? nullptr : makeDevice(id);
    if (device == nullptr) {
      continue;
    }
    contents->devices.emplace(id, device);
    contents->deviceArray.push_back(device);
    if (device->canBeOutputDevice()) {
      contents->outputDeviceArray.push_back(device);
    }
    if (device->canBeInputDevice()) {
      contents->inputDeviceArray.push_back(device);
    }
  }
}

}  // namespace

const std::vector<Device>& DeviceRegistry::Contents::list(OrvAudioDeviceList::Kind kind) const {
  switch (kind) {
    case OrvAudioDeviceList::Kind::input:
      return inputDeviceArray;
    case OrvAudioDeviceList::Kind::output:
      return outputDeviceArray;
    case OrvAudioDeviceList::Kind::all:
      break;
  }
  return deviceArray;
}

DeviceRegistry& DeviceRegistry::shared() {
  static auto* const instance = new DeviceRegistry;
  return *instance;
}

std::shared_ptr<const Contents> DeviceRegistry::contents() const {
  const std::lock_guard guard(contentsLock_);
  return contents_;
}

std::shared_ptr<const Contents> DeviceRegistry::replace(std::shared_ptr<const Contents> contents) {
  const std::lock_guard guard(contentsLock_);
  return std::exchange(contents_, std::move(contents));
}

bool DeviceRegistry::rebuild(DeviceMaker makeDevice) {
  OSStatus status = noErr;
  // Both may hold the last reference to a device, whose end waits for listeners: they go when the lock is free.
  std::shared_ptr<Contents> changed;
  std::shared_ptr<const Contents> before;
  {
    const std::lock_guard guard(mutexLock);
    std::vector<AudioDeviceID> ids;
    status = readDeviceIDs(&ids);
    if (status == noErr) {
      changed = std::make_shared<Contents>(*contents());
      if (ids.size() < changed->devices.size()) {
        takeOutAllBut(ids, changed.get());
      } else {
        addNew(ids, makeDevice, changed.get());
      }
      before = replace(changed);
    }
  }
  if (status != noErr) {
    orv::logf("ERROR: %s", OrvAudioDeviceUtils::errorMessage(status).c_str());
  }
  return status == noErr;
}
