// Transport, positions, notifications, and what is missing or goes away.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "GraphPlayerFixture.h"

namespace {

using Names = std::vector<std::string>;

const Names kStarted = {"OrvAudioPlayerStartedPlayingNotification", "OrvVUMeterDataProviderDidStartNotification"};
const Names kStopped = {"OrvAudioPlayerStoppedPlayingNotification", "OrvVUMeterDataProviderDidStopNotification"};

Names operator+(Names one, const Names& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

}  // namespace

TEST_F(GraphPlayer, WithoutADeviceAPlayerIsInItsDefaultState) {
  for (const auto& player : {OrvAUAudioPlayer::initWithAudioDevice(nullptr),
                             OrvAUAudioPlayer::initWithAudioDevice_pathToFile(nullptr, "/nowhere"),
                             OrvAUAudioPlayer::initWithAudioDevice_pathToFile(speaker, std::nullopt)}) {
    ASSERT_NE(player, nullptr);
    EXPECT_EQ(player->outputDevice(), nullptr);
    EXPECT_EQ(player->eventMask(), 0U);
    EXPECT_EQ(player->volumeScalar(), 0.0F);
    player->setVolumeScalar(1.0F);
    player->setAudioFilePath(countedFile(10));
    player->setOutputDevice(speaker);
    EXPECT_FALSE(player->play());
    EXPECT_TRUE(player->stop());
    player->rewind();
    player->setCurrentFrameOffset(7);
    EXPECT_EQ(player->currentFrameOffset(), 7U);
  }
}

TEST_F(GraphPlayer, WithoutAFileNothingPlays) {
  const auto player = OrvAUAudioPlayer::initWithAudioDevice(speaker);
  EXPECT_EQ(player->eventMask(), 15U);
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(player->play());
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
}

TEST_F(GraphPlayer, AFileThatCantBeOpenedDoesNotPlayAndTellsStopped) {
  const auto player = playerOf("/nowhere/at/all.wav");
  const Told told;
  EXPECT_FALSE(player->play());
  pump();
  EXPECT_EQ(told.names, kStarted + Names{"OrvAudioPlayerStoppedPlayingNotification"});
}

TEST_F(GraphPlayer, ItPlaysOnTheDeviceThatItWasGivenNotOnTheDefaultOne) {
  const auto player = playerOf(countedFile(1000));
  EXPECT_TRUE(player->play());
  EXPECT_TRUE(player->isPlaying());
  EXPECT_TRUE(hardware->isRunning(kSpeaker));
  EXPECT_FALSE(hardware->isRunning(kOther));
  EXPECT_TRUE(player->stop());
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
}

TEST_F(GraphPlayer, StartAndStopAreTold) {
  const auto player = playerOf(countedFile(1000));
  const Told told;
  player->play();
  player->stop();
  player->stop();
  pump();
  EXPECT_EQ(told.names, kStarted + kStopped);
}

TEST_F(GraphPlayer, TheEndOfTheFileIsToldAsStoppedAndFinished) {
  const auto player = playerOf(countedFile(300));
  const Told told;
  player->play();
  hearAll(*player);
  EXPECT_EQ(told.names, kStarted + kStopped + Names{"OrvAudioPlayerFinishedPlayingNotification"});
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(player->currentFrameOffset(), 300U);
}

TEST_F(GraphPlayer, TheEventMaskSilencesNotifications) {
  const auto player = playerOf(countedFile(300));
  player->setEventMask(0);
  const Told told;
  player->play();
  hearAll(*player);
  EXPECT_EQ(told.names, Names{});
  player->setEventMask(OrvAUAudioPlayer::kEventFinished);
  player->playFromFrame(0);
  hearAll(*player);
  EXPECT_EQ(told.names, Names{"OrvAudioPlayerFinishedPlayingNotification"});
}

TEST_F(GraphPlayer, AStartBehindTheEndChangesNothing) {
  const auto player = playerOf(countedFile(300));
  const Told told;
  EXPECT_FALSE(player->playFromFrame_endFrame(10, 5));
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(10, 5));
  pump();
  EXPECT_EQ(told.names, Names{});
  EXPECT_EQ(player->currentFrameOffset(), 0U);
}

TEST_F(GraphPlayer, AnEndBehindTheFileIsTheFilesEnd) {
  const auto player = playerOf(countedFile(300));
  ASSERT_TRUE(player->playFromFrame_endFrame(290, 4000000000U));
  const auto heard = hearAll(*player);
  auto expected = counted(290, 10, 2);
  expected.resize(heard.size());
  EXPECT_EQ(heard, expected);
}

TEST_F(GraphPlayer, ARangeEndsWithTheFirstSliceThatBeginsBehindIt) {
  const auto player = playerOf(countedFile(5000));
  ASSERT_TRUE(player->playFromFrame_endFrame(100, 200));
  EXPECT_EQ(cycle(), counted(100, kFrames, 2));
  EXPECT_TRUE(player->isPlaying());
  EXPECT_EQ(cycle(), counted(100 + kFrames, kFrames, 2));
  EXPECT_FALSE(player->isPlaying());
  EXPECT_EQ(player->currentFrameOffset(), 100 + kFrames);
  EXPECT_EQ(cycle(), std::vector<float>(2 * kFrames));
  pump();
}

TEST_F(GraphPlayer, ARangeThatIsPlayedExactlyIsHeardToTheFrame) {
  const auto player = playerOf(countedFile(5000));
  for (const std::uint32_t length : {0U, 1U, 100U, kFrames, kFrames + 1, 1000U}) {
    ASSERT_TRUE(player->playExactlyFromFrame_endFrame(100, 100 + length));
    const auto heard = hearAll(*player);
    auto expected = counted(100, length, 2);
    expected.resize(heard.size());
    EXPECT_EQ(heard, expected) << length;
    EXPECT_EQ(player->currentFrameOffset(), 100 + length);
  }
}

TEST_F(GraphPlayer, AStartBehindTheFilePlaysNothingAndFinishes) {
  const auto player = playerOf(countedFile(300));
  const Told told;
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(1000, 2000));
  EXPECT_EQ(hearAll(*player), std::vector<float>(4 * kFrames));
  EXPECT_EQ(told.names.back(), "OrvAudioPlayerFinishedPlayingNotification");
}

TEST_F(GraphPlayer, AfterStopPlayGoesOnWhereItWas) {
  const auto player = playerOf(countedFile(5000));
  player->play();
  cycle();
  player->stop();
  EXPECT_EQ(player->currentFrameOffset(), kFrames);
  player->play();
  EXPECT_EQ(cycle(), counted(kFrames, kFrames, 2));
}

TEST_F(GraphPlayer, APositionThatIsSetIsHeardInTheNextCycle) {
  const auto player = playerOf(countedFile(20000));
  const auto processor = std::make_shared<GraphProcessor>();
  processor->added = 0;
  player->setAudioProcessor(processor);
  player->play();
  cycle();
  player->setCurrentFrameOffset(10000);
  EXPECT_EQ(processor->resets, 1);
  EXPECT_EQ(cycle(), counted(10000, kFrames, 2));
  player->setCurrentFrameOffset(10000 + kFrames);  // where it is
  EXPECT_EQ(processor->resets, 1);
  player->rewind();
  EXPECT_EQ(processor->resets, 2);
  EXPECT_EQ(cycle(), counted(0, kFrames, 2));
}

TEST_F(GraphPlayer, PlayingAgainBeforeTheEndWasToldGoesOn) {
  const auto player = playerOf(countedFile(300));
  player->play();
  cycle();
  cycle();
  ASSERT_FALSE(player->isPlaying());
  ASSERT_TRUE(player->playFromFrame(0));
  pump();  // tells of the end of before
  EXPECT_TRUE(player->isPlaying());
  EXPECT_EQ(cycle(), counted(0, kFrames, 2));
}

TEST_F(GraphPlayer, AnotherFileBeginsAtItsBegin) {
  const auto player = playerOf(countedFile(5000));
  player->play();
  cycle();
  player->setAudioFilePath(std::nullopt);
  EXPECT_TRUE(player->isPlaying());
  player->setAudioFilePath(file(48000, 2, 32, std::vector<float>(600, 0.125F)));
  EXPECT_FALSE(player->isPlaying());
  EXPECT_EQ(player->currentFrameOffset(), 0U);
  ASSERT_TRUE(player->play());
  EXPECT_EQ(cycle()[0], 0.125F);
  player->setAudioFilePath("/nowhere.wav");
  EXPECT_FALSE(player->play());
  player->setAudioFilePath(countedFile(300));
  EXPECT_TRUE(player->play());
}

TEST_F(GraphPlayer, AnotherDeviceStopsTheOldOne) {
  const auto player = playerOf(countedFile(5000));
  player->play();
  player->setOutputDevice(nullptr);
  player->setOutputDevice(speaker);
  EXPECT_TRUE(player->isPlaying());
  const auto other = OrvAudioDevice::initWithDeviceID(kOther);
  hardware->at(kOther).outputChannels = 1;
  player->setOutputDevice(other);
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(player->outputDevice(), other);
  ASSERT_TRUE(player->play());
  EXPECT_TRUE(hardware->isRunning(kOther));
  EXPECT_EQ(hardware->cycle(kOther).size(), kFrames);
}

TEST_F(GraphPlayer, ADeviceThatIsGoneDoesNotPlayOnAnotherOne) {
  hardware->at(kSpeaker).isGone = true;
  const auto player = playerOf(countedFile(5000));
  EXPECT_FALSE(player->play());
  EXPECT_FALSE(hardware->isRunning(kOther));
}

TEST_F(GraphPlayer, ADeviceThatVanishesEndsPlaying) {
  const auto player = playerOf(countedFile(5000));
  player->play();
  hardware->at(kSpeaker).isGone = true;
  EXPECT_FALSE(player->isPlaying());
  EXPECT_TRUE(player->stop());
  EXPECT_FALSE(player->play());
}

TEST_F(GraphPlayer, ADeviceThatRefusesToStartAnswersNo) {
  const auto player = playerOf(countedFile(5000));
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  const Told told;
  EXPECT_FALSE(player->play());
  pump();
  EXPECT_EQ(told.names, kStarted + Names{"OrvAudioPlayerStoppedPlayingNotification"});
  hardware->startStatus = noErr;
  EXPECT_TRUE(player->play());
}

TEST_F(GraphPlayer, ADeviceThatRefusesToStopAnswersNoAndTellsNothing) {
  const auto player = playerOf(countedFile(5000));
  player->play();
  pump();
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  const Told told;
  EXPECT_FALSE(player->stop());
  pump();
  EXPECT_EQ(told.names, Names{});
  EXPECT_EQ(cycle(), std::vector<float>(2 * kFrames));
  hardware->stopStatus = noErr;
}

TEST_F(GraphPlayer, APlayerCanBeDeletedWhileItPlays) {
  auto player = playerOf(countedFile(5000));
  player->play();
  pump();  // until its start is told, a player is kept
  cycle();
  player = nullptr;
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(cycle()[0], 99.0F);  // nobody fills the output any more
}

TEST_F(GraphPlayer, APlayerCanBeDeletedBeforeItsEndIsTold) {
  auto player = playerOf(countedFile(300));
  const Told told;
  player->play();
  cycle();
  cycle();
  player = nullptr;  // kept until the end was told
  pump();
  EXPECT_EQ(told.names.back(), "OrvAudioPlayerFinishedPlayingNotification");
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
}

TEST_F(GraphPlayer, ThePlayedSampleNotificationIsThinned) {
  const auto player = playerOf(countedFile(300));
  const Told told;
  player->setNotificationInterval(2);
  for (int i = 0; i < 5; ++i) {
    player->notifyCallback(OrvAudioPlayerPlayedSampleNotification);
  }
  pump();
  EXPECT_EQ(told.names.size(), 3U);
  player->setNotificationInterval(0);
  player->notifyCallback(OrvAudioPlayerPlayedSampleNotification);
  pump();
  EXPECT_EQ(told.names.size(), 3U);
}
