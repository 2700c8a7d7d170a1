#include "hardware/virtual/DeviceState.h"

#include <algorithm>
#include <cmath>

namespace orv::virtualhardware {
namespace {

StreamState streamState(const VirtualStream& stream, AudioStreamID id, std::uint32_t startingChannel,
                        const VirtualDevice& device) {
  StreamState state;
  state.id = id;
  state.startingChannel = startingChannel;
  state.channels = stream.physicalFormats.front().mChannelsPerFrame;
  state.terminalType = stream.terminalType;
  state.physicalFormats = stream.physicalFormats;
  state.formats = cycleFormats(device.nominalSampleRates, state.channels);
  state.physicalFormat = formatAtRate(stream.physicalFormats, stream.physicalFormats.front(), device.nominalSampleRate)
                             .value_or(stream.physicalFormats.front());
  return state;
}

ControlState controlState(const VirtualControl& control, const SectionState& section) {
  ControlState state;
  state.channel = control.channel;
  state.hasVolume = control.hasVolume;
  state.hasMute = control.hasMute;
  state.isWritable = control.isWritable;
  state.scalar = control.volume;
  state.decibels = section.decibelsOfScalar(control.volume);
  state.isMuted = control.isMuted;
  return state;
}

SectionState sectionState(const VirtualSection& section, bool isInput, AudioStreamID firstStream,
                          const VirtualDevice& device) {
  SectionState state;
  state.isInput = isInput;
  for (const VirtualStream& stream : section.streams) {
    const auto id = static_cast<AudioStreamID>(firstStream + state.streams.size());
    state.streams.push_back(streamState(stream, id, state.channels + 1, device));
    state.channels += state.streams.back().channels;
  }
  state.quietestDecibels = section.quietestDecibels;
  state.loudestDecibels = section.loudestDecibels;
  for (const VirtualControl& control : section.controls) {
    state.controls.push_back(controlState(control, state));
  }
  state.dataSources = section.dataSources;
  state.currentDataSource = section.currentDataSource;
  if (state.currentDataSource == 0 && !state.dataSources.empty()) {
    state.currentDataSource = state.dataSources.front().id;
  }
  state.jackIsConnected = section.jackIsConnected;
  if (section.preferredStereo[0] && section.preferredStereo[1]) {
    state.preferredStereo = {*section.preferredStereo[0], *section.preferredStereo[1]};
  }
  state.channelLabels = section.channelLabels;
  state.latency = section.latency;
  state.safetyOffset = section.safetyOffset;
  return state;
}

float gainOf(const ControlState& control, const SectionState& section) {
  if (control.hasMute && control.isMuted) {
    return 0.0F;
  }
  if (!control.hasVolume || control.scalar >= 1.0F) {
    return 1.0F;
  }
  if (control.scalar <= 0.0F) {
    return 0.0F;
  }
  return std::pow(10.0F, (control.decibels - section.loudestDecibels) / 20.0F);
}

}  // namespace

const StreamState* SectionState::streamOfChannel(std::uint32_t channel) const {
  if (channel == 0) {
    return streams.empty() ? nullptr : streams.data();
  }
  const auto found = std::find_if(streams.begin(), streams.end(), [&](const StreamState& stream) {
    return channel >= stream.startingChannel && channel - stream.startingChannel < stream.channels;
  });
  return found == streams.end() ? nullptr : &*found;
}

const ControlState* SectionState::control(std::uint32_t channel) const {
  const auto found = std::find_if(controls.begin(), controls.end(),
                                  [&](const ControlState& candidate) { return candidate.channel == channel; });
  return found == controls.end() ? nullptr : &*found;
}

ControlState* SectionState::control(std::uint32_t channel) {
  return const_cast<ControlState*>(static_cast<const SectionState*>(this)->control(channel));
}

float SectionState::decibelsOfScalar(float scalar) const {
  return quietestDecibels + std::clamp(scalar, 0.0F, 1.0F) * (loudestDecibels - quietestDecibels);
}

float SectionState::scalarOfDecibels(float decibels) const {
  const float inRange = std::clamp(decibels, quietestDecibels, loudestDecibels);
  return (inRange - quietestDecibels) / (loudestDecibels - quietestDecibels);
}

float SectionState::gain(std::uint32_t channel) const {
  const ControlState* const master = control(0);
  const ControlState* const own = control(channel);
  return (master == nullptr ? 1.0F : gainOf(*master, *this)) * (own == nullptr ? 1.0F : gainOf(*own, *this));
}

DeviceState::DeviceState(const VirtualDevice& description, AudioDeviceID deviceID, AudioStreamID firstStream)
    : id(deviceID),
      uid(description.uid),
      name(description.name),
      manufacturer(description.manufacturer),
      transport(description.transport),
      nominalRates(description.nominalSampleRates),
      frameRange(description.bufferFrameSizes),
      cycle{description.bufferFrameSize, description.nominalSampleRate},
      canBeDefault(description.canBeDefault),
      canBeSystemDefault(description.canBeSystemDefault),
      supportsMixing(description.supportsMixing),
      hasPlayThru(description.hasPlayThru),
      input(sectionState(description.input, true, firstStream, description)),
      output(sectionState(description.output, false,
                          static_cast<AudioStreamID>(firstStream + description.input.streams.size()), description)) {}

bool DeviceState::canRunAt(double rate) const {
  const auto hasFormat = [&](const StreamState& stream) {
    return formatAtRate(stream.physicalFormats, stream.physicalFormat, rate).has_value();
  };
  return offersRate(nominalRates, rate) && std::all_of(input.streams.begin(), input.streams.end(), hasFormat) &&
         std::all_of(output.streams.begin(), output.streams.end(), hasFormat);
}

double DeviceState::actualRate() const {
  return cycle.nominalRate * (1.0 + driftPartsPerMillion * 1e-6);
}

}  // namespace orv::virtualhardware
