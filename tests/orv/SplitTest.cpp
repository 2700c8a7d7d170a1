#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

class OrvSplit : public testing::Test {
 protected:
  std::string recording(const std::string& name, const Recording& audio,
                        int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16) {
    writeRecording(scratch_ / name, audio, format);
    return scratch_ / name;
  }

  // The gaps of `threePieces` are at 5 s and 12.25 s; a cut falls on a block of a fifth of a second.
  static void expectThreePieces(const nlohmann::json& answer, double rate = 8000) {
    const auto& tracks = answer["tracks"];
    ASSERT_EQ(tracks.size(), 3U) << answer;
    EXPECT_EQ(tracks[0]["begin"], 0);
    EXPECT_NEAR(tracks[1]["begin"].get<double>() / rate, 5, 0.25);
    EXPECT_NEAR(tracks[2]["begin"].get<double>() / rate, 12.25, 0.25);
    EXPECT_EQ(tracks[0]["end"], tracks[1]["begin"]);
    EXPECT_EQ(tracks[1]["end"], tracks[2]["begin"]);
    EXPECT_EQ(tracks[2]["end"], answer["lengthInFrames"]);
  }

  TemporaryDirectory scratch_;
};

TEST_F(OrvSplit, JsonHasTheAgreedFieldsAndNoOthers) {
  const std::string source = recording("a.aiff", threePieces());
  const nlohmann::json answer = orvJson({"split", "--method", "crossings", source});
  expectThreePieces(answer);
  EXPECT_EQ(answer["path"], source);
  EXPECT_EQ(answer["sampleRate"], 8000);
  EXPECT_EQ(answer["lengthInFrames"], 140'000);
  EXPECT_EQ(answer["method"], "crossings");
  for (const char* list : {"boundaries", "doubtful", "notes", "exported"}) {
    EXPECT_EQ(answer[list], nlohmann::json::array()) << list;
  }
  EXPECT_EQ(answer.size(), 9U);
  EXPECT_EQ(answer["tracks"][1]["name"], "Untitled Track 2");
  EXPECT_TRUE(answer["tracks"][1]["active"].is_boolean());
  EXPECT_EQ(answer["tracks"][1].size(), 4U);
}

TEST_F(OrvSplit, CutsMonoAndSurroundInTheSamePlaces) {
  for (const int channels : {1, 2, 3, 6, 8}) {
    SCOPED_TRACE(channels);
    expectThreePieces(orvJson({"split", "--method", "crossings", recording("a.aiff", threePieces(channels))}));
  }
}

TEST_F(OrvSplit, CutsWaveAndFloatRecordingsInTheSamePlaces) {
  for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_FLOAT,
                           SF_FORMAT_AIFF | SF_FORMAT_PCM_24, SF_FORMAT_AIFF | SF_FORMAT_DOUBLE}) {
    SCOPED_TRACE(format);
    expectThreePieces(orvJson({"split", "--method", "crossings", recording("a", threePieces(2, 44'100), format)}),
                      44'100);
  }
}

TEST_F(OrvSplit, TableListsNumberNameAndTimes) {
  const ProcessResult result = runOrv({"split", "--method", "crossings", recording("a.aiff", recordingOf({{3, 0.5}}))});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "#  Name                 Begin       End    Length\n"
            "1  Untitled Track 0  0:00.000  0:03.000  0:03.000\n"
            "1 track in 0:03.000\n");
}

TEST_F(OrvSplit, ShorterSilenceMakesMoreTracks) {
  const std::string source = recording("a.aiff", recordingOf({{3, 0.5}, {1, 0}, {3, 0.5}}));
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source})["tracks"].size(), 1U);
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source, "--silence", "600"})["tracks"].size(), 2U);
}

TEST_F(OrvSplit, SensitivityTellsMusicFromGaps) {
  const std::string source = recording("a.aiff", threePieces());
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source, "--sensitivity", "0"})["tracks"].size(), 1U);
}

TEST_F(OrvSplit, ZeroOffsetIsTheLevelThatCounts) {
  const std::string source = recording("a.aiff", recordingOf({{3, 0.5}, {3, 0.1}, {3, 0.5}}));
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source})["tracks"].size(), 1U);
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source, "--zero-offset", "6000"})["tracks"].size(), 2U);
}

TEST_F(OrvSplit, FindsAsManyTracksAsAskedFor) {
  const std::string source = recording("a.aiff", threePieces());
  EXPECT_EQ(orvJson({"split", "--method", "crossings", source, "--tracks", "3"})["tracks"].size(), 3U);
}

TEST_F(OrvSplit, ClampsTheNumberOfTracksAndSaysSo) {
  const std::string source = recording("a.aiff", recordingOf({{60, 0.5}}, 1));
  const ProcessResult result = runOrv({"split", "--method", "crossings", source, "--tracks", "120", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.errors.find("97 tracks at most"), std::string::npos) << result.errors;
  EXPECT_EQ(nlohmann::json::parse(result.output)["tracks"].size(), 97U);
  EXPECT_EQ(runOrv({"split", "--method", "crossings", source, "--tracks", "120", "--quiet"}).errors, "");
}

TEST_F(OrvSplit, LeavesOutTracksThatTheRecordingIsTooShortFor) {
  // Ten blocks.
  const std::string source = recording("a.aiff", recordingOf({{2, 0.5}}));
  const std::string directory = scratch_ / "tracks";
  const ProcessResult result =
      runOrv({"split", "--method", "crossings", source, "--tracks", "50", "--json", "--export", directory});
  EXPECT_EQ(result.status, 0) << result.errors;
  const nlohmann::json tracks = nlohmann::json::parse(result.output)["tracks"];
  EXPECT_LE(tracks.size(), 10U);
  for (const auto& track : tracks) {
    EXPECT_LT(track["begin"], track["end"]);
  }
  EXPECT_EQ(entriesOf(directory).size(), tracks.size());
  EXPECT_NE(result.errors.find("asked for 50 tracks, found " + std::to_string(tracks.size())), std::string::npos);
}

TEST_F(OrvSplit, RefusesCountedTracksOfARecordingOfTooManyBlocks) {
  const std::string source = scratch_ / "long.wav";
  // Blocks of a fifth of a second.
  writeLongSilence(source, std::uint64_t{32'768} * 200, 1000);
  expectFailure(runOrv({"split", "--method", "crossings", source, "--tracks", "5"}), {source});
  EXPECT_EQ(runOrv({"split", "--method", "crossings", source}).status, 0);
}

TEST_F(OrvSplit, RefusesARecordingWithoutAudio) {
  const std::string source = recording("a.aiff", noise(0));
  for (const char* method : {"levels", "crossings"}) {
    expectFailure(
        runOrv({"split", "--method", method, source, "--export", scratch_ / "out", "--picture", scratch_ / "a.svg"}),
        {source});
    EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
  }
}

class OrvSplitExport : public OrvSplit {
 protected:
  void expectTracks(const nlohmann::json& answer, const std::string& source) {
    const auto whole = readIndependently(source);
    ASSERT_TRUE(whole);
    ASSERT_EQ(answer["exported"].size(), answer["tracks"].size());
    for (std::size_t i = 0; i < answer["tracks"].size(); ++i) {
      const auto begin = answer["tracks"][i]["begin"].get<std::ptrdiff_t>() * whole->channels;
      const auto end = answer["tracks"][i]["end"].get<std::ptrdiff_t>() * whole->channels;
      const auto part = readIndependently(answer["exported"][i]);
      ASSERT_TRUE(part);
      EXPECT_EQ(part->doubles, std::vector<double>(whole->doubles.begin() + begin, whole->doubles.begin() + end));
    }
  }
};

TEST_F(OrvSplitExport, MakesTheDirectoryAndOneFileForEachTrack) {
  const std::string source = recording("a.aiff", threePieces());
  const std::string directory = scratch_ / "tracks";
  const nlohmann::json answer = orvJson({"split", "--method", "crossings", source, "--export", directory});
  const std::vector<std::string> names{"01 Untitled Track 0.aiff", "02 Untitled Track 2.aiff",
                                       "03 Untitled Track 4.aiff"};
  EXPECT_EQ(entriesOf(directory), names);
  EXPECT_EQ(answer["exported"][0], directory + "/" + names[0]);
  expectTracks(answer, source);
}

TEST_F(OrvSplitExport, WaveBecomesAiffAndFloatBecomesAifc) {
  const std::string wave = recording("a.wav", threePieces(1), SF_FORMAT_WAV | SF_FORMAT_PCM_24);
  const nlohmann::json integers = orvJson({"split", "--method", "crossings", wave, "--export", scratch_ / "integers"});
  EXPECT_EQ(entriesOf(scratch_ / "integers")[0], "01 Untitled Track 0.aiff");
  EXPECT_EQ(orvJson({"info", integers["exported"][0]})["type"], "AIFF");
  expectTracks(integers, wave);

  const std::string floats = recording("b.wav", threePieces(), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  const nlohmann::json answer = orvJson({"split", "--method", "crossings", floats, "--export", scratch_ / "floats"});
  EXPECT_EQ(entriesOf(scratch_ / "floats")[0], "01 Untitled Track 0.aifc");
  EXPECT_EQ(orvJson({"info", answer["exported"][0]})["type"], "AIFC");
  expectTracks(answer, floats);
}

TEST_F(OrvSplitExport, TextSaysWhereTheTracksAndThePictureAre) {
  const std::string source = recording("a.aiff", threePieces());
  const std::string directory = scratch_ / "tracks";
  const ProcessResult result =
      runOrv({"split", "--method", "crossings", source, "--export", directory, "--picture", scratch_ / "a.svg"});
  EXPECT_EQ(result.errors, "");
  EXPECT_NE(result.output.find("Exported 3 tracks to " + directory + "\n"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("Drawn in " + scratch_ / "a.svg" + "\n"), std::string::npos) << result.output;
}

TEST_F(OrvSplitExport, ChecksEveryNameBeforeTheFirstIsWritten) {
  const std::string source = recording("a.aiff", threePieces());
  const std::string directory = scratch_ / "tracks";
  std::filesystem::create_directory(directory);
  const std::string taken = directory + "/03 Untitled Track 4.aiff";
  writeWholeFile(taken, "precious");
  expectFailure(
      runOrv({"split", "--method", "crossings", source, "--export", directory, "--picture", scratch_ / "a.svg"}),
      {taken, "exists", "--force"});
  EXPECT_EQ(entriesOf(directory), std::vector<std::string>{"03 Untitled Track 4.aiff"});
  EXPECT_EQ(readWholeFile(taken), "precious");
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "a.svg"));
}

TEST_F(OrvSplitExport, ReplacesByForce) {
  const std::string source = recording("a.aiff", threePieces());
  const std::string directory = scratch_ / "tracks";
  std::filesystem::create_directory(directory);
  writeWholeFile(directory + "/02 Untitled Track 2.aiff", "old");
  expectTracks(orvJson({"split", "--method", "crossings", source, "--export", directory, "--force"}), source);
  EXPECT_EQ(entriesOf(directory).size(), 3U);
}

TEST_F(OrvSplitExport, NeverReplacesTheRecordingItself) {
  const std::string source = recording("01 Untitled Track 0.aiff", threePieces());
  const std::string before = readWholeFile(source);
  expectFailure(runOrv({"split", "--method", "crossings", source, "--export", scratch_.path(), "--force"}),
                {source, "the recording itself"});
  EXPECT_EQ(readWholeFile(source), before);
  EXPECT_EQ(entriesOf(scratch_.path()).size(), 1U);
}

TEST_F(OrvSplitExport, FilesHaveThePermissionsThatNewFilesHave) {
  const std::string source = recording("a.aiff", threePieces());
  const std::string directory = scratch_ / "tracks";
  const nlohmann::json answer =
      orvJson({"split", "--method", "crossings", source, "--export", directory, "--picture", scratch_ / "a.svg"});
  const auto usual = std::filesystem::status(source).permissions();
  EXPECT_EQ(std::filesystem::status(std::string(answer["exported"][0])).permissions(), usual);
  EXPECT_EQ(std::filesystem::status(scratch_ / "a.svg").permissions(), usual);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(OrvSplitExport, PeakMemoryStaysUnder24MiBForThreeQuartersOfAnHour) {
  const std::string source = scratch_ / "long.wav";
  writeLongSilence(source, 100'000'000);
  for (const char* method : {"levels", "crossings"}) {
    RunningOrv orv({"split", "--method", method, source, "--picture", scratch_ / "long.svg", "--json", "--force"});
    const long peak = orv.watchPeakKilobytes();
    const ProcessResult result = orv.wait();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_GT(peak, 0);
    EXPECT_LT(peak, 24 * 1024) << method;
  }
}
#endif

}  // namespace
}  // namespace orv::test
