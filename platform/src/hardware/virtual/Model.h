#pragma once

#include "hardware/model/Answer.h"
#include "hardware/model/DeviceState.h"
#include "hardware/model/Formats.h"
#include "hardware/model/Property.h"

/// What the virtual hardware's devices have in common with all others, under the names that this folder uses.
namespace orv::virtualhardware {

using hardwaremodel::Answer;
using hardwaremodel::CycleState;
using hardwaremodel::DeviceState;
using hardwaremodel::PropertyChange;
using hardwaremodel::PropertyChanges;
using hardwaremodel::SectionState;
using hardwaremodel::StreamState;

}  // namespace orv::virtualhardware
