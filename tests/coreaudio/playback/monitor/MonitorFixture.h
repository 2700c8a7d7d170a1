#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <vector>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvPlayThroughHandler.h"
#include "OrvPlatform/RunLoop.h"
#include "support/SteppedHardware.h"

/// A microphone, an output, and one device that is both.
class MonitorFixture : public testing::Test {
 protected:
  using Hardware = orv::test::SteppedHardware;
  static constexpr AudioDeviceID kMicrophone = 7;
  static constexpr AudioDeviceID kSpeaker = 8;
  static constexpr AudioDeviceID kDuplex = 9;

  MonitorFixture() {
    hardware->add(kMicrophone).outputChannels = 0;
    hardware->add(kSpeaker).inputChannels = 0;
    hardware->add(kDuplex);
    orv::installAudioHardware(hardware);
    orv::waitForHardwareNotifications();
    OrvAudioDevice::initializeListOfDevices();
    pump();
  }
  ~MonitorFixture() override {
    pump();
    orv::installAudioHardware(std::make_shared<Hardware>());
    orv::waitForHardwareNotifications();
    OrvAudioDevice::initializeListOfDevices();
    pump();
  }

  static void pump() {
    while (orv::RunLoop::main().pump() > 0) {
    }
  }

  static std::shared_ptr<OrvAudioDevice> deviceOf(AudioDeviceID id) { return OrvAudioDevice::initWithDeviceID(id); }

  /// Samples that say which they are.
  static std::vector<float> ramp(std::size_t count, float from) {
    std::vector<float> samples(count);
    std::iota(samples.begin(), samples.end(), from);
    return samples;
  }
  std::vector<float>& hear(float from) {
    auto& device = hardware->at(kMicrophone);
    device.input = ramp(std::size_t{device.frames} * device.inputChannels, from);
    hardware->cycle(kMicrophone);
    return device.input;
  }
  std::vector<float>& play() { return hardware->cycle(kSpeaker); }

  const std::shared_ptr<Hardware> hardware = std::make_shared<Hardware>();
};

/// Over the microphone and the speaker; stopped at the end, because a running one is kept by its devices.
class PlayThrough : public MonitorFixture {
 protected:
  ~PlayThrough() override { handler->stop(); }

  void connect() {
    handler->setAudioDevice_isInput(microphone, true);
    handler->setAudioDevice_isInput(speaker, false);
  }

  const std::shared_ptr<OrvAudioDevice> microphone = deviceOf(kMicrophone);
  const std::shared_ptr<OrvAudioDevice> speaker = deviceOf(kSpeaker);
  const std::shared_ptr<OrvPlayThroughHandler> handler = OrvPlayThroughHandler::init();
};

/// Adds to each sample, and counts.
class AddingProcessor final : public OrvAudioProcessor {
 public:
  explicit AddingProcessor(float added) : added_(added) {}
  int resets = 0;
  int blocks = 0;
  bool fails = false;
  std::uint32_t mostFrames = 0xFFFFFFFF;
  std::uint32_t channels = 0;

  void reset() override { ++resets; }
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames) override {
    ++blocks;
    channels = channelsPerFrame;
    for (std::uint32_t i = 0; i < *numberOfFrames * channelsPerFrame; ++i) {
      output[i] = input[i] + added_;
    }
    *numberOfFrames = std::min(*numberOfFrames, mostFrames);
    return !fails;
  }

 private:
  float added_;
};
