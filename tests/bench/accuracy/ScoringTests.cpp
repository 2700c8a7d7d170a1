#include "accuracy/Scoring.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv::accuracy {
namespace {

const std::vector<Interval> kGaps = {{100, 102}, {200, 200.5}};

std::vector<Cut> cutsAt(const std::vector<double>& seconds) {
  std::vector<Cut> cuts;
  cuts.reserve(seconds.size());
  for (const double second : seconds) {
    cuts.push_back({second, ""});
  }
  return cuts;
}

TEST(Scoring, ACutInAGapIsAHitWithoutAnError) {
  const Score score = judge(kGaps, cutsAt({100, 200.5})).score;
  EXPECT_EQ(score.hits, 2U);
  EXPECT_EQ(score.falseCuts, 0U);
  EXPECT_EQ(score.recall(), 1);
  EXPECT_EQ(score.precision(), 1);
  EXPECT_EQ(score.errorQuantile(1), 0);
}

TEST(Scoring, ACutUpToASecondBesideAGapIsAHitWhoseErrorIsTheDistance) {
  const Score score = judge(kGaps, cutsAt({99.25, 201.5})).score;
  EXPECT_EQ(score.hits, 2U);
  EXPECT_DOUBLE_EQ(score.errorQuantile(0.5), 0.75);
  EXPECT_DOUBLE_EQ(score.errorQuantile(0.95), 1);
}

TEST(Scoring, ACutFartherAwayIsFalseAndLeavesTheGapMissed) {
  const Judgement judgement = judge(kGaps, cutsAt({98.9, 200.2}));
  EXPECT_EQ(judgement.score.hits, 1U);
  ASSERT_EQ(judgement.missed.size(), 1U);
  EXPECT_EQ(judgement.missed[0].begin, 100);
  ASSERT_EQ(judgement.wrong.size(), 1U);
  EXPECT_EQ(judgement.wrong[0].at, 98.9);
}

TEST(Scoring, TheSecondCutInAGapIsFalseAndTheNearestOneHits) {
  const Judgement judgement = judge(kGaps, cutsAt({99.5, 101, 200}));
  EXPECT_EQ(judgement.score.hits, 2U);
  EXPECT_EQ(judgement.score.errorQuantile(1), 0);
  ASSERT_EQ(judgement.wrong.size(), 1U);
  EXPECT_EQ(judgement.wrong[0].at, 99.5);
}

TEST(Scoring, EveryCutInARecordingWithoutGapsIsFalse) {
  const Score score = judge({}, cutsAt({0.5, 60})).score;
  EXPECT_EQ(score.falseCuts, 2U);
  EXPECT_TRUE(std::isnan(score.recall()));
  EXPECT_EQ(score.precision(), 0);
}

TEST(Scoring, WithoutACutThereIsNoPrecisionAndNoError) {
  const Score score = judge(kGaps, {}).score;
  EXPECT_EQ(score.recall(), 0);
  EXPECT_TRUE(std::isnan(score.precision()));
  EXPECT_TRUE(std::isnan(score.errorQuantile(0.5)));
}

TEST(Scoring, ScoresAddUp) {
  Score sum = judge(kGaps, cutsAt({99.5, 50})).score;
  sum += judge(kGaps, cutsAt({101, 200})).score;
  EXPECT_EQ(sum.gaps, 4U);
  EXPECT_EQ(sum.hits, 3U);
  EXPECT_EQ(sum.falseCuts, 1U);
  EXPECT_EQ(sum.recall(), 0.75);
  EXPECT_EQ(sum.precision(), 0.75);
  EXPECT_EQ(sum.errorQuantile(0.95), 0.5);
}

}  // namespace
}  // namespace orv::accuracy
