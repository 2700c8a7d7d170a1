#pragma once

#include "hardware/model/DeviceState.h"
#include "hardware/model/Property.h"
#include "hardware/pipewire/DevicePlan.h"
#include "hardware/pipewire/Facts.h"

namespace orv::pipewire {

/// What property calls see of a planned device, as the server has it now.
hardwaremodel::DeviceState describe(const DevicePlan& plan, const ServerFacts& facts);

/// Which of what `now` says `device` is to take over.
struct UpdateScope {
  bool settings = true;  ///< what hosts set: volumes, mutes, sources, the rate
  /// In place of what `now` says: the rate at which the device runs. 0: none.
  double runningRate = 0;
};

/// Takes over what the server has changed. What only this process knows stays.
void update(hardwaremodel::DeviceState& device, const hardwaremodel::DeviceState& now, const UpdateScope& scope,
            hardwaremodel::PropertyChanges& changes);

}  // namespace orv::pipewire
