#include "detection/boundaries/Likelihood.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "OrvPlatform/Log.h"

namespace orv::boundaries {
namespace {

/// What a stretch is judged by, each limited to the range over which it says something.
struct Evidence {
  float height;
  float duration;  ///< octaves, 0 at one second
  float seconds;
  float depth;
  float attack;
  float release;
  float timbre;
  float rivals;
};

Evidence evidenceOf(const QuietStretch& stretch) {
  return {
      .height = std::min(stretch.height, 10.0F),
      .duration = std::log2(std::clamp(stretch.seconds, 0.15F, 4.0F)),
      .seconds = std::min(stretch.seconds, 1.0F),
      .depth = std::clamp(depthOf(stretch), 0.0F, 30.0F),
      .attack = std::clamp(stretch.attack, 0.0F, 25.0F),
      .release = std::clamp(stretch.release, 0.0F, 25.0F),
      .timbre = std::min(stretch.timbre, 5.0F),
      .rivals = std::min(stretch.rivals, 6.0F),
  };
}

/// Weights of a logistic regression over the dips of the tuning half of the sides that `bench/accuracy` makes.
constexpr Evidence kWeights{
    .height = -0.9175F,
    .duration = 1.7451F,
    .seconds = 1.6861F,
    .depth = 0.1400F,
    .attack = 0.0260F,
    .release = 0.0444F,
    .timbre = 0.6738F,
    .rivals = -1.3423F,
};
constexpr float kBias = -6.9052F;

/// What a boundary usually looks like: where a stretch falls short of that, it says what speaks against it.
constexpr Evidence kUsual{.height = 0.3F,
                          .duration = 1.0F,
                          .seconds = 1.0F,
                          .depth = 28.0F,
                          .attack = 20.0F,
                          .release = 10.0F,
                          .timbre = 3.5F,
                          .rivals = 0.0F};

/// A stretch this close to it is on the noise floor, dB.
constexpr float kOnTheFloor = 2.0F;

}  // namespace

float depthOf(const QuietStretch& stretch) {
  return std::max(std::min(stretch.wideBefore, stretch.wideAfter) - stretch.height, 0.0F);
}

float chanceOf(const QuietStretch& stretch) {
  const Evidence evidence = evidenceOf(stretch);
  return kBias + kWeights.height * evidence.height + kWeights.duration * evidence.duration +
         kWeights.seconds * evidence.seconds + kWeights.depth * evidence.depth + kWeights.attack * evidence.attack +
         kWeights.release * evidence.release + kWeights.timbre * evidence.timbre + kWeights.rivals * evidence.rivals;
}

double confidenceOf(double chance) {
  return 1 / (1 + std::exp(-chance));
}

std::string reasonFor(const QuietStretch& stretch) {
  const double seconds = double{stretch.seconds};
  const double depth = double{depthOf(stretch)};
  if (stretch.height <= kOnTheFloor) {
    return formatText("%.1f s on the noise floor, %.0f dB below the music", seconds, depth);
  }
  return formatText("%.1f s of quiet, %.0f dB above the noise floor and %.0f dB below the music", seconds,
                    double{stretch.height}, depth);
}

std::string reasonAgainst(const QuietStretch& stretch, double lengthChance) {
  const Evidence evidence = evidenceOf(stretch);
  struct Objection {
    double weight;
    const char* text;
  };
  const std::array<Objection, 6> objections{{
      {-lengthChance, "the track would be very short"},
      {double{kWeights.duration * (kUsual.duration - evidence.duration) +
              kWeights.seconds * (kUsual.seconds - evidence.seconds)},
       "it is short"},
      {double{kWeights.height * (evidence.height - kUsual.height)} * -1, "the noise floor lies lower"},
      {double{kWeights.rivals * evidence.rivals} * -1, "there are more like it close by"},
      {double{kWeights.timbre * (kUsual.timbre - evidence.timbre)}, "the music goes on as it was before"},
      {double{kWeights.depth * (kUsual.depth - evidence.depth)}, "the music around it is quiet too"},
  }};
  const auto* const strongest = std::max_element(
      objections.begin(), objections.end(), [](const Objection& a, const Objection& b) { return a.weight < b.weight; });
  return reasonFor(stretch) + ", but " + strongest->text;
}

}  // namespace orv::boundaries
