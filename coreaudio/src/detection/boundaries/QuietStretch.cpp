#include "detection/boundaries/QuietStretch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace orv::boundaries {
namespace {

/// A stretch reaches as far as the loudness stays within this of its lowest place, dB. The floor itself is as low as
/// counts.
constexpr float kMargin = 3.0F;

/// Its ends are then drawn in to where the loudness differs from that of its quietest part, so that music which begins
/// softly is music: by this much, dB, or by three times what its quietest part varies.
constexpr float kLeastDifference = 0.8F;

/// Steady noise beside a stretch belongs to it, though it is louder: a recorder that was switched on, a fade of the
/// hiss itself. It is so long at least, varies so little, and lies no higher above the floor.
constexpr double kSteadySeconds = 0.75;
constexpr float kSteadyRange = 1.2F;     // dB
constexpr float kHighestSteady = 20.0F;  // dB
/// Less of a step than this above what is quiet is music that comes up.
constexpr float kSteadyStep = 3.0F;  // dB
/// Between a stretch and the noise beside it the smoothed loudness rises.
constexpr double kRiseSeconds = 0.25;

constexpr std::ptrdiff_t kNearSteps = 10;
constexpr std::ptrdiff_t kWideSteps = 40;
constexpr std::ptrdiff_t kTimbreSteps = 15;
constexpr double kCoreSeconds = 0.3;
constexpr double kEdgeSeconds = 0.5;
constexpr double kRivalSeconds = 30;

/// Lowest places between rises of `prominence` and more, the ends of the recording not among them.
std::vector<std::size_t> dips(const std::vector<float>& loudness, float prominence) {
  std::vector<std::size_t> found;
  std::size_t lowest = 0;
  std::size_t highest = 0;
  bool isFalling = false;
  for (std::size_t i = 1; i < loudness.size(); ++i) {
    if (isFalling) {
      if (loudness[i] < loudness[lowest]) {
        lowest = i;
      } else if (loudness[i] >= loudness[lowest] + prominence) {
        found.push_back(lowest);
        isFalling = false;
        highest = i;
      }
    } else if (loudness[i] > loudness[highest]) {
      highest = i;
    } else if (loudness[i] <= loudness[highest] - prominence) {
      isFalling = true;
      lowest = i;
    }
  }
  return found;
}

class Judge {
 public:
  Judge(const Loudness& loudness, const Overview& overview, const BlockTime& time)
      : loudness_(loudness),
        overview_(overview),
        core_(time.blocks(kCoreSeconds)),
        steady_(time.blocks(kSteadySeconds)),
        rise_(time.blocks(kRiseSeconds)),
        edge_(time.blocks(kEdgeSeconds)),
        time_(time) {}

  QuietStretch stretchAround(std::size_t lowest) const {
    const std::vector<float>& smooth = loudness_.smooth();
    QuietStretch stretch;
    stretch.lowest = lowest;
    const float most = std::max(smooth[lowest], 0.0F) + kMargin;
    stretch.begin = lowest;
    while (stretch.begin > 0 && smooth[stretch.begin - 1] <= most) {
      --stretch.begin;
    }
    stretch.end = lowest + 1;
    while (stretch.end < smooth.size() && smooth[stretch.end] <= most) {
      ++stretch.end;
    }
    stretch.seconds = static_cast<float>(time_.seconds(stretch.end - stretch.begin));
    drawInEnds(&stretch);
    stretch.noiseEnd = behindSteadyNoise(stretch.end, most);
    return stretch;
  }

  void judge(QuietStretch* stretch) const {
    judgeInside(stretch);
    judgeEdges(stretch);
    judgeSurroundings(stretch);
  }

 private:
  void drawInEnds(QuietStretch* stretch) const {
    const std::vector<float>& smooth = loudness_.smooth();
    const std::size_t length = stretch->end - stretch->begin;
    const std::size_t core = std::min(std::max(core_, length / 2), length);
    const std::size_t first = quietest(stretch->begin, stretch->end, core);
    float sum = 0;
    float squares = 0;
    for (std::size_t i = first; i < first + core; ++i) {
      const float value = std::max(smooth[i], 0.0F);
      sum += value;
      squares += value * value;
    }
    const auto count = static_cast<float>(core);
    const float mean = sum / count;
    const float deviation = std::sqrt(std::max(squares / count - mean * mean, 0.0F));
    const float most = mean + std::max(kLeastDifference, 3 * deviation);
    while (stretch->begin < first && smooth[stretch->begin] > most) {
      ++stretch->begin;
    }
    while (stretch->end > first + core && smooth[stretch->end - 1] > most) {
      --stretch->end;
    }
  }

  /// Goes on from the end of a stretch over steady noise, and what is as quiet as the stretch behind that.
  std::size_t behindSteadyNoise(std::size_t end, float quiet) const {
    const std::vector<float>& smooth = loudness_.smooth();
    for (;;) {
      const std::size_t begin = end + rise_;
      std::size_t steady = begin;
      float lowest = kHighestSteady;
      float highest = -kHighestSteady;
      while (steady < smooth.size() && smooth[steady] < kHighestSteady) {
        lowest = std::min(lowest, smooth[steady]);
        highest = std::max(highest, smooth[steady]);
        if (highest - lowest > kSteadyRange) {
          break;
        }
        ++steady;
      }
      if (steady < begin + steady_ || lowest < quiet + kSteadyStep) {
        return end;
      }
      end = steady;
      for (std::size_t i = steady; i < std::min(steady + rise_, smooth.size()); ++i) {
        end = smooth[i] <= quiet ? i + 1 : end;
      }
      while (end < smooth.size() && smooth[end] <= quiet) {
        ++end;
      }
    }
  }

  /// Where the `length` blocks from `begin` to `end` begin whose sum is lowest.
  std::size_t quietest(std::size_t begin, std::size_t end, std::size_t length) const {
    const std::vector<float>& smooth = loudness_.smooth();
    double sum = std::accumulate(smooth.begin() + static_cast<std::ptrdiff_t>(begin),
                                 smooth.begin() + static_cast<std::ptrdiff_t>(begin + length), 0.0);
    double lowest = sum;
    std::size_t found = begin;
    for (std::size_t i = begin; i + length < end; ++i) {
      sum += smooth[i + length] - smooth[i];
      if (sum < lowest) {
        lowest = sum;
        found = i + 1;
      }
    }
    return found;
  }

  void judgeInside(QuietStretch* stretch) const {
    const std::vector<float>& blocks = loudness_.blocks();
    float sum = 0;
    float changes = 0;
    for (std::size_t i = stretch->begin; i < stretch->end; ++i) {
      sum += std::max(blocks[i], 0.0F);
      changes += i > stretch->begin ? std::abs(std::max(blocks[i], 0.0F) - std::max(blocks[i - 1], 0.0F)) : 0;
    }
    const std::size_t count = stretch->end - stretch->begin;
    stretch->height = std::max(sum / static_cast<float>(count), 0.0F);
    stretch->unrest = changes / static_cast<float>(std::max<std::size_t>(count - 1, 1));
  }

  void judgeEdges(QuietStretch* stretch) const {
    const std::vector<float>& smooth = loudness_.smooth();
    const std::size_t behind = std::min(stretch->end + edge_, smooth.size());
    const std::size_t before = stretch->begin - std::min(stretch->begin, edge_);
    const auto highest = [&](std::size_t begin, std::size_t end) {
      return begin < end ? *std::max_element(smooth.begin() + static_cast<std::ptrdiff_t>(begin),
                                             smooth.begin() + static_cast<std::ptrdiff_t>(end))
                         : stretch->height;
    };
    stretch->attack = highest(stretch->end, behind) - stretch->height;
    stretch->release = highest(before, stretch->begin) - stretch->height;
  }

  void judgeSurroundings(QuietStretch* stretch) const {
    const auto first = static_cast<std::ptrdiff_t>(overview_.stepOf(stretch->begin));
    const auto last = static_cast<std::ptrdiff_t>(overview_.stepOf(stretch->end - 1)) + 1;
    stretch->before = overview_.upperLoudness(first - kNearSteps, first);
    stretch->after = overview_.upperLoudness(last, last + kNearSteps);
    stretch->wideBefore = overview_.upperLoudness(first - kWideSteps, first);
    stretch->wideAfter = overview_.upperLoudness(last, last + kWideSteps);
    stretch->timbre = timbreChange(overview_.meanLevels(first - kTimbreSteps, first),
                                   overview_.meanLevels(last, last + kTimbreSteps));
  }

  static float timbreChange(const Overview::Bands& before, const Overview::Bands& after) {
    float offset = 0;
    for (std::size_t band = 0; band < before.size(); ++band) {
      offset += (after[band] - before[band]) / static_cast<float>(before.size());
    }
    float change = 0;
    for (std::size_t band = 0; band < before.size(); ++band) {
      change += std::abs(after[band] - before[band] - offset) / static_cast<float>(before.size());
    }
    return change;
  }

  const Loudness& loudness_;
  const Overview& overview_;
  const std::size_t core_;
  const std::size_t steady_;
  const std::size_t rise_;
  const std::size_t edge_;
  const BlockTime& time_;
};

bool rivals(const QuietStretch& stretch, const QuietStretch& other) {
  return other.height < stretch.height + 3 && other.seconds > 0.6F * stretch.seconds;
}

void countRivals(std::vector<QuietStretch>* stretches, std::size_t reach) {
  for (std::size_t i = 0; i < stretches->size(); ++i) {
    QuietStretch& stretch = (*stretches)[i];
    const auto count = [&](std::size_t other) { stretch.rivals += rivals(stretch, (*stretches)[other]) ? 1.0F : 0.0F; };
    for (std::size_t k = i; k-- > 0 && (*stretches)[k].lowest + reach > stretch.lowest;) {
      count(k);
    }
    for (std::size_t k = i + 1; k < stretches->size() && (*stretches)[k].lowest < stretch.lowest + reach; ++k) {
      count(k);
    }
  }
}

}  // namespace

std::vector<QuietStretch> findQuietStretches(const Loudness& loudness, const Overview& overview, const BlockTime& time,
                                             float prominence) {
  const Judge judge(loudness, overview, time);
  std::vector<QuietStretch> stretches;
  for (const std::size_t lowest : dips(loudness.smooth(), prominence)) {
    QuietStretch stretch = judge.stretchAround(lowest);
    // Of dips whose stretches overlap the lowest is one.
    const auto isHigher = [&](const QuietStretch& other) {
      return loudness.smooth()[other.lowest] > loudness.smooth()[lowest];
    };
    while (!stretches.empty() && stretch.begin < stretches.back().end && isHigher(stretches.back())) {
      stretches.pop_back();
    }
    if (!stretches.empty() && stretch.begin < stretches.back().end) {
      continue;
    }
    stretches.push_back(stretch);
  }
  for (QuietStretch& stretch : stretches) {
    judge.judge(&stretch);
  }
  countRivals(&stretches, time.blocks(kRivalSeconds));
  return stretches;
}

}  // namespace orv::boundaries
