#include <algorithm>
#include <cmath>

#include "hardware/pipewire/DeviceFacts.h"
#include "hardware/pipewire/DeviceIDs.h"
#include "hardware/pipewire/Text.h"
#include "hardware/pipewire/io/DeviceIO.h"

namespace orv::pipewire {
namespace {

using hardwaremodel::ControlState;
using hardwaremodel::DeviceState;
using hardwaremodel::SectionState;
using hardwaremodel::StreamState;

constexpr std::uint32_t kUsualFrames = 512;
/// Of what is not silence. Below it a third root has no meaning that anybody can hear.
constexpr float kQuietestDecibels = -100.0F;

/// Types of terminals of the USB audio class.
constexpr std::uint32_t kInput = 0x0200;
constexpr std::uint32_t kMicrophone = 0x0201;
constexpr std::uint32_t kOutput = 0x0300;
constexpr std::uint32_t kSpeaker = 0x0301;
constexpr std::uint32_t kHeadphones = 0x0302;
constexpr std::uint32_t kHeadset = 0x0402;

std::uint32_t terminalOf(const std::string& formFactor, bool isInput) {
  if (formFactor == "headset" || formFactor == "hands-free") {
    return kHeadset;
  }
  if (isInput) {
    return formFactor == "microphone" || formFactor == "webcam" ? kMicrophone : kInput;
  }
  if (formFactor == "headphone") {
    return kHeadphones;
  }
  return formFactor == "speaker" || formFactor == "internal" ? kSpeaker : kOutput;
}

FourCharCode transportOf(const std::string& bus) {
  if (bus == "usb") {
    return fourCC("usb ");
  }
  if (bus == "firewire") {
    return fourCC("1394");
  }
  if (bus == "bluetooth") {
    return fourCC("blue");
  }
  return bus == "pci" || bus == "isa" || bus == "platform" ? fourCC("bltn") : fourCC("virt");
}

AudioChannelLabel labelOf(const std::string& channel) {
  struct Known {
    const char* channel;
    AudioChannelLabel label;
  };
  constexpr Known kKnown[] = {
      {"FL", kAudioChannelLabel_Left},          {"FR", kAudioChannelLabel_Right},
      {"FC", kAudioChannelLabel_Center},        {"MONO", kAudioChannelLabel_Center},
      {"LFE", kAudioChannelLabel_LFEScreen},    {"SL", kAudioChannelLabel_LeftSurround},
      {"SR", kAudioChannelLabel_RightSurround}, {"RL", kAudioChannelLabel_LeftSurround},
      {"RR", kAudioChannelLabel_RightSurround},
  };
  for (const Known& known : kKnown) {
    if (channel == known.channel) {
      return known.label;
    }
  }
  return kAudioChannelLabel_Unknown;
}

/// The loudspeakers behind the listener are the surround ones only where there are none at the sides.
std::vector<AudioChannelLabel> labelsOf(const SidePlan& side, const ServerFacts& facts) {
  std::vector<AudioChannelLabel> labels;
  bool areKnown = false;
  for (const std::uint32_t port : side.ports) {
    const AudioChannelLabel label = labelOf(facts.ports.at(port).channel);
    const bool isTaken = std::find(labels.begin(), labels.end(), label) != labels.end();
    labels.push_back(isTaken ? kAudioChannelLabel_Unknown : label);
    areKnown = areKnown || label != kAudioChannelLabel_Unknown;
  }
  return areKnown ? labels : std::vector<AudioChannelLabel>();
}

std::optional<std::array<std::uint32_t, 2>> stereoOf(const SectionState& section) {
  const auto& labels = section.channelLabels;
  const auto left = std::find(labels.begin(), labels.end(), kAudioChannelLabel_Left);
  const auto right = std::find(labels.begin(), labels.end(), kAudioChannelLabel_Right);
  if (left != labels.end() && right != labels.end()) {
    return std::array{static_cast<std::uint32_t>(left - labels.begin() + 1),
                      static_cast<std::uint32_t>(right - labels.begin() + 1)};
  }
  return std::array{1U, std::min(2U, section.channels)};
}

std::uint32_t framesOf(const LatencyFacts& latency, double rate, std::uint32_t cycle) {
  const double frames =
      double{latency.cycles} * cycle + latency.frames + static_cast<double>(latency.nanoseconds) * rate / 1e9;
  return static_cast<std::uint32_t>(std::clamp(std::round(frames), 0.0, 1e9));
}

/// A mute for the whole section, and a volume for each channel.
void describeControls(const NodeFacts& node, SectionState* section) {
  section->quietestDecibels = kQuietestDecibels;
  section->volumeCurve = hardwaremodel::VolumeCurve::cubic;
  if (node.isMuted) {
    ControlState master;
    master.hasVolume = false;
    master.isMuted = *node.isMuted;
    section->controls.push_back(master);
  }
  if (node.volumes.size() != section->channels) {
    return;
  }
  for (std::uint32_t channel = 1; channel <= section->channels; ++channel) {
    ControlState control;
    control.channel = channel;
    control.hasMute = false;
    const float amplitude = std::clamp(node.volumes[channel - 1], 0.0F, 1.0F);
    control.scalar = std::cbrt(amplitude);
    control.decibels = section->decibelsOfScalar(control.scalar);
    section->controls.push_back(control);
  }
}

/// The IDs of sources are the card's numbers of its routes, from 1 on: 0 is none.
void describeSources(const NodeFacts& node, const CardFacts& card, SectionState* section) {
  if (!node.cardDevice) {
    return;
  }
  for (const auto& [index, route] : card.routes) {
    const auto& devices = route.cardDevices;
    if (route.isInput == section->isInput &&
        std::find(devices.begin(), devices.end(), *node.cardDevice) != devices.end()) {
      section->dataSources.push_back({index + 1, validText(route.name)});
    }
  }
  const auto inUse = card.routeInUse.find(*node.cardDevice);
  const auto route = inUse == card.routeInUse.end() ? card.routes.end() : card.routes.find(inUse->second);
  if (route != card.routes.end()) {
    section->currentDataSource = route->first + 1;
    section->jackIsConnected = route->second.isAvailable;
  }
}

SectionState describeSection(const SidePlan& side, bool isInput, AudioStreamID streamID, const DeviceState& device,
                             const ServerFacts& facts) {
  SectionState section;
  section.isInput = isInput;
  if (side.node == 0) {
    return section;
  }
  const NodeFacts& node = facts.nodes.at(side.node);
  section.channels = static_cast<std::uint32_t>(side.ports.size());
  const SampleFacts samples = side.isMonitor ? SampleFacts{} : node.samples.value_or(SampleFacts{});
  StreamState stream;
  stream.id = streamID;
  stream.channels = section.channels;
  stream.terminalType = terminalOf(node.formFactor, isInput);
  stream.physicalFormats = {hardwaremodel::packedFormat(section.channels, samples.bits, samples.isFloat, false)};
  stream.physicalFormat = stream.physicalFormats.front();
  stream.physicalFormat.mSampleRate = device.cycle.nominalRate;
  stream.formats = hardwaremodel::cycleFormats(device.nominalRates, section.channels);
  section.streams.push_back(std::move(stream));
  section.channelLabels = labelsOf(side, facts);
  section.preferredStereo = stereoOf(section);
  section.latency = framesOf(facts.ports.at(side.ports.front()).latency, device.cycle.nominalRate, device.cycle.frames);
  if (side.isMonitor) {
    return section;  // the controls and sources are the sink's
  }
  describeControls(node, &section);
  if (const auto card = facts.cards.find(node.card.value_or(0)); card != facts.cards.end()) {
    describeSources(node, card->second, &section);
  }
  return section;
}

/// Something that the node, or else its card, has a text for.
std::string textOf(const NodeFacts& node, const ServerFacts& facts, std::string NodeFacts::*ofNode,
                   std::string CardFacts::*ofCard) {
  const auto card = facts.cards.find(node.card.value_or(0));
  const bool isOfCard = (node.*ofNode).empty() && card != facts.cards.end();
  return validText(isOfCard ? card->second.*ofCard : node.*ofNode);
}

hardwaremodel::NominalRates ratesOf(const SettingsFacts& settings, double current) {
  hardwaremodel::NominalRates rates;
  for (const std::uint32_t rate : settings.allowedRates) {
    rates.push_back({static_cast<double>(rate), static_cast<double>(rate)});
  }
  if (!hardwaremodel::offersRate(rates, current)) {
    rates.push_back({current, current});
  }
  std::sort(rates.begin(), rates.end(),
            [](const AudioValueRange& a, const AudioValueRange& b) { return a.mMinimum < b.mMinimum; });
  return rates;
}

}  // namespace

DeviceState describe(const DevicePlan& plan, const ServerFacts& facts) {
  const NodeFacts& node = facts.nodes.at(plan.output.node != 0 ? plan.output.node : plan.input.node);
  const SettingsFacts& settings = facts.settings;
  const DeviceIDs ids = idsOf(plan.uid);
  DeviceState device;
  device.id = ids.device;
  device.uid = plan.uid;
  device.name = plan.name;
  if (const std::string maker = textOf(node, facts, &NodeFacts::vendor, &CardFacts::vendor); !maker.empty()) {
    device.manufacturer = maker;
  }
  device.transport = transportOf(textOf(node, facts, &NodeFacts::bus, &CardFacts::bus));
  device.cycle.nominalRate = std::max(settings.forcedRate != 0 ? settings.forcedRate : settings.rate, 1U);
  device.nominalRates = ratesOf(settings, device.cycle.nominalRate);
  const std::uint32_t least = std::clamp(settings.leastFrames, 1U, DeviceIO::kMostFrames);
  const std::uint32_t most = std::clamp(settings.mostFrames, least, DeviceIO::kMostFrames);
  device.frameRange = {static_cast<double>(least), static_cast<double>(most)};
  device.cycle.frames = std::clamp(kUsualFrames, least, most);
  device.isRunningSomewhere = node.isRunning;
  device.input = describeSection(plan.input, true, ids.inputStream, device, facts);
  device.output = describeSection(plan.output, false, ids.outputStream, device, facts);
  return device;
}

}  // namespace orv::pipewire
