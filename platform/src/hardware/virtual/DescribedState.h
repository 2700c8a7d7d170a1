#pragma once

#include "OrvPlatform/VirtualHardware.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {

/// Of a description that has been checked; its streams get the IDs from `firstStream` on.
DeviceState stateOf(const VirtualDevice& description, AudioDeviceID id, AudioStreamID firstStream);

}  // namespace orv::virtualhardware
