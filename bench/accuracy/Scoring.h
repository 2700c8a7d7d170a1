#pragma once

#include <cstddef>
#include <vector>

#include "accuracy/Detectors.h"

namespace orv::accuracy {

/// How right cuts are. A cut is a hit when it lies in a gap or up to a second beside it; a gap is hit once, and every
/// other cut is false: in the lead-in and the lead-out too.
struct Score {
  std::size_t gaps = 0;
  std::size_t hits = 0;
  std::size_t falseCuts = 0;
  std::vector<double> errors;  ///< of the hits: seconds between the cut and the gap, 0 inside

  double recall() const;     ///< not a number where there are no gaps
  double precision() const;  ///< not a number where there are no cuts
  /// The error that `part` of the hits do not exceed; not a number where there are none.
  double errorQuantile(double part) const;
  Score& operator+=(const Score& other);
};

/// A score with what was missed and what was wrong.
struct Judgement {
  Score score;
  std::vector<Interval> missed;
  std::vector<Cut> wrong;
};

Judgement judge(const std::vector<Interval>& gaps, const std::vector<Cut>& cuts);

}  // namespace orv::accuracy
