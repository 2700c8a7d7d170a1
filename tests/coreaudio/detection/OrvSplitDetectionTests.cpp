#include <OrvCoreAudio/OrvSplitDetection.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using Counts = std::vector<std::uint32_t>;
using Splits = std::array<std::uint32_t, kSplitArrayEntries>;

constexpr std::int16_t kSensitivity = 71;
constexpr std::uint32_t kLoud = 400;

AudioStreamBasicDescription analysisFormat(std::uint32_t channels = 2) {
  return {44100, orv::fourCC("lpcm"), 12, 2 * channels, 1, 2 * channels, channels, 16, 0};
}

std::uint32_t crossings(const std::vector<std::int16_t>& samples, std::uint32_t channels, std::int16_t level = 0) {
  const AudioStreamBasicDescription format = analysisFormat(channels);
  return countZeroCrossings(&format, samples.data(), static_cast<std::uint32_t>(samples.size() * 2), level);
}

/// Counts of `blocks` busy blocks, quiet in the given ranges (begin, end).
Counts quietIn(std::uint32_t blocks, const std::vector<std::pair<std::size_t, std::size_t>>& ranges) {
  Counts counts(blocks, kLoud);
  for (const auto& [begin, end] : ranges) {
    std::fill(counts.begin() + static_cast<std::ptrdiff_t>(begin), counts.begin() + static_cast<std::ptrdiff_t>(end),
              0U);
  }
  return counts;
}

std::vector<std::uint32_t> threshold(const Counts& counts, std::uint32_t lengthOfSilence,
                                     std::int16_t sensitivity = kSensitivity) {
  Splits splits{};
  const std::int32_t count = findThresholdSplits(counts.data(), static_cast<std::uint32_t>(counts.size()), sensitivity,
                                                 lengthOfSilence, splits.data());
  return {splits.begin(), splits.begin() + count};
}

/// All entries that a counted run writes.
std::vector<std::uint32_t> counted(const Counts& counts, std::int16_t numberOfSplits) {
  Splits splits{};
  const std::uint32_t answer =
      findCountedSplits(counts.data(), static_cast<std::int16_t>(counts.size()), numberOfSplits, splits.data());
  return {splits.begin(), splits.begin() + answer + 2};
}

}  // namespace

TEST(CountZeroCrossings, OnlyTheFirstHalfOfAStereoBufferIsExamined) {
  std::vector<std::int16_t> samples(200, 0);
  for (std::size_t frame = 0; frame < 100; ++frame) {
    samples[frame * 2] = frame % 2 == 0 ? -100 : 100;
  }
  EXPECT_EQ(crossings(samples, 2), 50U);
}

TEST(CountZeroCrossings, OfAnOddNumberOfStereoFramesTheLargerHalfIsExamined) {
  std::vector<std::int16_t> samples(10, 0);  // 5 frames: 3 are examined
  for (std::size_t frame = 0; frame < 5; ++frame) {
    samples[frame * 2 + 1] = frame % 2 == 0 ? -100 : 100;
  }
  EXPECT_EQ(crossings(samples, 2), 3U);
}

TEST(CountZeroCrossings, AMonoBufferIsExaminedWhole) {
  EXPECT_EQ(crossings({-1, 1, -1, 1, -1}, 1), 5U);
}

TEST(CountZeroCrossings, TheFirstCrossingIsAFallBelowTheLevel) {
  EXPECT_EQ(crossings({5, 6, 7}, 1), 0U);
  EXPECT_EQ(crossings({5, -6, 7}, 1), 2U);
}

TEST(CountZeroCrossings, ASampleOnTheLevelChangesNothing) {
  EXPECT_EQ(crossings({-1, 0, -1, 0, 1, 0, 1}, 1), 2U);
  EXPECT_EQ(crossings({500, 500, 499, 500, 501}, 1, 500), 2U);
}

TEST(CountZeroCrossings, TheChannelThatCrossesMostCounts) {
  // Left crosses twice, right four times, in the examined half of 8 frames.
  EXPECT_EQ(crossings({-1, -1, -1, 1, 1, -1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0}, 2), 4U);
}

TEST(CountZeroCrossings, WithoutChannelsOrBytesThereIsNothingToCount) {
  const std::int16_t sample = -1;
  AudioStreamBasicDescription format = analysisFormat();
  format.mChannelsPerFrame = 0;
  EXPECT_EQ(countZeroCrossings(&format, &sample, 2, 0), 0U);
  format = analysisFormat();
  format.mBytesPerFrame = 0;
  EXPECT_EQ(countZeroCrossings(&format, &sample, 2, 0), 0U);
  format = analysisFormat();
  EXPECT_EQ(countZeroCrossings(&format, &sample, 0, 0), 0U);
}

TEST(CountZeroCrossings, AFormatWithFramesSmallerThanItsSamplesReadsNothingPastTheBuffer) {
  AudioStreamBasicDescription format = analysisFormat();
  format.mBytesPerFrame = 1;
  const std::vector<std::int16_t> samples{-1, 0, 1, 0};
  EXPECT_EQ(countZeroCrossings(&format, samples.data(), 8, 0), 2U);
}

TEST(IsSilence, ABlockIsSilentBelowTheCrossingsPerTenthOfASecond) {
  AudioStreamBasicDescription format = analysisFormat(1);
  format.mSampleRate = 100;  // 20 mono frames last 0.2 s
  std::vector<std::int16_t> samples(20, 100);
  for (std::size_t i = 0; i < 9; ++i) {
    samples[i] = i % 2 == 0 ? -100 : 100;  // 10 crossings with the one back up
  }
  EXPECT_EQ(isSilence(&format, samples.data(), 40, 5, 0, 0), 0);
  EXPECT_EQ(isSilence(&format, samples.data(), 40, 6, 0, 0), 1);
  EXPECT_EQ(isSilence(&format, samples.data(), 40, 6, 12345, 0), 1);
}

TEST(IsSilence, ANegativeLimitIsTakenAs0) {
  const AudioStreamBasicDescription format = analysisFormat();
  const std::vector<std::int16_t> samples(20, 100);
  EXPECT_EQ(isSilence(&format, samples.data(), 40, -5, 0, 0), 0);
}

TEST(IsSilence, ALimitWithoutBoundMakesEveryBlockSilent) {
  AudioStreamBasicDescription format = analysisFormat();
  format.mSampleRate = 0;
  const std::vector<std::int16_t> samples(20, 100);
  EXPECT_EQ(isSilence(&format, samples.data(), 40, 5, 0, 0), 1);
  EXPECT_EQ(isSilence(&format, samples.data(), 0, 5, 0, 0), 0);   // 0 / 0
  EXPECT_EQ(isSilence(&format, samples.data(), -8, 5, 0, 0), 0);  // negative lengths hold nothing
}

TEST(WeightedAverage, AtTheFirstIndexOnlyCentreAndRightTapsCount) {
  const Counts counts(20, 100);
  EXPECT_EQ(weightedAverage(counts.data(), 20, 0), 60U);
  EXPECT_EQ(weightedAverage(counts.data(), 20, 19), 60U);
  EXPECT_EQ(weightedAverage(counts.data(), 20, 10), 100U);
}

TEST(WeightedAverage, EachTermIsTruncatedOnItsOwn) {
  const Counts counts(9, 7);  // 0.28 0.56 0.84 1.12 1.4 1.12 0.84 0.56 0.28
  EXPECT_EQ(weightedAverage(counts.data(), 9, 4), 3U);
}

TEST(WeightedAverage, WithoutEntriesItIs0) {
  EXPECT_EQ(weightedAverage(nullptr, 0, 0), 0U);
}

TEST(WeightedAverage, TheWeightsSumTo1AndTheFifthIsTheCentre) {
  double sum = 0;
  for (const double weight : dWeights) {
    sum += weight;
  }
  EXPECT_DOUBLE_EQ(sum, 1.0);
  EXPECT_EQ(dWeights[4], 0.2);
}

TEST(Fudge, FallsWithTheDistance) {
  EXPECT_EQ(fudge(0), 1000);
  EXPECT_EQ(fudge(1), 700);
  EXPECT_EQ(fudge(-1), 700);
  EXPECT_EQ(fudge(3), 233);
  EXPECT_EQ(fudge(700), 1);
  EXPECT_EQ(fudge(701), 0);
  EXPECT_EQ(fudge(800), 0);
  EXPECT_EQ(fudge(std::numeric_limits<std::int16_t>::min()), 0);
}

TEST(MyMod, IsTheLow32BitsOfTheRemainder) {
  EXPECT_EQ(myMod(17, 5), 2U);
  EXPECT_EQ(myMod(0x1'0000'0005, 0x2'0000'0000), 5U);
  EXPECT_EQ(myMod(17, 0), 0U);
}

TEST(Counter, IsThereForHostsThatLookItUp) {
  EXPECT_EQ(counter, 0U);
}

TEST(FindThresholdSplits, ABoundaryLiesMidwayBetweenQuietAndBusyBegin) {
  EXPECT_EQ(threshold(quietIn(100, {{40, 60}}), 7), (std::vector<std::uint32_t>{0, 50}));
}

TEST(FindThresholdSplits, FewerThanTwoBlocksAreOneTrack) {
  EXPECT_EQ(threshold({}, 7), (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(threshold({0}, 7), (std::vector<std::uint32_t>{0}));
}

TEST(FindThresholdSplits, AQuietStretchMustLastLongEnough) {
  EXPECT_EQ(threshold(quietIn(100, {{40, 46}}), 7), (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(threshold(quietIn(100, {{40, 47}}), 7), (std::vector<std::uint32_t>{0, 43}));
}

TEST(FindThresholdSplits, TheBusyStretchBehindMustLastAsLong) {
  EXPECT_EQ(threshold(quietIn(100, {{40, 60}, {66, 80}}), 7), (std::vector<std::uint32_t>{0, 60}));
}

TEST(FindThresholdSplits, ASilenceThatRunsToTheEndYieldsNoBoundary) {
  EXPECT_EQ(threshold(quietIn(100, {{40, 100}}), 7), (std::vector<std::uint32_t>{0}));
  EXPECT_EQ(threshold(quietIn(100, {{40, 96}}), 7), (std::vector<std::uint32_t>{0}));
}

TEST(FindThresholdSplits, TheFirstBlockIsNeverExamined) {
  EXPECT_EQ(threshold(quietIn(50, {{0, 10}}), 7), (std::vector<std::uint32_t>{0, 5}));  // silence from 1 to 10
}

TEST(FindThresholdSplits, ACountOnTheSensitivityIsBusy) {
  Counts counts = quietIn(100, {{40, 60}});
  std::fill(counts.begin() + 40, counts.begin() + 60, 71U);
  EXPECT_EQ(threshold(counts, 7), (std::vector<std::uint32_t>{0}));
  std::fill(counts.begin() + 40, counts.begin() + 60, 70U);
  EXPECT_EQ(threshold(counts, 7), (std::vector<std::uint32_t>{0, 50}));
}

TEST(FindThresholdSplits, ALengthOf0BehavesLike1) {
  const Counts counts = quietIn(30, {{5, 6}, {10, 11}});
  EXPECT_EQ(threshold(counts, 0), threshold(counts, 1));
  EXPECT_EQ(threshold(counts, 1), (std::vector<std::uint32_t>{0, 5, 10}));
}

TEST(FindThresholdSplits, ABlockThatCompletesAStretchIsNotLookedAtAgain) {
  // Quiet at 1 completes the silence; busy at 2 completes the sound: boundary (1 + 2) / 2.
  EXPECT_EQ(threshold({kLoud, 0, kLoud, 0, kLoud}, 1), (std::vector<std::uint32_t>{0, 1, 3}));
}

TEST(FindThresholdSplits, ANegativeSensitivityCountsAsTheLargest) {
  EXPECT_EQ(threshold(quietIn(50, {}), 3, -1), (std::vector<std::uint32_t>{0}));  // all quiet, no sound behind
  Counts counts(50, 0);
  counts[20] = counts[21] = counts[22] = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(threshold(counts, 3, -1), (std::vector<std::uint32_t>{0, 10}));
}

TEST(FindThresholdSplits, StopsAfter97Boundaries) {
  Counts counts;
  for (int i = 0; i < 150; ++i) {
    counts.insert(counts.end(), {kLoud, kLoud, 0, 0});
  }
  counts.push_back(kLoud);
  const auto splits = threshold(counts, 1);
  ASSERT_EQ(splits.size(), 98U);
  EXPECT_EQ(splits[97], 97U * 4 - 1);
}

TEST(FindCountedSplits, HoldsTheEndsAndThePicksInOrder) {
  const auto splits = counted(quietIn(400, {{95, 106}, {295, 306}}), 2);
  ASSERT_EQ(splits.size(), 4U);
  EXPECT_EQ(splits[0], 0U);
  EXPECT_NEAR(splits[1], 100, 2);
  EXPECT_NEAR(splits[2], 300, 2);
  EXPECT_EQ(splits[3], 400U);
}

TEST(FindCountedSplits, EqualValuesResolveToTheLowestBlock) {
  // Past 700 blocks from both ends every penalty is 0: all smoothed values there are equal.
  const auto splits = counted(Counts(2000, 100), 1);
  ASSERT_EQ(splits.size(), 3U);
  EXPECT_EQ(splits[1], 701U);
}

TEST(FindCountedSplits, APickPushesLaterPicksAway) {
  const auto splits = counted(quietIn(2000, {{990, 1011}}), 2);
  ASSERT_EQ(splits.size(), 4U);
  // The second pick stays in the quiet stretch only if nothing better is left; its distance shows the push.
  EXPECT_GE(splits[2] - splits[1], 2U);
}

TEST(FindCountedSplits, AValueOf32767OrMoreIsNeverPicked) {
  EXPECT_EQ(counted(Counts(50, 1'000'000), 1), (std::vector<std::uint32_t>{0, 0, 50}));
}

TEST(FindCountedSplits, AskedForNoneItWritesTheEnds) {
  EXPECT_EQ(counted(Counts(50, 1), 0), (std::vector<std::uint32_t>{0, 50}));
}

TEST(FindCountedSplits, MoreThan97AreClamped) {
  Splits splits{};
  const Counts counts(3000, 100);
  EXPECT_EQ(findCountedSplits(counts.data(), 3000, 500, splits.data()), 97U);
  EXPECT_EQ(splits[98], 3000U);
}

TEST(FindCountedSplits, ABlockCountThatTurnedNegativeIsAnalysedAsNone) {
  Splits splits{};
  const Counts counts(10, 1);
  EXPECT_EQ(findCountedSplits(counts.data(), -5, 2, splits.data()), 2U);
  EXPECT_EQ(splits[0], 0U);
  EXPECT_EQ(splits[1], 0U);
  EXPECT_EQ(splits[2], 0U);
}
