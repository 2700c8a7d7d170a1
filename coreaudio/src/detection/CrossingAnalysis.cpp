#include "detection/CrossingAnalysis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "OrvCoreAudio/OrvSplitDetection.h"

namespace orv::crossings {
namespace {

constexpr double kBlocksPerSecond = 5.0;

/// A smoothed count of so much or more is never picked.
constexpr std::uint32_t kNeverPicked = 32767;

/// Adds the penalties of a boundary at `position`; distances are formed in 16 bits.
void pushAwayFrom(std::uint32_t position, std::vector<std::uint32_t>& smoothed) {
  for (std::uint32_t i = 0; i < smoothed.size(); ++i) {
    smoothed[i] += static_cast<std::uint32_t>(fudge(static_cast<std::int16_t>(i - position)));
  }
}

std::uint32_t lowestOf(const std::vector<std::uint32_t>& smoothed) {
  std::uint32_t pick = 0;
  std::uint32_t best = kNeverPicked;
  for (std::uint32_t i = 1; i < smoothed.size(); ++i) {
    if (best > smoothed[i]) {
      best = smoothed[i];
      pick = i;
    }
  }
  return pick;
}

}  // namespace

std::uint32_t framesPerBlock(double sampleRate) {
  const double frames = sampleRate / kBlocksPerSecond;
  if (!(frames >= 1.0)) {
    return 0;
  }
  return frames < static_cast<double>(std::numeric_limits<std::int32_t>::max())
             ? static_cast<std::uint32_t>(frames)
             : static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
}

std::uint32_t numberOfBlocks(std::uint64_t fifths, double sampleRate) {
  if (framesPerBlock(sampleRate) == 0) {
    return 0;
  }
  const double blocks = static_cast<double>(fifths) / sampleRate + 1.0;
  constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(blocks, kMost));
}

std::int64_t silenceInBlocks(float milliSeconds) {
  const float blocks = milliSeconds / 1000.0F * 5.0F;
  constexpr float kLimit = 1e9F;
  return std::isnan(blocks) ? 0 : static_cast<std::int64_t>(std::clamp(blocks, -kLimit, kLimit));
}

std::vector<std::uint32_t> thresholdSplits(const std::uint32_t* counts, std::uint32_t count, std::uint32_t sensitivity,
                                           std::uint32_t lengthOfSilence, std::size_t mostTracks, const Step& step) {
  std::vector<std::uint32_t> splits{0};
  bool inSilence = false;
  std::uint32_t run = 0;
  std::uint32_t silenceStart = 0;
  std::uint32_t soundStart = 0;
  for (std::uint32_t i = 1; i < count; ++i) {
    const bool isQuiet = counts[i] < sensitivity;
    if (isQuiet == inSilence) {
      run = 0;  // more of the same
    } else {
      if (run == 0) {
        (inSilence ? soundStart : silenceStart) = i;
      }
      ++run;
      if (run >= lengthOfSilence) {
        if (inSilence) {
          splits.push_back((silenceStart + soundStart) >> 1);
        }
        inSilence = !inSilence;
        run = 0;
      }
    }
    if (splits.size() >= mostTracks) {
      break;
    }
    if (step) {
      step();
    }
  }
  return splits;
}

std::vector<std::uint32_t> countedSplits(const std::uint32_t* counts, std::int16_t count, std::int16_t numberOfSplits,
                                         const Step& step) {
  std::vector<std::uint32_t> smoothed(static_cast<std::size_t>(std::max<std::int16_t>(count, 0)));
  for (std::size_t i = 0; i < smoothed.size(); ++i) {
    smoothed[i] = weightedAverage(counts, count, static_cast<std::int16_t>(i));
  }
  const std::int32_t signedEnd = count;
  const auto end = static_cast<std::uint32_t>(signedEnd);
  std::vector<std::uint32_t> splits{0, end};
  pushAwayFrom(0, smoothed);
  pushAwayFrom(end, smoothed);
  for (std::int16_t r = 0; r < numberOfSplits; ++r) {
    const std::uint32_t pick = lowestOf(smoothed);
    splits.insert(std::upper_bound(splits.begin(), splits.end(), pick), pick);
    pushAwayFrom(pick, smoothed);
    if (step) {
      step();
    }
  }
  return splits;
}

}  // namespace orv::crossings
