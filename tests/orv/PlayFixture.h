#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {

/// Recordings played by the program on a virtual device, and what the device got of them.
class PlayFixture : public testing::Test {
 protected:
  /// Describes the device that is played on: as fast as it goes, unless `clock` says otherwise.
  void describe(int rate, int channels, const std::string& clock = "asFastAsItGoes") const {
    const nlohmann::json device = {{"uid", "speaker"},
                                   {"name", "Speaker"},
                                   {"nominalSampleRates", {44100, 48000, 96000}},
                                   {"nominalSampleRate", rate},
                                   {"output", {{"streams", {{{"channels", channels}}}}}}};
    writeWholeFile(devices, nlohmann::json({{"clock", clock}, {"devices", {device}}}).dump());
  }

  std::vector<std::string> command(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all{"play",  "--hardware",       "virtual", "--virtual-devices",
                                 devices, "--virtual-output", output};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
  }

  /// A run that must succeed: what the device got.
  IndependentReading heardOf(const std::vector<std::string>& arguments) const {
    const ProcessResult result = runOrv(command(arguments));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto heard = readIndependently(output);
    EXPECT_TRUE(heard.has_value());
    return heard.value_or(IndependentReading());
  }

  static std::vector<double> channelOf(const IndependentReading& reading, int channel) {
    std::vector<double> samples;
    for (auto i = static_cast<std::size_t>(channel); i < reading.doubles.size();
         i += static_cast<std::size_t>(reading.channels)) {
      samples.push_back(reading.doubles[i]);
    }
    return samples;
  }
  static std::vector<double> cut(const std::vector<double>& samples, std::size_t from, std::size_t to) {
    return {samples.begin() + static_cast<std::ptrdiff_t>(from), samples.begin() + static_cast<std::ptrdiff_t>(to)};
  }
  static bool isSilent(const std::vector<double>& samples) {
    return std::all_of(samples.begin(), samples.end(), [](double sample) { return sample == 0; });
  }
  /// `wanted`, and then nothing but silence.
  static void expectThenSilence(const std::vector<double>& heard, const std::vector<double>& wanted) {
    ASSERT_GE(heard.size(), wanted.size());
    EXPECT_EQ(cut(heard, 0, wanted.size()), wanted);
    EXPECT_TRUE(isSilent(cut(heard, wanted.size(), heard.size())));
  }

  const TemporaryDirectory scratch;
  const std::string devices = scratch / "devices.json";
  const std::string output = scratch / "heard.wav";
};

}  // namespace orv::test
