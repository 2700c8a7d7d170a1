#pragma once

#include <cstddef>
#include <vector>

#include "detection/boundaries/BlockTime.h"
#include "detection/boundaries/Loudness.h"
#include "detection/boundaries/Overview.h"

namespace orv::boundaries {

/// A dip of the loudness between two louder places: where a track may end and the next begin. What it is judged by is
/// in dB above the noise floor, or in seconds.
struct QuietStretch {
  std::size_t lowest = 0;  ///< the block where the loudness is lowest
  std::size_t begin = 0;   ///< blocks, about as quiet as that one; the end is the block behind
  std::size_t end = 0;
  std::size_t noiseEnd = 0;  ///< where music begins: the end, or later where steady noise follows
  float height = 0;          ///< mean loudness inside
  float seconds = 0;         ///< from begin to end
  float before = 0;          ///< loudness of the music in the 10 s before
  float after = 0;           ///< and in the 10 s behind
  float wideBefore = 0;      ///< in the 40 s before
  float wideAfter = 0;
  float unrest = 0;   ///< mean change from block to block inside
  float attack = 0;   ///< rise within half a second behind the end
  float release = 0;  ///< fall within half a second before the begin
  float timbre = 0;   ///< mean difference of the octaves, 15 s before and behind, without that of the level
  float rivals = 0;   ///< dips as low and about as long within 30 s
  float chance = 0;   ///< log odds that it is a boundary, from all of this
};

/// Finds every dip that is `prominence` dB deep, in order of time.
std::vector<QuietStretch> findQuietStretches(const Loudness& loudness, const Overview& overview, const BlockTime& time,
                                             float prominence);

}  // namespace orv::boundaries
