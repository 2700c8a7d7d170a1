#include "TrackListing.h"

#include <gtest/gtest.h>

#include "Failure.h"
#include "support/TemporaryDirectory.h"

namespace orv::cli {
namespace {

template <typename Operation>
std::string problemOf(Operation operation) {
  try {
    operation();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "";
}

TEST(OrvTrackListing, DurationsAreClockTimesOrSeconds) {
  EXPECT_EQ(parseDurations("3:28,3:54.5,1:02:03"), (std::vector<double>{208, 234.5, 3723}));
  EXPECT_EQ(parseDurations("208, 90s ,500ms"), (std::vector<double>{208, 90, 0.5}));
  EXPECT_EQ(parseDurations("3:28"), std::vector<double>{208});
}

TEST(OrvTrackListing, EntriesThatAreNoDurationsAreRefused) {
  for (const char* entry : {"", "x", "-5", "0", "0:00", "3:", "1e3", "nan", "inf", "99999999999999999999s", "3;28"}) {
    for (const std::string& text : {std::string(entry), "3:28," + std::string(entry), std::string(entry) + ",3:28"}) {
      EXPECT_EQ(problemOf([&] { parseDurations(text); }), "'" + std::string(entry) + "' is no duration such as 3:28");
    }
  }
}

TEST(OrvTrackListing, NumberOfTracksIsBounded) {
  std::string text = "1";
  for (int i = 1; i < 1000; ++i) {
    text += ",1";
  }
  EXPECT_EQ(parseDurations(text).size(), 1000U);
  EXPECT_EQ(problemOf([&] { parseDurations(text + ",1"); }), "names more than 1000 tracks");
}

TEST(OrvTrackListing, TextHasADurationOrATitleAndADurationOnEachLine) {
  const TrackListing listing =
      listingFromText("# side A\nFirst one\t3:28\r\n\n  3:54  \nFür Elise\twith a tab\t 200 \n\t2:00\n");
  EXPECT_EQ(listing.durations, (std::vector<double>{208, 234, 200, 120}));
  EXPECT_EQ(listing.titles, (std::vector<std::string>{"First one", "", "Für Elise\twith a tab", ""}));
}

TEST(OrvTrackListing, TextWithoutTitlesHasNone) {
  EXPECT_TRUE(listingFromText("3:28\n3:54").titles.empty());
}

TEST(OrvTrackListing, TextThatIsNoneSaysWhichLine) {
  EXPECT_EQ(problemOf([] { listingFromText("3:28\n\nhello\n"); }), "line 3: 'hello' is no duration such as 3:28");
  EXPECT_EQ(problemOf([] { listingFromText("Title\t\n"); }), "line 1: 'Title' is no duration such as 3:28");
  EXPECT_EQ(problemOf([] { listingFromText("# nothing\n\n"); }), "names no track");
  EXPECT_EQ(problemOf([] { listingFromText(""); }), "names no track");
}

TEST(OrvTrackListing, CueSheetGivesDifferencesAndTheRestOfTheRecording) {
  const TrackListing listing = listingFromCueSheet(
      "TRACK 01 AUDIO\nTITLE \"A\"\nINDEX 01 00:02:00\nTRACK 02 AUDIO\nTITLE \"B\"\nINDEX 00 03:00:00\n"
      "INDEX 01 03:02:00\nTRACK 03 AUDIO\nINDEX 01 05:02:00\n",
      362.5);
  EXPECT_EQ(listing.durations, (std::vector<double>{180, 120, 60.5}));
  EXPECT_EQ(listing.titles, (std::vector<std::string>{"A", "B", ""}));
}

TEST(OrvTrackListing, CueSheetLongerThanTheRecordingKeepsItsLastTrack) {
  const TrackListing listing =
      listingFromCueSheet("TRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 01 03:00:00\n", 100);
  EXPECT_EQ(listing.durations, (std::vector<double>{180, 1}));
}

TEST(OrvTrackListing, FilesAreCueSheetsByTheirNameAndTextElse) {
  const test::TemporaryDirectory scratch;
  test::writeWholeFile(scratch / "a.CUE", "\xEF\xBB\xBFTRACK 01 AUDIO\nINDEX 01 00:00:00\n");
  EXPECT_EQ(readTrackListing(scratch / "a.CUE", 77).durations, std::vector<double>{77});
  test::writeWholeFile(scratch / "a.txt",
                       "\xEF\xBB\xBF"
                       "3:28\n");
  EXPECT_EQ(readTrackListing(scratch / "a.txt", 77).durations, std::vector<double>{208});
}

TEST(OrvTrackListing, FilesThatAreNoListingAreRefusedByName) {
  const test::TemporaryDirectory scratch;
  const auto problem = [&](const std::string& name) {
    return problemOf([&] { readTrackListing(scratch / name, 60); });
  };
  EXPECT_EQ(problem("missing.cue"), scratch / "missing.cue" + ": No such file or directory");
  EXPECT_EQ(problem("."), scratch / "." + ": is a directory");
  test::writeWholeFile(scratch / "empty.cue", "");
  EXPECT_EQ(problem("empty.cue"), scratch / "empty.cue" + ": names no track");
  test::writeWholeFile(scratch / "large.txt", std::string((1 << 20) + 1, '\n'));
  EXPECT_EQ(problem("large.txt"), scratch / "large.txt" + ": is too long for a list of tracks");
  test::writeWholeFile(scratch / "bad.txt", "x\n");
  EXPECT_EQ(problem("bad.txt"), scratch / "bad.txt" + ": line 1: 'x' is no duration such as 3:28");
}

}  // namespace
}  // namespace orv::cli
