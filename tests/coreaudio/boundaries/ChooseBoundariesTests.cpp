#include "detection/boundaries/ChooseBoundaries.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <random>

namespace orv::test {
namespace {

using boundaries::Limits;
using boundaries::Place;

/// Everything is music.
Place at(double second, double chance) {
  return {second, second, chance};
}

Limits recordingOf(double seconds, double minimumTrackLength = 0) {
  return {at(0, 0), at(seconds, 0), minimumTrackLength};
}

double worthOf(const std::vector<Place>& places, const Limits& limits, const std::vector<std::size_t>& chosen) {
  Place before = limits.begin;
  double worth = 0;
  for (const std::size_t i : chosen) {
    worth += places[i].chance + boundaries::lengthChance(before, places[i], limits);
    before = places[i];
  }
  return worth + boundaries::lengthChance(before, limits.end, limits);
}

/// The best worth of all subsets, of so many places where `count` is given.
double bestWorth(const std::vector<Place>& places, const Limits& limits, std::optional<std::size_t> count) {
  double best = -std::numeric_limits<double>::infinity();
  for (std::uint32_t subset = 1; subset < 1U << places.size(); ++subset) {
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < places.size(); ++i) {
      if ((subset >> i & 1) != 0) {
        chosen.push_back(i);
      }
    }
    if (!count || chosen.size() == *count) {
      best = std::max(best, worthOf(places, limits, chosen));
    }
  }
  return best;
}

std::vector<Place> randomPlaces(std::mt19937* random, double seconds) {
  std::uniform_real_distribution<double> second(0, seconds);
  std::normal_distribution<double> chance(0, 5);
  std::vector<Place> places(10);
  for (Place& place : places) {
    place = at(second(*random), chance(*random));
  }
  std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.second < b.second; });
  return places;
}

TEST(ChooseBoundaries, FindsTheBestOfAllSets) {
  std::mt19937 random(1);
  for (int round = 0; round < 50; ++round) {
    const std::vector<Place> places = randomPlaces(&random, 600);
    const Limits limits = recordingOf(600, round % 2 == 0 ? 0 : 40);
    const std::vector<std::size_t> chosen = chooseBoundaries(places, limits);
    const double best = bestWorth(places, limits, {});
    if (chosen.empty()) {
      EXPECT_LT(best, 3.5) << round;
    } else {
      EXPECT_NEAR(worthOf(places, limits, chosen), best, 1e-9) << round;
    }
  }
}

TEST(ChooseBoundaries, FindsTheBestOfAllSetsOfACount) {
  std::mt19937 random(2);
  for (int round = 0; round < 50; ++round) {
    const std::vector<Place> places = randomPlaces(&random, 600);
    const Limits limits = recordingOf(600);
    const std::size_t count = 1 + static_cast<std::size_t>(round) % places.size();
    const std::vector<std::size_t> chosen = chooseCountedBoundaries(places, limits, count);
    ASSERT_EQ(chosen.size(), count) << round;
    EXPECT_NEAR(worthOf(places, limits, chosen), bestWorth(places, limits, count), 1e-9) << round;
  }
}

TEST(ChooseBoundaries, OneDoubtfulPlaceIsNoBoundary) {
  const std::vector<Place> places{at(200, 3)};
  EXPECT_TRUE(chooseBoundaries(places, recordingOf(400)).empty());
  const std::vector<Place> surer{at(200, 4)};
  EXPECT_EQ(chooseBoundaries(surer, recordingOf(400)).size(), 1U);
}

TEST(ChooseBoundaries, TakesNoneWhereThereIsNone) {
  EXPECT_TRUE(chooseBoundaries({}, recordingOf(400)).empty());
  EXPECT_TRUE(chooseCountedBoundaries({}, recordingOf(400), 5).empty());
}

TEST(ChooseBoundaries, AShortTrackNeedsASurerBoundary) {
  const std::vector<Place> places{at(200, 6), at(212, 6)};
  EXPECT_EQ(chooseBoundaries(places, recordingOf(400)).size(), 1U);
  const std::vector<Place> surer{at(200, 12), at(212, 12)};
  EXPECT_EQ(chooseBoundaries(surer, recordingOf(400)).size(), 2U);
}

TEST(ChooseBoundaries, ALongGrooveIsNoTrack) {
  Limits limits = recordingOf(400);
  limits.end.music = 240;
  // Behind 240 s there is only groove, so that a cut at 300 s would make a track without music.
  const std::vector<Place> places{at(120, 8), {300, 240, 8}};
  EXPECT_EQ(chooseBoundaries(places, limits), std::vector<std::size_t>{0});
}

TEST(ChooseBoundaries, NoTrackIsShorterThanAskedFor) {
  const std::vector<Place> places{at(100, 8), at(190, 20), at(280, 8)};
  EXPECT_EQ(chooseBoundaries(places, recordingOf(380, 95)), std::vector<std::size_t>{1});
  EXPECT_EQ(chooseBoundaries(places, recordingOf(380, 80)).size(), 3U);
}

TEST(ChooseBoundaries, ACountThatDoesNotFitTheShortestLengthIsCutDown) {
  const std::vector<Place> places{at(100, 8), at(190, 20), at(280, 8)};
  EXPECT_EQ(chooseCountedBoundaries(places, recordingOf(380, 150), 3).size(), 1U);
  EXPECT_EQ(chooseCountedBoundaries(places, recordingOf(380, 200), 3).size(), 0U);
}

}  // namespace
}  // namespace orv::test
