#include <gtest/gtest.h>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

// `orv split` by the method that it has when nothing is said, on songs whose gaps are known.
class OrvSplitByLevels : public testing::Test {
 protected:
  static constexpr double kRate = 8000;

  void SetUp() override { writeRecording(songs_, threeSongs()); }

  nlohmann::json split(const std::vector<std::string>& settings) {
    std::vector<std::string> arguments{"split", songs_, "--json", "--quiet"};
    arguments.insert(arguments.end(), settings.begin(), settings.end());
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return nlohmann::json::parse(result.output);
  }

  static double seconds(const nlohmann::json& frames) { return frames.get<double>() / kRate; }

  static void expectThreeSongs(const nlohmann::json& answer) {
    const auto& tracks = answer["tracks"];
    ASSERT_EQ(tracks.size(), 3U) << answer;
    EXPECT_EQ(tracks[0]["begin"], 0);
    EXPECT_GE(seconds(tracks[1]["begin"]), 61);
    EXPECT_LE(seconds(tracks[1]["begin"]), 63);
    EXPECT_GE(seconds(tracks[2]["begin"]), 108);
    EXPECT_LE(seconds(tracks[2]["begin"]), 111);
    EXPECT_EQ(tracks[0]["end"], tracks[1]["begin"]);
    EXPECT_EQ(tracks[1]["end"], tracks[2]["begin"]);
    EXPECT_EQ(tracks[2]["end"], answer["lengthInFrames"]);
  }

  TemporaryDirectory scratch_;
  const std::string songs_ = scratch_ / "songs.aiff";
};

TEST_F(OrvSplitByLevels, FindsTheTracksWithoutASetting) {
  const nlohmann::json answer = split({});
  expectThreeSongs(answer);
  EXPECT_EQ(answer["method"], "levels");
  EXPECT_EQ(answer["tracks"][1]["name"], "Untitled Track 2");
  EXPECT_EQ(answer["tracks"][1]["active"], false);
}

TEST_F(OrvSplitByLevels, JsonTellsOfEachBoundaryWhereItIsAndWhy) {
  const nlohmann::json answer = split({});
  ASSERT_EQ(answer["boundaries"].size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    const nlohmann::json& boundary = answer["boundaries"][i];
    EXPECT_EQ(boundary["frame"], answer["tracks"][i + 1]["begin"]);
    EXPECT_LE(boundary["quietBegin"], boundary["frame"]);
    EXPECT_GE(boundary["quietEnd"], boundary["frame"]);
    EXPECT_GT(boundary["depth"], 20);
    EXPECT_GT(boundary["confidence"], 0.5);
    EXPECT_LE(boundary["confidence"], 1);
    EXPECT_NE(boundary["reason"], "");
    EXPECT_EQ(boundary.size(), 6U);
  }
  EXPECT_TRUE(answer["doubtful"].is_array());
  EXPECT_TRUE(answer["notes"].is_array());
}

TEST_F(OrvSplitByLevels, TableShowsConfidenceAndReasonOfEachCut) {
  const nlohmann::json boundary = split({})["boundaries"][0];
  const ProcessResult result = runOrv({"split", songs_});
  EXPECT_EQ(result.status, 0);
  std::istringstream lines(result.output);
  std::string title;
  std::string first;
  std::string second;
  std::getline(lines, title);
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_EQ(title, "#  Name                 Begin       End    Length   Cut  Reason");
  EXPECT_TRUE(first.starts_with("1  Untitled Track 0  0:00.000  ")) << first;
  char confidence[16];
  std::snprintf(confidence, sizeof confidence, "  %.2f  ", boundary["confidence"].get<double>());
  EXPECT_TRUE(second.ends_with(confidence + boundary["reason"].get<std::string>())) << second;
}

TEST_F(OrvSplitByLevels, CutsExactlyAsManyTracksAsAskedFor) {
  for (const std::size_t count : {1U, 2U, 3U}) {
    EXPECT_EQ(split({"--tracks", std::to_string(count)})["tracks"].size(), count);
  }
  expectThreeSongs(split({"--tracks", "3"}));
  expectThreeSongs(split({"--tracks", "0"}));
}

TEST_F(OrvSplitByLevels, SaysWhenThereAreNotAsManyTracksAsAskedFor) {
  const ProcessResult result = runOrv({"split", songs_, "--tracks", "5000", "--json"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(result.errors.starts_with("orv: note: ")) << result.errors;
  const nlohmann::json answer = nlohmann::json::parse(result.output);
  ASSERT_FALSE(answer["notes"].empty());
  EXPECT_NE(result.errors.find(answer["notes"][0].get<std::string>()), std::string::npos);
  EXPECT_EQ(runOrv({"split", songs_, "--tracks", "5000", "--quiet"}).errors, "");
}

TEST_F(OrvSplitByLevels, HigherSensitivityFindsNoFewerBoundaries) {
  const std::size_t least = split({"--sensitivity", "0"})["boundaries"].size();
  const std::size_t usual = split({"--sensitivity", "50"})["boundaries"].size();
  const std::size_t most = split({"--sensitivity", "100"})["boundaries"].size();
  EXPECT_LE(least, usual);
  EXPECT_LE(usual, most);
  EXPECT_EQ(usual, 2U);
}

TEST_F(OrvSplitByLevels, TracksAreNotShorterThanAskedFor) {
  for (const char* text : {"50", "0:50"}) {
    const nlohmann::json tracks = split({"--min-track", text})["tracks"];
    EXPECT_EQ(tracks.size(), 2U);
    for (const auto& track : tracks) {
      EXPECT_GE(seconds(track["end"]) - seconds(track["begin"]), 50);
    }
  }
}

TEST_F(OrvSplitByLevels, CutIsBeforeTheNextTrackOrInTheMiddleOfTheQuiet) {
  const nlohmann::json before = split({});
  const nlohmann::json same = split({"--cut", "before"});
  const nlohmann::json middle = split({"--cut", "middle"});
  EXPECT_EQ(before["tracks"], same["tracks"]);
  EXPECT_GT(seconds(before["tracks"][1]["begin"]), 62.8);
  EXPECT_NEAR(seconds(middle["tracks"][1]["begin"]), 62, 0.2);
  EXPECT_GT(seconds(before["tracks"][2]["begin"]), 110.8);
  EXPECT_NEAR(seconds(middle["tracks"][2]["begin"]), 109.5, 0.2);
}

TEST_F(OrvSplitByLevels, TrimsTheQuietAtTheEnds) {
  const nlohmann::json answer = split({"--trim"});
  ASSERT_EQ(answer["tracks"].size(), 3U);
  EXPECT_NEAR(seconds(answer["tracks"][0]["begin"]), 1, 0.3);
  EXPECT_LE(seconds(answer["tracks"][0]["begin"]), 1);
  EXPECT_NEAR(seconds(answer["tracks"][2]["end"]), 186, 0.3);
  EXPECT_GE(seconds(answer["tracks"][2]["end"]), 186);
}

TEST_F(OrvSplitByLevels, FollowsAListOfDurations) {
  expectThreeSongs(split({"--durations", "1:02,48,1:16"}));
}

TEST_F(OrvSplitByLevels, ListingGivesTracksTheirTitles) {
  writeWholeFile(scratch_ / "side.txt", "Overture\t1:02\nFür Elise\t0:48\n1:16\n");
  for (const std::string& name : {scratch_ / "side.txt", "@" + scratch_ / "side.txt"}) {
    const nlohmann::json answer = split({"--durations", name});
    expectThreeSongs(answer);
    EXPECT_EQ(answer["tracks"][0]["name"], "Overture");
    EXPECT_EQ(answer["tracks"][1]["name"], "Für Elise");
    EXPECT_EQ(answer["tracks"][2]["name"], "Untitled Track 4");
  }
  split({"--durations", scratch_ / "side.txt", "--export", scratch_ / "tracks"});
  EXPECT_EQ(entriesOf(scratch_ / "tracks"),
            (std::vector<std::string>{"01 Overture.aiff", "02 Für Elise.aiff", "03 Untitled Track 4.aiff"}));
}

TEST_F(OrvSplitByLevels, CueSheetThatItWroteGivesTheSameTracks) {
  const nlohmann::json answer = split({});
  const ProcessResult written = runOrv({"split", songs_, "--format", "cue", "--output", scratch_ / "songs.cue"});
  EXPECT_EQ(written.status, 0) << written.errors;
  EXPECT_EQ(written.output, "");
  EXPECT_EQ(split({"--durations", scratch_ / "songs.cue"})["tracks"], answer["tracks"]);
}

TEST_F(OrvSplitByLevels, SaysWhenTheDurationsAreLongerThanTheRecording) {
  const ProcessResult result = runOrv({"split", songs_, "--durations", "20:00,30:00,40:00"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(result.errors.starts_with("orv: note: ")) << result.errors;
}

TEST_F(OrvSplitByLevels, ListingsThatCanNotBeReadAreNamed) {
  writeWholeFile(scratch_ / "bad.cue", "TRACK 01 AUDIO\nINDEX 01 soon\n");
  expectFailure(runOrv({"split", songs_, "--durations", scratch_ / "bad.cue"}), {scratch_ / "bad.cue", "line 2"});
  expectFailure(runOrv({"split", songs_, "--durations", "@" + scratch_ / "missing"}), {scratch_ / "missing"});
}

}  // namespace
}  // namespace orv::test
