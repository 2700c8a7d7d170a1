#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "OrvProgram.h"
#include "Recordings.h"
#include "VirtualDevices.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

/// Some blocks of what is heard: on a machine that is busy a device may leave cycles out. Two devices with clocks of
/// their own stay in step for a block at least.
constexpr std::size_t kSamples = 4096;
constexpr std::ptrdiff_t kSamplesOfABlock = 1024;

class OrvMonitor : public testing::Test {
 protected:
  OrvMonitor() {
    writeRecording(music, noise(16000));
    devices.heard = music;
    devices.played = scratch / "played.wav";
    devices.acceleration = 2;
  }

  ProcessResult monitor(std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"monitor", "--seconds", "1"});
    return runOrvOn(devices, scratch.path(), arguments);
  }
  std::vector<double> played() const { return readIndependently(devices.played)->doubles; }
  /// Samples of the second block that is heard and of those behind it, as they should be played: each `times` times,
  /// and as loud as `gain` says. The output may have begun one block before the input.
  std::vector<double> heard(std::size_t count, double gain = 1, std::size_t times = 1) const {
    const auto all = readIndependently(music)->doubles;
    std::vector<double> samples;
    for (std::size_t i = 0; i < count; ++i) {
      samples.insert(samples.end(), times, all[std::size_t{kSamplesOfABlock} / times + i] * gain);
    }
    return samples;
  }
  /// Whether `wanted` was played without a gap.
  bool isPlayed(const std::vector<double>& wanted) const {
    const auto all = played();
    const auto isNear = [](double one, double other) { return std::abs(one - other) < 1e-6; };
    return std::search(all.begin(), all.end(), wanted.begin(), wanted.end(), isNear) != all.end();
  }

  const TemporaryDirectory scratch;
  const std::string music = scratch / "music.aiff";
  VirtualDevices devices;
};

}  // namespace

TEST_F(OrvMonitor, WhatADeviceHearsIsPlayedOnItsOutput) {
  devices.areOne = true;
  const ProcessResult result = monitor();
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(isPlayed(heard(kSamples)));
}

TEST_F(OrvMonitor, WhatADeviceHearsIsPlayedOnAnother) {
  const ProcessResult result = monitor();
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  const auto blocks = heard(kSamples);
  bool isAnyBlockPlayed = false;
  for (auto block = blocks.begin(); block != blocks.end(); block += kSamplesOfABlock) {
    isAnyBlockPlayed = isAnyBlockPlayed || isPlayed({block, block + kSamplesOfABlock});
  }
  EXPECT_TRUE(isAnyBlockPlayed);
}

TEST_F(OrvMonitor, TheGainIsInDecibels) {
  devices.areOne = true;
  ASSERT_EQ(monitor({"--gain-db", "-20"}).status, 0);
  EXPECT_TRUE(isPlayed(heard(kSamples, 0.1)));
}

TEST_F(OrvMonitor, AMonoInputIsHeardOnBothSides) {
  writeRecording(music, noise(16000, 1));
  devices.areOne = true;
  devices.inputs = 1;
  ASSERT_EQ(monitor().status, 0);
  EXPECT_TRUE(isPlayed(heard(kSamples / 2, 1, 2)));
}

TEST_F(OrvMonitor, RatesThatCannotBeMadeTheSameAreToldOf) {
  devices.outputRate = 11025;
  const ProcessResult result = monitor();
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.errors.find("orv: note: the input works at 8000 Hz and the output at 11025 Hz"), std::string::npos)
      << result.errors;
}

TEST_F(OrvMonitor, DevicesThatAreNotThereAreAClearFailure) {
  expectFailure(monitor({"--input", "nowhere"}), {"nowhere", "input"});
  expectFailure(monitor({"--output", "in"}), {"no such output device"});
}

TEST_F(OrvMonitor, AnInterruptionEndsItCleanly) {
  auto arguments = devices.options(scratch / "devices.json");
  arguments.insert(arguments.begin(), "monitor");
  RunningOrv monitor(arguments);
  monitor.awaitHandlerOf(SIGINT);
  monitor.send(SIGINT);
  EXPECT_EQ(monitor.wait().status, 0);
}

}  // namespace orv::test
