#include <array>
#include <cstddef>
#include <vector>

#include "hardware/model/Property.h"

namespace orv::hardwaremodel {
namespace {

using Place = PropertyPlace;
using Write = PropertyWrite;

/// Most streams of a section whose configuration is put together without allocating.
constexpr std::size_t kFewStreams = 16;

/// Of one frame of the section's first stream, as cycles carry it.
std::uint32_t bytesPerFrame(const SectionState& section) {
  return section.streams.front().channels * static_cast<std::uint32_t>(sizeof(float));
}

OSStatus readStreams(const Place& at, Answer& to) {
  std::vector<AudioStreamID> ids;
  ids.reserve(at.section.streams.size());
  for (const StreamState& stream : at.section.streams) {
    ids.push_back(stream.id);
  }
  return to.list(ids);
}

OSStatus readStreamConfiguration(const Place& at, Answer& to) {
  const std::vector<StreamState>& streams = at.section.streams;
  const std::size_t size = offsetof(AudioBufferList, mBuffers) + streams.size() * sizeof(AudioBuffer);
  struct {
    std::uint32_t mNumberBuffers;
    AudioBuffer mBuffers[kFewStreams];
  } few = {};
  std::vector<std::max_align_t> many;
  void* block = &few;
  if (streams.size() > kFewStreams) {
    many.resize(size / sizeof(std::max_align_t) + 1);
    block = many.data();
  }
  auto* const list = static_cast<AudioBufferList*>(block);
  list->mNumberBuffers = static_cast<std::uint32_t>(streams.size());
  AudioBuffer* const buffers = list->mBuffers;
  for (std::size_t i = 0; i < streams.size(); ++i) {
    buffers[i] = {streams[i].channels, 0, nullptr};
  }
  return to.bytes(list, size);
}

OSStatus readStereo(const Place& at, Answer& to) {
  return at.section.preferredStereo ? to.value(*at.section.preferredStereo) : kAudioHardwareUnknownPropertyError;
}

OSStatus writeStereo(const Write& to) {
  const auto channels = to.value<std::array<std::uint32_t, 2>>();
  for (const std::uint32_t channel : channels) {
    if (channel == 0 || channel > to.section.channels) {
      return kAudioHardwareIllegalOperationError;
    }
  }
  if (to.section.preferredStereo != channels) {
    to.section.preferredStereo = channels;
    to.tell(kAudioDevicePropertyPreferredChannelsForStereo);
  }
  return noErr;
}

OSStatus readLayout(const Place& at, Answer& to) {
  const std::vector<AudioChannelLabel>& labels = at.section.channelLabels;
  if (labels.empty()) {
    return kAudioHardwareUnknownPropertyError;
  }
  constexpr std::size_t kHead = offsetof(AudioChannelLayout, mChannelDescriptions);
  const std::uint32_t head[3] = {kAudioChannelLayoutTag_UseChannelDescriptions, 0,
                                 static_cast<std::uint32_t>(labels.size())};
  static_assert(sizeof head == kHead);
  std::vector<std::byte> block(kHead + labels.size() * sizeof(AudioChannelDescription));
  std::memcpy(block.data(), head, kHead);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const AudioChannelDescription description = {labels[i], 0, {0.0F, 0.0F, 0.0F}};
    std::memcpy(block.data() + kHead + i * sizeof description, &description, sizeof description);
  }
  return to.list(block);
}

OSStatus readBufferSizeRange(const Place& at, Answer& to) {
  const double bytes = bytesPerFrame(at.section);
  return to.value(AudioValueRange{at.device.frameRange.mMinimum * bytes, at.device.frameRange.mMaximum * bytes});
}

OSStatus writeBufferSize(const Write& to) {
  const auto bytes = to.value<std::uint32_t>();
  const std::uint32_t frame = bytesPerFrame(to.section);
  return bytes % frame == 0 ? changeFrames(to.device, bytes / frame, to.changes) : kAudioHardwareIllegalOperationError;
}

constexpr DeviceProperty kProperties[] = {
    {kAudioDevicePropertyLatency, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.section.latency); }},
    {kAudioDevicePropertySafetyOffset, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.section.safetyOffset); }},
    {kAudioDevicePropertyBufferFrameSize, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.device.cycle.frames); },
     [](const Write& to) { return changeFrames(to.device, to.value<std::uint32_t>(), to.changes); }},
    {kAudioDevicePropertyBufferFrameSizeRange, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.device.frameRange); }},
    {kAudioDevicePropertyBufferSize, Scope::section,
     [](const Place& at, Answer& to) { return to.value(at.device.cycle.frames * bytesPerFrame(at.section)); },
     writeBufferSize},
    {kAudioDevicePropertyBufferSizeRange, Scope::section, readBufferSizeRange},
    {kAudioDevicePropertyStreams, Scope::anySection, readStreams},
    {kAudioDevicePropertyStreamConfiguration, Scope::anySection, readStreamConfiguration},
    {kAudioDevicePropertyPreferredChannelsForStereo, Scope::section, readStereo, writeStereo},
    {kAudioDevicePropertyPreferredChannelLayout, Scope::section, readLayout},
};

}  // namespace

std::span<const DeviceProperty> cycleProperties() {
  return kProperties;
}

OSStatus changeFrames(DeviceState& device, std::uint32_t frames, PropertyChanges& changes) {
  if (frames < device.frameRange.mMinimum || frames > device.frameRange.mMaximum) {
    return kAudioHardwareIllegalOperationError;
  }
  if (frames != device.cycle.frames) {
    device.cycle.frames = frames;
    tellSections(device, kAudioDevicePropertyBufferFrameSize, changes);
    tellSections(device, kAudioDevicePropertyBufferSize, changes);
  }
  return noErr;
}

}  // namespace orv::hardwaremodel
