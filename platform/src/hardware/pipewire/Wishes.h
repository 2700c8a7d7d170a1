#pragma once

#include <cstdint>
#include <optional>

#include "hardware/model/DeviceState.h"
#include "hardware/pipewire/DevicePlan.h"
#include "hardware/pipewire/Pods.h"

namespace orv::pipewire {

class Registry;

/// What a host wants of a section.
struct SectionWishes {
  VolumeChange volume;
  std::optional<std::uint32_t> dataSource;

  bool isNothing() const { return volume.volumes.empty() && !volume.isMuted && !dataSource; }
};

/// What a host has set and the server has to be told of.
struct Wishes {
  SectionWishes input;
  SectionWishes output;
  std::optional<std::uint32_t> rate;
  bool frames = false;  ///< the cycle has another size; that is between the device and its I/O

  bool isNothing() const { return input.isNothing() && output.isNothing() && !rate && !frames; }
};

/// What a write has changed.
Wishes differences(const hardwaremodel::DeviceState& before, const hardwaremodel::DeviceState& after);

/// Tells the server. A volume of a card's node is set at the card, which keeps it and has the node follow. With the
/// loop's lock held.
void carryOut(const Wishes& wishes, const DevicePlan& plan, Registry& registry);

}  // namespace orv::pipewire
