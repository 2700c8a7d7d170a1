#pragma once

#include "OrvCoreAudio/OrvLevelEnvelope.h"
#include "detection/boundaries/EnvelopeMeter.h"
#include "detection/boundaries/FloatReader.h"
#include "detection/boundaries/RunControl.h"

namespace orv::boundaries {

/// Measures all that `reader` reads. `sampleRate` in Hz.
OrvLevelEnvelope::Measurement measureEnvelope(FloatReader& reader, double sampleRate, const RunControl& control);

}  // namespace orv::boundaries
