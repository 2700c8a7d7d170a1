#pragma once

#include "hardware/virtual/Property.h"

namespace orv::virtualhardware {

/// Answers for a stream. Its channels count as its device does: 0, or one of the section's.
OSStatus readStreamProperty(const DeviceState& device, const SectionState& section, const StreamState& stream,
                            std::uint32_t channel, AudioStreamPropertyID property, Answer& answer);

}  // namespace orv::virtualhardware
