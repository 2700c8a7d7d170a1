#include "hardware/model/DeviceState.h"

#include <algorithm>
#include <cmath>

namespace orv::hardwaremodel {
namespace {

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
  const float inRange = std::clamp(scalar, 0.0F, 1.0F);
  if (volumeCurve == VolumeCurve::cubic) {
    return inRange > 0.0F ? std::max(quietestDecibels, loudestDecibels + 60.0F * std::log10(inRange))
                          : quietestDecibels;
  }
  return quietestDecibels + inRange * (loudestDecibels - quietestDecibels);
}

float SectionState::scalarOfDecibels(float decibels) const {
  const float inRange = std::clamp(decibels, quietestDecibels, loudestDecibels);
  if (volumeCurve == VolumeCurve::cubic) {
    return inRange > quietestDecibels ? std::pow(10.0F, (inRange - loudestDecibels) / 60.0F) : 0.0F;
  }
  return (inRange - quietestDecibels) / (loudestDecibels - quietestDecibels);
}

float SectionState::gain(std::uint32_t channel) const {
  const ControlState* const master = control(0);
  const ControlState* const own = control(channel);
  return (master == nullptr ? 1.0F : gainOf(*master, *this)) * (own == nullptr ? 1.0F : gainOf(*own, *this));
}

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

}  // namespace orv::hardwaremodel
