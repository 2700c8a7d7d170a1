#pragma once

#include <string>

#include "detection/boundaries/QuietStretch.h"

namespace orv::boundaries {

/// Log odds that a track ends at this stretch and the next one begins there, from all that is known about it but the
/// lengths of the tracks that it makes.
float chanceOf(const QuietStretch& stretch);

/// A share of 1 from log odds.
double confidenceOf(double chance);

/// dB that a stretch lies below the music on its quieter side.
float depthOf(const QuietStretch& stretch);

/// One line for a person: what was heard.
std::string reasonFor(const QuietStretch& stretch);

/// One line for a person: what was heard, and what speaks most against a boundary. `lengthChance` is how much less
/// likely the stretch is for the lengths of the tracks that it would make; 0 or less.
std::string reasonAgainst(const QuietStretch& stretch, double lengthChance);

}  // namespace orv::boundaries
