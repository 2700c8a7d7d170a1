#include <algorithm>
#include <cstdlib>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "device/PropertyBlock.h"
#include "device/TerminatedList.h"

using Utils = OrvAudioDeviceUtils;

namespace {

constexpr std::uint32_t kMasterChannel = 0;

/// Room for a name at first, and the most that is tried when it is too little: bytes.
constexpr std::uint32_t kNameRoom = 1024;
constexpr std::uint32_t kMostNameRoom = 1U << 20;

bool canSet(AudioDeviceID device, AudioDevicePropertyID property, std::uint32_t channel, bool isInput) {
  return Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(device, property, channel, isInput);
}

template <typename Value>
bool set(AudioDeviceID device, AudioDevicePropertyID property, std::uint32_t channel, bool isInput, Value value) {
  static_assert(sizeof value == 4);
  return Utils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
      device, property, channel, isInput, sizeof value, &value);
}

}  // namespace

bool OrvAudioDevice::canSetVolumeDecibels_isInput(std::uint32_t channel, bool isInput) const {
  return canSet(deviceID(), kAudioDevicePropertyVolumeDecibels, channel, isInput);
}

bool OrvAudioDevice::canSetVolumeScalar_isInput(std::uint32_t channel, bool isInput) const {
  return canSet(deviceID(), kAudioDevicePropertyVolumeScalar, channel, isInput);
}

bool OrvAudioDevice::hasVolumeControl_isInput(std::uint32_t channel, bool isInput) const {
  return canSetVolumeDecibels_isInput(channel, isInput) || canSetVolumeScalar_isInput(channel, isInput);
}

float OrvAudioDevice::volumeDecibels_isInput(std::uint32_t channel, bool isInput) const {
  return Utils::float32Property_propertyID_forChannel_isInput(deviceID(), kAudioDevicePropertyVolumeDecibels, channel,
                                                              isInput);
}

float OrvAudioDevice::volumeScalar_isInput(std::uint32_t channel, bool isInput) const {
  return Utils::float32Property_propertyID_forChannel_isInput(deviceID(), kAudioDevicePropertyVolumeScalar, channel,
                                                              isInput);
}

bool OrvAudioDevice::setVolumeDecibels_forChannel_isInput(float decibels, std::uint32_t channel, bool isInput) const {
  return set(deviceID(), kAudioDevicePropertyVolumeDecibels, channel, isInput, decibels);
}

bool OrvAudioDevice::setVolumeScalar_forChannel_isInput(float scalar, std::uint32_t channel, bool isInput) const {
  return set(deviceID(), kAudioDevicePropertyVolumeScalar, channel, isInput, scalar);
}

std::shared_ptr<OrvAudioValueRange> OrvAudioDevice::volumeRangeDecibels_isInput(std::uint32_t channel,
                                                                                bool isInput) const {
  const auto range = readDeviceProperty(deviceID(), kAudioDevicePropertyVolumeRangeDecibels, channel, isInput)
                         .first<AudioValueRange>();
  return OrvAudioValueRange::initWithAudioValueRange(&range);
}

float OrvAudioDevice::volumeScalarToDecibels_isInput(std::uint32_t channel, bool isInput) const {
  return Utils::float32Property_propertyID_forChannel_isInput(deviceID(), kAudioDevicePropertyVolumeScalarToDecibels,
                                                              channel, isInput);
}

float OrvAudioDevice::volumeDecibelsToScalar_isInput(std::uint32_t channel, bool isInput) const {
  return Utils::float32Property_propertyID_forChannel_isInput(deviceID(), kAudioDevicePropertyVolumeDecibelsToScalar,
                                                              channel, isInput);
}

bool OrvAudioDevice::canMute() const {
  return canSet(deviceID(), kAudioDevicePropertyMute, kMasterChannel, true);
}

bool OrvAudioDevice::isMuted() const {
  return Utils::integerProperty_propertyID(deviceID(), kAudioDevicePropertyMute) == 1;
}

bool OrvAudioDevice::mute(bool muted) const {
  return set(deviceID(), kAudioDevicePropertyMute, kMasterChannel, false, std::uint32_t{muted ? 1U : 0U});
}

std::uint32_t* OrvAudioDevice::dataSourceIDs(bool isInput) const {
  return terminatedList(readDeviceProperty(deviceID(), kAudioDevicePropertyDataSources, kMasterChannel, isInput));
}

std::optional<std::string> OrvAudioDevice::dataSourceNameForID_isInput(std::uint32_t sourceID, bool isInput) const {
  return withoutThrowing(__func__, std::optional<std::string>(), [&]() -> std::optional<std::string> {
    OSStatus status = kAudioHardwareBadPropertySizeError;
    std::string text;
    for (std::uint32_t room = kNameRoom; room <= kMostNameRoom && status == kAudioHardwareBadPropertySizeError;
         room *= 2) {
      text.assign(room, '\0');
      AudioValueTranslation translation{&sourceID, sizeof sourceID, text.data(), room};
      std::uint32_t size = sizeof translation;
      status = AudioDeviceGetProperty(deviceID(), kMasterChannel, isInput,
                                      kAudioDevicePropertyDataSourceNameForIDCFString, &size, &translation);
      text.resize(std::min(translation.mOutputDataSize, room));
    }
    return status == noErr ? std::optional(std::move(text)) : std::nullopt;
  });
}

std::vector<std::string> OrvAudioDevice::dataSourceNames(bool isInput) const {
  return withoutThrowing(__func__, std::vector<std::string>(), [&] {
    const TerminatedList ids(dataSourceIDs(isInput));
    std::vector<std::string> names;
    for (std::uint32_t i = 0; ids.at(i) != 0; ++i) {
      const auto name = dataSourceNameForID_isInput(ids.at(i), isInput);
      names.push_back(name ? *name : orv::formatText("Unnamed data source %u", i));
    }
    return names;
  });
}

std::uint32_t OrvAudioDevice::currentDataSourceID(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertyDataSource, isInput);
}

bool OrvAudioDevice::canSetCurrentDataSourceID(bool isInput) const {
  return canSet(deviceID(), kAudioDevicePropertyDataSource, kMasterChannel, isInput);
}

bool OrvAudioDevice::setCurrentDataSourceID_isInput(std::uint32_t sourceID, bool isInput) const {
  return set(deviceID(), kAudioDevicePropertyDataSource, kMasterChannel, isInput, sourceID);
}

std::optional<std::string> OrvAudioDevice::currentDataSourceName(bool isInput) const {
  return dataSourceNameForID_isInput(currentDataSourceID(isInput), isInput);
}
