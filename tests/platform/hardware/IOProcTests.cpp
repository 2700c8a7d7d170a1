#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "support/LogCapture.h"
#include "support/RealTimeInterposer.h"
#include "support/ScriptedHardware.h"

namespace {

using orv::test::ScriptedHardware;

constexpr AudioDeviceID kDevice = ScriptedHardware::kDevice;

/// What one proc does in a cycle, and how often it was called.
struct Client {
  int calls = 0;
  float adds = 0;
  std::vector<Client*>* order = nullptr;
  void (*inCycle)(Client& client) = nullptr;
  OSStatus status = noErr;
};

OSStatus proc(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
              const AudioTimeStamp* /*inputTime*/, AudioBufferList* output, const AudioTimeStamp* /*outputTime*/,
              void* clientData) {
  auto& client = *static_cast<Client*>(clientData);
  ++client.calls;
  if (client.order != nullptr) {
    const orv::test::AllowInCycle allowed;
    client.order->push_back(&client);
  }
  auto* const samples = static_cast<float*>(output->mBuffers[0].mData);
  for (std::size_t i = 0; i < output->mBuffers[0].mDataByteSize / sizeof(float); ++i) {
    samples[i] += client.adds;
  }
  if (client.inCycle != nullptr) {
    client.inCycle(client);
  }
  return client.status;
}

class IOProcTest : public testing::Test {
 protected:
  IOProcTest() { orv::installAudioHardware(hardware); }
  ~IOProcTest() override {
    orv::waitForHardwareNotifications();
    orv::installAudioHardware(nullptr);
  }

  void addAndStart(Client& client) const {
    ASSERT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &client), noErr);
    ASSERT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
  }

  const std::shared_ptr<ScriptedHardware> hardware = std::make_shared<ScriptedHardware>();
};

}  // namespace

TEST_F(IOProcTest, AnInstalledProcIsNotCalledBeforeItIsStarted) {
  Client client;
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &client), noErr);
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
  hardware->cycle();
  EXPECT_EQ(client.calls, 1);
}

TEST_F(IOProcTest, TheFirstStartStartsTheDeviceAndTheLastStopStopsIt) {
  Client first;
  Client second;
  addAndStart(first);
  addAndStart(second);
  EXPECT_EQ(hardware->calls.size(), 1U);
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &first), noErr);
  hardware->cycle();
  EXPECT_EQ(first.calls, 0);
  EXPECT_EQ(second.calls, 1);
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &second), noErr);
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(IOProcTest, StartingAndStoppingTwiceDoesNothing) {
  Client client;
  addAndStart(client);
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &client), noErr);
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &client), noErr);
  EXPECT_EQ(hardware->calls.size(), 2U);
}

TEST_F(IOProcTest, ProcsAreCalledInTheOrderOfStarting) {
  std::vector<Client*> order;
  Client first;
  Client second;
  first.order = second.order = &order;
  ASSERT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &first), noErr);
  addAndStart(second);
  ASSERT_EQ(AudioDeviceStart(kDevice, &proc, &first), noErr);
  hardware->cycle();
  EXPECT_EQ(order, (std::vector<Client*>{&second, &first}));
}

TEST_F(IOProcTest, TheOutputIsSilentAtFirstAndWhatProcsLeaveIsAddedUp) {
  Client first;
  Client second;
  Client third;
  first.adds = 0.5F;
  second.adds = 0.25F;
  addAndStart(first);
  addAndStart(second);
  addAndStart(third);
  hardware->cycle();
  hardware->cycle();
  for (const float sample : hardware->output) {
    ASSERT_EQ(sample, 0.75F);
  }
}

TEST_F(IOProcTest, TheSameProcMayBeInstalledForEveryClientButOnlyOnceForEach) {
  Client first;
  Client second;
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &first), noErr);
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &second), noErr);
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &first), kAudioHardwareIllegalOperationError);
}

TEST_F(IOProcTest, WhatIsNotInstalledCantBeStartedStoppedOrRemoved) {
  Client client;
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &client), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(AudioDeviceRemoveIOProc(kDevice, &proc, &client), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, nullptr, &client), kAudioHardwareIllegalOperationError);
}

TEST_F(IOProcTest, NoProcCanBeInstalledOnADeviceThatIsNotThere) {
  Client client;
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice + 1, &proc, &client), kAudioHardwareBadDeviceError);
}

TEST_F(IOProcTest, ADeviceThatDoesNotStartLeavesTheProcStopped) {
  Client client;
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  ASSERT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &client), noErr);
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), kAudioHardwareUnspecifiedError);
  hardware->startStatus = noErr;
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
  hardware->cycle();
  EXPECT_EQ(client.calls, 1);
}

TEST_F(IOProcTest, ADeviceThatDoesNotStopGoesOn) {
  Client client;
  addAndStart(client);
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &client), kAudioHardwareUnspecifiedError);
  hardware->cycle();
  EXPECT_EQ(client.calls, 1);
  hardware->stopStatus = noErr;
  EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &client), noErr);
}

TEST_F(IOProcTest, RemovingAProcStopsItEvenWhenTheDeviceRefuses) {
  Client client;
  addAndStart(client);
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  EXPECT_EQ(AudioDeviceRemoveIOProc(kDevice, &proc, &client), noErr);
  hardware->cycle();
  EXPECT_EQ(client.calls, 0);
}

TEST_F(IOProcTest, AProcCanBeRemovedFromADeviceThatIsGone) {
  Client client;
  addAndStart(client);
  hardware->isThere = false;
  EXPECT_EQ(AudioDeviceRemoveIOProc(kDevice, &proc, &client), noErr);
}

TEST_F(IOProcTest, AProcThatStopsItselfInACycleIsNotCalledAgain) {
  Client client;
  client.inCycle = [](Client& self) { EXPECT_EQ(AudioDeviceStop(kDevice, &proc, &self), noErr); };
  addAndStart(client);
  hardware->cycle();
  hardware->cycle();
  EXPECT_EQ(client.calls, 1);
  orv::waitForHardwareNotifications();
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(IOProcTest, AProcThatStoppedItselfCanBeStartedAgain) {
  Client client;
  client.inCycle = [](Client& self) { AudioDeviceStop(kDevice, &proc, &self); };
  addAndStart(client);
  hardware->cycle();
  orv::waitForHardwareNotifications();
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
  hardware->cycle();
  EXPECT_EQ(client.calls, 2);
}

TEST_F(IOProcTest, AProcThatRemovesItselfInACycleCanBeInstalledAgain) {
  Client client;
  client.inCycle = [](Client& self) { EXPECT_EQ(AudioDeviceRemoveIOProc(kDevice, &proc, &self), noErr); };
  addAndStart(client);
  hardware->cycle();
  orv::waitForHardwareNotifications();
  EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &client), noErr);
}

TEST_F(IOProcTest, InACycleNothingIsInstalledOrStarted) {
  Client client;
  client.inCycle = [](Client& self) {
    EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &self + 1), kAudioHardwareIllegalOperationError);
    EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &self), kAudioHardwareIllegalOperationError);
  };
  addAndStart(client);
  hardware->cycle();
  EXPECT_EQ(client.calls, 1);
}

TEST_F(IOProcTest, AThreadKnowsWhetherItIsInACycle) {
  Client client;
  client.inCycle = [](Client& self) { self.status = orv::isInHardwareCycle() ? 1 : 2; };
  addAndStart(client);
  EXPECT_FALSE(orv::isInHardwareCycle());
  hardware->cycle();
  EXPECT_FALSE(orv::isInHardwareCycle());
  EXPECT_EQ(client.status, 1);
}

TEST_F(IOProcTest, InstallingAnotherBackendStopsTheOneBefore) {
  Client client;
  addAndStart(client);
  const auto other = std::make_shared<ScriptedHardware>();
  EXPECT_EQ(orv::installAudioHardware(other), hardware);
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), kAudioHardwareIllegalOperationError);
}

TEST_F(IOProcTest, WhatABackendThrowsBecomesAStatusAndALine) {
  const orv::test::LogCapture capture;
  hardware->throws = true;
  EXPECT_EQ(AudioHardwareGetPropertyInfo(kAudioHardwarePropertyDevices, nullptr, nullptr),
            kAudioHardwareUnspecifiedError);
  EXPECT_TRUE(capture.contains("AudioHardwareGetPropertyInfo: no such luck"));
}

TEST_F(IOProcTest, NullBuffersAreRefused) {
  std::uint32_t size = 4;
  EXPECT_EQ(AudioHardwareGetProperty(kAudioHardwarePropertyDevices, nullptr, &size),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(AudioHardwareGetProperty(kAudioHardwarePropertyDevices, &size, nullptr),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(AudioDeviceGetProperty(kDevice, 0, true, kAudioDevicePropertyBufferFrameSizeRange, &size, nullptr),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(AudioDeviceSetProperty(kDevice, nullptr, 0, true, kAudioDevicePropertyMute, 4, nullptr),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(AudioStreamGetProperty(1, 0, kAudioStreamPropertyDirection, &size, nullptr),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(AudioHardwareGetPropertyInfo(kAudioHardwarePropertyDevices, nullptr, nullptr), noErr);
}

TEST_F(IOProcTest, HostTimeNeverGoesBack) {
  const std::uint64_t before = AudioGetCurrentHostTime();
  EXPECT_LE(before, AudioGetCurrentHostTime());
}
