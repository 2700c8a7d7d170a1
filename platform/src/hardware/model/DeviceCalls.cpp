#include "hardware/model/DeviceCalls.h"

#include <algorithm>

namespace orv::hardwaremodel {
namespace {

struct FoundStream {
  const SectionState* section = nullptr;
  const StreamState* stream = nullptr;  ///< null: there is none
};

FoundStream findStream(const DeviceState& device, AudioStreamID id) {
  for (const SectionState* const section : {&device.input, &device.output}) {
    for (const StreamState& stream : section->streams) {
      if (stream.id == id) {
        return {section, &stream};
      }
    }
  }
  return {};
}

OSStatus readFound(const DeviceState& device, const FoundStream& found, std::uint32_t channel,
                   AudioStreamPropertyID property, Answer& answer) {
  if (channel > found.section->channels) {
    return kAudioHardwareUnknownPropertyError;
  }
  switch (property) {
    case kAudioStreamPropertyOwningDevice:
      return answer.value(device.id);
    case kAudioStreamPropertyDirection:
      return answer.flag(found.section->isInput);
    case kAudioStreamPropertyTerminalType:
      return answer.value(found.stream->terminalType);
    case kAudioStreamPropertyStartingChannel:
      return answer.value(found.stream->startingChannel);
    default:
      return readStreamFormat(device, *found.stream, property, answer);
  }
}

OSStatus checkWrite(OSStatus readStatus, bool isWritable, std::uint32_t size, std::uint32_t needed) {
  if (readStatus != noErr) {
    return readStatus;
  }
  if (!isWritable) {
    return kAudioHardwareIllegalOperationError;
  }
  return size == needed ? noErr : kAudioHardwareBadPropertySizeError;
}

}  // namespace

OSStatus readDeviceProperty(const DeviceState& device, const PropertyAddress& address, Answer answer,
                            bool* isWritable) {
  const DeviceProperty* const found = findDeviceProperty(address.property);
  const PropertyPlace place = {device, device.section(address.isInput), address.channel};
  if (found == nullptr || !isInScope(*found, place)) {
    return kAudioHardwareUnknownPropertyError;
  }
  const OSStatus status = found->read(place, answer);
  if (status == noErr && isWritable != nullptr) {
    *isWritable = found->write != nullptr && (found->isWritable == nullptr || found->isWritable(place));
  }
  return status;
}

OSStatus writeDeviceProperty(DeviceState& device, const PropertyAddress& address, std::uint32_t size, const void* data,
                             PropertyChanges& changes) {
  std::uint32_t needed = 0;
  bool isWritable = false;
  const OSStatus known = readDeviceProperty(device, address, Answer(&needed), &isWritable);
  if (const OSStatus status = checkWrite(known, isWritable, size, needed); status != noErr) {
    return status;
  }
  return findDeviceProperty(address.property)
      ->write({device, device.section(address.isInput), address.channel, data, changes});
}

OSStatus readStreamProperty(const DeviceState& device, AudioStreamID stream, std::uint32_t channel,
                            AudioStreamPropertyID property, Answer answer, bool* isWritable) {
  const FoundStream found = findStream(device, stream);
  if (found.stream == nullptr) {
    return kAudioHardwareBadStreamError;
  }
  const OSStatus status = readFound(device, found, channel, property, answer);
  if (status == noErr && isWritable != nullptr) {
    *isWritable = isWritableFormat(property);
  }
  return status;
}

OSStatus writeStreamProperty(DeviceState& device, AudioStreamID stream, std::uint32_t channel,
                             AudioStreamPropertyID property, std::uint32_t size, const void* data,
                             PropertyChanges& changes) {
  std::uint32_t needed = 0;
  bool isWritable = false;
  const OSStatus known = readStreamProperty(device, stream, channel, property, Answer(&needed), &isWritable);
  AudioStreamBasicDescription format = {};
  if (const OSStatus status = checkWrite(known, isWritable, size, sizeof format); status != noErr) {
    return status;
  }
  std::memcpy(&format, data, sizeof format);
  const FoundStream found = findStream(device, stream);
  return found.section == nullptr
             ? kAudioHardwareBadStreamError
             : writeStreamFormat(device, device.section(found.section->isInput), stream, property, format, changes);
}

}  // namespace orv::hardwaremodel
