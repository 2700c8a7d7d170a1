#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "WithoutThrowing.h"
#include "device/FormatProperties.h"

using Utils = OrvAudioDeviceUtils;

namespace {

using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;

bool canSetFormat(AudioDeviceID device, AudioDevicePropertyID property, std::uint32_t channel, bool isInput) {
  return Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(device, property, channel, isInput);
}

bool setFormat(AudioDeviceID device, AudioDevicePropertyID property, const Format& format, std::uint32_t channel,
               bool isInput) {
  if (format == nullptr || !canSetFormat(device, property, channel, isInput)) {
    return false;
  }
  const AudioStreamBasicDescription record = recordOf(*format);
  return Utils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
      device, property, channel, isInput, sizeof record, &record);
}

}  // namespace

double OrvAudioDevice::nominalSampleRate(bool isInput) const {
  return Utils::float64Property_propertyID_isInput(deviceID(), kAudioDevicePropertyNominalSampleRate, isInput);
}

double OrvAudioDevice::actualSampleRate(bool isInput) const {
  return Utils::float64Property_propertyID_isInput(deviceID(), kAudioDevicePropertyActualSampleRate, isInput);
}

std::vector<std::shared_ptr<OrvAudioValueRange>> OrvAudioDevice::availableNominalSampleRates(bool isInput) const {
  return withoutThrowing(__func__, std::vector<std::shared_ptr<OrvAudioValueRange>>(), [&] {
    const PropertyBlock block =
        readDeviceProperty(deviceID(), kAudioDevicePropertyAvailableNominalSampleRates, 0, isInput);
    std::vector<std::shared_ptr<OrvAudioValueRange>> ranges;
    for (const auto& range : block.values<AudioValueRange>()) {
      ranges.push_back(OrvAudioValueRange::initWithAudioValueRange(&range));
    }
    return ranges;
  });
}

Format OrvAudioDevice::actualStreamFormat_isInput(std::uint32_t channel, bool isInput) const {
  return firstFormat(readDeviceProperty(deviceID(), kAudioDevicePropertyStreamFormat, channel, isInput));
}

Format OrvAudioDevice::physicalStreamFormat_isInput(std::uint32_t channel, bool isInput) const {
  return firstFormat(readDeviceProperty(deviceID(), kAudioStreamPropertyPhysicalFormat, channel, isInput));
}

bool OrvAudioDevice::canSetActualStreamFormat_isInput(std::uint32_t channel, bool isInput) const {
  return canSetFormat(deviceID(), kAudioDevicePropertyStreamFormat, channel, isInput);
}

bool OrvAudioDevice::canSetPhysicalStreamFormat_isInput(std::uint32_t channel, bool isInput) const {
  return canSetFormat(deviceID(), kAudioStreamPropertyPhysicalFormat, channel, isInput);
}

bool OrvAudioDevice::setActualStreamFormat_forChannel_isInput(const Format& format, std::uint32_t channel,
                                                              bool isInput) const {
  return setFormat(deviceID(), kAudioDevicePropertyStreamFormat, format, channel, isInput);
}

bool OrvAudioDevice::setPhysicalStreamFormat_forChannel_isInput(const Format& format, std::uint32_t channel,
                                                                bool isInput) const {
  return setFormat(deviceID(), kAudioStreamPropertyPhysicalFormat, format, channel, isInput);
}

std::vector<Format> OrvAudioDevice::streamFormats_isInput(std::uint32_t channel, bool isInput) const {
  return withoutThrowing(__func__, std::vector<Format>(), [&] {
    return allFormats(readDeviceProperty(deviceID(), kAudioDevicePropertyStreamFormats, channel, isInput));
  });
}

Format OrvAudioDevice::findMatchingStreamFormat_forChannel_isInput(const Format& format, std::uint32_t channel,
                                                                   bool isInput) const {
  if (format == nullptr) {
    return nullptr;
  }
  AudioStreamBasicDescription record = recordOf(*format);
  std::uint32_t size = sizeof record;
  const OSStatus status =
      AudioDeviceGetProperty(deviceID(), channel, isInput, kAudioDevicePropertyStreamFormatMatch, &size, &record);
  return status == noErr ? OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record) : nullptr;
}
