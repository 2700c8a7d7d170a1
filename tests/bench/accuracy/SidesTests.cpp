#include "accuracy/Sides.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "accuracy/Continuous.h"
#include "accuracy/TrackSide.h"

namespace orv::accuracy {
namespace {

// Noise stands in for music: the passages of real sides come from packages that a test does not ask for.
std::vector<Excerpt> passages(std::size_t count, double seconds) {
  Random random("passages");
  Sound second;
  second.appendSilence(1);
  std::generate(second.samples.begin(), second.samples.end(), [&] { return 0.1F * random.noise(); });
  Sound passage;
  while (passage.seconds() < seconds) {
    passage.samples.insert(passage.samples.end(), second.samples.begin(), second.samples.end());
  }
  return std::vector<Excerpt>(count, {passage, "piece"});
}

double rmsBetween(const Sound& sound, const Interval& interval) {
  const std::size_t begin = framesIn(interval.begin) + 1;
  return rmsOf(sound.excerpt(begin, framesIn(interval.end) - begin));
}

TEST(AccuracySides, AreSilentInTheGapsAndNowhereElse) {
  Random random("a");
  const Side side = makeTrackSide({.kind = "clean"}, passages(4, 5), random);
  ASSERT_EQ(side.truth.gaps.size(), 3U);
  ASSERT_EQ(side.truth.tracks.size(), 4U);
  for (const Interval& gap : side.truth.gaps) {
    EXPECT_EQ(rmsBetween(side.sound, gap), 0);
    EXPECT_GE(gap.end - gap.begin, 0.499);
    EXPECT_LE(gap.end - gap.begin, 5);
  }
  for (const Interval& track : side.truth.tracks) {
    EXPECT_NEAR(rmsBetween(side.sound, {track.begin, track.begin + 0.02}), 0.1, 0.02);
    EXPECT_NEAR(rmsBetween(side.sound, {track.end - 0.02, track.end}), 0.1, 0.02);
  }
}

TEST(AccuracySides, EndAfterTwentyEightMinutes) {
  Random random("a");
  const Side side = makeTrackSide({.kind = "clean"}, passages(4, 500), random);
  EXPECT_EQ(side.truth.tracks.size(), 3U);
  EXPECT_LT(side.sound.seconds(), 28.1 * 60);
}

TEST(AccuracySides, ApplauseReachesUpToTheGap) {
  Random random("a");
  const Side side = makeTrackSide({.kind = "applause", .ending = Ending::applause}, passages(2, 5), random);
  ASSERT_EQ(side.truth.gaps.size(), 1U);
  const double end = side.truth.gaps[0].begin;
  EXPECT_EQ(rmsBetween(side.sound, side.truth.gaps[0]), 0);
  EXPECT_GT(rmsBetween(side.sound, {end - 6, end - 5}), fromDecibels(-50));
  EXPECT_LT(rmsBetween(side.sound, {end - 0.3, end}), fromDecibels(-60));
}

TEST(AccuracySides, MedleysAndConcertsAreNeverSilent) {
  Random random("a");
  for (const Sound& sound : {makeMedley(passages(3, 20)), makeConcert(passages(3, 20), random)}) {
    const std::size_t step = framesIn(0.25);
    // The last applause dies away at the end of the concert.
    for (std::size_t frame = 4 * step; frame + 20 * step < sound.frames(); frame += step) {
      EXPECT_GT(rmsOf(sound.excerpt(frame, step)), fromDecibels(-40)) << frame;
    }
  }
}

TEST(AccuracySides, HaveDifferentNamesAndCanBeChosenByThem) {
  std::set<std::string> names;
  const auto orders = ordersFor({});
  for (const SideOrder& order : orders) {
    names.insert(order.name());
  }
  EXPECT_EQ(names.size(), orders.size());
  const auto few = ordersFor({.half = Half::report, .seedOffset = 5, .mostOfAKind = 2, .only = "hiss-45"});
  ASSERT_EQ(few.size(), 2U);
  EXPECT_EQ(few[1].name(), "report-hiss-45+clicks-6");
}

}  // namespace
}  // namespace orv::accuracy
