#include "detection/boundaries/Loudness.h"

#include <array>

namespace orv::boundaries {
namespace {

constexpr double kSmoothSeconds = 0.2;

/// What each octave counts. Rumble and hum make the lowest uncertain; a worn record says little in the highest.
constexpr NoiseFloor::Bands kWeights{0.2F, 0.5F, 1.0F, 1.0F, 1.0F, 0.8F, 0.5F};

/// A floor is the quietest of many stretches of noise; the noise itself lies that much above it, dB.
constexpr float kFloorBias = 1.0F;

constexpr float kDoublingsPerHundredth = 0.0033219281F;  // log2(10) / 1000
constexpr float kDecibelsPerDoubling = 3.0103F;

float loudnessOf(const OrvLevelEnvelope::Block& block, const NoiseFloor::Bands& floor) {
  float energy = 1.0e-2F;  // digital silence has a level too: 20 dB below the floor
  float weights = 0;
  for (std::size_t band = 0; band < floor.size(); ++band) {
    const float above = static_cast<float>(block.bands[band]) - 100 * (floor[band] + kFloorBias);
    energy += kWeights[band] * std::exp2(above * kDoublingsPerHundredth);
    weights += kWeights[band];
  }
  return kDecibelsPerDoubling * std::log2(energy / weights);
}

/// Means over `width` values around each one, fewer at the ends.
std::vector<float> smoothed(const std::vector<float>& values, std::size_t width) {
  std::vector<float> result(values.size());
  const std::size_t half = width / 2;
  double sum = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (; end < std::min(i + half + 1, values.size()); ++end) {
      sum += values[end];
    }
    for (; begin + half < i; ++begin) {
      sum -= values[begin];
    }
    result[i] = static_cast<float>(sum / static_cast<double>(end - begin));
  }
  return result;
}

}  // namespace

Loudness::Loudness(const OrvLevelEnvelope& envelope, const NoiseFloor& floor, const BlockTime& time) {
  blocks_.reserve(envelope.blocks.size());
  for (std::size_t i = 0; i < envelope.blocks.size(); ++i) {
    blocks_.push_back(loudnessOf(envelope.blocks[i], floor.at(i)));
  }
  smooth_ = smoothed(blocks_, time.blocks(kSmoothSeconds));
}

}  // namespace orv::boundaries
