#include "detection/boundaries/Likelihood.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "OrvPlatform/Log.h"

namespace orv::boundaries {
namespace {

/// What a stretch is judged by, each limited to the range over which it says something.
struct Evidence {
  float height;        ///< dB above the noise floor
  float duration;      ///< octaves, 0 at one second
  float depth;         ///< dB below the music
  float deepDuration;  ///< octaves for each 10 dB of depth: a pause in loud music says more than one in quiet music
  float release;       ///< dB
  float timbre;        ///< dB
  float rivals;
  float alone;  ///< 1 without any rival
};

Evidence evidenceOf(const QuietStretch& stretch) {
  const float duration = std::log2(std::clamp(stretch.seconds, 0.15F, 4.0F));
  const float depth = std::min(depthOf(stretch), 30.0F);
  return {
      .height = std::min(stretch.height, 10.0F),
      .duration = duration,
      .depth = depth,
      .deepDuration = duration * depth / 10,
      .release = std::clamp(stretch.release, 0.0F, 25.0F),
      .timbre = std::min(stretch.timbre, 3.0F),
      .rivals = std::min(stretch.rivals, 6.0F),
      .alone = stretch.rivals > 0 ? 0.0F : 1.0F,
  };
}

/// Weights of a logistic regression over the dips of the tuning half of the sides that `bench/accuracy` makes.
constexpr Evidence kWeights{
    .height = -1.4567F,
    .duration = 0.9589F,
    .depth = 0.1527F,
    .deepDuration = 0.6156F,
    .release = 0.0721F,
    .timbre = 1.9442F,
    .rivals = -0.6834F,
    .alone = 2.3117F,
};
/// Its bias was -9.9; a boundary that is missed costs a person more than one that is too many.
constexpr float kBias = -9.0F;

/// What a boundary usually looks like: where a stretch falls short of that, it says what speaks against it.
constexpr Evidence kUsual{.height = 0.3F,
                          .duration = 1.0F,
                          .depth = 28.0F,
                          .deepDuration = 2.8F,
                          .release = 10.0F,
                          .timbre = 3.0F,
                          .rivals = 0.0F,
                          .alone = 1.0F};

/// A stretch this close to it is on the noise floor, dB.
constexpr float kOnTheFloor = 2.0F;

}  // namespace

float depthOf(const QuietStretch& stretch) {
  return std::max(std::min(stretch.wideBefore, stretch.wideAfter) - stretch.height, 0.0F);
}

float chanceOf(const QuietStretch& stretch) {
  const Evidence evidence = evidenceOf(stretch);
  return kBias + kWeights.height * evidence.height + kWeights.duration * evidence.duration +
         kWeights.depth * evidence.depth + kWeights.deepDuration * evidence.deepDuration +
         kWeights.release * evidence.release + kWeights.timbre * evidence.timbre + kWeights.rivals * evidence.rivals +
         kWeights.alone * evidence.alone;
}

double confidenceOf(double chance) {
  return 1 / (1 + std::exp(-chance));
}

std::string reasonFor(const QuietStretch& stretch) {
  const auto seconds = double{stretch.seconds};
  const auto depth = double{depthOf(stretch)};
  if (stretch.height <= kOnTheFloor) {
    return formatText("%.1f s on the noise floor, %.0f dB below the music", seconds, depth);
  }
  return formatText("%.1f s of quiet, %.0f dB above the noise floor and %.0f dB below the music", seconds,
                    double{stretch.height}, depth);
}

std::string reasonAgainst(const QuietStretch& stretch, const Context& context) {
  const Evidence evidence = evidenceOf(stretch);
  struct Objection {
    double weight;
    const char* text;
  };
  const auto shortfall = [&](float Evidence::*part) {
    return double{kWeights.*part * (kUsual.*part - evidence.*part)};
  };
  const std::array<Objection, 7> objections{{
      {-context.lengths, "the track would be very short"},
      {-context.alone, "nothing else in the recording looks like a boundary"},
      {shortfall(&Evidence::duration) + shortfall(&Evidence::deepDuration), "it is short"},
      {shortfall(&Evidence::height), "the noise floor lies lower"},
      {shortfall(&Evidence::rivals) + shortfall(&Evidence::alone), "there are more like it close by"},
      {shortfall(&Evidence::timbre), "the music goes on as it was before"},
      {shortfall(&Evidence::depth), "the music around it is quiet too"},
  }};
  const auto* const strongest = std::max_element(
      objections.begin(), objections.end(), [](const Objection& a, const Objection& b) { return a.weight < b.weight; });
  return reasonFor(stretch) + ", but " + strongest->text;
}

}  // namespace orv::boundaries
