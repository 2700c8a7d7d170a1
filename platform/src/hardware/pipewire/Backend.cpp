#include "hardware/pipewire/Backend.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "hardware/model/DeviceCalls.h"
#include "hardware/pipewire/Text.h"

namespace orv::pipewire {

using hardwaremodel::Answer;

namespace {

/// Longer than any UID.
constexpr std::size_t kLongestUID = 4096;

bool isDefaultDevice(AudioHardwarePropertyID property) {
  return property == kAudioHardwarePropertyDefaultInputDevice || property == kAudioHardwarePropertyDefaultOutputDevice;
}

}  // namespace

void Backend::setEvents(HardwareEvents* events) {
  teller_.setEvents(events);
}

Backend::Devices Backend::devices() {
  const std::lock_guard guard(mutex_);
  return devices_;
}

Backend::DevicePointer Backend::find(AudioDeviceID id) {
  const std::lock_guard guard(mutex_);
  const auto found =
      std::find_if(devices_.begin(), devices_.end(), [&](const DevicePointer& device) { return device->id() == id; });
  return found == devices_.end() ? nullptr : *found;
}

Backend::DevicePointer Backend::findByStream(AudioStreamID id) {
  const std::lock_guard guard(mutex_);
  const auto found = std::find_if(devices_.begin(), devices_.end(),
                                  [&](const DevicePointer& device) { return id != 0 && device->ownsStream(id); });
  return found == devices_.end() ? nullptr : *found;
}

AudioDeviceID Backend::idForUID(const std::string& uid) {
  AudioDeviceID byAlias = kAudioDeviceUnknown;
  for (const DevicePointer& device : devices()) {
    if (device->plan().uid == uid) {
      return device->id();
    }
    if (!device->plan().alias.empty() && device->plan().alias == uid) {
      byAlias = device->id();
    }
  }
  return byAlias;
}

OSStatus Backend::answer(AudioHardwarePropertyID property, Answer to) {
  switch (property) {
    case kAudioHardwarePropertyDevices: {
      std::vector<AudioDeviceID> ids;
      for (const DevicePointer& device : devices()) {
        ids.push_back(device->id());
      }
      return to.list(ids);
    }
    case kAudioHardwarePropertyDeviceForUID:
      return hardwaremodel::answerDeviceForUID(to, kLongestUID, [&](const std::string& uid) { return idForUID(uid); });
    case kAudioHardwarePropertyDefaultInputDevice: {
      const std::lock_guard guard(mutex_);
      return to.value(defaults_.input());
    }
    case kAudioHardwarePropertyDefaultOutputDevice:
    case kAudioHardwarePropertyDefaultSystemOutputDevice: {
      const std::lock_guard guard(mutex_);
      return to.value(defaults_.output());
    }
    default:
      return kAudioHardwareUnknownPropertyError;
  }
}

OSStatus Backend::hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) {
  *isWritable = isDefaultDevice(property);
  return answer(property, Answer(size));
}

OSStatus Backend::hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) {
  return answer(property, Answer(size, data));
}

OSStatus Backend::setHardwareProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) {
  std::uint32_t needed = 0;
  if (const OSStatus status = answer(property, Answer(&needed)); status != noErr) {
    return status;
  }
  if (!isDefaultDevice(property)) {
    return kAudioHardwareIllegalOperationError;
  }
  if (size != needed) {
    return kAudioHardwareBadPropertySizeError;
  }
  AudioDeviceID id = kAudioDeviceUnknown;
  std::memcpy(&id, data, sizeof id);
  const DevicePointer device = find(id);
  if (device == nullptr) {
    return kAudioHardwareBadDeviceError;
  }
  const bool isInput = property == kAudioHardwarePropertyDefaultInputDevice;
  if ((isInput ? device->plan().input : device->plan().output).node == 0) {
    return kAudioHardwareIllegalOperationError;
  }
  chooseDefault(isInput, device);
  return noErr;
}

OSStatus Backend::devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                     AudioDevicePropertyID property, std::uint32_t* size, bool* isWritable) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError
                          : found->read({channel, isInput, property}, Answer(size), isWritable);
}

OSStatus Backend::deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                 AudioDevicePropertyID property, std::uint32_t* size, void* data) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError
                          : found->read({channel, isInput, property}, Answer(size, data), nullptr);
}

OSStatus Backend::setDeviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                    AudioDevicePropertyID property, std::uint32_t size, const void* data) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->write({channel, isInput, property}, size, data);
}

OSStatus Backend::streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                     std::uint32_t* size, bool* isWritable) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError
                          : found->readStream(stream, channel, property, Answer(size), isWritable);
}

OSStatus Backend::streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                 std::uint32_t* size, void* data) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError
                          : found->readStream(stream, channel, property, Answer(size, data), nullptr);
}

OSStatus Backend::setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                    std::uint32_t size, const void* data) {
  const auto found = findByStream(stream);
  return found == nullptr ? kAudioHardwareBadStreamError : found->writeStream(stream, channel, property, size, data);
}

OSStatus Backend::start(AudioDeviceID device, HardwareCycleSink* sink) {
  const auto found = find(device);
  return found == nullptr ? kAudioHardwareBadDeviceError : found->start(sink);
}

/// A device is in the list until its last cycle has ended.
OSStatus Backend::stop(AudioDeviceID device) {
  const auto found = find(device);
  return found == nullptr ? noErr : found->stop();
}

}  // namespace orv::pipewire
