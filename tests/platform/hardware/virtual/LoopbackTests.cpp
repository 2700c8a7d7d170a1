#include <gtest/gtest.h>

#include "VirtualHardwareTestSupport.h"
#include "support/LogCapture.h"

namespace orv::test {
namespace {

class Loopback : public testing::Test {
 protected:
  AudioDeviceID plugListener(const std::string& uid, const std::string& to, std::uint32_t channels = 2,
                             double rate = 44100.0, std::uint32_t frames = 64) {
    VirtualDevice device = simpleDevice(uid, channels, rate, frames);
    device.source.kind = VirtualInput::Kind::loopback;
    device.source.loopbackUID = to;
    return hardware_->plug(device);
  }

  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
  const std::vector<float> played_ = countingSamples(64 * 4, 2);
};

/// What was heard is silence for one cycle, then what was played.
void expectOneCycleLater(const RecordingSink& listener, const std::vector<float>& played) {
  const std::vector<float> heard = listener.input();
  const std::size_t cycle = listener.cycles()[0].input[0].size();
  for (std::size_t i = 0; i < heard.size(); ++i) {
    ASSERT_EQ(heard[i], i < cycle ? 0.0F : played[i - cycle]) << i;
  }
}

TEST_F(Loopback, IsHeardOneCycleLaterInWhicheverOrderTheDevicesWerePlugged) {
  for (const bool sourceFirst : {true, false}) {
    hardware_ = handHardware();
    AudioDeviceID source = sourceFirst ? hardware_->plug(simpleDevice("source")) : 0;
    const AudioDeviceID listener = plugListener("listener", "source");
    source = sourceFirst ? source : hardware_->plug(simpleDevice("source"));
    RecordingSink playing(test::playing(played_));
    RecordingSink hearing;
    hardware_->start(source, &playing);
    hardware_->start(listener, &hearing);
    hardware_->step(5);
    expectOneCycleLater(hearing, played_);
  }
}

TEST_F(Loopback, ADeviceCanHearItself) {
  const AudioDeviceID device = plugListener("self", "self");
  RecordingSink sink(test::playing(played_));
  hardware_->start(device, &sink);
  hardware_->step(5);
  expectOneCycleLater(sink, played_);
}

TEST_F(Loopback, AnyCycleSizesGoTogether) {
  const AudioDeviceID source = hardware_->plug(simpleDevice("source", 2, 44100.0, 96));
  const AudioDeviceID listener = plugListener("listener", "source", 2, 44100.0, 32);
  RecordingSink playing(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(source, &playing);
  hardware_->start(listener, &hearing);
  hardware_->stepDevice(source, 1);
  hardware_->stepDevice(listener, 2);
  hardware_->stepDevice(source, 1);
  hardware_->stepDevice(listener, 4);
  EXPECT_EQ(hearing.input(), std::vector<float>(played_.begin(), played_.begin() + 96L * 2 * 2));
}

TEST_F(Loopback, ChannelsAreMappedAsThoseOfFiles) {
  const AudioDeviceID source = hardware_->plug(simpleDevice("source", 2));
  const AudioDeviceID wide = plugListener("wide", "source", 3);
  RecordingSink playing(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(source, &playing);
  hardware_->start(wide, &hearing);
  hardware_->step(2);
  const std::vector<float>& heard = hearing.cycles()[1].input[0];
  for (std::size_t frame = 0; frame < 64; ++frame) {
    EXPECT_EQ(heard[frame * 3], played_[frame * 2]);
    EXPECT_EQ(heard[frame * 3 + 1], played_[frame * 2 + 1]);
    EXPECT_EQ(heard[frame * 3 + 2], 0.0F);
  }
}

TEST_F(Loopback, AnotherRateIsSilentAndLoggedOnce) {
  const LogCapture log;
  const AudioDeviceID source = hardware_->plug(simpleDevice("source", 2, 48000.0));
  const AudioDeviceID listener = plugListener("listener", "source");
  RecordingSink playing(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(source, &playing);
  hardware_->start(listener, &hearing);
  hardware_->step(4);
  EXPECT_EQ(hearing.input(), std::vector<float>(4 * 128, 0.0F));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"virtual hardware: the loopback of \"source\" is silent: it runs "
                                                   "at 48000 Hz, the listening device at 44100 Hz"}));
}

TEST_F(Loopback, IsSilentWhileTheSourceIsGoneAndHeardAgainWhenItIsBack) {
  const AudioDeviceID listener = plugListener("listener", "source");
  AudioDeviceID source = hardware_->plug(simpleDevice("source"));
  RecordingSink first(test::playing(played_));
  RecordingSink second(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(listener, &hearing);
  hardware_->start(source, &first);
  hardware_->step(2);
  hardware_->unplug(source);
  hardware_->step(2);
  source = hardware_->plug(simpleDevice("source"));
  hardware_->start(source, &second);
  hardware_->step(2);
  const auto& cycles = hearing.cycles();
  EXPECT_EQ(cycles[3].input[0], std::vector<float>(128, 0.0F));
  EXPECT_EQ(cycles[5].input[0], std::vector<float>(played_.begin(), played_.begin() + 128));
}

TEST_F(Loopback, WhatWasPlayedWhileNobodyListenedIsNotHeardLater) {
  const AudioDeviceID source = hardware_->plug(simpleDevice("source"));
  const AudioDeviceID listener = plugListener("listener", "source");
  RecordingSink playing(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(source, &playing);
  hardware_->step(2);
  hardware_->start(listener, &hearing);
  hardware_->step(2);
  EXPECT_EQ(hearing.cycles()[1].input[0], std::vector<float>(played_.begin() + 256, played_.begin() + 384));
}

TEST_F(Loopback, TheOutputsVolumeIsHeard) {
  const AudioDeviceID device = plugListener("self", "self");
  setDeviceValue(*hardware_, device, false, kAudioDevicePropertyMute, 1U, 2);
  RecordingSink sink(test::playing(played_));
  hardware_->start(device, &sink);
  hardware_->step(2);
  EXPECT_EQ(sink.cycles()[1].input[0][0], played_[0]);
  EXPECT_EQ(sink.cycles()[1].input[0][1], 0.0F);
}

TEST_F(Loopback, PlayThroughAddsTheInputToTheOutput) {
  VirtualDevice described = simpleDevice("through");
  described.hasPlayThru = true;
  described.source.kind = VirtualInput::Kind::tone;
  const AudioDeviceID device = hardware_->plug(described);
  const AudioDeviceID listener = plugListener("listener", "through");
  setDeviceValue(*hardware_, device, true, kAudioDevicePropertyPlayThru, 1U, 1);
  RecordingSink sink(test::playing(played_));
  RecordingSink hearing;
  hardware_->start(device, &sink);
  hardware_->start(listener, &hearing);
  hardware_->step(2);
  for (std::size_t i = 0; i < 128; ++i) {
    EXPECT_EQ(hearing.cycles()[1].input[0][i], sink.cycles()[0].input[0][i] + played_[i]);
  }
}

}  // namespace
}  // namespace orv::test
