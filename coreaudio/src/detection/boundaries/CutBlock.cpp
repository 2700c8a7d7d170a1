#include "detection/boundaries/CutBlock.h"

#include <algorithm>

namespace orv::boundaries {
namespace {

/// A rise of so much is looked for, dB. Within `kSuddenRise` it is a beginning, else a fade, which began as far below
/// the noise as its loudness went up at the same pace.
constexpr float kRise = 10.0F;
constexpr float kFadeBelowNoise = 45.0F;
constexpr double kSuddenRise = 0.15;  // seconds
constexpr double kLongestRise = 8.0;  // seconds

}  // namespace

std::size_t cutBlockOf(const QuietStretch& stretch, const Loudness& loudness, const BlockTime& time,
                       OrvTrackBoundaryDetector::CutPosition position) {
  const std::size_t middle = stretch.begin + (stretch.noiseEnd - stretch.begin) / 2;
  if (position == OrvTrackBoundaryDetector::CutPosition::middle) {
    return middle;
  }
  const std::vector<float>& smooth = loudness.smooth();
  const std::size_t limit = std::min(stretch.noiseEnd + time.blocks(kLongestRise), smooth.size());
  std::size_t risen = stretch.noiseEnd;
  while (risen < limit && smooth[risen] < stretch.height + kRise) {
    ++risen;
  }
  const double rise = time.seconds(risen - stretch.noiseEnd);
  const double early = std::max(rise - kSuddenRise, 0.0) * double{kFadeBelowNoise / kRise};
  const std::size_t last = stretch.noiseEnd - 1;
  const auto blocksEarly = static_cast<std::size_t>(early / time.secondsPerBlock());
  return std::max(last - std::min(blocksEarly, last), middle);
}

}  // namespace orv::boundaries
