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

/// How much less likely a stretch is for what is around it; log odds, 0 or less.
struct Context {
  double lengths = 0;  ///< for the lengths of the tracks that it would make
  double alone = 0;    ///< because nothing else in the recording looks like a boundary

  double sum() const { return lengths + alone; }
};

/// One line for a person: what was heard, and what speaks most against a boundary.
std::string reasonAgainst(const QuietStretch& stretch, const Context& context);

}  // namespace orv::boundaries
