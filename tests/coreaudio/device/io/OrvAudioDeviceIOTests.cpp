#include <gtest/gtest.h>

#include "DeviceFixture.h"
#include "support/RealTimeInterposer.h"

namespace {

class OrvAudioDeviceIO : public DeviceFixture {
 protected:
  std::shared_ptr<CountingSubscriber> subscribe(bool isInput) {
    auto subscriber = std::make_shared<CountingSubscriber>();
    device->addAudioIOSubscriber_forInput(subscriber, isInput);
    return subscriber;
  }

  /// Hands the device a cycle of another one.
  OSStatus handOn() {
    AudioTimeStamp time{};
    AudioBufferList list{1, {{0, 0, nullptr}}};
    return device->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        nullptr, &time, &list, &time, &list, &time, nullptr);
  }
};

}  // namespace

TEST_F(OrvAudioDeviceIO, ASubscriberGetsTheCycleAsItIs) {
  const auto subscriber = subscribe(true);
  device->start();
  hardware->cycle();
  EXPECT_EQ(subscriber->calls, 1);
  EXPECT_EQ(subscriber->device, device.get());
  EXPECT_EQ(subscriber->clientData, device.get());
  EXPECT_EQ(subscriber->times[0], 1000.0);
  EXPECT_EQ(subscriber->times[1], 900.0);
  EXPECT_EQ(subscriber->times[2], 1100.0);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, InputSubscribersComeBeforeOutputSubscribersEachInTheirOrder) {
  std::vector<const CountingSubscriber*> order;
  order.reserve(4);
  const auto lateOutput = subscribe(false);
  const auto firstInput = subscribe(true);
  const auto secondInput = subscribe(true);
  for (const auto& subscriber : {lateOutput, firstInput, secondInput}) {
    subscriber->order = &order;
  }
  device->start();
  hardware->cycle();
  EXPECT_EQ(order, (std::vector<const CountingSubscriber*>{firstInput.get(), secondInput.get(), lateOutput.get()}));
  device->stop();
}

TEST_F(OrvAudioDeviceIO, AddingTheSameSubscriberTwiceKeepsOneEntry) {
  const auto subscriber = subscribe(true);
  device->addAudioIOSubscriber_forInput(subscriber, true);
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 1U);
  device->start();
  hardware->cycle();
  EXPECT_EQ(subscriber->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, ASubscriberOfBothSidesIsCalledTwiceACycle) {
  const auto subscriber = subscribe(true);
  device->addAudioIOSubscriber_forInput(subscriber, false);
  device->start();
  hardware->cycle();
  EXPECT_EQ(subscriber->calls, 2);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, ACycleWithAnEmptyOutputBufferListCallsNoOutputSubscriber) {
  const auto input = subscribe(true);
  const auto output = subscribe(false);
  device->start();
  const AudioBufferList one{1, {{0, 0, nullptr}}};
  AudioBufferList none{0, {{0, 0, nullptr}}};
  hardware->cycle(one, none);
  EXPECT_EQ(input->calls, 1);
  EXPECT_EQ(output->calls, 0);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, ACycleWithAnEmptyInputBufferListCallsNoInputSubscriber) {
  const auto input = subscribe(true);
  const auto output = subscribe(false);
  device->start();
  const AudioBufferList none{0, {{0, 0, nullptr}}};
  AudioBufferList one{1, {{0, 0, nullptr}}};
  hardware->cycle(none, one);
  EXPECT_EQ(input->calls, 0);
  EXPECT_EQ(output->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, TheDeviceRunsFromTheFirstStartToTheMatchingStop) {
  EXPECT_TRUE(device->start());
  EXPECT_TRUE(device->start());
  EXPECT_TRUE(device->stop());
  EXPECT_TRUE(hardware->isRunning());
  EXPECT_TRUE(device->stop());
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_TRUE(device->stop());
  EXPECT_EQ(hardware->calls.size(), 2U);
}

TEST_F(OrvAudioDeviceIO, AStartThatFailsIsTakenBackSoThatTheNextTriesAgain) {
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  EXPECT_TRUE(device->start());
  EXPECT_FALSE(hardware->isRunning());
  hardware->startStatus = noErr;
  EXPECT_TRUE(device->start());
  EXPECT_TRUE(hardware->isRunning());
  EXPECT_TRUE(device->stop());
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(OrvAudioDeviceIO, AStopThatFailsIsTakenBackSoThatTheNextTriesAgain) {
  device->start();
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  EXPECT_TRUE(device->stop());
  EXPECT_TRUE(hardware->isRunning());
  hardware->stopStatus = noErr;
  EXPECT_TRUE(device->stop());
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(OrvAudioDeviceIO, TearingTheDeviceDownStopsItWhateverTheCount) {
  device->start();
  device->start();
  device = nullptr;
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(OrvAudioDeviceIO, SeveralObjectsOfOneDeviceRunBesideEachOther) {
  const auto other = OrvAudioDevice::initWithDeviceID(Hardware::kDevice);
  const auto mine = subscribe(true);
  const auto theirs = std::make_shared<CountingSubscriber>();
  other->addAudioIOSubscriber_forInput(theirs, true);
  device->start();
  other->start();
  hardware->cycle();
  EXPECT_EQ(mine->calls, 1);
  EXPECT_EQ(theirs->calls, 1);
  device->stop();
  hardware->cycle();
  EXPECT_EQ(mine->calls, 1);
  EXPECT_EQ(theirs->calls, 2);
}

TEST_F(OrvAudioDeviceIO, ASubscriberIsKeptUntilItIsRemoved) {
  auto subscriber = subscribe(true);
  const std::weak_ptr<CountingSubscriber> observed = subscriber;
  const auto* const raw = subscriber.get();
  subscriber = nullptr;
  EXPECT_FALSE(observed.expired());
  device->removeAudioIOSubscriber_forInput(observed.lock(), true);
  EXPECT_TRUE(observed.expired());
  EXPECT_NE(raw, nullptr);
}

TEST_F(OrvAudioDeviceIO, ASubscriberMayUnsubscribeInItsHandlerWhichSkipsTheNextOne) {
  const auto first = subscribe(true);
  const auto second = subscribe(true);
  const auto third = subscribe(true);
  first->inCycle = [&] {
    const orv::test::AllowInCycle allowed;
    device->removeAudioIOSubscriber_forInput(first, true);
  };
  device->start();
  hardware->cycle();
  EXPECT_EQ(first->calls + second->calls + third->calls, 2);
  EXPECT_EQ(second->calls, 0);
  hardware->cycle();
  EXPECT_EQ(first->calls, 1);
  EXPECT_EQ(second->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, WhatUnsubscribedInACycleIsReleasedByTheMainThread) {
  auto subscriber = subscribe(true);
  std::weak_ptr<CountingSubscriber> observed = subscriber;
  subscriber->inCycle = [&] {
    const orv::test::AllowInCycle allowed;
    device->removeAudioIOSubscriber_forInput(observed.lock(), true);
  };
  subscriber = nullptr;
  device->start();
  hardware->cycle();
  EXPECT_FALSE(observed.expired());
  pump();
  EXPECT_TRUE(observed.expired());
  device->stop();
}

TEST_F(OrvAudioDeviceIO, ASubscriberThatIsAddedInACycleIsCalledInTheSameCycle) {
  const auto added = std::make_shared<CountingSubscriber>();
  const auto first = subscribe(true);
  first->inCycle = [&] {
    const orv::test::AllowInCycle allowed;
    device->addAudioIOSubscriber_forInput(added, true);
  };
  device->start();
  hardware->cycle();
  EXPECT_EQ(added->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, AStopInACycleIsDoneByTheMainThread) {
  const auto subscriber = subscribe(true);
  subscriber->inCycle = [&] { EXPECT_TRUE(device->stop()); };
  device->start();
  hardware->cycle();
  pump();
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(OrvAudioDeviceIO, ADeviceWhoseLastReferenceGoesAwayInACycleIsDestroyedByTheMainThread) {
  auto subscriber = subscribe(true);
  const std::weak_ptr<OrvAudioDevice> observed = device;
  subscriber->inCycle = [&] { device = nullptr; };
  device->start();
  hardware->cycle();
  EXPECT_TRUE(hardware->isRunning());
  pump();
  EXPECT_TRUE(observed.expired());
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(OrvAudioDeviceIO, ADispatchedCycleIgnoresTheFlagsOfItsSides) {
  const auto first = subscribe(true);
  const auto second = subscribe(true);
  device->removeAudioIOSubscriber_forInput(first, true);  // the flag is false now
  device->start();
  hardware->cycle();
  EXPECT_EQ(second->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, ACycleThatIsHandedOnNeedsAStartedDevice) {
  const auto subscriber = subscribe(true);
  EXPECT_EQ(handOn(), 0);
  EXPECT_EQ(subscriber->calls, 0);
  device->start();
  EXPECT_EQ(handOn(), 0);
  EXPECT_EQ(subscriber->calls, 1);
  EXPECT_EQ(subscriber->device, nullptr);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, RemovingOneOfTwoSubscribersClearsTheFlag) {
  const auto first = subscribe(true);
  const auto second = subscribe(true);
  device->removeAudioIOSubscriber_forInput(first, true);
  device->start();
  handOn();
  EXPECT_EQ(second->calls, 0);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, RemovingTheLastSubscriberLeavesTheFlagAsItWas) {
  const auto first = subscribe(true);
  device->removeAudioIOSubscriber_forInput(first, true);
  // The list behind the flag's back, which adding through the device would set.
  device->audioSubscribersForInput(true).add(first);
  device->start();
  handOn();
  EXPECT_EQ(first->calls, 1);
  device->stop();
}

TEST_F(OrvAudioDeviceIO, AddingASubscriberThatIsThereAlreadySetsTheFlagAgain) {
  const auto first = subscribe(true);
  const auto second = subscribe(true);
  device->removeAudioIOSubscriber_forInput(first, true);
  device->addAudioIOSubscriber_forInput(second, true);
  device->start();
  handOn();
  EXPECT_EQ(second->calls, 1);
  device->stop();
}
