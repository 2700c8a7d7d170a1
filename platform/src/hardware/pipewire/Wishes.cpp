#include "hardware/pipewire/Wishes.h"

#include <spa/param/param.h>

#include <algorithm>
#include <string>

#include "hardware/pipewire/Registry.h"

namespace orv::pipewire {
namespace {

using hardwaremodel::ControlState;
using hardwaremodel::SectionState;

/// The server takes all volumes of a node at once.
SectionWishes differencesOf(const SectionState& before, const SectionState& after) {
  SectionWishes wishes;
  bool hasNewVolume = false;
  std::vector<float> volumes;
  for (std::size_t i = 0; i < after.controls.size(); ++i) {
    const ControlState& control = after.controls[i];
    if (control.hasVolume) {
      hasNewVolume = hasNewVolume || control.scalar != before.controls[i].scalar;
      volumes.push_back(control.scalar * control.scalar * control.scalar);
    }
    if (control.hasMute && control.isMuted != before.controls[i].isMuted) {
      wishes.volume.isMuted = control.isMuted;
    }
  }
  if (hasNewVolume) {
    wishes.volume.volumes = std::move(volumes);
  }
  if (after.currentDataSource != before.currentDataSource) {
    wishes.dataSource = after.currentDataSource;
  }
  return wishes;
}

void carryOut(const SectionWishes& wishes, const SidePlan& side, Registry& registry) {
  const auto node = registry.facts().nodes.find(side.node);
  if (wishes.isNothing() || node == registry.facts().nodes.end()) {
    return;
  }
  const std::uint32_t cardDevice = node->second.cardDevice.value_or(0);
  const auto card = registry.facts().cards.find(node->second.card.value_or(0));
  const bool isOfCard = card != registry.facts().cards.end() && node->second.cardDevice;
  if (isOfCard && wishes.dataSource) {
    registry.setParameter(card->first, SPA_PARAM_Route, Pod::route(*wishes.dataSource - 1, cardDevice, nullptr).get());
  }
  if (wishes.volume.volumes.empty() && !wishes.volume.isMuted) {
    return;
  }
  if (isOfCard && card->second.routeInUse.contains(cardDevice)) {
    const std::uint32_t route = card->second.routeInUse.at(cardDevice);
    registry.setParameter(card->first, SPA_PARAM_Route, Pod::route(route, cardDevice, &wishes.volume).get());
  } else {
    registry.setParameter(side.node, SPA_PARAM_Props, Pod::volumes(wishes.volume).get());
  }
}

}  // namespace

Wishes differences(const hardwaremodel::DeviceState& before, const hardwaremodel::DeviceState& after) {
  Wishes wishes;
  wishes.input = differencesOf(before.input, after.input);
  wishes.output = differencesOf(before.output, after.output);
  if (after.cycle.nominalRate != before.cycle.nominalRate) {
    wishes.rate = static_cast<std::uint32_t>(after.cycle.nominalRate);
  }
  wishes.frames = after.cycle.frames != before.cycle.frames;
  return wishes;
}

void carryOut(const Wishes& wishes, const DevicePlan& plan, Registry& registry) {
  carryOut(wishes.input, plan.input, registry);
  carryOut(wishes.output, plan.output, registry);
  if (wishes.rate) {
    registry.setSetting("clock.force-rate", std::to_string(*wishes.rate).c_str());
  }
}

}  // namespace orv::pipewire
