#pragma once

#include <cstdint>

#include "detection/boundaries/FloatReader.h"

namespace orv::boundaries {

/// The frame nearest to `frame`, 10 ms away at most, where the louder channel crosses zero: the first frame on the
/// other side, or one of exactly zero. `frame` itself where there is none or the audio can't be read.
std::uint64_t nearestZeroCrossing(FloatReader& reader, double sampleRate, std::uint64_t frame);

}  // namespace orv::boundaries
