#include "detection/boundaries/NoiseFloor.h"

#include <limits>

namespace orv::boundaries {
namespace {

constexpr double kQuietestSeconds = 0.35;

/// How fast a floor may change: hiss of a tape and noise of a groove drift by some dB over minutes.
constexpr double kDriftPerSecond = 0.05;  // dB

/// No floor lies lower: a level that no converter and no ear tells from silence.
constexpr float kLowestFloor = -92.0F;  // dB, each band

}  // namespace

NoiseFloor::NoiseFloor(const OrvLevelEnvelope& envelope, const BlockTime& time) : blocksPerStep_(time.blocksPerStep()) {
  const std::size_t blocks = envelope.blocks.size();
  steps_.resize((blocks + blocksPerStep_ - 1) / blocksPerStep_);
  findQuietest(envelope, std::min(time.blocks(kQuietestSeconds), blocks));
  spread(time.seconds(blocksPerStep_));
}

float NoiseFloor::levelAt(std::size_t block) const {
  double energy = 0;
  for (const float level : at(block)) {
    energy += std::pow(10.0, level / 10.0);
  }
  return static_cast<float>(10 * std::log10(energy));
}

/// The lowest mean level of `window` blocks that end within each step.
void NoiseFloor::findQuietest(const OrvLevelEnvelope& envelope, std::size_t window) {
  const float scale = 1.0F / (100.0F * static_cast<float>(window));
  for (std::size_t band = 0; band < OrvLevelEnvelope::kBands; ++band) {
    for (Bands& step : steps_) {
      step[band] = std::numeric_limits<float>::infinity();
    }
    std::int64_t sum = 0;
    for (std::size_t block = 0; block < envelope.blocks.size(); ++block) {
      sum += envelope.blocks[block].bands[band];
      if (block + 1 < window) {
        continue;
      }
      float& lowest = steps_[stepOf(block + 1 - window / 2 - 1)][band];
      lowest = std::min(lowest, std::max(static_cast<float>(sum) * scale, kLowestFloor));
      sum -= envelope.blocks[block + 1 - window].bands[band];
    }
  }
}

void NoiseFloor::spread(double secondsPerStep) {
  const auto drift = static_cast<float>(kDriftPerSecond * secondsPerStep);
  const auto follow = [drift](const Bands& from, Bands* to) {
    for (std::size_t band = 0; band < to->size(); ++band) {
      (*to)[band] = std::min((*to)[band], from[band] + drift);
    }
  };
  for (std::size_t i = 1; i < steps_.size(); ++i) {
    follow(steps_[i - 1], &steps_[i]);
  }
  for (std::size_t i = steps_.size(); i-- > 1;) {
    follow(steps_[i], &steps_[i - 1]);
  }
}

}  // namespace orv::boundaries
