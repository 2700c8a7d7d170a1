#include "accuracy/TrackSide.h"

#include "accuracy/Applause.h"

namespace orv::accuracy {
namespace {

constexpr double kLongestSide = 28 * 60;
constexpr double kShortestGap = 0.5;

void end(const Recipe& recipe, Random& random, Sound& sound) {
  if (recipe.ending == Ending::fade) {
    fadeIn(sound, random.uniform(0, 1));
    fadeOut(sound, random.uniform(4, 12));
    trimSilence(sound);
  }
  if (recipe.ending == Ending::applause) {
    const ApplauseShape shape{random.uniform(0.3, 1), random.uniform(3, 8), random.uniform(3, 6)};
    const Sound applause = makeApplause(shape, random.uniform(-30, -24), random);
    sound.mix(applause, sound.frames() - framesIn(random.uniform(0.5, 2)));
    trimSilence(sound);
  }
}

}  // namespace

Side makeTrackSide(const Recipe& recipe, std::vector<Excerpt> excerpts, Random& random) {
  Side side;
  side.sound.appendSilence(random.uniform(1, 4));
  for (Excerpt& excerpt : excerpts) {
    end(recipe, random, excerpt.sound);
    if (side.sound.seconds() + excerpt.sound.seconds() > kLongestSide) {
      break;
    }
    if (!side.truth.tracks.empty()) {
      const double gapBegin = side.sound.seconds();
      side.sound.appendSilence(random.logUniform(kShortestGap, recipe.longestGap));
      side.truth.gaps.push_back({gapBegin, side.sound.seconds()});
    }
    const double begin = side.sound.seconds();
    side.sound.mix(excerpt.sound, side.sound.frames());
    side.truth.tracks.push_back({begin, side.sound.seconds()});
    side.truth.names.push_back(excerpt.name);
  }
  side.sound.appendSilence(random.uniform(1, 4));
  return side;
}

}  // namespace orv::accuracy
