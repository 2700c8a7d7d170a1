#include "PlayerFixture.h"

namespace {

/// Adds to every sample, and counts.
class Adding final : public OrvAudioProcessor {
 public:
  explicit Adding(float amount) : amount_(amount) {}
  int resets = 0;
  std::uint32_t channels = 0;
  std::uint32_t fewer = 0;  ///< frames that it keeps for itself
  std::uint32_t more = 0;   ///< frames that it claims beyond

  void reset() override { ++resets; }
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames) override {
    channels = channelsPerFrame;
    for (std::size_t i = 0; i < std::size_t{*numberOfFrames} * channelsPerFrame; ++i) {
      output[i] = input[i] + amount_;
    }
    *numberOfFrames = *numberOfFrames - std::min(*numberOfFrames, fewer) + more;
    return true;
  }

 private:
  float amount_;
};

class OrvAudioPlayerMixing : public PlayerFixture {
 protected:
  static constexpr std::size_t kLength = 3001;

  void onSixChannels(std::uint32_t fileChannels, std::vector<AudioChannelLabel> labels = {}) {
    plug(6, 44100, kFrames, std::move(labels));
    makePlayer(fileChannels, 44100, kLength);
  }
  void playAll(bool isExact = false) {
    ASSERT_TRUE(isExact ? player->playExactlyFromFrame_endFrame(0, kLength) : player->play());
    listen();
    playOut();
  }
  /// One channel of the source, as far as it is played, with silence behind.
  std::vector<float> channelOfSource(std::uint32_t channel, std::uint32_t channels, float gain = 1.0F) const {
    std::vector<float> one;
    for (std::size_t i = channel; i < source.size(); i += channels) {
      one.push_back(source[i] * gain);
    }
    one.resize(capture->samples.size() / capture->channels, 0.0F);
    return one;
  }
  void setVolume(float scalar) {
    player->setVolumeControl(OrvSoftwareVolumeControl::init());
    player->setVolumeScalar(scalar);
  }
};

}  // namespace

TEST_F(OrvAudioPlayerMixing, OfSixChannelsOnlyTheFirstTwoAreHeardWithoutALayout) {
  onSixChannels(2);
  playAll();
  EXPECT_EQ(heard(0), channelOfSource(0, 2));
  EXPECT_EQ(heard(1), channelOfSource(1, 2));
  for (std::uint32_t channel = 2; channel < 6; ++channel) {
    EXPECT_TRUE(isSilent(heard(channel)));
  }
}

TEST_F(OrvAudioPlayerMixing, TheLayoutSaysWhereLeftAndRightAre) {
  onSixChannels(2, {kAudioChannelLabel_Center, kAudioChannelLabel_Right, kAudioChannelLabel_LFEScreen,
                    kAudioChannelLabel_LeftSurround, kAudioChannelLabel_Left, kAudioChannelLabel_RightSurround});
  playAll();
  EXPECT_EQ(heard(4), channelOfSource(0, 2));
  EXPECT_EQ(heard(1), channelOfSource(1, 2));
  for (const std::uint32_t channel : {0U, 2U, 3U, 5U}) {
    EXPECT_TRUE(isSilent(heard(channel)));
  }
}

TEST_F(OrvAudioPlayerMixing, AVolumeControlOnSixChannelsKeepsStereoInItsPlace) {
  onSixChannels(2);
  setVolume(0.25F);
  playAll();
  EXPECT_EQ(heard(0), channelOfSource(0, 2, 0.25F));
  EXPECT_EQ(heard(1), channelOfSource(1, 2, 0.25F));
  EXPECT_TRUE(isSilent(heard(2)));
}

TEST_F(OrvAudioPlayerMixing, AMonoFileWithAVolumeControlFillsTheLeftChannelOnly) {
  onSixChannels(1);
  setVolume(1.0F);
  playAll();
  EXPECT_FALSE(isSilent(heard(0)));
  for (std::uint32_t channel = 1; channel < 6; ++channel) {
    EXPECT_TRUE(isSilent(heard(channel)));
  }
}

TEST_F(OrvAudioPlayerMixing, AFileOfAsManyChannelsAsTheDeviceIsSilentWithAVolumeControl) {
  onSixChannels(6);
  setVolume(1.0F);
  playAll();
  EXPECT_TRUE(isSilent(capture->samples));
}

TEST_F(OrvAudioPlayerMixing, PlayedExactlyAFileOfAnyChannelsIsHeardWithAVolumeControl) {
  for (const std::uint32_t channels : {1U, 2U, 6U}) {
    onSixChannels(channels);
    setVolume(0.5F);
    capture->samples.clear();
    playAll(true);
    EXPECT_EQ(heard(0), channelOfSource(0, channels, 0.5F)) << channels;
    EXPECT_EQ(heard(1), channelOfSource(channels > 1 ? 1 : 0, channels, 0.5F)) << channels;
  }
}

TEST_F(OrvAudioPlayerMixing, AFileOfThirtyTwoChannelsPlaysOnStereoAndOnThreeChannels) {
  for (const std::uint32_t deviceChannels : {2U, 3U}) {
    plug(deviceChannels, 44100);
    source = noise(32 * kLength);
    makePlayer(write("many.wav", 32, 44100, source, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    if (deviceChannels == 3) {
      setVolume(1.0F);  // counts 32 channels in a scratch buffer of stereo
    }
    capture->samples.clear();
    playAll();
    EXPECT_FALSE(isSilent(heard(0)));
  }
}

TEST_F(OrvAudioPlayerMixing, AMonoDeviceIsPlayedOn) {
  plug(1, 44100);
  makePlayer(1, 44100, kLength);
  setVolume(0.5F);
  playAll();
  EXPECT_EQ(heard(0), channelOfSource(0, 1, 0.5F));
}

TEST_F(OrvAudioPlayerMixing, TheProcessorComesBeforeTheVolume) {
  for (const std::uint32_t deviceChannels : {2U, 6U}) {
    plug(deviceChannels, 44100);
    makePlayer(2, 44100, 10 * kFrames);
    const auto processor = std::make_shared<Adding>(1.0F);
    player->setAudioProcessor(processor);
    EXPECT_EQ(player->audioProcessor(), processor);
    setVolume(0.5F);
    ASSERT_TRUE(player->play());
    listen();
    capture->samples.clear();
    cycles(10);
    std::vector<float> left;
    for (std::size_t i = 0; i < source.size(); i += 2) {
      left.push_back((source[i] + 1.0F) * 0.5F);
    }
    EXPECT_EQ(heard(0), left);
    EXPECT_EQ(processor->channels, 2U);
  }
}

TEST_F(OrvAudioPlayerMixing, AProcessorAloneIsHeardOnAnyNumberOfChannels) {
  for (const std::uint32_t deviceChannels : {2U, 6U}) {
    plug(deviceChannels, 44100);
    makePlayer(2, 44100, 10 * kFrames);
    player->setAudioProcessor(std::make_shared<Adding>(0.25F));
    ASSERT_TRUE(player->play());
    listen();
    capture->samples.clear();
    cycles(10);
    std::vector<float> right;
    for (std::size_t i = 1; i < source.size(); i += 2) {
      right.push_back(source[i] + 0.25F);
    }
    EXPECT_EQ(heard(1), right);
  }
}

TEST_F(OrvAudioPlayerMixing, TheProcessorIsResetWhenThePlaceChanges) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  const auto processor = std::make_shared<Adding>(0.0F);
  player->setAudioProcessor(processor);
  player->setCurrentFrameOffset(0);
  EXPECT_EQ(processor->resets, 0);
  player->setCurrentFrameOffset(1000);
  EXPECT_EQ(processor->resets, 1);
  ASSERT_TRUE(player->play());
  EXPECT_EQ(processor->resets, 2);
  player->setCurrentFrameOffset(3000);
  EXPECT_EQ(processor->resets, 3);
}

TEST_F(OrvAudioPlayerMixing, AProcessorThatAnswersNoFramesEndsPlaying) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  const auto processor = std::make_shared<Adding>(0.0F);
  processor->fewer = kFrames;
  player->setAudioProcessor(processor);
  ASSERT_TRUE(player->play());
  hardware->step(2);
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerMixing, AProcessorThatAnswersMoreFramesThanThereAreHarmsNothing) {
  plug(2, 44100);
  makePlayer(2, 44100, kLength);
  const auto processor = std::make_shared<Adding>(0.0F);
  processor->more = 1U << 30;
  player->setAudioProcessor(processor);
  setVolume(1.0F);
  playAll();
  EXPECT_EQ(heard(0), channelOfSource(0, 2));
}

TEST_F(OrvAudioPlayerMixing, VolumeAndProcessorMayBeExchangedWhilePlaying) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  listen();
  cycles(2);
  setVolume(0.5F);
  cycles(2);
  player->setVolumeControl(nullptr);
  cycles(2);
  for (std::size_t i = 4 * kFrames; i < 8 * kFrames; ++i) {
    source[i] *= 0.5F;
  }
  EXPECT_EQ(capture->samples, sourceFrames(0, 6 * kFrames, 2));
}

TEST_F(OrvAudioPlayerMixing, ACycleOfManyTimesTheSizeIsPlayedWhole) {
  constexpr std::uint32_t kLarge = 900;  // the two buffers hold 2048
  for (const bool isProcessed : {false, true}) {
    plug(2, 44100);
    makePlayer(2, 44100, 5000);
    if (isProcessed) {
      setVolume(1.0F);
    }
    ASSERT_TRUE(player->play());
    std::vector<float> samples(2 * kLarge);
    AudioBufferList list{1, {{2, kLarge * 8, samples.data()}}};
    AudioTimeStamp time{};
    player->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        device.get(), &time, nullptr, &time, &list, &time, nullptr);
    EXPECT_EQ(samples, sourceFrames(0, kLarge, 2));
  }
}
