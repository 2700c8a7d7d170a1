#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvCoreAudio/OrvLevelEnvelope.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "coreaudio/boundaries/Side.h"
#include "coreaudio/support/Recording.h"
#include "detection/boundaries/EnvelopeMeter.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

using Block = OrvLevelEnvelope::Block;

Block middleOf(const OrvLevelEnvelope& envelope) {
  return envelope.blocks.at(envelope.blocks.size() / 2);
}

OrvLevelEnvelope measured(const std::string& path) {
  const auto measurement = OrvLevelEnvelope::measure({path, nullptr, {}});
  EXPECT_TRUE(measurement.done) << measurement.problem;
  return measurement.envelope;
}

TEST(LevelEnvelope, BlocksLastTwentyToFiftyMillisecondsAtEveryUsualRate) {
  for (const double rate : {8'000.0, 11'025.0, 22'050.0, 32'000.0, 44'100.0, 48'000.0, 96'000.0, 192'000.0}) {
    const double seconds = OrvLevelEnvelope::framesPerBlockAtRate(rate) / rate;
    EXPECT_GE(seconds, 0.020) << rate;
    EXPECT_LE(seconds, 0.050) << rate;
  }
}

TEST(LevelEnvelope, AToneIsInItsOctave) {
  const OrvLevelEnvelope envelope = Side().tone(2, 1'000, 0.5).envelope();
  const Block block = middleOf(envelope);
  // 690 to 1,380 Hz. The lower half of a steady tone's parts is as loud as all of it.
  for (std::size_t band = 0; band < OrvLevelEnvelope::kBands; ++band) {
    if (band != 2) {
      EXPECT_LT(block.bands[band], block.bands[2] - 500) << band;
    }
  }
  EXPECT_GT(block.bands[2], -1'800);
  EXPECT_LT(block.bands[2], -600);
}

TEST(LevelEnvelope, DigitalSilenceHasTheLowestLevel) {
  const Block block = middleOf(Side().silence(1).envelope());
  EXPECT_EQ(block.level, OrvLevelEnvelope::kSilence);
  for (const std::int16_t band : block.bands) {
    EXPECT_EQ(band, OrvLevelEnvelope::kSilence);
  }
  EXPECT_EQ(block.minimum, 0);
  EXPECT_EQ(block.maximum, 0);
}

TEST(LevelEnvelope, AConstantIsSilent) {
  std::vector<float> samples(20'000, 0.5F);
  const Block block = middleOf(envelopeOf(samples, Side::kRate));
  EXPECT_LT(block.level, -10'000);
  EXPECT_EQ(block.maximum, 16'383);
}

TEST(LevelEnvelope, RumbleIsMuchWeakerThanMusicOfItsStrength) {
  const Block rumble = middleOf(Side().tone(2, 25, 0.5).envelope());
  const Block music = middleOf(Side().tone(2, 500, 0.5).envelope());
  EXPECT_LT(rumble.level, music.level - 2'500);
}

TEST(LevelEnvelope, AClickLeavesTheLevelAsItIs) {
  Side quiet;
  quiet.silence(2).noise(-60);
  Side clicked = quiet;
  for (int click = 10; click < 30; ++click) {
    clicked.click(0.05 * click, 0.9F);
  }
  const OrvLevelEnvelope before = quiet.envelope();
  const OrvLevelEnvelope behind = clicked.envelope();
  double difference = 0;
  for (std::size_t i = 0; i < before.blocks.size(); ++i) {
    difference = std::max(difference, std::abs(before.blocks[i].level - behind.blocks[i].level) / 100.0);
  }
  EXPECT_LT(difference, 3.0);
  EXPECT_GT(behind.blocks[std::size_t(1.0 * Side::kRate) / behind.framesPerBlock].maximum, -1);
}

TEST(LevelEnvelope, SamplesThatAreNoNumbersAreSilent) {
  std::vector<float> samples(20'000, std::numeric_limits<float>::quiet_NaN());
  for (std::size_t i = 0; i < samples.size(); i += 3) {
    samples[i] = std::numeric_limits<float>::infinity();
  }
  const Block block = middleOf(envelopeOf(samples, Side::kRate));
  EXPECT_EQ(block.level, OrvLevelEnvelope::kSilence);
  const std::vector<float> nothing(20'000, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(middleOf(envelopeOf(nothing, Side::kRate)).maximum, 0);
}

TEST(LevelEnvelope, KeepsTheExtremesOfEachBlock) {
  std::vector<float> samples(20'000);
  samples[10'000] = 0.5F;
  samples[10'001] = -0.25F;
  const OrvLevelEnvelope envelope = envelopeOf(samples, Side::kRate);
  const Block block = envelope.blocks.at(10'000 / envelope.framesPerBlock);
  EXPECT_EQ(block.maximum, 16'383);
  EXPECT_EQ(block.minimum, -8'191);
}

TEST(LevelEnvelope, TheLastBlockMayBeShort) {
  for (const std::size_t frames : {1U, 2U, 15U, 16U, 255U, 256U, 257U, 300U, 1'024U, 1'025U}) {
    const OrvLevelEnvelope envelope = envelopeOf(std::vector<float>(frames, 0.1F), Side::kRate);
    EXPECT_EQ(envelope.blocks.size(), (frames - 1) / envelope.framesPerBlock + 1) << frames;
  }
}

TEST(LevelEnvelope, MeasuresAFileAsItDoesItsSamples) {
  const TemporaryDirectory folder;
  Side side;
  side.music(3).noise(-50);
  side.writeFloat(folder / "float.aifc");
  const OrvLevelEnvelope file = measured(folder / "float.aifc");
  const OrvLevelEnvelope samples = side.envelope();
  ASSERT_EQ(file.blocks.size(), samples.blocks.size());
  EXPECT_EQ(file.framesPerBlock, samples.framesPerBlock);
  EXPECT_EQ(file.lengthInFrames, samples.lengthInFrames);
  for (std::size_t i = 0; i < file.blocks.size(); ++i) {
    EXPECT_EQ(file.blocks[i].bands, samples.blocks[i].bands) << i;
    EXPECT_EQ(file.blocks[i].level, samples.blocks[i].level) << i;
    EXPECT_EQ(file.blocks[i].maximum, samples.blocks[i].maximum) << i;
  }
}

TEST(LevelEnvelope, EightChannelsAreTheSumOfEach) {
  const TemporaryDirectory folder;
  Side side;
  side.music(2).noise(-50);
  side.write(folder / "mono.aiff");
  side.write(folder / "eight.aiff", 8);
  const Block one = middleOf(measured(folder / "mono.aiff"));
  const Block eight = middleOf(measured(folder / "eight.aiff"));
  EXPECT_NEAR(eight.level - one.level, 903, 2);  // 10 * log10(8) dB
  EXPECT_EQ(eight.maximum, one.maximum);
}

TEST(LevelEnvelope, EveryDepthOfSamplesHasTheSameLevels) {
  const TemporaryDirectory folder;
  const std::vector<Stretch> tone{{2, 0.5}};
  constexpr std::uint32_t big = kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsPacked;
  writeRecording(folder / "16", pcm(44'100, 2, 16, big | kAudioFormatFlagIsSignedInteger), tone);
  const Block reference = middleOf(measured(folder / "16"));
  for (const std::uint32_t bits : {8U, 24U, 32U}) {
    const std::string path = folder / std::to_string(bits);
    writeRecording(path, pcm(44'100, 2, bits, big | kAudioFormatFlagIsSignedInteger), tone);
    EXPECT_NEAR(middleOf(measured(path)).bands[2], reference.bands[2], 10) << bits;
  }
  writeRecording(folder / "f", pcm(44'100, 2, 32, big | kAudioFormatFlagIsFloat), tone);
  EXPECT_NEAR(middleOf(measured(folder / "f")).bands[2], reference.bands[2], 10);
}

TEST(LevelEnvelope, TellsHowFarItIs) {
  const TemporaryDirectory folder;
  Side().music(5).write(folder / "a.aiff");
  std::vector<double> told;
  const auto measurement =
      OrvLevelEnvelope::measure({folder / "a.aiff", nullptr, [&](double fraction) { told.push_back(fraction); }});
  EXPECT_TRUE(measurement.done);
  ASSERT_FALSE(told.empty());
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_EQ(told.back(), 1.0);
}

TEST(LevelEnvelope, StopsWhenItIsCancelled) {
  const TemporaryDirectory folder;
  Side().music(5).write(folder / "a.aiff");
  const std::atomic<bool> cancel{true};
  const auto measurement = OrvLevelEnvelope::measure({folder / "a.aiff", &cancel, {}});
  EXPECT_FALSE(measurement.done);
  EXPECT_TRUE(measurement.cancelled);
  EXPECT_EQ(measurement.problem, "");
}

TEST(LevelEnvelope, SaysWhatIsWrongWithAFile) {
  const TemporaryDirectory folder;
  const auto missing = OrvLevelEnvelope::measure({folder / "none", nullptr, {}});
  EXPECT_FALSE(missing.done);
  EXPECT_EQ(missing.problem, "no such file or directory");
  Side().write(folder / "empty.aiff");
  const auto empty = OrvLevelEnvelope::measure({folder / "empty.aiff", nullptr, {}});
  EXPECT_FALSE(empty.done);
  EXPECT_EQ(empty.problem, "the file holds no audio");
}

}  // namespace
}  // namespace orv::test
