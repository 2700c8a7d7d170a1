#include "SplitReport.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Failure.h"

namespace orv::cli {
namespace {

// Ten seconds at 8000 Hz with one cut and one doubtful place.
SplitReport someReport() {
  SplitReport report;
  report.path = "/records/side.aiff";
  report.fileType = kAudioFileAIFFType;
  report.sampleRate = 8000;
  report.lengthInFrames = 80'000;
  report.method = "levels";
  report.detection.tracks = {{"First", 0, 40'000, false}, {"Second", 40'000, 80'000, false}};
  report.detection.boundaries = {{40'000, 30'000, 40'800, 48.25, 1.5, 0.97, "quiet for 1.4 s"}};
  report.detection.doubtful = {{8000, 7000, 8400, 20, 9, 0.25, "only 0.2 s"}};
  report.detection.notes = {"a note"};
  return report;
}

TEST(OrvSplitReport, TableGivesTheCutBeforeEachTrackConfidenceAndReason) {
  EXPECT_EQ(kTableFormat.write(someReport()),
            "#  Name       Begin       End    Length   Cut  Reason\n"
            "1  First   0:00.000  0:05.000  0:05.000\n"
            "2  Second  0:05.000  0:10.000  0:05.000  0.97  quiet for 1.4 s\n"
            "2 tracks in 0:10.000\n"
            " Not cut  Confidence  Reason\n"
            "0:01.000        0.25  only 0.2 s\n");
}

TEST(OrvSplitReport, TableWithoutJudgedCutsHasNoColumnsForThem) {
  SplitReport report = someReport();
  report.detection = {};
  report.detection.tracks = {{"All", 0, 80'000, false}};
  EXPECT_EQ(kTableFormat.write(report),
            "#  Name     Begin       End    Length\n"
            "1  All   0:00.000  0:10.000  0:10.000\n"
            "1 track in 0:10.000\n");
}

TEST(OrvSplitReport, TableListsTheFiveMostLikelyDoubtfulPlacesBestFirst) {
  SplitReport report = someReport();
  report.detection.doubtful.clear();
  for (const double confidence : {0.1, 0.4, 0.2, 0.45, 0.3, 0.15, 0.05}) {
    report.detection.doubtful.push_back(
        {static_cast<std::uint64_t>(confidence * 80'000), 0, 0, 0, 0, confidence, "short"});
  }
  const std::string text = kTableFormat.write(report);
  EXPECT_EQ(text.substr(text.find(" Not cut")),
            " Not cut  Confidence  Reason\n"
            "0:04.500        0.45  short\n"
            "0:04.000        0.40  short\n"
            "0:03.000        0.30  short\n"
            "0:02.000        0.20  short\n"
            "0:01.500        0.15  short\n"
            "and 2 less likely\n");
}

TEST(OrvSplitReport, TableLeavesDoubtfulPlacesOutWhenAskedTo) {
  SplitReport report = someReport();
  report.withDoubtful = false;
  EXPECT_TRUE(kTableFormat.write(report).ends_with("2 tracks in 0:10.000\n"));
}

TEST(OrvSplitReport, TableSaysWhatWasWritten) {
  SplitReport report = someReport();
  report.exportDirectory = "tracks";
  report.exported = {"tracks/01 First.aiff", "tracks/02 Second.aiff"};
  report.picturePath = "side.svg";
  EXPECT_TRUE(kTableFormat.write(report).ends_with("Exported 2 tracks to tracks\nDrawn in side.svg\n"));
}

TEST(OrvSplitReport, JsonHasTheAgreedFields) {
  SplitReport report = someReport();
  report.exported = {"tracks/01 First.aiff"};
  EXPECT_EQ(nlohmann::json::parse(kJsonFormat.write(report)), nlohmann::json::parse(R"({
    "path": "/records/side.aiff", "sampleRate": 8000, "lengthInFrames": 80000, "method": "levels",
    "tracks": [{"name": "First", "begin": 0, "end": 40000, "active": false},
               {"name": "Second", "begin": 40000, "end": 80000, "active": false}],
    "boundaries": [{"frame": 40000, "quietBegin": 30000, "quietEnd": 40800, "depth": 48.25, "confidence": 0.97,
                    "reason": "quiet for 1.4 s"}],
    "doubtful": [{"frame": 8000, "quietBegin": 7000, "quietEnd": 8400, "depth": 20, "confidence": 0.25,
                  "reason": "only 0.2 s"}],
    "notes": ["a note"], "exported": ["tracks/01 First.aiff"]})"));
}

TEST(OrvSplitReport, CueNamesTheRecordingWithoutItsFolders) {
  EXPECT_EQ(kCueFormat.write(someReport()),
            "FILE \"side.aiff\" AIFF\n"
            "  TRACK 01 AUDIO\n"
            "    TITLE \"First\"\n"
            "    INDEX 01 00:00:00\n"
            "  TRACK 02 AUDIO\n"
            "    TITLE \"Second\"\n"
            "    INDEX 01 00:05:00\n");
}

TEST(OrvSplitReport, CueRefusesMoreThanNinetyNineTracks) {
  SplitReport report = someReport();
  report.detection.tracks.assign(99, {"", 0, 80'000, false});
  EXPECT_NO_THROW(kCueFormat.write(report));
  report.detection.tracks.assign(100, {"", 0, 80'000, false});
  try {
    kCueFormat.write(report);
    FAIL() << "100 tracks were written";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "/records/side.aiff: 100 tracks don't go into a cue sheet, which holds 99");
  }
}

TEST(OrvSplitReport, CueSaysWhatItLeavesOut) {
  SplitReport report = someReport();
  EXPECT_TRUE(kCueFormat.losses(report).empty());
  report.detection.tracks.back().end = 79'000;
  report.path = "/records/\"side\".aiff";
  const std::vector<std::string> losses = kCueFormat.losses(report);
  ASSERT_EQ(losses.size(), 2U);
  EXPECT_NE(losses[0].find("where its last track ends"), std::string::npos);
  EXPECT_NE(losses[1].find("quotation marks"), std::string::npos);
}

TEST(OrvSplitReport, LabelsAreSecondsWithSixDecimalsAndNamesOnOneLine) {
  SplitReport report = someReport();
  report.sampleRate = 44'100;
  report.detection.tracks = {{"First", 0, 44'100, false}, {"a\tb\nc", 44'101, 79'999, false}};
  EXPECT_EQ(kLabelsFormat.write(report),
            "0.000000\t1.000000\tFirst\n"
            "1.000023\t1.814036\ta\uFFFDb\uFFFDc\n");
}

}  // namespace
}  // namespace orv::cli
