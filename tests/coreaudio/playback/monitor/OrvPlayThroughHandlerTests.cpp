#include <gtest/gtest.h>

#include <cstring>

#include <memory>
#include <vector>

#include "MonitorFixture.h"

namespace {

const std::vector<float> kSilence(32);

}  // namespace

TEST_F(PlayThrough, ANewHandlerHasNothingAndDoesNotRun) {
  EXPECT_FALSE(handler->isRunning());
  EXPECT_EQ(handler->audioDevice(true), nullptr);
  EXPECT_EQ(handler->audioDevice(false), nullptr);
  EXPECT_EQ(handler->volumeControl(), nullptr);
  EXPECT_EQ(handler->audioProcessor(), nullptr);
  EXPECT_TRUE(handler->stop());
}

TEST_F(PlayThrough, TheDescriptionNamesTheDevices) {
  EXPECT_EQ(OrvPlayThroughHandler::classDescription(), "OrvPlayThroughHandler");
  handler->setAudioDevice_isInput(microphone, true);
  const std::string text = handler->description();
  EXPECT_EQ(text.rfind("OrvPlayThroughHandler<0x", 0), 0U);
  EXPECT_NE(text.find(">:[input: (null) by (null); output: (null)]"), std::string::npos);
}

TEST_F(PlayThrough, StartingSubscribesToBothDevicesAndStartsThem) {
  connect();
  EXPECT_TRUE(handler->start());
  EXPECT_TRUE(handler->start());
  EXPECT_TRUE(handler->isRunning());
  EXPECT_TRUE(hardware->isRunning(kMicrophone));
  EXPECT_TRUE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(microphone->audioSubscribersForInput(true).size(), 1U);
  EXPECT_EQ(microphone->audioSubscribersForInput(false).size(), 0U);
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 1U);
  EXPECT_TRUE(handler->stop());
  EXPECT_FALSE(handler->isRunning());
  EXPECT_FALSE(hardware->isRunning(kMicrophone));
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(microphone->audioSubscribersForInput(true).size(), 0U);
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 0U);
}

TEST_F(PlayThrough, AnInputBlockIsHeardInTheNextOutputCycle) {
  connect();
  handler->start();
  const auto heard = hear(1);
  EXPECT_EQ(play(), heard);
}

TEST_F(PlayThrough, EverySampleComesThroughBitForBit) {
  connect();
  handler->start();
  hardware->at(kMicrophone).input = {-0.0F, 1e-44F, 3.4e38F, -1.0F};
  hardware->at(kMicrophone).input.resize(32);
  hardware->cycle(kMicrophone);
  EXPECT_EQ(std::memcmp(play().data(), hardware->at(kMicrophone).input.data(), 128), 0);
}

TEST_F(PlayThrough, AnOutputBlockWithoutANewInputBlockIsSilence) {
  connect();
  handler->start();
  EXPECT_EQ(play(), kSilence);
  hear(1);
  EXPECT_NE(play(), kSilence);
  EXPECT_EQ(play(), kSilence);
}

TEST_F(PlayThrough, LaterInputBlocksAreLeftOutUntilTheOutputTookTheWaitingOne) {
  connect();
  handler->start();
  const auto first = hear(1);
  hear(100);
  hear(200);
  EXPECT_EQ(play(), first);
  const auto next = hear(300);
  EXPECT_EQ(play(), next);
}

TEST_F(PlayThrough, ABlockThatWaitedWhenItStoppedIsNotHeardAfterTheNextStart) {
  connect();
  handler->start();
  hear(1);
  handler->stop();
  handler->start();
  EXPECT_EQ(play(), kSilence);
  const auto heard = hear(50);
  EXPECT_EQ(play(), heard);
}

TEST_F(PlayThrough, AHandlerThatDoesNotRunLeavesTheOutputAlone) {
  connect();
  std::vector<float> samples(4, 5.0F);
  AudioBufferList list{1, {{2, 16, samples.data()}}};
  const AudioTimeStamp time{};
  EXPECT_EQ(handler->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
                speaker.get(), &time, nullptr, &time, &list, &time, nullptr),
            0);
  EXPECT_EQ(samples, std::vector<float>(4, 5.0F));
}

TEST_F(PlayThrough, WithoutDevicesItDoesNotStart) {
  EXPECT_FALSE(handler->start());
  EXPECT_FALSE(handler->isRunning());
  EXPECT_TRUE(handler->stop());
}

TEST_F(PlayThrough, WithoutAnInputTheOutputIsStartedAndStaysSubscribed) {
  handler->setAudioDevice_isInput(speaker, false);
  EXPECT_FALSE(handler->start());
  EXPECT_TRUE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 1U);
  EXPECT_TRUE(handler->stop());
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 1U);
  speaker->removeAudioIOSubscriber_forInput(handler, false);
  speaker->stop();
}

TEST_F(PlayThrough, StartingBothOrNeitherLeavesALoneDeviceAlone) {
  handler->setAudioDevice_isInput(speaker, false);
  EXPECT_FALSE(handler->startBothOrNeither());
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 0U);
  handler->setAudioDevice_isInput(microphone, true);
  EXPECT_TRUE(handler->startBothOrNeither());
  EXPECT_TRUE(handler->isRunning());
}

TEST_F(PlayThrough, StoppingReportsSuccessAlsoWhereTheHardwareGoesOn) {
  connect();
  handler->start();
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  EXPECT_TRUE(handler->stop());
  EXPECT_FALSE(handler->isRunning());
  EXPECT_TRUE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(play(), kSilence);
  hardware->stopStatus = noErr;
  microphone->stop();
  speaker->stop();
}

TEST_F(PlayThrough, OneDeviceThatIsBothIsHeardInItsOwnCycle) {
  const auto duplex = deviceOf(kDuplex);
  handler->setAudioDevice_isInput(duplex, true);
  handler->setAudioDevice_isInput(duplex, false);
  ASSERT_TRUE(handler->start());
  for (const float from : {1.0F, 500.0F}) {
    hardware->at(kDuplex).input = ramp(32, from);
    EXPECT_EQ(hardware->cycle(kDuplex), hardware->at(kDuplex).input);
  }
}

TEST_F(PlayThrough, OneDeviceThatIsBothIsProcessedOnceACycle) {
  const auto duplex = deviceOf(kDuplex);
  const auto processor = std::make_shared<AddingProcessor>(1.0F);
  handler->setAudioDevice_isInput(duplex, true);
  handler->setAudioDevice_isInput(duplex, false);
  handler->setAudioProcessor(processor);
  ASSERT_TRUE(handler->start());
  hardware->at(kDuplex).input = ramp(32, 1);
  EXPECT_EQ(hardware->cycle(kDuplex), ramp(32, 2));
  hardware->cycle(kDuplex);
  EXPECT_EQ(processor->blocks, 2);
}

TEST_F(PlayThrough, WithoutValidTimesOneDeviceThatIsBothIsHeardAllTheSame) {
  const auto duplex = deviceOf(kDuplex);
  handler->setAudioDevice_isInput(duplex, true);
  handler->setAudioDevice_isInput(duplex, false);
  hardware->at(kDuplex).hasTimes = false;
  ASSERT_TRUE(handler->start());
  for (const float from : {1.0F, 500.0F}) {
    hardware->at(kDuplex).input = ramp(32, from);
    EXPECT_EQ(hardware->cycle(kDuplex), hardware->at(kDuplex).input);
  }
}

TEST_F(PlayThrough, ChangingADeviceOfARunningHandlerKeepsItRunning) {
  connect();
  handler->start();
  const auto duplex = deviceOf(kDuplex);
  handler->setAudioDevice_isInput(duplex, false);
  EXPECT_TRUE(handler->isRunning());
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 0U);
  const auto heard = hear(1);
  EXPECT_EQ(hardware->cycle(kDuplex), heard);
}

TEST_F(PlayThrough, SettingTheSameDeviceAgainStopsAndStarts) {
  const auto processor = std::make_shared<AddingProcessor>(0.0F);
  connect();
  handler->setAudioProcessor(processor);
  handler->start();
  handler->setAudioDevice_isInput(microphone, true);
  EXPECT_EQ(processor->resets, 1);
  EXPECT_TRUE(handler->isRunning());
}

TEST_F(PlayThrough, TakingADeviceOutOfARunningHandlerEndsIt) {
  connect();
  handler->start();
  handler->setAudioDevice_isInput(nullptr, true);
  EXPECT_FALSE(handler->isRunning());
  EXPECT_FALSE(hardware->isRunning(kMicrophone));
  EXPECT_TRUE(hardware->isRunning(kSpeaker));  // started again, alone
  speaker->removeAudioIOSubscriber_forInput(handler, false);
  speaker->stop();
}

TEST_F(PlayThrough, ADeviceThatVanishesEndsInSilenceAndCanBeStopped) {
  connect();
  handler->start();
  hardware->at(kMicrophone).isGone = true;
  EXPECT_EQ(play(), kSilence);
  EXPECT_TRUE(handler->isRunning());
  EXPECT_TRUE(handler->stop());
  EXPECT_FALSE(handler->isRunning());
}

TEST_F(PlayThrough, ARunningHandlerIsKeptByItsDevices) {
  connect();
  handler->start();
  auto other = OrvPlayThroughHandler::init();
  other->setAudioDevice_isInput(microphone, true);
  other->setAudioDevice_isInput(speaker, false);
  other->start();
  const std::weak_ptr<OrvPlayThroughHandler> observed = other;
  other = nullptr;
  ASSERT_FALSE(observed.expired());
  observed.lock()->stop();
  EXPECT_TRUE(observed.expired());
}

TEST_F(PlayThrough, AStoppedHandlerCanBeDeletedWithOrWithoutDevices) {
  auto other = OrvPlayThroughHandler::init();
  other = OrvPlayThroughHandler::init();
  other->setAudioDevice_isInput(microphone, true);
  other = nullptr;
  EXPECT_EQ(microphone.use_count(), 1);
}

TEST_F(PlayThrough, ANegativeAnswerOfTheHardwareToStartStillCountsAsStarted) {
  connect();
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  EXPECT_TRUE(handler->start());
  EXPECT_TRUE(handler->stop());
  hardware->startStatus = noErr;
}
