#include "detection/boundaries/Overview.h"

#include <algorithm>

namespace orv::boundaries {
namespace {

constexpr double kUpperShare = 0.7;

struct Steps {
  std::size_t begin;
  std::size_t end;
};

Steps limited(std::ptrdiff_t begin, std::ptrdiff_t end, std::size_t count) {
  const auto most = static_cast<std::ptrdiff_t>(count);
  begin = std::clamp<std::ptrdiff_t>(begin, 0, most);
  return {static_cast<std::size_t>(begin), static_cast<std::size_t>(std::clamp(end, begin, most))};
}

}  // namespace

Overview::Overview(const OrvLevelEnvelope& envelope, const Loudness& loudness, std::size_t blocksPerStep)
    : blocksPerStep_(blocksPerStep) {
  const std::size_t blocks = envelope.blocks.size();
  for (std::size_t begin = 0; begin < blocks; begin += blocksPerStep) {
    const std::size_t end = std::min(begin + blocksPerStep, blocks);
    float sum = 0;
    Bands levels{};
    for (std::size_t i = begin; i < end; ++i) {
      sum += loudness.blocks()[i];
      for (std::size_t band = 0; band < levels.size(); ++band) {
        levels[band] += static_cast<float>(envelope.blocks[i].bands[band]);
      }
    }
    const auto count = static_cast<float>(end - begin);
    loudness_.push_back(sum / count);
    for (float& level : levels) {
      level /= 100 * count;
    }
    levels_.push_back(levels);
  }
}

float Overview::upperLoudness(std::ptrdiff_t begin, std::ptrdiff_t end) const {
  const Steps range = limited(begin, end, steps());
  if (range.begin == range.end) {
    return 0;
  }
  std::vector<float> sorted(loudness_.begin() + static_cast<std::ptrdiff_t>(range.begin),
                            loudness_.begin() + static_cast<std::ptrdiff_t>(range.end));
  const auto wanted = static_cast<std::ptrdiff_t>(kUpperShare * static_cast<double>(sorted.size() - 1));
  std::nth_element(sorted.begin(), sorted.begin() + wanted, sorted.end());
  return sorted[static_cast<std::size_t>(wanted)];
}

Overview::Bands Overview::meanLevels(std::ptrdiff_t begin, std::ptrdiff_t end) const {
  const Steps range = limited(begin, end, steps());
  Bands mean{};
  for (std::size_t step = range.begin; step < range.end; ++step) {
    for (std::size_t band = 0; band < mean.size(); ++band) {
      mean[band] += levels_[step][band] / static_cast<float>(range.end - range.begin);
    }
  }
  return mean;
}

}  // namespace orv::boundaries
