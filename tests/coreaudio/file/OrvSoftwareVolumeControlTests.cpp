#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

namespace {

using Samples = std::vector<float>;

std::shared_ptr<OrvSoftwareVolumeControl> volume(float scalar) {
  auto control = OrvSoftwareVolumeControl::init();
  control->setVolumeScalar(scalar);
  return control;
}

}  // namespace

TEST(OrvSoftwareVolumeControl, TheGainIs1ToBeginWith) {
  EXPECT_EQ(OrvSoftwareVolumeControl::init()->volumeScalar(), 1.0F);
}

TEST(OrvSoftwareVolumeControl, AScalarIsStoredAsItIs) {
  EXPECT_EQ(volume(-7.5F)->volumeScalar(), -7.5F);
  EXPECT_EQ(volume(1000.0F)->volumeScalar(), 1000.0F);
}

TEST(OrvSoftwareVolumeControl, DecibelsBecomeAFactor) {
  const auto control = OrvSoftwareVolumeControl::init();
  control->setVolumeDecibels(20.0F);
  EXPECT_EQ(control->volumeScalar(), 10.0F);
  control->setVolumeDecibels(-6.0F);
  EXPECT_NEAR(control->volumeScalar(), 0.5011872F, 1e-7F);
  control->setVolumeDecibels(0.0F);
  EXPECT_EQ(control->volumeScalar(), 1.0F);
}

TEST(OrvSoftwareVolumeControl, MinusInfinityDecibelsAreSilence) {
  const auto control = OrvSoftwareVolumeControl::init();
  control->setVolumeDecibels(-std::numeric_limits<float>::infinity());
  EXPECT_EQ(control->volumeScalar(), 0.0F);
}

TEST(OrvSoftwareVolumeControl, InterleavedSamplesAreScaledIntoTheOutput) {
  const Samples input = {1, 2, 3, 4, 5, 6, 7};
  Samples output(7, 99.0F);
  std::uint32_t frames = 3;
  EXPECT_TRUE(
      volume(0.5F)->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(input.data(), output.data(), 2, &frames));
  EXPECT_EQ(output, (Samples{0.5F, 1, 1.5F, 2, 2.5F, 3, 99}));
  EXPECT_EQ(frames, 3U);
}

TEST(OrvSoftwareVolumeControl, NoFramesLeaveTheOutputUntouchedAndAnswerYes) {
  const Samples input = {1, 2};
  Samples output = {8, 9};
  std::uint32_t frames = 0;
  const auto control = volume(0.5F);
  EXPECT_TRUE(
      control->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(input.data(), output.data(), 2, &frames));
  EXPECT_TRUE(
      control->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(input.data(), output.data(), 2, nullptr));
  EXPECT_EQ(output, (Samples{8, 9}));
}

TEST(OrvSoftwareVolumeControl, EachChannelMayHaveABufferOfItsOwn) {
  const Samples left = {1, 2, 3};
  const Samples right = {-1, -2, -3};
  Samples leftOut(3);
  Samples rightOut(3);
  const std::array<const float*, 2> inputs = {left.data(), right.data()};
  const std::array<float*, 2> outputs = {leftOut.data(), rightOut.data()};
  const std::uint32_t frames = 3;
  EXPECT_TRUE(
      volume(2.0F)->processAudio_outputBuffer_numChannels_numberOfFrames(inputs.data(), outputs.data(), 2, &frames));
  EXPECT_EQ(leftOut, (Samples{2, 4, 6}));
  EXPECT_EQ(rightOut, (Samples{-2, -4, -6}));
}

TEST(OrvSoftwareVolumeControl, NoChannelsAnswerYes) {
  const std::uint32_t frames = 3;
  EXPECT_TRUE(volume(2.0F)->processAudio_outputBuffer_numChannels_numberOfFrames(nullptr, nullptr, 0, &frames));
}

TEST(OrvSoftwareVolumeControl, InPlaceTwoChannelsOfThreeFramesAreExactlySixSamples) {
  Samples samples = {1, 1, 1, 1, 1, 1, 1, 1};
  const std::uint32_t frames = 3;
  volume(0.25F)->processAudio_numChannels_numberOfFrames(samples.data(), 2, &frames);
  EXPECT_EQ(samples, (Samples{0.25F, 0.25F, 0.25F, 0.25F, 0.25F, 0.25F, 1, 1}));
}

TEST(OrvSoftwareVolumeControl, ResetKeepsTheGain) {
  const auto control = volume(0.25F);
  control->reset();
  EXPECT_EQ(control->volumeScalar(), 0.25F);
}
