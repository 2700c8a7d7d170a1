#include "hardware/virtual/HardwareState.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "hardware/model/DeviceCalls.h"
#include "hardware/virtual/DescriptionCheck.h"

namespace orv::virtualhardware {
namespace {

constexpr float kQuietestChime = -60.0F;
constexpr float kLoudestChime = 0.0F;

float chimeDecibelsOf(float scalar) {
  return kQuietestChime + std::clamp(scalar, 0.0F, 1.0F) * (kLoudestChime - kQuietestChime);
}

float chimeScalarOf(float decibels) {
  return (std::clamp(decibels, kQuietestChime, kLoudestChime) - kQuietestChime) / (kLoudestChime - kQuietestChime);
}

}  // namespace

std::shared_ptr<Device> HardwareState::device(AudioDeviceID id) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.id == id; });
  return found == entries_.end() ? nullptr : found->device;
}

std::shared_ptr<Device> HardwareState::deviceOfStream(AudioStreamID stream) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return stream - entry.firstStream < entry.streams; });
  return found == entries_.end() ? nullptr : found->device;
}

std::shared_ptr<Device> HardwareState::deviceForUID(const std::string& uid) const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.device->uid() == uid; });
  return found == entries_.end() ? nullptr : found->device;
}

std::vector<std::shared_ptr<Device>> HardwareState::devices() const {
  std::vector<std::shared_ptr<Device>> devices;
  devices.reserve(entries_.size());
  for (const Entry& entry : entries_) {
    devices.push_back(entry.device);
  }
  return devices;
}

void HardwareState::add(const std::shared_ptr<Device>& device) {
  entries_.push_back({device->id(), device->firstStream(), device->streams(), device});
}

void HardwareState::remove(AudioDeviceID id) {
  std::erase_if(entries_, [&](const Entry& entry) { return entry.id == id; });
}

void HardwareState::chooseDefaults(HardwareChanges& changes) {
  for (Default& which : defaults_) {
    if (device(which.device) != nullptr) {
      continue;
    }
    const auto next = std::find_if(entries_.begin(), entries_.end(),
                                   [&](const Entry& entry) { return which.isPossible(*entry.device); });
    const AudioDeviceID chosen = next == entries_.end() ? kAudioDeviceUnknown : next->id;
    if (std::exchange(which.device, chosen) != chosen) {
      changes.push_back(which.property);
    }
  }
}

const HardwareState::Default* HardwareState::defaultOf(AudioHardwarePropertyID property) const {
  const auto found = std::find_if(defaults_.begin(), defaults_.end(),
                                  [&](const Default& which) { return which.property == property; });
  return found == defaults_.end() ? nullptr : &*found;
}

OSStatus HardwareState::read(AudioHardwarePropertyID property, Answer& answer) const {
  if (const Default* const which = defaultOf(property)) {
    return answer.value(which->device);
  }
  switch (property) {
    case kAudioHardwarePropertyDevices:
      return readDevices(answer);
    case kAudioHardwarePropertyDeviceForUID:
      return readDeviceForUID(answer);
    case kAudioHardwarePropertyBootChimeVolumeScalar:
      return answer.value(chimeScalar_);
    case kAudioHardwarePropertyBootChimeVolumeDecibels:
      return answer.value(chimeDecibels_);
    case kAudioHardwarePropertyBootChimeVolumeRangeDecibels:
      return answer.value(AudioValueRange{kQuietestChime, kLoudestChime});
    case kAudioHardwarePropertyBootChimeVolumeScalarToDecibels:
      return answer.translated<float>(chimeDecibelsOf);
    case kAudioHardwarePropertyBootChimeVolumeDecibelsToScalar:
      return answer.translated<float>(chimeScalarOf);
    default:
      return kAudioHardwareUnknownPropertyError;
  }
}

OSStatus HardwareState::readDevices(Answer& answer) const {
  std::vector<AudioDeviceID> ids;
  ids.reserve(entries_.size());
  for (const Entry& entry : entries_) {
    ids.push_back(entry.id);
  }
  return answer.list(ids);
}

OSStatus HardwareState::readDeviceForUID(Answer& answer) const {
  return hardwaremodel::answerDeviceForUID(answer, kLongestText, [&](const std::string& uid) {
    const auto found = deviceForUID(uid);
    return found == nullptr ? kAudioDeviceUnknown : found->id();
  });
}

bool HardwareState::isWritable(AudioHardwarePropertyID property) {
  switch (property) {
    case kAudioHardwarePropertyDefaultInputDevice:
    case kAudioHardwarePropertyDefaultOutputDevice:
    case kAudioHardwarePropertyDefaultSystemOutputDevice:
    case kAudioHardwarePropertyBootChimeVolumeScalar:
    case kAudioHardwarePropertyBootChimeVolumeDecibels:
      return true;
    default:
      return false;
  }
}

OSStatus HardwareState::write(AudioHardwarePropertyID property, std::uint32_t size, const void* data,
                              HardwareChanges& changes) {
  std::uint32_t needed = 0;
  Answer answer(&needed);
  if (const OSStatus status = read(property, answer); status != noErr) {
    return status;
  }
  if (!isWritable(property)) {
    return kAudioHardwareIllegalOperationError;
  }
  if (size != needed) {
    return kAudioHardwareBadPropertySizeError;
  }
  for (Default& which : defaults_) {
    if (which.property == property) {
      AudioDeviceID id = 0;
      std::memcpy(&id, data, sizeof id);
      return writeDefault(which, id, changes);
    }
  }
  float value = 0.0F;
  std::memcpy(&value, data, sizeof value);
  if (std::isnan(value)) {
    return kAudioHardwareIllegalOperationError;
  }
  return property == kAudioHardwarePropertyBootChimeVolumeScalar
             ? setChime(std::clamp(value, 0.0F, 1.0F), chimeDecibelsOf(value), changes)
             : setChime(chimeScalarOf(value), std::clamp(value, kQuietestChime, kLoudestChime), changes);
}

OSStatus HardwareState::writeDefault(Default& which, AudioDeviceID id, HardwareChanges& changes) const {
  const auto chosen = device(id);
  if (chosen == nullptr) {
    return kAudioHardwareBadDeviceError;
  }
  if (!which.isPossible(*chosen)) {
    return kAudioHardwareIllegalOperationError;
  }
  if (std::exchange(which.device, id) != id) {
    changes.push_back(which.property);
  }
  return noErr;
}

OSStatus HardwareState::setChime(float scalar, float decibels, HardwareChanges& changes) {
  if (chimeScalar_ != scalar || chimeDecibels_ != decibels) {
    chimeScalar_ = scalar;
    chimeDecibels_ = decibels;
    changes.push_back(kAudioHardwarePropertyBootChimeVolumeScalar);
    changes.push_back(kAudioHardwarePropertyBootChimeVolumeDecibels);
  }
  return noErr;
}

}  // namespace orv::virtualhardware
