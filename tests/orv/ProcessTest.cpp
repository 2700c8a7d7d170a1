#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;

class OrvProcess : public testing::Test {
 protected:
  static ProcessResult process(const std::string& path, const std::string& from, const std::string& to,
                               const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"process", path, "--from", from, "--to", to, "--gain-db", "-6"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runOrv(arguments);
  }

  // What libsndfile reads from `after` must be what it read before, in the range at half the level.
  static void expectSofter(const IndependentReading& before, const std::string& path, std::size_t from,
                           std::size_t to) {
    const auto after = readIndependently(path);
    ASSERT_TRUE(after);
    ASSERT_EQ(after->ints.size(), before.ints.size());
    const auto channels = static_cast<std::size_t>(before.channels);
    const double gain = std::pow(10.0, -6.0 / 20);
    const double step = std::pow(2.0, -15);
    for (std::size_t i = 0; i < before.ints.size(); ++i) {
      if (i >= from * channels && i < to * channels) {
        ASSERT_NEAR(after->doubles[i], gain * before.doubles[i], step) << i;
      } else {
        ASSERT_EQ(after->ints[i], before.ints[i]) << i;
      }
    }
  }

  TemporaryDirectory scratch_;
  const std::string source_ = scratch_ / "a.aiff";
};

TEST_F(OrvProcess, OnlyTheRangeChanges) {
  writeRecording(source_, noise(60'000));
  const auto before = readIndependently(source_);
  const ProcessResult result = process(source_, "1000", "50001");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, source_ + ": 0:00.125 to 0:06.250 processed\n");
  expectSofter(*before, source_, 1000, 50'001);
}

TEST_F(OrvProcess, TracksStayAndARecordIsAdded) {
  writeRecording(source_, noise(60'000));
  const Json tracks = orvJson({"tracks", source_, "--add", "A:0:100", "--add", "B:100:60000"})["tracks"];
  EXPECT_EQ(process(source_, "1000", "2000").status, 0);
  EXPECT_EQ(process(source_, "0", "7.5s").status, 0);
  const Json stored = orvJson({"tracks", source_});
  EXPECT_EQ(stored["storage"], "internal");
  EXPECT_EQ(stored["tracks"], tracks);
  EXPECT_EQ(stored["processed"], true);
  EXPECT_EQ(stored["processing"],
            Json::parse(R"([{"name": "Gain", "begin": 1000, "end": 2000, "settings": {"gain-db": -6}},
                            {"name": "Gain", "begin": 0, "end": 60000, "settings": {"gain-db": -6}}])"));
}

TEST_F(OrvProcess, RecordOfAWaveIsKeptBesideIt) {
  const std::string wave = scratch_ / "w.wav";
  writeRecording(wave, noise(6000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const auto before = readIndependently(wave);
  EXPECT_EQ(process(wave, "10", "20").status, 0);
  expectSofter(*before, wave, 10, 20);
  EXPECT_EQ(orvJson({"tracks", wave})["storage"], "external");
  EXPECT_EQ(orvJson({"tracks", wave})["processing"].size(), 1U);
}

TEST_F(OrvProcess, BackupIsTheRecordingAsItWas) {
  writeRecording(source_, noise(60'000));
  const std::string before = readWholeFile(source_);
  const ProcessResult result = process(source_, "0", "60000", {"--backup"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("a.before.aiff"), std::string::npos);
  EXPECT_EQ(readWholeFile(scratch_ / "a.before.aiff"), before);
  EXPECT_NE(readWholeFile(source_), before);
}

TEST_F(OrvProcess, EarlierBackupIsNeverReplaced) {
  writeRecording(source_, noise(600));
  writeWholeFile(scratch_ / "a.before.aiff", "precious");
  const std::string before = readWholeFile(source_);
  expectFailure(process(source_, "0", "600", {"--backup"}), {"a.before.aiff", "exists already"});
  EXPECT_EQ(readWholeFile(scratch_ / "a.before.aiff"), "precious");
  EXPECT_EQ(readWholeFile(source_), before);
}

TEST_F(OrvProcess, RangesThatAreNotInTheRecordingAreRefused) {
  writeRecording(source_, noise(100));
  const std::string before = readWholeFile(source_);
  expectFailure(process(source_, "60", "50", {"--backup"}), {source_, "60 to 50", "can't be processed", "before it"});
  expectFailure(process(source_, "50", "50", {"--backup"}), {source_, "empty"});
  expectFailure(process(source_, "50", "101", {"--backup"}), {source_, "ends at frame 100"});
  EXPECT_EQ(readWholeFile(source_), before);
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

TEST_F(OrvProcess, FailedRunSaysUpToWhereTheFileWasChanged) {
  const std::string wave = scratch_ / "w.wav";
  writeRecording(wave, noise(200'000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const auto before = readIndependently(wave);
  // No byte past 400 KiB can be written.
  const std::string script =
      "trap '' XFSZ; ulimit -f 400; exec \"$0\" process \"$1\" --from 0 --to 200000 --gain-db -6 --quiet";
  const ProcessResult result = run({"bash", "-c", script, ORV_PROGRAM, wave});
  const std::string words = "frames 0 to ";
  const std::size_t place = result.errors.find(words);
  expectFailure(result, {wave, words, "were changed by then"});
  ASSERT_NE(place, std::string::npos);
  const std::size_t changed = std::stoul(result.errors.substr(place + words.size()));
  EXPECT_GT(changed, 50'000U);
  EXPECT_LE(changed, 400U * 1024 / 4);
  expectSofter(*before, wave, 0, changed);
}

TEST_F(OrvProcess, RecordThatCannotBeStoredIsToldBesideWhatWasProcessed) {
  writeRecording(source_, noise(200'000));
  const auto before = readIndependently(source_);
  // The file can be changed, but not grow by as much as the record takes.
  const std::string script = "trap '' XFSZ; ulimit -f 800; exec \"$0\" process \"$1\" --from 0 --to 1000 --gain-db -6";
  expectFailure(run({"bash", "-c", script, ORV_PROGRAM, source_}),
                {source_, "frames 0 to 1000 were processed, but no record of it could be stored"});
  expectSofter(*before, source_, 0, 1000);
  EXPECT_EQ(orvJson({"check", source_})["code"], 1);
}

TEST_F(OrvProcess, RecordingThatCannotBeWrittenStaysAndLeavesNoBackup) {
  writeRecording(source_, noise(600));
  const std::string before = readWholeFile(source_);
  const std::string script =
      "trap '' XFSZ; ulimit -f 1; exec \"$0\" process \"$1\" --from 0 --to 600 --gain-db -6 --backup";
  expectFailure(run({"bash", "-c", script, ORV_PROGRAM, source_}), {"a.before.aiff", "backup could not be made"});
  EXPECT_EQ(readWholeFile(source_), before);
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

TEST_F(OrvProcess, StoppedRunSaysUpToWhereTheFileWasChanged) {
  const std::string wave = scratch_ / "long.wav";
  writeLongSilence(wave, 200'000'000);
  RunningOrv orv({"process", wave, "--from", "0", "--to", "200000000", "--gain-db", "-6"});
  orv.awaitHandlerOf(SIGINT);
  orv.send(SIGINT);
  const ProcessResult result = orv.wait();
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.errors.rfind("orv: cancelled", 0), 0U) << result.errors;
  const bool changedSome = result.errors.find("frames 0 to ") != std::string::npos;
  const bool changedNothing = result.errors.find("was not changed") != std::string::npos;
  EXPECT_TRUE(changedSome || changedNothing) << result.errors;
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"long.wav"});
}

TEST_F(OrvProcess, WrongUsageIsExplained) {
  expectWrongUsage(runOrv({"process", "a", "--from", "0", "--to", "9"}), {"--gain-db"});
  for (const char* value : {"", "x", "nan", "inf", "-201", "201", "6dB"}) {
    expectWrongUsage(runOrv({"process", "a", "--from", "0", "--to", "9", "--gain-db", value}), {"--gain-db"});
  }
}

TEST_F(OrvProcess, ExportTakesAGainToo) {
  writeRecording(source_, noise(60'000));
  const std::string out = scratch_ / "b.aiff";
  const auto before = readIndependently(source_);
  EXPECT_EQ(runOrv({"export", source_, "--from", "0", "--to", "60000", "--gain-db", "-6", "--output", out}).status, 0);
  expectSofter(*before, out, 0, 60'000);
}

}  // namespace
}  // namespace orv::test
