#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <sstream>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

std::vector<nlohmann::json> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<nlohmann::json> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(nlohmann::json::parse(line));
  }
  return lines;
}

/// What sox finds to be the largest sample of `frames` frames of one channel.
double soxMaximum(const std::string& path, std::uint64_t frames, int channel) {
  const std::string text =
      run({"sox", path, "-n", "remix", std::to_string(channel), "trim", "0s", std::to_string(frames) + "s", "stat"})
          .errors;
  const std::size_t line = text.find("Maximum amplitude:");
  return line == std::string::npos ? -1 : std::atof(text.c_str() + line + 18);
}

class OrvMeter : public testing::Test {
 protected:
  void SetUp() override {
    // Louder and louder, so that every stretch has a peak of its own.
    Recording recording = noise(44100, 2, 44100);
    for (std::size_t i = 0; i < recording.samples.size(); ++i) {
      recording.samples[i] *= 0.9 * static_cast<double>(i) / static_cast<double>(recording.samples.size());
    }
    writeRecording(path, recording);
  }

  const TemporaryDirectory scratch;
  const std::string path = scratch / "music.aiff";
};

}  // namespace

TEST_F(OrvMeter, PeaksAreThoseThatAnotherProgramFinds) {
  const auto result = runOrv({"meter", "--hardware", "virtual", "--virtual-input", path, "--seconds", "0.8", "--json"});
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto lines = linesOf(result.output);
  ASSERT_GT(lines.size(), 2U);
  const nlohmann::json& total = lines.back();
  EXPECT_EQ(total["total"], true);
  EXPECT_EQ(total["from"], 0);
  EXPECT_GE(total["to"], 35280);
  for (int channel = 1; channel <= 2; ++channel) {
    const double expected = soxMaximum(path, total["to"].get<std::uint64_t>(), channel);
    const double peak = total["peaks"][static_cast<std::size_t>(channel - 1)];
    EXPECT_LT(std::abs(20 * std::log10(peak / expected)), 0.01);
  }
}

TEST_F(OrvMeter, UpdatesFollowEachOtherWithoutAGap) {
  const auto result = runOrv({"meter", "--hardware", "virtual", "--virtual-input", path, "--seconds", "0.5", "--json"});
  auto lines = linesOf(result.output);
  lines.pop_back();
  std::uint64_t next = 0;
  for (const auto& line : lines) {
    EXPECT_EQ(line["total"], false);
    EXPECT_EQ(line["from"], next);
    next = line["to"].get<std::uint64_t>();
    EXPECT_EQ(line["dBFS"].size(), 2U);
  }
}

TEST_F(OrvMeter, WithoutATerminalTheResultIsAllThatIsPrinted) {
  const auto result = runOrv({"meter", "--hardware", "virtual", "--virtual-input", path, "--seconds", "0.3"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("s metered"), std::string::npos);
  EXPECT_NE(result.output.find("dBFS"), std::string::npos);
  EXPECT_EQ(result.output.find('\x1B'), std::string::npos);
}

TEST_F(OrvMeter, AnInterruptionEndsItCleanly) {
  RunningOrv meter({"meter", "--hardware", "virtual", "--json"});
  meter.awaitHandlerOf(SIGINT);
  meter.send(SIGINT);
  const ProcessResult result = meter.wait();
  EXPECT_EQ(result.status, 0) << result.errors;
}

TEST_F(OrvMeter, ADeviceIsChosenByNameIDOrUID) {
  const auto device = orvJson({"devices", "--hardware", "virtual", "--json"})[1];
  for (const std::string& wanted :
       {device["name"].get<std::string>(), device["uid"].get<std::string>(), std::to_string(device["id"].get<int>())}) {
    const auto result = runOrv({"meter", "--hardware", "virtual", "--device", wanted, "--seconds", "0.1", "--json"});
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(linesOf(result.output).back()["peaks"].size(), 8U);
  }
}

TEST_F(OrvMeter, ADeviceThatIsNotThereIsOneLine) {
  expectFailure(runOrv({"meter", "--hardware", "virtual", "--device", "gramophone"}), {"gramophone", "orv devices"});
}

TEST_F(OrvMeter, AnAbsurdTimeIsWrongUsage) {
  expectWrongUsage(runOrv({"meter", "--seconds", "-1"}), {"--seconds"});
  expectWrongUsage(runOrv({"meter", "--seconds", "soon"}), {"--seconds"});
}

}  // namespace orv::test
