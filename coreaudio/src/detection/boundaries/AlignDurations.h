#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "detection/boundaries/ChooseBoundaries.h"

namespace orv::boundaries {

/// The boundaries that fit a track listing best: indexes into `places`, which are in order of time; one less than
/// there are durations. `durations` are seconds of each track in order. The recording may run up to 2 % fast or slow
/// throughout, and a gap of up to 5 s may follow a track without being in its duration. Empty where no series of places
/// comes near to the listing.
std::vector<std::size_t> alignDurations(std::span<const Place> places, const Limits& limits,
                                        std::span<const double> durations);

}  // namespace orv::boundaries
