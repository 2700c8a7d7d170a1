#include <algorithm>
#include <cstddef>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvCoreAudio/OrvAudioStream.h"
#include "WithoutThrowing.h"
#include "device/PropertyBlock.h"
#include "device/TerminatedList.h"

using Utils = OrvAudioDeviceUtils;

namespace {

constexpr std::uint32_t kMasterChannel = 0;

/// How many elements behind `header` bytes a block has room for, at most as many as it claims to have.
std::uint32_t elementsThatFit(const PropertyBlock& block, std::size_t header, std::size_t element,
                              std::uint32_t claimed) {
  return static_cast<std::uint32_t>(std::min<std::size_t>(claimed, (block.size() - header) / element));
}

}  // namespace

AudioStreamID* OrvAudioDevice::streamIDs(bool isInput) const {
  return terminatedList(readDeviceProperty(deviceID(), kAudioDevicePropertyStreams, kMasterChannel, isInput));
}

std::vector<std::shared_ptr<OrvAudioStream>> OrvAudioDevice::streams(bool isInput) {
  return withoutThrowing(__func__, std::vector<std::shared_ptr<OrvAudioStream>>(), [&] {
    const TerminatedList ids(streamIDs(isInput));
    std::vector<std::shared_ptr<OrvAudioStream>> made;
    // Goes on while there are fewer streams than the next ID says: the 0 behind the last ends it, and IDs are large.
    while (made.size() < ids.at(made.size())) {
      made.push_back(OrvAudioStream::initWithAudioDevice_streamID(shared_from_this(), ids.at(made.size())));
    }
    return made;
  });
}

std::shared_ptr<OrvAudioBufferList> OrvAudioDevice::streamConfiguration(bool isInput) const {
  const PropertyBlock block =
      readDeviceProperty(deviceID(), kAudioDevicePropertyStreamConfiguration, kMasterChannel, isInput);
  constexpr std::size_t kHeader = offsetof(AudioBufferList, mBuffers);
  if (block.size() < kHeader) {
    return OrvAudioBufferList::initWithAudioBufferList(nullptr);
  }
  auto* const list = static_cast<AudioBufferList*>(block.bytes());
  list->mNumberBuffers = elementsThatFit(block, kHeader, sizeof(AudioBuffer), list->mNumberBuffers);
  AudioBuffer* const buffers = list->mBuffers;
  for (std::uint32_t i = 0; i < list->mNumberBuffers; ++i) {
    buffers[i].mData = nullptr;  // a configuration has no data, whatever stands there
  }
  return OrvAudioBufferList::initWithAudioBufferList(list);
}

std::uint32_t OrvAudioDevice::numberOfStreams(bool isInput) const {
  const auto configuration = streamConfiguration(isInput);
  return configuration ? configuration->numberBuffers() : 0;
}

std::uint32_t OrvAudioDevice::numberOfChannels(bool isInput) const {
  const auto configuration = streamConfiguration(isInput);
  std::uint32_t channels = 0;
  for (std::uint32_t i = 0; configuration && i < configuration->numberBuffers(); ++i) {
    channels += configuration->audioBuffer(i)->numberChannels();
  }
  return channels;
}

std::uint32_t* OrvAudioDevice::preferredChannelsForStereo(bool isInput) const {
  PropertyBlock block =
      readDeviceProperty(deviceID(), kAudioDevicePropertyPreferredChannelsForStereo, kMasterChannel, isInput);
  return block.size() < 2 * sizeof(std::uint32_t) ? nullptr : static_cast<std::uint32_t*>(block.release());
}

std::shared_ptr<OrvAudioChannelLayout> OrvAudioDevice::channelLayout(bool isInput) const {
  const PropertyBlock block =
      readDeviceProperty(deviceID(), kAudioDevicePropertyPreferredChannelLayout, kMasterChannel, isInput);
  constexpr std::size_t kHeader = offsetof(AudioChannelLayout, mChannelDescriptions);
  if (block.size() < kHeader) {
    return nullptr;
  }
  auto* const layout = static_cast<AudioChannelLayout*>(block.bytes());
  layout->mNumberChannelDescriptions =
      elementsThatFit(block, kHeader, sizeof(AudioChannelDescription), layout->mNumberChannelDescriptions);
  return OrvAudioChannelLayout::initWithAudioChannelLayout(layout);
}

std::uint32_t OrvAudioDevice::transportType(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertyTransportType, isInput);
}

std::uint32_t OrvAudioDevice::latency(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertyLatency, isInput);
}

std::uint32_t OrvAudioDevice::bufferSize(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertyBufferSize, isInput);
}

std::uint32_t OrvAudioDevice::bufferFrameSize(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertyBufferFrameSize, isInput);
}

std::uint32_t OrvAudioDevice::safetyOffset(bool isInput) const {
  return Utils::integerProperty_propertyID_isInput(deviceID(), kAudioDevicePropertySafetyOffset, isInput);
}
