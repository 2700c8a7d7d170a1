#include "hardware/virtual/DescribedState.h"

namespace orv::virtualhardware {
namespace {

using hardwaremodel::ControlState;
using hardwaremodel::SectionState;
using hardwaremodel::StreamState;

StreamState streamState(const VirtualStream& stream, AudioStreamID id, std::uint32_t startingChannel,
                        const VirtualDevice& device) {
  StreamState state;
  state.id = id;
  state.startingChannel = startingChannel;
  state.channels = stream.physicalFormats.front().mChannelsPerFrame;
  state.terminalType = stream.terminalType;
  state.physicalFormats = stream.physicalFormats;
  state.formats = hardwaremodel::cycleFormats(device.nominalSampleRates, state.channels);
  state.physicalFormat =
      hardwaremodel::formatAtRate(stream.physicalFormats, stream.physicalFormats.front(), device.nominalSampleRate)
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
  for (const VirtualDataSource& source : section.dataSources) {
    state.dataSources.push_back({source.id, source.name});
  }
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

}  // namespace

DeviceState stateOf(const VirtualDevice& description, AudioDeviceID id, AudioStreamID firstStream) {
  DeviceState state;
  state.id = id;
  state.uid = description.uid;
  state.name = description.name;
  state.manufacturer = description.manufacturer;
  state.transport = description.transport;
  state.nominalRates = description.nominalSampleRates;
  state.frameRange = description.bufferFrameSizes;
  state.cycle = {description.bufferFrameSize, description.nominalSampleRate};
  state.canBeDefault = description.canBeDefault;
  state.canBeSystemDefault = description.canBeSystemDefault;
  state.supportsMixing = description.supportsMixing;
  state.hasPlayThru = description.hasPlayThru;
  state.input = sectionState(description.input, true, firstStream, description);
  const auto firstOutput = static_cast<AudioStreamID>(firstStream + description.input.streams.size());
  state.output = sectionState(description.output, false, firstOutput, description);
  return state;
}

}  // namespace orv::virtualhardware
