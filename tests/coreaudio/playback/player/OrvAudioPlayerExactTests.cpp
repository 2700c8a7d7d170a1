// What playing exactly adds: places to the frame, and what is known of how it went.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "PlayerFixture.h"

namespace {

class OrvAudioPlayerExact : public PlayerFixture {
 protected:
  void playStereo(std::uint32_t frames, double deviceRate = 44100) {
    plug(2, deviceRate);
    makePlayer(2, 44100, frames);
    ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, frames));
    listen();
  }
};

/// Stops the player while a cycle is inside, as a host's own thread does at any moment.
class StoppingProcessor final : public OrvAudioProcessor {
 public:
  explicit StoppingProcessor(OrvAudioPlayer& player) : player_(player) {}
  ~StoppingProcessor() override { join(); }
  void reset() override {}
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channels,
                                                                 std::uint32_t* frames) override {
    const orv::test::AllowInCycle allow;
    std::copy_n(input, std::size_t{*frames} * channels, output);
    if (!host_.joinable()) {
      host_ = std::thread([this] { player_.stop(); });
      while (player_.isPlaying()) {
        std::this_thread::yield();
      }
    }
    return true;
  }
  void join() {
    if (host_.joinable()) {
      host_.join();
    }
  }

 private:
  OrvAudioPlayer& player_;
  std::thread host_;
};

}  // namespace

TEST_F(OrvAudioPlayerExact, ThePositionIsTheFrameThatComesNext) {
  playStereo(44100);
  for (std::uint32_t i = 1; i < 600; ++i) {
    cycle();
    ASSERT_EQ(player->exactFrameOffset(), i * kFrames);
  }
}

TEST_F(OrvAudioPlayerExact, ThePositionOnADeviceOfAnotherRateIsTheNearestFrame) {
  playStereo(44100, 96000);
  for (std::uint32_t i = 1; i < 600; ++i) {
    cycle();
    ASSERT_EQ(player->exactFrameOffset(), std::lround(i * kFrames * 44100.0 / 96000.0));
  }
}

TEST_F(OrvAudioPlayerExact, ThePositionAtTheEndIsTheLengthOfTheFile) {
  for (const double rate : {44100.0, 48000.0, 96000.0}) {
    playStereo(1001, rate);
    playOut();
    EXPECT_EQ(player->exactFrameOffset(), 1001U);
    EXPECT_EQ(player->missingFrames(), 0U);
  }
}

TEST_F(OrvAudioPlayerExact, WithoutAFileThePositionIsTheBegin) {
  plug(2, 44100);
  EXPECT_EQ(OrvAudioPlayer::initWithAudioDevice(device)->exactFrameOffset(), 0U);
  EXPECT_EQ(OrvAudioPlayer::initWithAudioDevice(nullptr)->exactFrameOffset(), 0U);
  EXPECT_TRUE(OrvAudioPlayer::initWithAudioDevice(nullptr)->isConvertedAhead());
}

TEST_F(OrvAudioPlayerExact, ACycleThatAStopFindsUnderWayIsHeardOnce) {
  playStereo(2000);
  cycles(3);
  const auto stopping = std::make_shared<StoppingProcessor>(*player);
  player->setAudioProcessor(stopping);
  cycle();
  stopping->join();
  player->setAudioProcessor(nullptr);
  EXPECT_EQ(player->exactFrameOffset(), 4 * kFrames);
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(player->exactFrameOffset(), 2000));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerExact, NoCycleIsLateThatWaitsUntilEnoughIsConverted) {
  playStereo(5 * 44100);
  while (player->isPlaying()) {
    while (!player->isConvertedAhead()) {
      std::this_thread::yield();
    }
    hardware->stepDevice(deviceID);
  }
  EXPECT_EQ(player->lateCycles(), 0U);
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerExact, FramesThatTheFileDoesNotGiveAnyMoreAreCounted) {
  plug(2, 44100);
  makePlayer(2, 44100, 20000);
  const std::string path = *player->audioFilePath();
  std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, 20000));
  listen();
  playOut();
  EXPECT_GT(player->missingFrames(), 9000U);
  EXPECT_LT(player->missingFrames(), 11000U);
}
