#include "hardware/pipewire/Defaults.h"

#include <algorithm>
#include <utility>

namespace orv::pipewire {
namespace {

std::string nameOf(const SidePlan& side, const ServerFacts& facts) {
  const auto node = facts.nodes.find(side.node);
  return node == facts.nodes.end() ? "" : node->second.name;
}

/// The device whose node has that name; a default source that is a sink means its monitor. Without one the first that
/// there is, a real input before a monitor.
AudioDeviceID find(const Defaults::Devices& devices, const ServerFacts& facts, bool isInput) {
  const std::string& wanted = isInput ? facts.defaultSource : facts.defaultSink;
  AudioDeviceID first = kAudioDeviceUnknown;
  for (const auto& device : devices) {
    const SidePlan& side = isInput ? device->plan().input : device->plan().output;
    if (side.node == 0) {
      continue;
    }
    if (!wanted.empty() && nameOf(side, facts) == wanted) {
      return device->id();
    }
    first = first == kAudioDeviceUnknown ? device->id() : first;
  }
  return first;
}

}  // namespace

std::vector<AudioHardwarePropertyID> Defaults::update(const Devices& devices, const ServerFacts& facts) {
  std::vector<AudioHardwarePropertyID> changes;
  if (update(input_, find(devices, facts, true), facts.defaultSource, devices)) {
    changes.push_back(kAudioHardwarePropertyDefaultInputDevice);
  }
  if (update(output_, find(devices, facts, false), facts.defaultSink, devices)) {
    changes.push_back(kAudioHardwarePropertyDefaultOutputDevice);
    changes.push_back(kAudioHardwarePropertyDefaultSystemOutputDevice);
  }
  return changes;
}

bool Defaults::update(Default& which, AudioDeviceID found, const std::string& said, const Devices& devices) {
  const bool isThere =
      std::any_of(devices.begin(), devices.end(), [&](const auto& device) { return device->id() == which.device; });
  if (which.isChosen && isThere && which.said == said && Clock::now() < which.chosen + kPatience) {
    return false;
  }
  which.isChosen = false;
  which.said = said;
  return std::exchange(which.device, found) != found;
}

void Defaults::clear() {
  input_ = {};
  output_ = {};
}

bool Defaults::choose(bool isInput, AudioDeviceID device) {
  Default& which = isInput ? input_ : output_;
  which.isChosen = true;
  which.chosen = Clock::now();
  return std::exchange(which.device, device) != device;
}

}  // namespace orv::pipewire
