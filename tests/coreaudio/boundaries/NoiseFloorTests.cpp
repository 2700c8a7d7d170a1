#include "detection/boundaries/NoiseFloor.h"

#include <gtest/gtest.h>

#include "coreaudio/boundaries/Side.h"
#include "detection/boundaries/Loudness.h"

namespace orv::test {
namespace {

using boundaries::BlockTime;
using boundaries::Loudness;
using boundaries::NoiseFloor;

/// An envelope of constant levels, one for each second, in dB.
OrvLevelEnvelope envelopeOfLevels(const std::vector<double>& levels) {
  OrvLevelEnvelope envelope;
  envelope.sampleRate = 44'100;
  envelope.framesPerBlock = 1'024;
  const BlockTime time(envelope);
  for (const double level : levels) {
    OrvLevelEnvelope::Block block{};
    block.bands.fill(static_cast<std::int16_t>(100 * level));
    block.level = block.bands[0];
    envelope.blocks.insert(envelope.blocks.end(), time.blocks(1.0), block);
  }
  envelope.lengthInFrames = std::uint64_t{envelope.blocks.size()} * envelope.framesPerBlock;
  return envelope;
}

TEST(NoiseFloor, IsWhatARecordingDoesNotFallBelow) {
  std::vector<double> levels(100, -20);
  levels[50] = -60;
  const OrvLevelEnvelope envelope = envelopeOfLevels(levels);
  const BlockTime time(envelope);
  const NoiseFloor floor(envelope, time);
  EXPECT_NEAR(floor.at(time.blocks(50.5))[3], -60, 0.01);
  // 0.05 dB a second further away.
  EXPECT_NEAR(floor.at(time.blocks(70.5))[3], -59, 0.06);
  EXPECT_NEAR(floor.at(time.blocks(30.5))[3], -59, 0.06);
}

TEST(NoiseFloor, FollowsADrift) {
  std::vector<double> levels(600);
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const double drift = 0.02 * static_cast<double>(i);
    levels[i] = i % 100 < 3 ? -60 + drift : -20;
  }
  const OrvLevelEnvelope envelope = envelopeOfLevels(levels);
  const BlockTime time(envelope);
  const NoiseFloor floor(envelope, time);
  for (const std::size_t second : {1U, 101U, 301U, 501U}) {
    EXPECT_NEAR(floor.at(time.blocks(static_cast<double>(second) + 0.5))[3], levels[second], 0.1) << second;
  }
}

TEST(NoiseFloor, IsNeverLowerThanWhatAnyoneCouldHear) {
  const OrvLevelEnvelope envelope = envelopeOfLevels(std::vector<double>(10, -150));
  const NoiseFloor floor(envelope, BlockTime(envelope));
  EXPECT_FLOAT_EQ(floor.at(0)[0], -92);
  EXPECT_NEAR(floor.levelAt(0), -92 + 8.45, 0.01);  // 10 * log10(7) dB for seven bands
}

TEST(NoiseFloor, HasAFloorForOneBlock) {
  OrvLevelEnvelope envelope = envelopeOfLevels({-40});
  envelope.blocks.resize(1);
  const NoiseFloor floor(envelope, BlockTime(envelope));
  EXPECT_FLOAT_EQ(floor.at(0)[0], -40);
  EXPECT_EQ(floor.steps(), 1U);
}

TEST(Loudness, IsAboutZeroOnTheFloorAndTheDistanceAboveIt) {
  std::vector<double> levels(100, -20);
  levels[50] = -60;
  const OrvLevelEnvelope envelope = envelopeOfLevels(levels);
  const BlockTime time(envelope);
  const Loudness loudness(envelope, NoiseFloor(envelope, time), time);
  EXPECT_NEAR(loudness.smooth()[time.blocks(50.5)], 0, 1.5);
  EXPECT_NEAR(loudness.smooth()[time.blocks(45.0)], 39, 1);
}

TEST(Loudness, OneOctaveAboveTheFloorIsEnough) {
  OrvLevelEnvelope envelope = envelopeOfLevels(std::vector<double>(20, -60));
  for (std::size_t i = envelope.blocks.size() / 2; i < envelope.blocks.size(); ++i) {
    envelope.blocks[i].bands[3] = -4'000;
  }
  const BlockTime time(envelope);
  const Loudness loudness(envelope, NoiseFloor(envelope, time), time);
  EXPECT_LT(loudness.smooth()[time.blocks(5.0)], 1);
  EXPECT_GT(loudness.smooth()[time.blocks(15.0)], 10);
}

TEST(Loudness, DigitalSilenceIsAtMostTwentyDecibelsBelowTheFloor) {
  const OrvLevelEnvelope envelope = envelopeOfLevels(std::vector<double>(10, -150));
  const BlockTime time(envelope);
  const Loudness loudness(envelope, NoiseFloor(envelope, time), time);
  for (const float value : loudness.blocks()) {
    EXPECT_GE(value, -30);
    EXPECT_LE(value, 0);
  }
}

}  // namespace
}  // namespace orv::test
