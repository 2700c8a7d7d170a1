#pragma once

#include "accuracy/Random.h"
#include "accuracy/Sound.h"

namespace orv::accuracy {

/// How an audience claps, in seconds.
struct ApplauseShape {
  double rise = 0.7;
  double hold = 5;
  double decay = 4;  ///< from full strength to nothing
};

/// Hundreds of hands: short bursts of band-passed noise at random times, fewer and fewer while they die away. `level`
/// is the RMS in dBFS while it holds.
Sound makeApplause(const ApplauseShape& shape, double level, Random& random);

}  // namespace orv::accuracy
