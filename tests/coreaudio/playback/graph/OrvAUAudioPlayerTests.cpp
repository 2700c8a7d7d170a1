// What is heard.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <vector>

#include "GraphPlayerFixture.h"

namespace {

/// `samples` and silence up to the length of `like`.
std::vector<float> thenSilence(std::vector<float> samples, const std::vector<float>& like) {
  samples.resize(std::max(samples.size(), like.size()));
  return samples;
}

std::vector<float> tone(double rate, std::size_t frames, std::uint32_t channels) {
  std::vector<float> samples;
  for (std::size_t i = 0; i < frames * channels; ++i) {
    const double time = static_cast<double>(i / channels) / rate;
    samples.push_back(static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 997 * time)));
  }
  return samples;
}

}  // namespace

TEST_F(GraphPlayer, EveryFrameIsHeardOnceBitForBitAndThenSilence) {
  for (const std::uint32_t bits : {16U, 24U, 32U, 64U}) {
    const auto player = playerOf(countedFile(1000, bits));
    ASSERT_TRUE(player->play());
    const auto heard = hearAll(*player);
    EXPECT_EQ(heard, thenSilence(counted(0, 1000, 2), heard)) << bits;
  }
}

TEST_F(GraphPlayer, AFileLongerThanWhatIsReadAheadIsHeardToItsEnd) {
  constexpr std::uint32_t kLength = 200000;
  std::vector<float> samples = tone(48000, kLength, 2);
  const auto player = playerOf(file(48000, 2, 32, samples));
  ASSERT_TRUE(player->play());
  std::vector<float> heard;
  while (player->isPlaying()) {
    const auto position = player->currentFrameOffset();
    const auto& block = cycle();
    // The reader may be late: then a cycle is silent and the position stays.
    if (player->currentFrameOffset() != position || !player->isPlaying()) {
      heard.insert(heard.end(), block.begin(), block.end());
    }
    pump();
  }
  EXPECT_TRUE(std::equal(samples.begin(), samples.end(), heard.begin()));
}

TEST_F(GraphPlayer, WithoutAProcessorTheConvertedSamplesFillTheOutput) {
  const auto player = playerOf(countedFile(600));
  player->play();
  EXPECT_EQ(cycle(), counted(0, kFrames, 2));
}

TEST_F(GraphPlayer, AProcessorGetsTheConvertedSamples) {
  const auto player = playerOf(countedFile(600));
  const auto processor = std::make_shared<GraphProcessor>();
  player->setAudioProcessor(processor);
  player->play();
  EXPECT_EQ(cycle()[2], 1.0F / 32768 + 0.25F);
  EXPECT_EQ(processor->channels, 2U);
}

TEST_F(GraphPlayer, TheProcessorNeverGetsMoreFramesThanTheBuffersHold) {
  hardware->at(kSpeaker).frames = 20000;
  for (const std::uint32_t bits : {16U, 24U, 32U}) {
    const auto player = playerOf(countedFile(20000, bits));
    const auto processor = std::make_shared<GraphProcessor>();
    player->setAudioProcessor(processor);
    player->play();
    const auto& heard = cycle();
    EXPECT_EQ(processor->mostFrames, 8192U) << bits;
    EXPECT_EQ(heard[38000], 19000.0F / 32768 + 0.25F) << bits;
    player->stop();
  }
}

TEST_F(GraphPlayer, OfAFileOf64BitSamplesHalfOfEachSliceIsProcessed) {
  const auto player = playerOf(countedFile(600, 64));
  player->setAudioProcessor(std::make_shared<GraphProcessor>());
  player->play();
  const auto& heard = cycle();
  EXPECT_EQ(heard[254], 127.0F / 32768 + 0.25F);
  EXPECT_EQ(heard[256], 128.0F / 32768);  // heard all the same
}

TEST_F(GraphPlayer, AProcessorThatFailsMakesSilence) {
  const auto player = playerOf(countedFile(600));
  const auto processor = std::make_shared<GraphProcessor>();
  processor->fails = true;
  player->setAudioProcessor(processor);
  player->play();
  EXPECT_EQ(cycle(), std::vector<float>(2 * kFrames));
}

TEST_F(GraphPlayer, TheVolumeIsApplied) {
  const auto player = playerOf(countedFile(600));
  EXPECT_EQ(player->volumeScalar(), 1.0F);
  player->setVolumeScalar(0.5F);
  EXPECT_EQ(player->volumeScalar(), 0.5F);
  player->play();
  EXPECT_EQ(cycle()[100], 50.0F / 32768 * 0.5F);
}

TEST_F(GraphPlayer, AMonoFileIsHeardInBothChannels) {
  const auto player = playerOf(countedFile(600, 16, 1));
  player->play();
  EXPECT_EQ(cycle(), counted(0, kFrames, 2));
}

TEST_F(GraphPlayer, ADeviceOfManyChannelsIsFilled) {
  hardware->at(kSpeaker).outputChannels = 6;
  const auto player = playerOf(countedFile(600, 16, 6));
  player->play();
  EXPECT_EQ(cycle(), counted(0, kFrames, 6));
}

TEST_F(GraphPlayer, AFileOfAnotherRateIsResampledFromItsFirstFrameToItsLast) {
  for (const double rate : {44100.0, 96000.0, 22050.0}) {
    const auto frames = static_cast<std::size_t>(rate / 10);
    const auto player = playerOf(file(rate, 2, 32, tone(rate, frames, 2)));
    ASSERT_TRUE(player->play());
    const auto heard = hearAll(*player);
    const auto expected = tone(48000, 4800, 2);
    double noise = 0;
    ASSERT_GE(heard.size(), expected.size());
    for (std::size_t i = 400; i < expected.size() - 400; ++i) {  // the edges ring: the tone begins and ends abruptly
      noise = std::max(noise, std::abs(static_cast<double>(heard[i]) - static_cast<double>(expected[i])));
    }
    EXPECT_LT(noise, 1e-4) << rate;
    EXPECT_LT(std::abs(heard.back()), 1e-6) << rate;
    player->stop();
  }
}

TEST_F(GraphPlayer, SlicesOfEveryLengthAreHeard) {
  for (const std::uint32_t frames : {1U, 7U, 8192U, 8193U, 30000U}) {
    hardware->at(kSpeaker).frames = frames;
    const auto player = playerOf(countedFile(frames + 3));
    player->play();
    EXPECT_EQ(cycle(), counted(0, frames, 2)) << frames;
    player->stop();
  }
}

TEST_F(GraphPlayer, AFileThatWasEmptiedUnderThePlayerEndsPlaying) {
  const std::string path = countedFile(200000);
  const auto player = playerOf(path);
  std::filesystem::resize_file(path, 100);
  player->play();
  for (int i = 0; i < 2000 && player->isPlaying(); ++i) {
    cycle();
    pump();
  }
  EXPECT_FALSE(player->isPlaying());
}
