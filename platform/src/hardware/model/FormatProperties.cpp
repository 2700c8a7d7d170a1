#include "hardware/model/Property.h"

namespace orv::hardwaremodel {
namespace {

using Place = PropertyPlace;
using Write = PropertyWrite;
using Format = AudioStreamBasicDescription;

template <AudioDevicePropertyID property>
OSStatus readFormat(const Place& at, Answer& to) {
  const StreamState* const stream = at.section.streamOfChannel(at.channel);
  return stream == nullptr ? kAudioHardwareUnknownPropertyError : readStreamFormat(at.device, *stream, property, to);
}

template <AudioDevicePropertyID property>
OSStatus writeFormat(const Write& to) {
  const StreamState* const stream = to.section.streamOfChannel(to.channel);
  return stream == nullptr
             ? kAudioHardwareUnknownPropertyError
             : writeStreamFormat(to.device, to.section, stream->id, property, to.value<Format>(), to.changes);
}

OSStatus answerSupported(Answer& to, const std::vector<Format>& formats, const DeviceState& device) {
  Format format = {};
  if (to.isSizeOnly()) {
    return to.value(format);
  }
  if (!to.passedIn(&format)) {
    return kAudioHardwareBadPropertySizeError;
  }
  return exactFormat(formats, device.nominalRates, format, device.cycle.nominalRate)
             ? to.value(format)
             : kAudioDeviceUnsupportedFormatError;
}

OSStatus answerMatch(Answer& to, const std::vector<Format>& formats, const DeviceState& device) {
  Format format = {};
  if (to.isSizeOnly()) {
    return to.value(format);
  }
  if (!to.passedIn(&format)) {
    return kAudioHardwareBadPropertySizeError;
  }
  const auto match = closestFormat(formats, device.nominalRates, format, device.cycle.nominalRate);
  return match ? to.value(*match) : kAudioDeviceUnsupportedFormatError;
}

constexpr DeviceProperty kProperties[] = {
    {kAudioDevicePropertyNominalSampleRate, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.device.cycle.nominalRate); },
     [](const Write& to) { return changeNominalRate(to.device, to.value<double>(), to.changes); }},
    {kAudioDevicePropertyActualSampleRate, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.device.actualRate()); }},
    {kAudioDevicePropertyAvailableNominalSampleRates, Scope::section,
     [](const Place& at, Answer& to) { return to.list(at.device.nominalRates); }},
    {kAudioDevicePropertyStreamFormat, Scope::sectionChannel, readFormat<kAudioDevicePropertyStreamFormat>,
     writeFormat<kAudioDevicePropertyStreamFormat>},
    {kAudioDevicePropertyStreamFormats, Scope::sectionChannel, readFormat<kAudioDevicePropertyStreamFormats>},
    {kAudioDevicePropertyStreamFormatSupported, Scope::sectionChannel,
     readFormat<kAudioDevicePropertyStreamFormatSupported>},
    {kAudioDevicePropertyStreamFormatMatch, Scope::sectionChannel, readFormat<kAudioDevicePropertyStreamFormatMatch>},
    {kAudioStreamPropertyPhysicalFormat, Scope::sectionChannel, readFormat<kAudioStreamPropertyPhysicalFormat>,
     writeFormat<kAudioStreamPropertyPhysicalFormat>},
    {kAudioStreamPropertyPhysicalFormats, Scope::sectionChannel, readFormat<kAudioStreamPropertyPhysicalFormats>},
    {kAudioStreamPropertyPhysicalFormatSupported, Scope::sectionChannel,
     readFormat<kAudioStreamPropertyPhysicalFormatSupported>},
    {kAudioStreamPropertyPhysicalFormatMatch, Scope::sectionChannel,
     readFormat<kAudioStreamPropertyPhysicalFormatMatch>},
};

}  // namespace

std::span<const DeviceProperty> formatProperties() {
  return kProperties;
}

OSStatus readStreamFormat(const DeviceState& device, const StreamState& stream, AudioStreamPropertyID property,
                          Answer& answer) {
  switch (property) {
    case kAudioDevicePropertyStreamFormat:
      return answer.value(floatFormat(stream.channels, device.cycle.nominalRate));
    case kAudioDevicePropertyStreamFormats:
      return answer.list(stream.formats);
    case kAudioDevicePropertyStreamFormatSupported:
      return answerSupported(answer, stream.formats, device);
    case kAudioDevicePropertyStreamFormatMatch:
      return answerMatch(answer, stream.formats, device);
    case kAudioStreamPropertyPhysicalFormat:
      return answer.value(stream.physicalFormat);
    case kAudioStreamPropertyPhysicalFormats:
      return answer.list(stream.physicalFormats);
    case kAudioStreamPropertyPhysicalFormatSupported:
      return answerSupported(answer, stream.physicalFormats, device);
    case kAudioStreamPropertyPhysicalFormatMatch:
      return answerMatch(answer, stream.physicalFormats, device);
    default:
      return kAudioHardwareUnknownPropertyError;
  }
}

bool isWritableFormat(AudioStreamPropertyID property) {
  return property == kAudioDevicePropertyStreamFormat || property == kAudioStreamPropertyPhysicalFormat;
}

OSStatus writeStreamFormat(DeviceState& device, SectionState& section, AudioStreamID stream,
                           AudioStreamPropertyID property, const Format& format, PropertyChanges& changes) {
  const bool isPhysical = property == kAudioStreamPropertyPhysicalFormat;
  for (StreamState& candidate : section.streams) {
    if (candidate.id != stream) {
      continue;
    }
    const auto wanted = exactFormat(isPhysical ? candidate.physicalFormats : candidate.formats, device.nominalRates,
                                    format, device.cycle.nominalRate);
    if (!wanted || !device.canRunAt(wanted->mSampleRate)) {
      return kAudioDeviceUnsupportedFormatError;
    }
    const bool changesSamples = isPhysical && !haveSameSamples(candidate.physicalFormat, *wanted);
    const bool changesRate = wanted->mSampleRate != device.cycle.nominalRate;
    if (isPhysical) {
      candidate.physicalFormat = *wanted;
    }
    if (changesRate) {
      return changeNominalRate(device, wanted->mSampleRate, changes);
    }
    if (changesSamples) {
      // The first stream is the one that channel 0 stands for.
      const std::uint32_t channel = candidate.startingChannel == 1 ? 0 : candidate.startingChannel;
      changes.push_back({channel, section.isInput, kAudioStreamPropertyPhysicalFormat});
    }
    return noErr;
  }
  return kAudioHardwareBadStreamError;
}

OSStatus changeNominalRate(DeviceState& device, double rate, PropertyChanges& changes) {
  if (!device.canRunAt(rate)) {
    return kAudioDeviceUnsupportedFormatError;
  }
  if (rate == device.cycle.nominalRate) {
    return noErr;
  }
  device.cycle.nominalRate = rate;
  for (SectionState* const section : {&device.input, &device.output}) {
    for (StreamState& stream : section->streams) {
      stream.physicalFormat =
          formatAtRate(stream.physicalFormats, stream.physicalFormat, rate).value_or(stream.physicalFormat);
    }
  }
  for (const AudioDevicePropertyID property :
       {kAudioDevicePropertyNominalSampleRate, kAudioDevicePropertyActualSampleRate, kAudioDevicePropertyStreamFormat,
        kAudioStreamPropertyPhysicalFormat}) {
    tellSections(device, property, changes);
  }
  return noErr;
}

void changeDrift(DeviceState& device, double partsPerMillion, PropertyChanges& changes) {
  if (partsPerMillion != device.driftPartsPerMillion) {
    device.driftPartsPerMillion = partsPerMillion;
    tellSections(device, kAudioDevicePropertyActualSampleRate, changes);
  }
}

}  // namespace orv::hardwaremodel
