#include "detection/boundaries/CutBlock.h"

#include <algorithm>

namespace orv::boundaries {
namespace {

/// Music is heard below noise that is louder by as much, dB; a rise of that much is looked for.
constexpr float kBelowNoise = 12.0F;
constexpr float kRise = 10.0F;
constexpr double kLongestRise = 8.0;  // seconds
/// A rise within this is a beginning, not a fade.
constexpr double kSuddenRise = 0.25;  // seconds

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
  const double early = std::max(rise - kSuddenRise, 0.0) * double{kBelowNoise / kRise};
  const std::size_t last = stretch.noiseEnd - 1;
  const auto blocksEarly = static_cast<std::size_t>(early / time.secondsPerBlock());
  return std::max(last - std::min(blocksEarly, last), middle);
}

}  // namespace orv::boundaries
