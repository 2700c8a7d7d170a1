#include "OrvCoreAudio/OrvAudioDeviceCollections.h"

#include <algorithm>

#include "device/DeviceRegistry.h"

namespace {

std::shared_ptr<const DeviceRegistry::Contents> contents() {
  return DeviceRegistry::shared().contents();
}

}  // namespace

std::size_t OrvAudioDeviceList::count() const {
  return contents()->list(kind_).size();
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceList::at(std::size_t index) const {
  const auto now = contents();
  const auto& list = now->list(kind_);
  return index < list.size() ? list[index] : nullptr;
}

bool OrvAudioDeviceList::contains(const std::shared_ptr<OrvAudioDevice>& device) const {
  const auto now = contents();
  const auto& list = now->list(kind_);
  return std::find(list.begin(), list.end(), device) != list.end();
}

std::vector<std::shared_ptr<OrvAudioDevice>> OrvAudioDeviceList::snapshot() const {
  return contents()->list(kind_);
}

std::size_t OrvAudioDeviceDictionary::count() const {
  return contents()->devices.size();
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceDictionary::objectForKey(AudioDeviceID deviceID) const {
  const auto now = contents();
  const auto found = now->devices.find(deviceID);
  return found == now->devices.end() ? nullptr : found->second;
}

bool OrvAudioDeviceDictionary::contains(AudioDeviceID deviceID) const {
  return contents()->devices.contains(deviceID);
}

std::map<AudioDeviceID, std::shared_ptr<OrvAudioDevice>> OrvAudioDeviceDictionary::snapshot() const {
  return contents()->devices;
}
