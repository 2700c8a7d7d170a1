#pragma once

#include <string>
#include <vector>

namespace orv::accuracy {

/// Seconds from the start of the recording.
struct Interval {
  double begin = 0;
  double end = 0;
};

/// What a side really holds.
struct Truth {
  std::string kind;                ///< of noise, or of what else makes the side hard
  std::vector<Interval> gaps;      ///< in order; where one track is over and the next has not begun
  std::vector<Interval> tracks;    ///< in order; empty when not known
  std::vector<std::string> names;  ///< of the pieces, for who looks for the reason of a miss; not read back
};

/// Reads a truth file: lines of `gap BEGIN END`, `track BEGIN END …`, `kind WORD`; a line that starts with a number is
/// a gap too (END may be missing), so that an exported label track will do. `#` begins a comment. Throws on any other
/// line.
Truth readTruth(const std::string& path);

/// Writes what `readTruth` reads.
void writeTruth(const Truth& truth, const std::string& path);

}  // namespace orv::accuracy
