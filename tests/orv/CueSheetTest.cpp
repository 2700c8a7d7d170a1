#include "CueSheet.h"

#include <gtest/gtest.h>

#include "Failure.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::cli {
namespace {

constexpr CueSource kSource{"side.aiff", kAudioFileAIFFType, 44'100};

std::string indexOf(std::uint64_t frame, double sampleRate) {
  const std::string sheet =
      writeCueSheet({"side.aiff", kAudioFileAIFFType, sampleRate}, {{"", frame, frame + 1, false}});
  return sheet.substr(sheet.find("INDEX 01 ") + 9);
}

void expectProblem(const std::string& sheet, const std::string& problem) {
  try {
    parseCueSheet(sheet);
    ADD_FAILURE() << "understood: " << sheet;
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find(problem), std::string::npos) << failure.what();
  }
}

TEST(OrvCueSheet, TimesAreRoundedDownToA75thOfASecond) {
  EXPECT_EQ(indexOf(0, 44'100), "00:00:00\n");
  EXPECT_EQ(indexOf(587, 44'100), "00:00:00\n");
  EXPECT_EQ(indexOf(588, 44'100), "00:00:01\n");
  EXPECT_EQ(indexOf(44'100 * 61 - 1, 44'100), "01:00:74\n");
  EXPECT_EQ(indexOf(48'000 * 61, 48'000), "01:01:00\n");
  EXPECT_EQ(indexOf(std::uint64_t{96'000} * 7200, 96'000), "120:00:00\n");
}

TEST(OrvCueSheet, RefusesTimesThatNoOneCouldRead) {
  EXPECT_THROW(indexOf(std::uint64_t{1} << 60, 8000), Failure);
}

TEST(OrvCueSheet, NamesTheTypeOfTheFile) {
  EXPECT_EQ(writeCueSheet({"a.wav", kAudioFileWAVEType, 8000}, {}), "FILE \"a.wav\" WAVE\n");
  EXPECT_EQ(writeCueSheet({"a.aifc", kAudioFileAIFCType, 8000}, {}), "FILE \"a.aifc\" AIFF\n");
}

TEST(OrvCueSheet, NamesStayInTheirQuotationMarksAndOnTheirLine) {
  const std::string sheet = writeCueSheet({"a\"b\nc.aiff", kAudioFileAIFFType, 8000}, {{"x\"\r\n\ty", 0, 1, false}});
  EXPECT_TRUE(sheet.starts_with("FILE \"a'b\uFFFDc.aiff\" AIFF\n")) << sheet;
  EXPECT_NE(sheet.find("    TITLE \"x'\uFFFD\uFFFD\uFFFDy\"\n"), std::string::npos) << sheet;
}

TEST(OrvCueSheet, AnotherProgramReadsTracksTitlesAndBreakpoints) {
  const test::TemporaryDirectory scratch;
  const std::string path = scratch / "side.cue";
  test::writeWholeFile(path, writeCueSheet(kSource, {{"First", 0, 441'000, false},
                                                     {"Für \"Elise\"", 441'000, 882'588, false},
                                                     {"Third: #3", 882'588, 1'000'000, false}}));
  const test::ProcessResult titles = test::run({"cueprint", "-t", "%n %t\\n", path});
  EXPECT_EQ(titles.status, 0) << titles.errors;
  EXPECT_EQ(titles.output, "1 First\n2 Für 'Elise'\n3 Third: #3\n");
  const test::ProcessResult breaks = test::run({"cuebreakpoints", path});
  EXPECT_EQ(breaks.status, 0) << breaks.errors;
  EXPECT_EQ(breaks.output, "0:10.00\n0:20.01\n");
}

TEST(OrvCueSheet, WhatWasWrittenReadsBack) {
  const std::vector<CueTrack> tracks =
      parseCueSheet(writeCueSheet(kSource, {{"One", 0, 1, false}, {"", 44'100 * 90, 9'000'000, false}}));
  ASSERT_EQ(tracks.size(), 2U);
  EXPECT_EQ(tracks[0].title, "One");
  EXPECT_EQ(tracks[1].title, "");
  EXPECT_EQ(tracks[1].seconds, 90);
}

TEST(OrvCueSheet, ReadsSheetsAsOthersWriteThem) {
  const std::vector<CueTrack> tracks = parseCueSheet(
      "REM GENRE Jazz\r\nPERFORMER \"Somebody\"\r\nTITLE \"The album\"\r\nFILE \"a b.wav\" WAVE\r\n"
      "  TRACK 01 AUDIO\r\n    TITLE \"Say \"hello\"\"\r\n    PERFORMER \"X\"\r\n    INDEX 01 00:02:00\r\n"
      "\ttrack 02 AUDIO\r\n\ttitle Bare words \r\n\tindex 00 04:58:00\r\n\tindex 01 05:00:37\r\n"
      "  TRACK 03 AUDIO\r\n    INDEX 01 100:00:74\r\n    INDEX 02 101:00:00\r\n");
  ASSERT_EQ(tracks.size(), 3U);
  EXPECT_EQ(tracks[0].title, "Say \"hello\"");
  EXPECT_EQ(tracks[0].seconds, 2);
  EXPECT_EQ(tracks[1].title, "Bare words");
  EXPECT_DOUBLE_EQ(tracks[1].seconds, 300 + 37.0 / 75);
  EXPECT_EQ(tracks[2].title, "");
  EXPECT_DOUBLE_EQ(tracks[2].seconds, 6000 + 74.0 / 75);
}

TEST(OrvCueSheet, SaysWhichLineItDoesNotUnderstand) {
  for (const char* time : {"", "x", "1:2", "00:60:00", "00:00:75", "-1:00:00", "00:00:00:00", "99999999999:00:00",
                           "2000000:00:00", "00:00:0x"}) {
    expectProblem("TRACK 01 AUDIO\nINDEX 01 " + std::string(time) + "\n", "line 2: no time");
  }
  expectProblem("INDEX 01 00:00:00\n", "line 1: an INDEX 01 that belongs to no track");
  expectProblem("TRACK 01 AUDIO\nINDEX 01 00:00:00\nINDEX 01 00:01:00\n", "line 3: an INDEX 01 that belongs to no");
  expectProblem("TRACK 01 AUDIO\nTRACK 02 AUDIO\nINDEX 01 00:01:00\n", "track 1 has no INDEX 01");
  expectProblem("TRACK 01 AUDIO\n", "track 1 has no INDEX 01");
  expectProblem("TRACK 01 AUDIO\nINDEX 01 01:00:00\nTRACK 02 AUDIO\nINDEX 01 01:00:00\n",
                "line 4: the track does not begin behind the one before it");
  expectProblem("FILE \"a\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nFILE \"b\" WAVE\n", "line 4: a second FILE");
}

TEST(OrvCueSheet, BytesOfAnyKindAreReadOrRefused) {
  std::string bytes;
  for (int i = 0; i < 4096; ++i) {
    bytes += static_cast<char>(i * 7 + i / 256);
  }
  EXPECT_TRUE(parseCueSheet(bytes).empty());
}

}  // namespace
}  // namespace orv::cli
