#pragma once

#include <cstdint>

#include "hardware/model/Answer.h"
#include "hardware/model/DeviceState.h"
#include "hardware/model/Property.h"

/// Property calls on what is known of a device. All of a write happens, or nothing.
namespace orv::hardwaremodel {

/// Which property of which part of a device.
struct PropertyAddress {
  std::uint32_t channel;
  bool isInput;
  AudioDevicePropertyID property;
};

/// `isWritable` is set on success, where it is not null.
OSStatus readDeviceProperty(const DeviceState& device, const PropertyAddress& address, Answer answer, bool* isWritable);
OSStatus writeDeviceProperty(DeviceState& device, const PropertyAddress& address, std::uint32_t size, const void* data,
                             PropertyChanges& changes);

OSStatus readStreamProperty(const DeviceState& device, AudioStreamID stream, std::uint32_t channel,
                            AudioStreamPropertyID property, Answer answer, bool* isWritable);
OSStatus writeStreamProperty(DeviceState& device, AudioStreamID stream, std::uint32_t channel,
                             AudioStreamPropertyID property, std::uint32_t size, const void* data,
                             PropertyChanges& changes);

/// The answer to `kAudioHardwarePropertyDeviceForUID`. No UID is longer than `longest` bytes.
/// `deviceForUID(const std::string&)` gives the device's ID, or `kAudioDeviceUnknown`.
template <typename DeviceForUID>
OSStatus answerDeviceForUID(Answer& answer, std::size_t longest, const DeviceForUID& deviceForUID) {
  AudioValueTranslation translation = {};
  if (answer.isSizeOnly()) {
    return answer.value(translation);
  }
  AudioDeviceID id = kAudioDeviceUnknown;
  if (!answer.passedIn(&translation) || translation.mOutputDataSize < sizeof id) {
    return kAudioHardwareBadPropertySizeError;
  }
  if (translation.mInputData == nullptr || translation.mOutputData == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  // A text that is longer is none of them; and a text without an end does no harm.
  const auto* const text = static_cast<const char*>(translation.mInputData);
  id = deviceForUID(std::string(text, strnlen(text, longest + 1)));
  std::memcpy(translation.mOutputData, &id, sizeof id);
  translation.mOutputDataSize = id == kAudioDeviceUnknown ? 0 : sizeof id;
  const OSStatus status = answer.value(translation);
  // A UID that nobody has gives the ID 0, and no data: neither is anything filled in, nor is that a failure.
  return id == kAudioDeviceUnknown ? answer.bytes(nullptr, 0) : status;
}

}  // namespace orv::hardwaremodel
