#pragma once

#include <OrvCoreAudio/OrvAudioPlayer.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "device/io/DeviceFixture.h"
#include "support/RealTimeInterposer.h"
#include "support/TemporaryDirectory.h"

/// Keeps what the output of a device has behind the subscribers before it.
class Capture final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  std::vector<float> samples;
  std::uint32_t channels = 0;

  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
      const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
      void* /*clientData*/) noexcept override {
    const orv::test::AllowInCycle allow;
    const AudioBuffer& buffer = outputData->mBuffers[0];
    const auto* const first = static_cast<const float*>(buffer.mData);
    samples.insert(samples.end(), first, first + buffer.mDataByteSize / sizeof(float));
    channels = buffer.mNumberChannels;
    return noErr;
  }
};

/// Virtual devices whose cycles a test makes, and files made by an independent writer.
class PlayerFixture : public testing::Test {
 protected:
  static constexpr std::uint32_t kFrames = 64;

  PlayerFixture() {
    orv::installAudioHardware(hardware);
    orv::waitForHardwareNotifications();
  }
  ~PlayerFixture() override {
    player = nullptr;
    device = nullptr;
    pump();
    orv::installAudioHardware(orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand}));
    orv::waitForHardwareNotifications();
    pump();
  }

  static void pump() {
    while (orv::RunLoop::main().pump() > 0) {
    }
  }

  /// Plugs an output in and makes it the device that is played on.
  std::shared_ptr<OrvAudioDevice> plug(std::uint32_t channels, double rate, std::uint32_t frames = kFrames,
                                       std::vector<AudioChannelLabel> labels = {}) {
    orv::VirtualDevice description;
    description.uid = "out" + std::to_string(++plugged_);
    description.nominalSampleRates = {{rate, rate}};
    description.nominalSampleRate = rate;
    description.bufferFrameSize = frames;
    orv::VirtualStream stream;
    stream.physicalFormats = {{0, kAudioFormatLinearPCM, kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked,
                               2 * channels, 1, 2 * channels, channels, 16, 0}};
    description.output.streams = {stream};
    description.output.channelLabels = std::move(labels);
    std::string problem;
    deviceID = hardware->plug(description, &problem);
    EXPECT_NE(deviceID, 0U) << problem;
    orv::waitForHardwareNotifications();
    device = OrvAudioDevice::initWithDeviceID(deviceID);
    return device;
  }

  /// Samples that are 16-bit numbers and repeat nowhere near.
  static std::vector<float> noise(std::size_t count) {
    std::vector<float> samples(count);
    std::uint32_t state = 12345;
    for (float& sample : samples) {
      state = state * 1664525U + 1013904223U;
      sample = static_cast<float>(static_cast<std::int16_t>(state >> 16)) / 32768.0F;
    }
    return samples;
  }
  static std::vector<float> tone(std::size_t frames, double rate, double hertz) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i) {
      samples[i] = static_cast<float>(0.5 * std::sin(2 * M_PI * hertz * static_cast<double>(i) / rate));
    }
    return samples;
  }

  std::string write(const std::string& name, std::uint32_t channels, double rate, const std::vector<float>& samples,
                    int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16) const {
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = format;
    const std::string path = folder / name;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    const auto frames = static_cast<sf_count_t>(samples.size() / channels);
    const int coding = info.format & SF_FORMAT_SUBMASK;
    if (coding == SF_FORMAT_FLOAT || coding == SF_FORMAT_DOUBLE) {
      EXPECT_EQ(sf_writef_float(file, samples.data(), frames), frames);
    } else {
      std::vector<int> integers(samples.size());  // as they are: from floats libsndfile scales by 32767
      std::transform(samples.begin(), samples.end(), integers.begin(),
                     [](float sample) { return static_cast<int>(static_cast<double>(sample) * 2147483648.0); });
      EXPECT_EQ(sf_writef_int(file, integers.data(), frames), frames);
    }
    EXPECT_EQ(sf_close(file), 0);
    return path;
  }

  void makePlayer(const std::string& path) { player = OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path); }
  /// A player of a noise file.
  void makePlayer(std::uint32_t channels, double rate, std::size_t frames) {
    source = noise(frames * channels);
    makePlayer(write("source.aiff", channels, rate, source));
  }

  /// Behind the player, from now on.
  void listen() {
    device->removeAudioIOSubscriber_forInput(capture, false);
    device->addAudioIOSubscriber_forInput(capture, false);
  }

  /// One cycle. Where the filler has not come, which is no fault when cycles are made as fast as they go, it is made
  /// once more and the silent one forgotten.
  void cycle() {
    for (;;) {
      const std::size_t before = capture->samples.size();
      const std::uint64_t late = player->lateCycles();
      hardware->stepDevice(deviceID);
      if (player->lateCycles() == late) {
        return;
      }
      capture->samples.resize(before);
      std::this_thread::yield();
    }
  }
  void cycles(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      cycle();
    }
  }
  /// Cycles until it does not play any more; fails when that does not come about.
  void playOut(std::size_t most = 100000) {
    for (std::size_t i = 0; player->isPlaying(); ++i) {
      ASSERT_LT(i, most);
      cycle();
    }
    pump();
  }

  /// What was played on one channel.
  std::vector<float> heard(std::uint32_t channel = 0) const {
    std::vector<float> one;
    for (std::size_t i = channel; i < capture->samples.size(); i += capture->channels) {
      one.push_back(capture->samples[i]);
    }
    return one;
  }
  static bool isSilent(const std::vector<float>& samples, std::size_t from = 0) {
    return std::all_of(samples.begin() + static_cast<std::ptrdiff_t>(std::min(from, samples.size())), samples.end(),
                       [](float sample) { return sample == 0.0F; });
  }
  /// `samples` with silence behind them, as long as what was captured.
  std::vector<float> followedBySilence(std::vector<float> samples) const {
    EXPECT_LE(samples.size(), capture->samples.size());
    samples.resize(capture->samples.size(), 0.0F);
    return samples;
  }
  /// Samples of the frames from `begin` to `end`.
  std::vector<float> sourceFrames(std::size_t begin, std::size_t end, std::uint32_t channels) const {
    return {source.begin() + static_cast<std::ptrdiff_t>(begin * channels),
            source.begin() + static_cast<std::ptrdiff_t>(end * channels)};
  }

  const std::shared_ptr<orv::VirtualHardware> hardware =
      orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  const orv::test::TemporaryDirectory folder;
  const std::shared_ptr<Capture> capture = std::make_shared<Capture>();
  AudioDeviceID deviceID = 0;
  std::shared_ptr<OrvAudioDevice> device;
  std::shared_ptr<OrvAudioPlayer> player;
  std::vector<float> source;

 private:
  int plugged_ = 0;
};
