#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAUAudioPlayer.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "coreaudio/support/Recording.h"
#include "support/SteppedHardware.h"
#include "support/TemporaryDirectory.h"

/// Players on a speaker whose cycles the test makes.
class GraphPlayer : public testing::Test {
 protected:
  using Hardware = orv::test::SteppedHardware;
  static constexpr AudioDeviceID kSpeaker = 8;
  static constexpr AudioDeviceID kOther = 9;
  static constexpr std::uint32_t kFrames = 256;  // in a cycle

  GraphPlayer() {
    for (const AudioDeviceID id : {kSpeaker, kOther}) {
      hardware->add(id).inputChannels = 0;
      hardware->at(id).frames = kFrames;
    }
    hardware->defaultOutput = kOther;
    orv::installAudioHardware(hardware);
    orv::waitForHardwareNotifications();
    pump();
    speaker = OrvAudioDevice::initWithDeviceID(kSpeaker);
  }
  ~GraphPlayer() override {
    speaker = nullptr;
    pump();
    orv::installAudioHardware(std::make_shared<Hardware>());
    orv::waitForHardwareNotifications();
    pump();
  }

  static void pump() {
    while (orv::RunLoop::main().pump() > 0) {
    }
  }

  /// Frame `i` of a counted file has the value `i` in each channel, in units of 2^-15.
  static std::vector<float> counted(std::size_t begin, std::size_t frames, std::uint32_t channels) {
    std::vector<float> samples;
    for (std::size_t i = 0; i < frames * channels; ++i) {
      samples.push_back(static_cast<float>(begin + i / channels) / 32768.0F);
    }
    return samples;
  }

  /// A file of floats or of integers of `bits` bits.
  std::string file(double rate, std::uint32_t channels, std::uint32_t bits, const std::vector<float>& samples) {
    const bool isFloat = bits >= 32;
    const auto format = orv::test::pcm(
        rate, channels, bits,
        (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian) |
            kAudioFormatFlagIsPacked);
    std::vector<std::byte> bytes;
    for (const float sample : samples) {
      append(&bytes, sample, bits);
    }
    const std::string path = directory / ("file" + std::to_string(++files_) + ".wav");
    auto out = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
    out->setFileStreamFormat(format);
    if (isFloat) {
      out->setFileType(kAudioFileWAVEType);
    } else {
      out->setFileType(kAudioFileAIFFType);
    }
    EXPECT_TRUE(out->open()) << out->lastProblem();
    auto size = static_cast<std::uint32_t>(bytes.size());
    EXPECT_TRUE(out->write_length(bytes.data(), &size)) << out->lastProblem();
    out->close();
    return path;
  }
  std::string countedFile(std::uint32_t frames, std::uint32_t bits = 16, std::uint32_t channels = 2) {
    return file(48000, channels, bits, counted(0, frames, channels));
  }

  std::shared_ptr<OrvAUAudioPlayer> playerOf(const std::string& path) {
    return OrvAUAudioPlayer::initWithAudioDevice_pathToFile(speaker, path);
  }

  const std::vector<float>& cycle() { return hardware->cycle(kSpeaker); }

  /// What is heard until playing has ended, and two cycles of what comes then.
  std::vector<float> hearAll(const OrvAUAudioPlayer& player) {
    std::vector<float> heard;
    for (int more = 2; more > 0;) {
      const std::vector<float> block = cycle();
      heard.insert(heard.end(), block.begin(), block.end());
      more -= player.isPlaying() ? 0 : 1;
    }
    pump();
    return heard;
  }

  /// Names of what was posted about a player.
  struct Told {
    std::vector<std::string> names;
    orv::Observation observation = orv::NotificationCenter::defaultCenter().addObserver(
        std::nullopt, nullptr, [this](const orv::Notification& told) {
          if (std::dynamic_pointer_cast<OrvAUAudioPlayer>(told.object)) {
            names.push_back(told.name);
          }
        });
  };

  const std::shared_ptr<Hardware> hardware = std::make_shared<Hardware>();
  std::shared_ptr<OrvAudioDevice> speaker;
  const orv::test::TemporaryDirectory directory;

 private:
  static void append(std::vector<std::byte>* bytes, float sample, std::uint32_t bits) {
    const auto add = [&](const auto& value) {
      const auto* const first = reinterpret_cast<const std::byte*>(&value);
      bytes->insert(bytes->end(), first, first + sizeof value);
    };
    if (bits == 64) {
      add(static_cast<double>(sample));
    } else if (bits == 32) {
      add(sample);
    } else {
      const auto value = static_cast<std::int32_t>(std::lround(sample * 32768.0F));
      bytes->push_back(static_cast<std::byte>((value >> 8) & 0xFF));
      bytes->push_back(static_cast<std::byte>(value & 0xFF));
      bytes->resize(bytes->size() + (bits == 24 ? 1 : 0));
    }
  }

  int files_ = 0;
};

/// Adds to each sample, and keeps what it was asked.
class GraphProcessor final : public OrvAudioProcessor {
 public:
  std::atomic<int> resets{0};
  bool fails = false;
  float added = 0.25F;
  std::atomic<std::uint32_t> mostFrames{0};
  std::atomic<std::uint32_t> channels{0};

  void reset() override { ++resets; }
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames) override {
    mostFrames = std::max(mostFrames.load(), *numberOfFrames);
    channels = channelsPerFrame;
    for (std::uint32_t i = 0; i < *numberOfFrames * channelsPerFrame; ++i) {
      output[i] = input[i] + added;
    }
    return !fails;
  }
};
