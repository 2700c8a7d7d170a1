#include "OrvPlatform/VirtualHardware.h"
#include "hardware/virtual/Model.h"

namespace orv {
namespace {

using hardwaremodel::packedFormat;

/// Types of terminals of the USB audio class: microphone, speaker, line connector.
constexpr std::uint32_t kMicrophone = 0x0201;
constexpr std::uint32_t kSpeaker = 0x0301;
constexpr std::uint32_t kLineConnector = 0x0603;

/// 16 and 24 bits at every rate of the device.
VirtualStream stream(std::uint32_t channels, std::uint32_t terminalType) {
  VirtualStream stream;
  stream.physicalFormats = {packedFormat(channels, 24, false, false), packedFormat(channels, 16, false, false)};
  stream.terminalType = terminalType;
  return stream;
}

/// A master and one for each channel.
std::vector<VirtualControl> controls(std::uint32_t channels) {
  std::vector<VirtualControl> controls;
  for (std::uint32_t channel = 0; channel <= channels; ++channel) {
    VirtualControl control;
    control.channel = channel;
    controls.push_back(control);
  }
  return controls;
}

VirtualSection section(std::uint32_t channels, std::uint32_t terminalType) {
  VirtualSection section;
  section.streams = {stream(channels, terminalType)};
  section.controls = controls(channels);
  section.preferredStereo[0] = 1;
  section.preferredStereo[1] = 2;
  section.latency = 32;
  section.safetyOffset = 16;
  return section;
}

}  // namespace

VirtualDevice virtualStereoInterface() {
  VirtualDevice device;
  device.uid = "orv-virtual-stereo";
  device.name = "Virtual Stereo Interface";
  device.manufacturer = "OrvCoreAudio";
  device.hasPlayThru = true;
  device.input = section(2, kLineConnector);
  device.input.dataSources = {{fourCC("line"), "Line In"}, {fourCC("imic"), "Microphone"}};
  device.input.currentDataSource = fourCC("line");
  device.input.channelLabels = {kAudioChannelLabel_Left, kAudioChannelLabel_Right};
  device.output = section(2, kSpeaker);
  device.output.dataSources = {{fourCC("ispk"), "Loudspeakers"}, {fourCC("hdpn"), "Headphones"}};
  device.output.currentDataSource = fourCC("ispk");
  device.output.channelLabels = {kAudioChannelLabel_Left, kAudioChannelLabel_Right};
  return device;
}

VirtualDevice virtualEightChannelInterface() {
  VirtualDevice device;
  device.uid = "orv-virtual-eight";
  device.name = "Virtual Eight-Channel Interface";
  device.manufacturer = "OrvCoreAudio";
  device.nominalSampleRates = {{44100.0, 44100.0}, {48000.0, 48000.0}, {88200.0, 88200.0}, {96000.0, 96000.0}};
  device.input = section(8, kMicrophone);
  device.output = section(8, kLineConnector);
  return device;
}

VirtualDevice virtualSixChannelOutput() {
  VirtualDevice device;
  device.uid = "orv-virtual-six";
  device.name = "Virtual Six-Channel Output";
  device.manufacturer = "OrvCoreAudio";
  device.nominalSampleRates = {{48000.0, 48000.0}, {96000.0, 96000.0}};
  device.nominalSampleRate = 48000.0;
  device.output = section(6, kSpeaker);
  device.output.channelLabels = {kAudioChannelLabel_Left,         kAudioChannelLabel_Right,
                                 kAudioChannelLabel_Center,       kAudioChannelLabel_LFEScreen,
                                 kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround};
  return device;
}

}  // namespace orv
