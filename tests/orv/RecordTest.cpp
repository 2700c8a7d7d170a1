#include <gtest/gtest.h>
#include <sndfile.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "OrvProgram.h"
#include "Recordings.h"
#include "VirtualDevices.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;

std::vector<double> firstOf(const std::vector<double>& samples, std::size_t count) {
  return {samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(std::min(count, samples.size()))};
}

class OrvRecord : public testing::Test {
 protected:
  OrvRecord() {
    writeRecording(music, noise(16000));
    devices.heard = music;
  }

  ProcessResult record(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "record");
    return runOrvOn(devices, scratch.path(), arguments);
  }

  const TemporaryDirectory scratch;
  const std::string music = scratch / "music.aiff";
  const std::string out = scratch / "out.aiff";
  VirtualDevices devices;
};

}  // namespace

TEST_F(OrvRecord, TheFileHoldsTheVerySamplesThatTheDeviceHeard) {
  const ProcessResult result = record({out, "--seconds", "1.5"});
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  const auto heard = readIndependently(music);
  const auto recorded = readIndependently(out);
  ASSERT_TRUE(recorded);
  EXPECT_EQ(recorded->frames, 12000);
  EXPECT_EQ(recorded->sampleRate, 8000);
  EXPECT_EQ(recorded->majorFormat, SF_FORMAT_AIFF);
  EXPECT_EQ(recorded->subFormat, SF_FORMAT_PCM_16);  // as the device's converter
  EXPECT_EQ(recorded->doubles, firstOf(heard->doubles, 24000));
}

TEST_F(OrvRecord, TheClosingLinesTellTheFileAndItsPeak) {
  const ProcessResult result = record({out, "--seconds", "0.5"});
  EXPECT_NE(result.output.find("out.aiff: AIFF, 8000Hz, stereo, 16 bits, 0:00.500\npeak -"), std::string::npos)
      << result.output;
  EXPECT_EQ(record({scratch / "quiet.aiff", "--seconds", "0.5", "--quiet"}).output, "");
}

TEST_F(OrvRecord, TheExtensionNamesTheTypeAndAnOptionOverrulesIt) {
  ASSERT_EQ(record({scratch / "a.wav", "--seconds", "0.2"}).status, 0);
  EXPECT_EQ(readIndependently(scratch / "a.wav")->majorFormat, SF_FORMAT_WAV);
  ASSERT_EQ(record({scratch / "a.bin", "--seconds", "0.2"}).status, 0);
  EXPECT_EQ(readIndependently(scratch / "a.bin")->majorFormat, SF_FORMAT_AIFF);
  ASSERT_EQ(record({scratch / "b.aiff", "--seconds", "0.2", "--type", "wave"}).status, 0);
  EXPECT_EQ(readIndependently(scratch / "b.aiff")->majorFormat, SF_FORMAT_WAV);
}

TEST_F(OrvRecord, FloatsMakeAnAifcOfAnAiff) {
  ASSERT_EQ(record({out, "--seconds", "0.5", "--float"}).status, 0);
  const auto recorded = readIndependently(out);
  EXPECT_EQ(recorded->subFormat, SF_FORMAT_FLOAT);
  EXPECT_EQ(recorded->doubles, firstOf(readIndependently(music)->doubles, 8000));
}

TEST_F(OrvRecord, RateBitsAndChannelsAreThoseAskedFor) {
  ASSERT_EQ(record({out, "--seconds", "1", "--rate", "16000", "--bits", "24", "--channels", "1"}).status, 0);
  const auto recorded = readIndependently(out);
  EXPECT_EQ(recorded->frames, 16000);
  EXPECT_EQ(recorded->sampleRate, 16000);
  EXPECT_EQ(recorded->subFormat, SF_FORMAT_PCM_24);
  EXPECT_EQ(recorded->channels, 1);
}

TEST_F(OrvRecord, OfManyChannelsTheFirstAreTaken) {
  devices.inputs = 6;
  ASSERT_EQ(record({out, "--seconds", "0.5", "--channels", "2"}).status, 0);
  EXPECT_EQ(readIndependently(out)->doubles, firstOf(readIndependently(music)->doubles, 8000));
}

TEST_F(OrvRecord, AFileThatExistsIsLeftAloneUnlessForced) {
  std::ofstream(out) << "precious";
  expectFailure(record({out, "--seconds", "0.5"}), {"out.aiff", "--force"});
  EXPECT_EQ(fs::file_size(out), 8U);
  EXPECT_EQ(record({out, "--seconds", "0.5", "--force"}).status, 0);
  EXPECT_EQ(readIndependently(out)->frames, 4000);
  EXPECT_FALSE(fs::exists(out + ".replaced"));
}

TEST_F(OrvRecord, AFileThatWasToBeReplacedComesBackWhereTheRecordingCannotBegin) {
  const std::string path = scratch / "out.sd2";
  std::ofstream(path) << "precious";
  expectFailure(record({path, "--seconds", "0.5", "--force", "--float"}), {"out.sd2"});
  std::ifstream stream(path);
  std::string text;
  stream >> text;
  EXPECT_EQ(text, "precious");
  EXPECT_FALSE(fs::exists(path + ".replaced"));
}

TEST_F(OrvRecord, AnInterruptionEndsTheRecordingAndKeepsWhatWasHeard) {
  devices.acceleration = 1;
  auto arguments = devices.options(scratch / "devices.json");
  arguments.insert(arguments.begin(), {"record", out, "--split"});
  RunningOrv recording(arguments);
  recording.awaitHandlerOf(SIGINT);
  while (recording.isRunning() && (!fs::exists(out) || fs::file_size(out) < 10000)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  recording.send(SIGINT);
  const ProcessResult result = recording.wait();
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto recorded = readIndependently(out);
  ASSERT_TRUE(recorded);
  EXPECT_GT(recorded->frames, 2000);
  EXPECT_EQ(recorded->doubles, firstOf(readIndependently(music)->doubles, recorded->doubles.size()));
  EXPECT_EQ(orvJson({"tracks", out})["tracks"].size(), 1U);
}

TEST_F(OrvRecord, SplitStoresTheTracksWithTheRecording) {
  writeRecording(music, threeSongs());
  devices.acceleration = 150;
  const ProcessResult result = record({out, "--seconds", "187", "--split"});
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("3 tracks"), std::string::npos) << result.output;
  EXPECT_EQ(orvJson({"tracks", out})["tracks"].size(), 3U);

  const std::string wave = scratch / "out.wav";
  ASSERT_EQ(record({wave, "--seconds", "187", "--split"}).status, 0);
  EXPECT_EQ(orvJson({"tracks", wave})["tracks"].size(), 3U);
}

TEST_F(OrvRecord, ADiskThatIsFullEndsTheRecordingInAValidFileAndAClearLine) {
  // A limit to the size of files stands for the disk's.
  auto words = devices.options(scratch / "devices.json");
  std::string command = "trap '' XFSZ; ulimit -f 20; exec " ORV_PROGRAM " record " + out + " --seconds 60";
  for (const std::string& word : words) {
    command += " " + word;
  }
  const ProcessResult result = run({"bash", "-c", command});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_NE(result.errors.find("up to frame"), std::string::npos) << result.errors;
  const auto recorded = readIndependently(out);
  ASSERT_TRUE(recorded);
  EXPECT_GT(recorded->frames, 4000);
  EXPECT_EQ(recorded->doubles, firstOf(readIndependently(music)->doubles, recorded->doubles.size()));
}

TEST_F(OrvRecord, AFileThatIsDeletedMeanwhileIsToldOf) {
  devices.acceleration = 1;
  auto arguments = devices.options(scratch / "devices.json");
  arguments.insert(arguments.begin(), {"record", out, "--seconds", "1"});
  RunningOrv recording(arguments);
  while (recording.isRunning() && !fs::exists(out)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  fs::remove(out);
  const ProcessResult result = recording.wait();
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("out.aiff: was deleted while it was recorded"), std::string::npos) << result.errors;
}

TEST_F(OrvRecord, WhatCannotBeRecordedIsRefusedBeforeAnythingIsMade) {
  expectFailure(record({scratch / "no/out.aiff"}), {"no such directory"});
  expectFailure(record({scratch.path()}), {"is a directory"});
  expectFailure(record({out, "--device", "nowhere"}), {"nowhere", "orv devices"});
  expectFailure(record({out, "--device", "out"}), {"no such input device"});
  expectFailure(record({out, "--rate", "1"}), {"In", "256 times apart"});
  expectWrongUsage(record({out, "--seconds", "0"}), {"--seconds"});
  expectWrongUsage(record({out, "--float", "--bits", "16"}), {"--bits 16"});
  expectWrongUsage(record({}), {"OUT"});
  EXPECT_FALSE(fs::exists(out));
}

}  // namespace orv::test
