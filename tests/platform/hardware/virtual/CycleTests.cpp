#include <gtest/gtest.h>

#include <cmath>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

class Cycles : public testing::Test {
 protected:
  AudioDeviceID plug(const VirtualDevice& device) { return hardware_->plug(device); }
  void run(AudioDeviceID device, RecordingSink& sink, std::size_t cycles) {
    ASSERT_EQ(hardware_->start(device, &sink), noErr);
    EXPECT_EQ(hardware_->stepDevice(device, cycles), cycles);
  }

  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
};

VirtualDevice toneDevice(const std::string& uid, std::uint32_t channels = 2) {
  VirtualDevice device = simpleDevice(uid, channels);
  device.source.kind = VirtualInput::Kind::tone;
  device.source.toneHertz = 1000.0;
  device.source.toneLevel = 0.5;
  return device;
}

TEST_F(Cycles, HaveABufferOfTheBufferFrameSizeForEachStream) {
  VirtualDevice device = simpleDevice("a");
  device.input.streams = {{{pcm(2, 16)}, 0}, {{pcm(1, 16)}, 0}};
  device.output.streams = {{{pcm(4, 16)}, 0}};
  RecordingSink sink;
  run(plug(device), sink, 1);
  const RecordedCycle& cycle = sink.cycles().front();
  EXPECT_EQ(cycle.inputChannels, (std::vector<std::uint32_t>{2, 1}));
  EXPECT_EQ(cycle.input[0].size(), 128U);
  EXPECT_EQ(cycle.input[1].size(), 64U);
  EXPECT_EQ(cycle.outputBytes, (std::vector<std::uint32_t>{64 * 4 * 4}));
}

TEST_F(Cycles, HaveAnEmptyListForASectionWithoutStreams) {
  VirtualDevice device = simpleDevice("a");
  device.input = {};
  RecordingSink sink;
  run(plug(device), sink, 1);
  EXPECT_TRUE(sink.cycles().front().input.empty());
  EXPECT_EQ(sink.cycles().front().outputBytes.size(), 1U);
}

TEST_F(Cycles, SampleTimesBeginWithTheFirstInputFrameAndGoOn) {
  VirtualDevice device = simpleDevice("a");
  device.input.latency = 10;
  device.input.safetyOffset = 6;
  device.output.latency = 20;
  device.output.safetyOffset = 4;
  RecordingSink sink;
  run(plug(device), sink, 3);
  for (std::size_t i = 0; i < 3; ++i) {
    const RecordedCycle& cycle = sink.cycles()[i];
    const double begin = 64.0 * static_cast<double>(i);
    EXPECT_EQ(cycle.inputTime.mSampleTime, begin);
    EXPECT_EQ(cycle.now.mSampleTime, begin + 64 + 16);
    EXPECT_EQ(cycle.outputTime.mSampleTime, begin + 64 + 16 + 64 + 24);
    EXPECT_EQ(cycle.now.mRateScalar, 1.0);
    EXPECT_EQ(cycle.now.mFlags & 7U, 7U);
  }
}

TEST_F(Cycles, HostTimeAdvancesByExactlyTheFramesOfACycle) {
  VirtualDevice device = simpleDevice("a", 2, 48000.0, 480);
  RecordingSink sink;
  run(plug(device), sink, 1000);
  const auto& cycles = sink.cycles();
  EXPECT_EQ(cycles[999].now.mHostTime - cycles[0].now.mHostTime, 9'990'000'000U);
  EXPECT_EQ(cycles[5].now.mHostTime - cycles[5].inputTime.mHostTime, 10'000'000U);
  EXPECT_EQ(cycles[5].outputTime.mHostTime - cycles[5].now.mHostTime, 10'000'000U);
}

TEST_F(Cycles, HostTimeDoesNotGoBackWhenADeviceStartsAgain) {
  const AudioDeviceID device = plug(simpleDevice("a"));
  RecordingSink first;
  run(device, first, 10000);
  hardware_->stop(device);
  RecordingSink second;
  run(device, second, 1);
  EXPECT_GE(second.cycles()[0].inputTime.mHostTime, first.cycles().back().now.mHostTime);
  EXPECT_EQ(second.cycles()[0].inputTime.mSampleTime, 0.0);
}

TEST_F(Cycles, AreCountedSinceThePlugging) {
  const AudioDeviceID device = plug(simpleDevice("a"));
  RecordingSink sink;
  run(device, sink, 3);
  hardware_->stop(device);
  EXPECT_EQ(hardware_->step(), 0U);
  ASSERT_EQ(hardware_->start(device, &sink), noErr);
  hardware_->step(2);
  EXPECT_EQ(hardware_->cycles(device), 5U);
}

TEST_F(Cycles, OfSeveralDevicesTakeTurnsInTheOrderOfPlugging) {
  std::string order;
  RecordingSink first([&](const HardwareCycle&) { order += 'a'; });
  RecordingSink second([&](const HardwareCycle&) { order += 'b'; });
  const AudioDeviceID a = plug(simpleDevice("a"));
  const AudioDeviceID b = plug(simpleDevice("b"));
  hardware_->start(b, &second);
  hardware_->start(a, &first);
  EXPECT_EQ(hardware_->step(3), 6U);
  EXPECT_EQ(order, "ababab");
}

TEST_F(Cycles, AreNotMadeFromWithinACycle) {
  std::size_t nested = 99;
  RecordingSink sink([&](const HardwareCycle&) { nested = hardware_->step(); });
  run(plug(simpleDevice("a")), sink, 1);
  EXPECT_EQ(nested, 0U);
}

TEST_F(Cycles, ASecondStartIsRefused) {
  const AudioDeviceID device = plug(simpleDevice("a"));
  RecordingSink sink;
  EXPECT_EQ(hardware_->start(device, &sink), noErr);
  EXPECT_EQ(hardware_->start(device, &sink), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(hardware_->stop(device), noErr);
  EXPECT_EQ(hardware_->stop(device), noErr);
}

TEST_F(Cycles, ADeviceStoppedInItsOwnCycleStopsWithIt) {
  AudioDeviceID device = 0;
  RecordingSink sink([&](const HardwareCycle&) { EXPECT_EQ(hardware_->stop(device), noErr); });
  device = plug(simpleDevice("a"));
  hardware_->start(device, &sink);
  EXPECT_EQ(hardware_->step(5), 1U);
  hardware_->start(device, &sink);
  EXPECT_EQ(hardware_->step(5), 1U);
}

TEST_F(Cycles, ADeviceStoppedAndStartedInItsOwnCycleGoesOn) {
  AudioDeviceID device = 0;
  RecordingSink next;
  RecordingSink sink([&](const HardwareCycle&) {
    hardware_->stop(device);
    EXPECT_EQ(hardware_->start(device, &next), noErr);
  });
  device = plug(simpleDevice("a"));
  hardware_->start(device, &sink);
  EXPECT_EQ(hardware_->step(3), 3U);
  EXPECT_EQ(sink.cycles().size(), 1U);
  EXPECT_EQ(next.cycles().size(), 2U);
}

TEST_F(Cycles, ANewBufferSizeHoldsFromTheNextCycleOnAndInputTimesGoOn) {
  const AudioDeviceID device = plug(toneDevice("a"));
  RecordingSink sink;
  run(device, sink, 2);
  EXPECT_EQ(hardware_->setBufferFrameSize(device, 256), noErr);
  hardware_->step(2);
  EXPECT_EQ(sink.cycles()[1].input[0].size(), 128U);
  EXPECT_EQ(sink.cycles()[2].input[0].size(), 512U);
  EXPECT_EQ(sink.cycles()[2].inputTime.mSampleTime, 128.0);
  EXPECT_EQ(sink.cycles()[3].inputTime.mSampleTime, 384.0);
}

TEST_F(Cycles, ANewBufferSizeSetInACycleHoldsFromTheNextOn) {
  AudioDeviceID device = 0;
  RecordingSink sink([&](const HardwareCycle&) { hardware_->setBufferFrameSize(device, 128); });
  device = plug(simpleDevice("a"));
  run(device, sink, 2);
  EXPECT_EQ(sink.cycles()[1].input[0].size(), 256U);
}

TEST_F(Cycles, ANewRateChangesTheLengthOfACycle) {
  const AudioDeviceID device = plug(simpleDevice("a", 2, 48000.0, 480));
  RecordingSink sink;
  run(device, sink, 2);
  EXPECT_EQ(hardware_->setNominalSampleRate(device, 96000.0), noErr);
  hardware_->step(2);
  const auto& cycles = sink.cycles();
  EXPECT_EQ(cycles[1].now.mHostTime - cycles[0].now.mHostTime, 10'000'000U);
  EXPECT_EQ(cycles[2].now.mHostTime - cycles[1].now.mHostTime, 5'000'000U);
  EXPECT_EQ(cycles[3].inputTime.mSampleTime, 3 * 480.0);
}

TEST_F(Cycles, VolumesAndMutesOfChannelAndMasterAreMultiplied) {
  VirtualDevice described = toneDevice("a", 3);
  const AudioDeviceID device = plug(described);
  RecordingSink reference;
  run(device, reference, 1);
  hardware_->stop(device);
  const float halfInDecibels = -6.0F;
  setDeviceValue(*hardware_, device, true, kAudioDevicePropertyVolumeDecibels, halfInDecibels, 0);
  setDeviceValue(*hardware_, device, true, kAudioDevicePropertyVolumeDecibels, halfInDecibels, 1);
  setDeviceValue(*hardware_, device, true, kAudioDevicePropertyMute, 1U, 2);
  hardware_->setInput(device, described.source);
  RecordingSink sink;
  run(device, sink, 1);
  for (std::size_t frame = 0; frame < 64; ++frame) {
    const float full = reference.cycles()[0].input[0][frame * 3];
    EXPECT_NEAR(sink.cycles()[0].input[0][frame * 3], full * std::pow(10.0F, -12.0F / 20.0F), 1e-6);
    EXPECT_EQ(sink.cycles()[0].input[0][frame * 3 + 1], 0.0F);
    EXPECT_NEAR(sink.cycles()[0].input[0][frame * 3 + 2], full * std::pow(10.0F, -6.0F / 20.0F), 1e-6);
  }
}

TEST_F(Cycles, ScalarZeroIsSilence) {
  const AudioDeviceID device = plug(toneDevice("a"));
  setDeviceValue(*hardware_, device, true, kAudioDevicePropertyVolumeScalar, 0.0F, 0);
  RecordingSink sink;
  run(device, sink, 1);
  EXPECT_EQ(sink.input(), std::vector<float>(128, 0.0F));
}

TEST_F(Cycles, ATonePlaysTheSameSineOnAllChannels) {
  const AudioDeviceID device = plug(toneDevice("a"));
  RecordingSink sink;
  run(device, sink, 20);
  const std::vector<float> heard = sink.input();
  for (std::size_t frame = 0; frame < heard.size() / 2; ++frame) {
    const double expected = 0.5 * std::sin(2.0 * M_PI * 1000.0 * static_cast<double>(frame) / 44100.0);
    EXPECT_NEAR(heard[frame * 2], expected, 1e-6);
    EXPECT_EQ(heard[frame * 2], heard[frame * 2 + 1]);
  }
}

TEST_F(Cycles, WhatAProcDoesToTheListsHasNoEffectOnTheNextCycle) {
  RecordingSink sink([](const HardwareCycle& cycle) {
    cycle.output->mNumberBuffers = 1000;
    cycle.output->mBuffers[0] = {1, 3, nullptr};
  });
  run(plug(simpleDevice("a")), sink, 2);
  EXPECT_EQ(sink.cycles()[1].outputBytes, (std::vector<std::uint32_t>{512}));
}

}  // namespace
}  // namespace orv::test
