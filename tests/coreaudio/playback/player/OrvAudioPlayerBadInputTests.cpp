#include <filesystem>

#include "PlayerFixture.h"
#include "support/LogCapture.h"

namespace {

class OrvAudioPlayerBadInput : public PlayerFixture {};

/// Over a device that tells nothing of itself: no channels, no rate, no buffer size.
class OrvAudioPlayerOnAnUnknownDevice : public DeviceFixture {
 protected:
  const orv::test::TemporaryDirectory folder;
};

}  // namespace

TEST_F(OrvAudioPlayerBadInput, AFileThatIsNotThereCountsAsEmpty) {
  plug(2, 44100);
  makePlayer(folder / "nothing.aiff");
  EXPECT_EQ(player->lengthInFrames(), 0U);
  EXPECT_TRUE(player->play());
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerBadInput, PlayedExactlyAFileThatIsNotThereIsRefusedWithALine) {
  plug(2, 44100);
  const std::string path = folder / "nothing.aiff";
  makePlayer(path);
  const orv::test::LogCapture log;
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(0, 100));
  EXPECT_EQ(log.lines().back(), "OrvAudioPlayer: " + path + " can't be played");
  EXPECT_FALSE(device->isRunning());
}

TEST_F(OrvAudioPlayerBadInput, AFileThatIsNoAudioCountsAsEmpty) {
  plug(2, 44100);
  orv::test::writeWholeFile(folder / "text.aiff", "This is no audio.");
  makePlayer(folder / "text.aiff");
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(0, 100));
  EXPECT_TRUE(player->play());
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerBadInput, AFileWithoutFramesEndsAtOnce) {
  plug(2, 44100);
  makePlayer(2, 44100, 0);
  EXPECT_TRUE(player->playExactlyFromFrame_endFrame(0, 100));
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerBadInput, AFileThatShrinksWhileItPlaysEndsEarly) {
  for (const bool isExact : {false, true}) {
    plug(2, 44100);
    makePlayer(2, 44100, 44100);
    ASSERT_TRUE(isExact ? player->playExactlyFromFrame_endFrame(0, 44100) : player->play());
    listen();
    capture->samples.clear();
    cycles(10);
    std::filesystem::resize_file(folder / "source.aiff", 54 + 4 * 20000);
    playOut();
    EXPECT_FALSE(device->isRunning());
    EXPECT_LT(capture->samples.size(), 2 * 25000U);
    std::vector<float> kept = capture->samples;
    kept.resize(2 * 19900);
    EXPECT_EQ(kept, sourceFrames(0, 19900, 2));
  }
}

TEST_F(OrvAudioPlayerBadInput, AFileThatIsDeletedWhileItPlaysIsPlayedToItsEnd) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  listen();
  std::filesystem::remove(folder / "source.aiff");
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerBadInput, ADeviceThatVanishesWhileItPlaysCanBeStoppedAndReplaced) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  cycles(3);
  ASSERT_TRUE(hardware->unplug(deviceID));
  orv::waitForHardwareNotifications();
  hardware->step(3);
  pump();
  EXPECT_TRUE(player->stop());
  const orv::test::LogCapture log;
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(0, 100));
  EXPECT_EQ(log.lines().back(), "OrvAudioPlayer: there is no output device to play on");
  player->playFromFrame(0);
  player->stop();

  plug(2, 44100);
  player->setOutputDevice(device);
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, 5000));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerBadInput, ACycleOfOtherChannelsThanTheDeviceHasEndsPlaying) {
  for (const std::uint32_t channels : {0U, 1U, 64U}) {
    plug(2, 44100);
    makePlayer(2, 44100, 5000);
    ASSERT_TRUE(player->play());
    std::vector<float> samples(64);
    AudioBufferList list{1, {{channels, 256, samples.data()}}};
    AudioTimeStamp time{};
    const auto cycle = [&] {
      player->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
          device.get(), &time, nullptr, &time, &list, &time, nullptr);
    };
    cycle();
    cycle();
    EXPECT_EQ(player->isPlaying(), channels == 64);
  }
}

TEST_F(OrvAudioPlayerBadInput, CyclesWithoutAnOutputAreLeftAlone) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  AudioTimeStamp time{};
  AudioBufferList none{0, {{2, 0, nullptr}}};
  AudioBufferList withoutData{1, {{2, 512, nullptr}}};
  for (AudioBufferList* const list : {static_cast<AudioBufferList*>(nullptr), &none, &withoutData}) {
    EXPECT_EQ(player->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
                  device.get(), &time, nullptr, &time, list, &time, nullptr),
              noErr);
  }
  EXPECT_TRUE(player->isPlaying());
  EXPECT_EQ(player->currentFrameOffset(), 0U);
}

TEST_F(OrvAudioPlayerBadInput, PlacesPastTheEndEndAtOnce) {
  plug(2, 44100);
  makePlayer(2, 44100, 500);
  player->setCurrentFrameOffset(0xFFFFFFFF);
  EXPECT_EQ(player->remainingFrames(), 0U);
  EXPECT_FALSE(player->play());  // the end is before the begin
  EXPECT_TRUE(player->playFromFrame_endFrame(5000, 0xFFFFFFFF));
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
  EXPECT_TRUE(player->playExactlyFromFrame_endFrame(5000, 6000));
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerBadInput, LayoutsOfMoreChannelsThanTheCycleHasAreNoReasonToWriteBeyondIt) {
  plug(4, 44100, kFrames,
       {kAudioChannelLabel_Center, kAudioChannelLabel_Center, kAudioChannelLabel_Left, kAudioChannelLabel_Right});
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  std::vector<float> samples(3 * kFrames);
  AudioBufferList list{1, {{3, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()}}};
  AudioTimeStamp time{};
  player->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      device.get(), &time, nullptr, &time, &list, &time, nullptr);
  for (std::size_t i = 0; i < kFrames; ++i) {
    EXPECT_EQ(samples[3 * i + 2], source[2 * i]);  // left is there, right is not
    EXPECT_EQ(samples[3 * i], 0.0F);
    EXPECT_EQ(samples[3 * i + 1], 0.0F);
  }
}

TEST_F(OrvAudioPlayerBadInput, ThePlayerMayGoAwayInAnyState) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  player = nullptr;  // never played
  makePlayer(2, 44100, 5000);
  player->play();
  player = nullptr;  // no cycle yet
  makePlayer(2, 44100, 5000);
  player->play();
  cycles(5);
  player = nullptr;  // playing
  makePlayer(2, 44100, 100);
  player->play();
  hardware->step(3);
  player = nullptr;  // ended, with the device's stop still on its way
  pump();
  makePlayer(2, 44100, 100);
  player->play();
  player->stop();
  player = nullptr;  // stopped
  pump();
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 0U);
}

TEST_F(OrvAudioPlayerBadInput, TheLastReferenceMayGoAwayInACycle) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  const auto releasing = std::make_shared<CountingSubscriber>();
  player->play();
  releasing->inCycle = [&] { player = nullptr; };
  device->addAudioIOSubscriber_forInput(releasing, false);
  hardware->step(2);
  pump();
  device->removeAudioIOSubscriber_forInput(releasing, false);
  pump();
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 0U);
  EXPECT_FALSE(device->isRunning());
}

TEST_F(OrvAudioPlayerBadInput, WhatAProcessorAsksForInACycleIsRefusedOrDoneWithoutWaiting) {
  /// Calls the player from its own cycle.
  class Meddling final : public OrvAudioProcessor {
   public:
    OrvAudioPlayer* player = nullptr;
    int calls = 0;
    void reset() override {}
    bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* /*input*/, float* /*output*/,
                                                                   std::uint32_t /*channels*/,
                                                                   std::uint32_t* /*frames*/) override {
      const orv::test::AllowInCycle allow;
      ++calls;
      EXPECT_FALSE(player->playFromFrame(0));
      EXPECT_FALSE(player->playExactlyFromFrame_endFrame(0, 10));
      player->setCurrentFrameOffset(100);
      player->rewind();
      player->setVolumeControl(nullptr);
      player->setAudioProcessor(nullptr);
      player->setAudioFilePath("/nowhere");
      player->stop();
      return true;
    }
  };
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  const auto meddling = std::make_shared<Meddling>();
  meddling->player = player.get();
  player->setAudioProcessor(meddling);
  player->play();
  hardware->step(2);
  pump();
  EXPECT_EQ(meddling->calls, 1);
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(player->audioProcessor(), meddling);
}

TEST_F(OrvAudioPlayerOnAnUnknownDevice, PlayingEndsWithTheFirstCycle) {
  SF_INFO info{};
  info.samplerate = 44100;
  info.channels = 2;
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
  const std::string path = folder / "some.aiff";
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  const std::vector<short> samples(2000, 1);
  ASSERT_EQ(sf_write_short(file, samples.data(), 2000), 2000);
  ASSERT_EQ(sf_close(file), 0);
  const auto player = OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path);
  EXPECT_EQ(player->lengthInFrames(), 1000U);
  EXPECT_EQ(player->calculateLogicalFrameOffset(44100), 0U);
  player->calculateFileByteOffset(1000);
  player->calculateLogicalByteOffset(1000);
  player->dumpDebugInfo();
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(0, 1000));
  EXPECT_TRUE(player->play());
  hardware->cycle();
  EXPECT_FALSE(player->isPlaying());
}
