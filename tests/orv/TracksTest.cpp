#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;

class OrvTracks : public testing::Test {
 protected:
  void SetUp() override { writeRecording(source_, noise(80'000)); }

  static Json track(const std::string& name, std::uint64_t begin, std::uint64_t end) {
    return {{"name", name}, {"begin", begin}, {"end", end}, {"active", false}};
  }

  static std::string done(const std::vector<std::string>& arguments) {
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  std::string decoded() const { return run({"ffmpeg", "-v", "error", "-i", source_, "-f", "md5", "-"}).output; }

  TemporaryDirectory scratch_;
  const std::string source_ = scratch_ / "a.aiff";
  const std::string sideFile_ = scratch_ / "a.tracks";
};

TEST_F(OrvTracks, RecordingWithoutTracksSaysSo) {
  EXPECT_EQ(done({"tracks", source_}), "No tracks are stored with " + source_ + "\n");
  const Json report = orvJson({"tracks", source_});
  EXPECT_EQ(report["path"], source_);
  EXPECT_TRUE(report["storage"].is_null());
  EXPECT_EQ(report["processed"], false);
  EXPECT_EQ(report["tracks"], Json::array());
  EXPECT_EQ(report["processing"], Json::array());
}

TEST_F(OrvTracks, AddedTracksAreListedInTheOrderOfTime) {
  const Json report = orvJson({"tracks", source_, "--add", "Second:5s:10s", "--add", "Part 1: First:0:0:05"});
  EXPECT_EQ(report["storage"], "internal");
  EXPECT_EQ(report["tracks"], Json({track("Part 1: First", 0, 40'000), track("Second", 40'000, 80'000)}));
  EXPECT_EQ(orvJson({"tracks", source_}), report);
}

TEST_F(OrvTracks, TableTellsWhereTheyAreStored) {
  EXPECT_EQ(done({"tracks", source_, "--add", "Intro:0:8000"}),
            "#  Name      Begin       End    Length\n"
            "1  Intro  0:00.000  0:01.000  0:01.000\n"
            "1 track, stored in the recording\n");
  std::filesystem::remove(source_);
  writeRecording(source_, noise(80'000));
  done({"tracks", source_, "--store", "external", "--add", "Intro:0:8000"});
  EXPECT_NE(done({"tracks", source_}).find("1 track, stored beside the recording, in " + sideFile_ + "\n"),
            std::string::npos);
}

TEST_F(OrvTracks, RenamingLeavesEverythingElse) {
  done({"tracks", source_, "--add", "A:0:10", "--add", "B:10:20", "--add", "C:20:30"});
  done({"process", source_, "--from", "0", "--to", "5", "--gain-db", "-6"});
  const Json before = orvJson({"tracks", source_});
  Json after = orvJson({"tracks", source_, "--rename", "2", "Bourrée: 拍 🎵", "--rename", "3", "-c"});
  EXPECT_EQ(after["tracks"], Json({track("A", 0, 10), track("Bourrée: 拍 🎵", 10, 20), track("-c", 20, 30)}));
  after["tracks"] = before["tracks"];
  EXPECT_EQ(after, before);
}

TEST_F(OrvTracks, ClearingForgetsTracksAndKeepsProcessingRecords) {
  done({"tracks", source_, "--add", "A:0:10"});
  done({"process", source_, "--from", "0", "--to", "5", "--gain-db", "-6"});
  const Json report = orvJson({"tracks", source_, "--clear"});
  EXPECT_EQ(report["tracks"], Json::array());
  EXPECT_EQ(report["processing"].size(), 1U);
  EXPECT_EQ(report["processed"], true);
}

TEST_F(OrvTracks, ClearAndAddReplaceTheList) {
  done({"tracks", source_, "--add", "A:0:10"});
  EXPECT_EQ(orvJson({"tracks", source_, "--clear", "--add", "B:5:6"})["tracks"], Json({track("B", 5, 6)}));
}

TEST_F(OrvTracks, EditsGoToWhereTheTracksAre) {
  done({"tracks", source_, "--store", "external", "--add", "A:0:10"});
  EXPECT_EQ(orvJson({"tracks", source_, "--add", "B:10:20"})["storage"], "external");
  EXPECT_EQ(orvJson({"tracks", source_, "--store", "internal"})["tracks"], Json::array());
  EXPECT_EQ(entriesOf(scratch_.path()), (std::vector<std::string>{"a.aiff", "a.tracks"}));
}

TEST_F(OrvTracks, RecordingComesBeforeTheSideFile) {
  done({"tracks", source_, "--store", "external", "--add", "Outside:0:10"});
  done({"tracks", source_, "--store", "internal", "--add", "Inside:0:10"});
  EXPECT_EQ(orvJson({"tracks", source_})["tracks"], Json({track("Inside", 0, 10)}));
  EXPECT_EQ(orvJson({"tracks", source_, "--store", "external"})["tracks"], Json({track("Outside", 0, 10)}));
}

TEST_F(OrvTracks, TracksOfAWaveAreKeptBesideIt) {
  const std::string wave = scratch_ / "w.wav";
  writeRecording(wave, noise(1000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const std::string before = readWholeFile(wave);
  EXPECT_EQ(orvJson({"tracks", wave, "--add", "A:0:10"})["storage"], "external");
  EXPECT_EQ(orvJson({"tracks", wave})["tracks"], Json({track("A", 0, 10)}));
  EXPECT_EQ(readWholeFile(wave), before);
  expectFailure(runOrv({"tracks", wave, "--store", "internal", "--add", "B:0:10"}), {wave, "--store external"});
  EXPECT_EQ(readWholeFile(wave), before);
}

TEST_F(OrvTracks, AudioIsTheSameForOtherReadersAfterEveryEdit) {
  const std::string before = decoded();
  for (const auto& edit : std::vector<std::vector<std::string>>{
           {"--add", "A:0:10"}, {"--add", "B:1s:2s"}, {"--rename", "1", std::string(60'000, 'x')}, {"--clear"}}) {
    std::vector<std::string> arguments{"tracks", source_, "--json"};
    arguments.insert(arguments.end(), edit.begin(), edit.end());
    done(arguments);
    EXPECT_EQ(decoded(), before);
    EXPECT_EQ(run({"soxi", "-s", source_}).output, "80000\n");
  }
}

TEST_F(OrvTracks, TracksThatAreNotInTheRecordingAreRefused) {
  const std::string before = readWholeFile(source_);
  expectFailure(runOrv({"tracks", source_, "--add", "A:10:5"}), {source_, "frame 10 to 5", "ends before it begins"});
  expectFailure(runOrv({"tracks", source_, "--add", "A:5:5"}), {source_, "ends before it begins"});
  expectFailure(runOrv({"tracks", source_, "--add", "A:0:80001"}), {source_, "ends at frame 80000"});
  expectFailure(runOrv({"tracks", source_, "--rename", "1", "A"}), {source_, "has no track 1"});
  EXPECT_EQ(readWholeFile(source_), before);
}

TEST_F(OrvTracks, WrongUsageIsExplained) {
  expectWrongUsage(runOrv({"tracks"}), {"FILE", "orv tracks --help"});
  expectWrongUsage(runOrv({"tracks", "a", "--add", "A:5"}), {"--add", "'A:5'", "NAME:BEGIN:END"});
  expectWrongUsage(runOrv({"tracks", "a", "--rename", "0", "A"}), {"--rename", "'0'"});
  expectWrongUsage(runOrv({"tracks", "a", "--rename", "x", "A"}), {"--rename", "'x'"});
  expectWrongUsage(runOrv({"tracks", "a", "--rename", "1"}), {"--rename"});
  expectWrongUsage(runOrv({"tracks", "a", "--store", "cloud"}), {"--store", "'cloud'", "internal, external"});
  expectWrongUsage(runOrv({"tracks", "a", "--clear", "--rename", "1", "A"}), {"--rename", "--clear"});
}

}  // namespace
}  // namespace orv::test
