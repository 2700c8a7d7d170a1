#include "LevelDisplay.h"

#include <gtest/gtest.h>

#include <sstream>

#include "LevelTap.h"
#include "Text.h"

namespace orv::cli {
namespace {

LevelTap::Cycle cycleOf(std::uint32_t frames, float peak, float magnitude) {
  LevelTap::Cycle cycle;
  cycle.frames = frames;
  cycle.channels = 2;
  cycle.peaks[0] = peak;
  cycle.magnitudes[0] = magnitude;
  return cycle;
}

/// Hands a tap one cycle of interleaved samples. Below 0, the sample time is not known.
void hear(LevelTap& tap, std::vector<float> samples, std::uint32_t channels, double sampleTime = -1) {
  const AudioBufferList input{1,
                              {{channels, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()}}};
  AudioTimeStamp time{};
  time.mSampleTime = sampleTime;
  time.mFlags = sampleTime >= 0 ? kAudioTimeStampSampleTimeValid : 0;
  AudioBufferList output{0, {{0, 0, nullptr}}};
  tap.audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      nullptr, &time, &input, &time, &output, &time, nullptr);
}

TEST(OrvLevelTap, TellsTheLargestSampleAndTheLargestMagnitudeOfEachChannel) {
  LevelTap tap;
  hear(tap, {0.25F, -0.5F, -0.75F, -0.125F}, 2);
  LevelTap::Cycle cycle;
  ASSERT_TRUE(tap.take(&cycle));
  EXPECT_EQ(cycle.frames, 2U);
  EXPECT_EQ(cycle.channels, 2U);
  EXPECT_EQ(cycle.peaks[0], 0.25F);
  EXPECT_EQ(cycle.magnitudes[0], 0.75F);
  EXPECT_EQ(cycle.peaks[1], 0.0F);
  EXPECT_EQ(cycle.magnitudes[1], 0.5F);
  EXPECT_FALSE(tap.take(&cycle));
}

TEST(OrvLevelTap, TellsTheFramesThatTheDeviceLeftOut) {
  LevelTap tap;
  const auto missing = [&](double sampleTime) {
    hear(tap, {0, 0, 0, 0}, 2, sampleTime);
    LevelTap::Cycle cycle;
    EXPECT_TRUE(tap.take(&cycle));
    return cycle.missing;
  };
  EXPECT_EQ(missing(1000), 0U);  // a device that ran before
  EXPECT_EQ(missing(1002), 0U);
  EXPECT_EQ(missing(1010), 6U);
  EXPECT_EQ(missing(1012), 0U);
  EXPECT_EQ(missing(-1), 0U);  // not known
  EXPECT_EQ(missing(5000), 0U);
  EXPECT_EQ(missing(10), 0U);  // it began anew
  EXPECT_EQ(missing(12), 0U);
}

TEST(OrvLevelTap, KeepsEveryCycleInOrderUntilItIsFullAndThenCounts) {
  LevelTap tap;
  for (int i = 0; i < 5000; ++i) {
    hear(tap, {static_cast<float>(i)}, 1);
  }
  LevelTap::Cycle cycle;
  int taken = 0;
  while (tap.take(&cycle)) {
    ASSERT_EQ(cycle.peaks[0], static_cast<float>(taken));
    ++taken;
  }
  EXPECT_EQ(static_cast<std::uint64_t>(taken) + tap.lost(), 5000U);
  EXPECT_GT(tap.lost(), 0U);
}

TEST(OrvLevels, GrowWithEachCycleAndRestartBehindTheLast) {
  Levels levels;
  levels.add(cycleOf(100, 0.5F, 0.5F));
  levels.add(cycleOf(50, 0.25F, 0.75F));
  EXPECT_EQ(levels.to, 150U);
  EXPECT_EQ(levels.peaks[0], 0.5F);
  EXPECT_EQ(levels.magnitudes[0], 0.75F);
  levels.restart();
  EXPECT_EQ(levels.from, 150U);
  EXPECT_EQ(levels.peaks[0], 0.0F);
}

TEST(OrvLevels, AreToldInDecibelsBelowFullScale) {
  EXPECT_EQ(decibelText(1.0F), "0.00");
  EXPECT_EQ(decibelText(0.5F), "-6.02");
  EXPECT_EQ(decibelText(0.0F), "-inf");
}

TEST(OrvPeakHold, HoldsTheLoudestForAWhile) {
  PeakHold hold;
  Levels loud;
  loud.magnitudes[0] = 0.5F;
  Levels quiet;
  quiet.magnitudes[0] = 0.125F;
  const PeakHold::Clock::time_point begin{};
  EXPECT_EQ(hold.add(loud, begin)[0], 0.5F);
  EXPECT_EQ(hold.add(quiet, begin + PeakHold::kTime)[0], 0.5F);
  EXPECT_EQ(hold.add(quiet, begin + PeakHold::kTime + std::chrono::milliseconds(1))[0], 0.125F);
}

TEST(OrvLevelBars, HaveALineForEachChannelAndAScaleAndFitTheTerminal) {
  Levels levels;
  levels.add(cycleOf(100, 0.5F, 0.5F));
  PeakHold hold;
  const std::string bars = levelBars(levels, hold.add(levels, {}), 80);
  std::istringstream lines(bars);
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    EXPECT_LE(characterCount(line), 80U) << line;
    ++count;
  }
  EXPECT_EQ(count, 3);
  EXPECT_NE(bars.find("-6.02"), std::string::npos);
  EXPECT_NE(bars.find("dBFS"), std::string::npos);
}

TEST(OrvLevelBars, FullScaleIsMarked) {
  Levels levels;
  levels.add(cycleOf(100, 1.0F, 1.0F));
  PeakHold hold;
  EXPECT_NE(levelBars(levels, hold.add(levels, {}), 80).find("CLIP"), std::string::npos);
}

}  // namespace
}  // namespace orv::cli
