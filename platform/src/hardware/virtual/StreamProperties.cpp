#include "hardware/virtual/StreamProperties.h"

namespace orv::virtualhardware {

OSStatus readStreamProperty(const DeviceState& device, const SectionState& section, const StreamState& stream,
                            std::uint32_t channel, AudioStreamPropertyID property, Answer& answer) {
  if (channel > section.channels) {
    return kAudioHardwareUnknownPropertyError;
  }
  switch (property) {
    case kAudioStreamPropertyOwningDevice:
      return answer.value(device.id);
    case kAudioStreamPropertyDirection:
      return answer.flag(section.isInput);
    case kAudioStreamPropertyTerminalType:
      return answer.value(stream.terminalType);
    case kAudioStreamPropertyStartingChannel:
      return answer.value(stream.startingChannel);
    default:
      return readStreamFormat(device, stream, property, answer);
  }
}

}  // namespace orv::virtualhardware
