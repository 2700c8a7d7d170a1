#include <algorithm>
#include <cmath>

#include "hardware/pipewire/DeviceFacts.h"

namespace orv::pipewire {
namespace {

using hardwaremodel::ControlState;
using hardwaremodel::DeviceState;
using hardwaremodel::PropertyChanges;
using hardwaremodel::SectionState;

/// Volumes that are closer than this are the same: what was set comes back with a rounding of its own.
constexpr float kSameVolume = 1e-4F;

bool areSame(const hardwaremodel::NominalRates& a, const hardwaremodel::NominalRates& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const AudioValueRange& x, const AudioValueRange& y) {
    return x.mMinimum == y.mMinimum && x.mMaximum == y.mMaximum;
  });
}

bool areSame(const std::vector<hardwaremodel::DataSource>& a, const std::vector<hardwaremodel::DataSource>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const auto& x, const auto& y) { return x.id == y.id && x.name == y.name; });
}

template <typename Value>
void take(Value& kept, const Value& now, const SectionState& section, AudioDevicePropertyID property,
          PropertyChanges& changes, std::uint32_t channel = 0) {
  if (kept != now) {
    kept = now;
    changes.push_back({channel, section.isInput, property});
  }
}

void updateControls(SectionState& section, const SectionState& now, PropertyChanges& changes) {
  const auto hasSameChannel = [](const ControlState& a, const ControlState& b) { return a.channel == b.channel; };
  if (!std::equal(section.controls.begin(), section.controls.end(), now.controls.begin(), now.controls.end(),
                  hasSameChannel)) {
    section.controls = now.controls;
    for (const ControlState& control : now.controls) {
      changes.push_back({control.channel, section.isInput,
                         control.hasVolume ? kAudioDevicePropertyVolumeScalar : kAudioDevicePropertyMute});
    }
    return;
  }
  for (std::size_t i = 0; i < now.controls.size(); ++i) {
    ControlState& control = section.controls[i];
    const ControlState& fresh = now.controls[i];
    if (control.hasVolume && std::fabs(control.scalar - fresh.scalar) > kSameVolume) {
      control.scalar = fresh.scalar;
      control.decibels = fresh.decibels;
      changes.push_back({control.channel, section.isInput, kAudioDevicePropertyVolumeScalar});
      changes.push_back({control.channel, section.isInput, kAudioDevicePropertyVolumeDecibels});
    }
    take(control.isMuted, fresh.isMuted, section, kAudioDevicePropertyMute, changes, control.channel);
  }
}

void updateFormat(SectionState& section, const SectionState& now, PropertyChanges& changes) {
  for (std::size_t i = 0; i < std::min(section.streams.size(), now.streams.size()); ++i) {
    hardwaremodel::StreamState& stream = section.streams[i];
    const hardwaremodel::StreamState& fresh = now.streams[i];
    stream.terminalType = fresh.terminalType;
    const bool isSame = hardwaremodel::haveSameSamples(stream.physicalFormat, fresh.physicalFormat);
    stream.physicalFormats = fresh.physicalFormats;
    if (!isSame) {
      const double rate = stream.physicalFormat.mSampleRate;
      stream.physicalFormat = fresh.physicalFormat;
      stream.physicalFormat.mSampleRate = rate;
      changes.push_back({0, section.isInput, kAudioStreamPropertyPhysicalFormat});
    }
  }
}

void updateSection(SectionState& section, const SectionState& now, const UpdateScope& scope, PropertyChanges& changes) {
  section.channelLabels = now.channelLabels;
  updateFormat(section, now, changes);
  take(section.latency, now.latency, section, kAudioDevicePropertyLatency, changes);
  take(section.jackIsConnected, now.jackIsConnected, section, kAudioDevicePropertyJackIsConnected, changes, 1);
  if (!areSame(section.dataSources, now.dataSources)) {
    section.dataSources = now.dataSources;
    changes.push_back({0, section.isInput, kAudioDevicePropertyDataSources});
  }
  if (scope.settings) {
    take(section.currentDataSource, now.currentDataSource, section, kAudioDevicePropertyDataSource, changes);
    updateControls(section, now, changes);
  }
}

void updateRates(DeviceState& device, const DeviceState& now, const UpdateScope& scope, PropertyChanges& changes) {
  const double wanted = scope.runningRate != 0 ? scope.runningRate : now.cycle.nominalRate;
  const double rate = scope.settings ? wanted : device.cycle.nominalRate;
  hardwaremodel::NominalRates rates = now.nominalRates;
  if (!hardwaremodel::offersRate(rates, rate)) {
    rates.push_back({rate, rate});
  }
  if (!areSame(device.nominalRates, rates)) {
    device.nominalRates = rates;
    hardwaremodel::tellSections(device, kAudioDevicePropertyAvailableNominalSampleRates, changes);
    for (SectionState* const section : {&device.input, &device.output}) {
      for (hardwaremodel::StreamState& stream : section->streams) {
        stream.formats = hardwaremodel::cycleFormats(rates, stream.channels);
      }
    }
  }
  hardwaremodel::changeNominalRate(device, rate, changes);
}

void updateFrames(DeviceState& device, const DeviceState& now, PropertyChanges& changes) {
  if (device.frameRange.mMinimum != now.frameRange.mMinimum || device.frameRange.mMaximum != now.frameRange.mMaximum) {
    device.frameRange = now.frameRange;
    hardwaremodel::tellSections(device, kAudioDevicePropertyBufferFrameSizeRange, changes);
    const auto frames = static_cast<std::uint32_t>(
        std::clamp<double>(device.cycle.frames, now.frameRange.mMinimum, now.frameRange.mMaximum));
    hardwaremodel::changeFrames(device, frames, changes);
  }
}

}  // namespace

void update(DeviceState& device, const DeviceState& now, const UpdateScope& scope, PropertyChanges& changes) {
  take(device.name, now.name, device.output, kAudioDevicePropertyDeviceNameCFString, changes);
  device.manufacturer = now.manufacturer;
  device.transport = now.transport;
  take(device.isRunningSomewhere, now.isRunningSomewhere, device.output, kAudioDevicePropertyDeviceIsRunningSomewhere,
       changes);
  updateSection(device.input, now.input, scope, changes);
  updateSection(device.output, now.output, scope, changes);
  updateRates(device, now, scope, changes);
  updateFrames(device, now, changes);
}

}  // namespace orv::pipewire
