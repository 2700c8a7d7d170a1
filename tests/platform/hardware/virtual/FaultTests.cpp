#include <gtest/gtest.h>

#include <algorithm>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

class FaultsOnDemand : public testing::Test {
 protected:
  FaultsOnDemand() {
    hardware_->setEvents(&events_);
    device_ = hardware_->plug(simpleDevice("a"));
    events_.take();
  }

  OSStatus readMute() {
    std::uint32_t value = 0;
    std::uint32_t size = sizeof value;
    return hardware_->deviceProperty(device_, 0, true, kAudioDevicePropertyMute, &size, &value);
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
  AudioDeviceID device_ = 0;
  RecordingSink sink_;
};

TEST_F(FaultsOnDemand, AStartFailsAsOftenAsSaid) {
  VirtualFault fault;
  fault.kind = VirtualFault::Kind::start;
  fault.status = kAudioDevicePermissionsError;
  fault.times = 2;
  hardware_->addFault(device_, fault);
  EXPECT_EQ(hardware_->start(device_, &sink_), kAudioDevicePermissionsError);
  EXPECT_EQ(hardware_->start(device_, &sink_), kAudioDevicePermissionsError);
  EXPECT_EQ(hardware_->start(device_, &sink_), noErr);
}

TEST_F(FaultsOnDemand, AStopThatFailsLeavesTheDeviceRunning) {
  VirtualFault fault;
  fault.kind = VirtualFault::Kind::stop;
  hardware_->addFault(device_, fault);
  hardware_->start(device_, &sink_);
  EXPECT_EQ(hardware_->stop(device_), kAudioHardwareUnspecifiedError);
  EXPECT_EQ(hardware_->step(), 1U);
  EXPECT_EQ(hardware_->stop(device_), noErr);
  EXPECT_EQ(hardware_->step(), 0U);
}

TEST_F(FaultsOnDemand, OnlyTheNamedPropertyFailsAndOnlyItsValue) {
  VirtualFault fault;
  fault.kind = VirtualFault::Kind::propertyRead;
  fault.property = kAudioDevicePropertyMute;
  fault.status = kAudioHardwareNotRunningError;
  hardware_->addFault(device_, fault);
  EXPECT_EQ(deviceStatus(*hardware_, device_, true, kAudioDevicePropertyMute), noErr);
  EXPECT_EQ(deviceValue<float>(*hardware_, device_, true, kAudioDevicePropertyVolumeScalar), 1.0F);
  EXPECT_EQ(readMute(), kAudioHardwareNotRunningError);
  EXPECT_EQ(readMute(), noErr);
}

TEST_F(FaultsOnDemand, AFaultWithoutEndLastsUntilItIsCleared) {
  VirtualFault fault;
  fault.kind = VirtualFault::Kind::propertyWrite;
  fault.times = 0;
  hardware_->addFault(device_, fault);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(setDeviceValue(*hardware_, device_, true, kAudioDevicePropertyMute, 1U), kAudioHardwareUnspecifiedError);
  }
  EXPECT_TRUE(events_.take().empty());
  hardware_->clearFaults(device_);
  EXPECT_EQ(setDeviceValue(*hardware_, device_, true, kAudioDevicePropertyMute, 1U), noErr);
}

TEST_F(FaultsOnDemand, StreamPropertiesFailToo) {
  const auto stream = deviceList<AudioStreamID>(*hardware_, device_, true, kAudioDevicePropertyStreams).front();
  VirtualFault fault;
  fault.kind = VirtualFault::Kind::propertyRead;
  fault.property = kAudioStreamPropertyDirection;
  hardware_->addFault(device_, fault);
  std::uint32_t value = 0;
  std::uint32_t size = sizeof value;
  EXPECT_EQ(hardware_->streamProperty(stream, 0, kAudioStreamPropertyDirection, &size, &value),
            kAudioHardwareUnspecifiedError);
  EXPECT_EQ(hardware_->streamProperty(stream, 0, kAudioStreamPropertyDirection, &size, &value), noErr);
}

TEST_F(FaultsOnDemand, AnOverloadIsToldAndTheSampleTimeJumpsByACycle) {
  hardware_->start(device_, &sink_);
  hardware_->step();
  events_.take();
  hardware_->overload(device_);
  hardware_->step();
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{device_, 0, false, kAudioDeviceProcessorOverload}}));
  const auto& cycles = sink_.cycles();
  EXPECT_EQ(cycles[1].inputTime.mSampleTime - cycles[0].inputTime.mSampleTime, 128.0);
  EXPECT_NEAR(static_cast<double>(cycles[1].now.mHostTime - cycles[0].now.mHostTime), 128e9 / 44100.0, 1.0);
}

TEST_F(FaultsOnDemand, JitterMakesNowLateAndLeavesTheOtherTimesAlone) {
  hardware_->start(device_, &sink_);
  hardware_->setJitter(device_, 500'000);
  hardware_->step(100);
  std::uint64_t latest = 0;
  for (std::size_t i = 0; i < 100; ++i) {
    const RecordedCycle& cycle = sink_.cycles()[i];
    EXPECT_EQ(cycle.inputTime.mSampleTime, 64.0 * static_cast<double>(i));
    const double late = cycle.now.mSampleTime - cycle.inputTime.mSampleTime - 64.0;
    EXPECT_GE(late, 0.0);
    EXPECT_LT(late, 0.0005 * 44100.0);
    const std::uint64_t length = cycle.now.mHostTime - cycle.inputTime.mHostTime;
    latest = std::max(latest, length);
    EXPECT_LT(length, 64'000'000'000U / 44100U + 500'001U);
  }
  EXPECT_GT(latest, 64'000'000'000U / 44100U + 100'000U);
}

TEST_F(FaultsOnDemand, DriftIsToldAndTheHostTimeFollowsTheActualRate) {
  hardware_->setDrift(device_, 1000.0);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{device_, 0, true, kAudioDevicePropertyActualSampleRate},
                                                     {device_, 0, false, kAudioDevicePropertyActualSampleRate}}));
  const auto actual = deviceValue<double>(*hardware_, device_, true, kAudioDevicePropertyActualSampleRate);
  EXPECT_NEAR(actual, 44144.1, 1e-6);
  EXPECT_EQ(deviceValue<double>(*hardware_, device_, true, kAudioDevicePropertyNominalSampleRate), 44100.0);
  hardware_->start(device_, &sink_);
  hardware_->step(1001);
  const auto& cycles = sink_.cycles();
  EXPECT_NEAR(static_cast<double>(cycles[1000].now.mHostTime - cycles[0].now.mHostTime), 64000e9 / actual, 1.0);
  EXPECT_EQ(cycles[1000].now.mSampleTime - cycles[0].now.mSampleTime, 64000.0);
  EXPECT_NEAR(cycles[0].now.mRateScalar, 1.001, 1e-12);
}

TEST_F(FaultsOnDemand, KnobsForADeviceThatIsNotThereDoNothing) {
  EXPECT_EQ(hardware_->setNominalSampleRate(999, 48000.0), kAudioHardwareBadDeviceError);
  EXPECT_EQ(hardware_->setBufferFrameSize(999, 64), kAudioHardwareBadDeviceError);
  hardware_->addFault(999, {});
  hardware_->clearFaults(999);
  hardware_->overload(999);
  hardware_->setJitter(999, 1);
  hardware_->setDrift(999, 1.0);
  EXPECT_TRUE(hardware_->inputIsAtEnd(999));
}

TEST_F(FaultsOnDemand, AbsurdDriftAndJitterAreBounded) {
  hardware_->setDrift(device_, -1e300);
  EXPECT_EQ(deviceValue<double>(*hardware_, device_, true, kAudioDevicePropertyActualSampleRate), 22050.0);
  hardware_->setJitter(device_, ~std::uint64_t{0});
  hardware_->start(device_, &sink_);
  EXPECT_EQ(hardware_->step(), 1U);
}

}  // namespace
}  // namespace orv::test
