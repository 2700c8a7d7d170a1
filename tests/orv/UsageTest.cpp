#include <gtest/gtest.h>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

TEST(OrvUsage, VersionIsTheProjects) {
  const ProcessResult result = runOrv({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "orv " ORV_VERSION "\n");
}

TEST(OrvUsage, HelpNamesTheSubcommands) {
  const ProcessResult result = runOrv({"--help"});
  EXPECT_EQ(result.status, 0);
  for (const char* command : {"info", "split", "tracks", "export", "process", "convert", "check", "play"}) {
    EXPECT_NE(result.output.find(command), std::string::npos);
  }
}

TEST(OrvUsage, HelpOfEachSubcommandHasAnExample) {
  for (const char* command : {"info", "split", "tracks", "export", "process", "convert", "check", "play"}) {
    const ProcessResult result = runOrv({command, "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find(std::string("Example:\n  orv ") + command), std::string::npos) << result.output;
  }
}

TEST(OrvUsage, MissingAndUnknownArgumentsAreExplained) {
  expectWrongUsage(runOrv({}), {"orv --help"});
  expectWrongUsage(runOrv({"frobnicate"}), {"frobnicate"});
  expectWrongUsage(runOrv({"info"}), {"FILE", "orv info --help"});
  expectWrongUsage(runOrv({"info", "a", "b"}), {"b"});
  expectWrongUsage(runOrv({"split", "a", "--nonsense"}), {"--nonsense"});
  expectWrongUsage(runOrv({"export", "a", "--from", "0", "--to", "1"}), {"--output"});
  expectWrongUsage(runOrv({"export", "a", "--from", "0", "--output", "b"}), {"--to"});
}

TEST(OrvUsage, NumbersOutOfReasonAreRefused) {
  const auto split = [](const char* method, const char* option, const char* value) {
    return runOrv({"split", "a", "--method", method, option, value});
  };
  for (const char* value : {"", "x", "nan", "inf", "99999999999999999999", "1e99", "12x"}) {
    for (const char* option : {"--sensitivity", "--silence", "--tracks", "--zero-offset"}) {
      expectWrongUsage(split("crossings", option, value), {option, "orv split --help"});
    }
    for (const char* option : {"--sensitivity", "--tracks", "--min-track"}) {
      expectWrongUsage(split("levels", option, value), {option, "orv split --help"});
    }
  }
  for (const char* option : {"--sensitivity", "--silence", "--tracks"}) {
    expectWrongUsage(split("crossings", option, "-1"), {option, "'-1'"});
  }
  for (const char* option : {"--sensitivity", "--min-track", "--tracks"}) {
    expectWrongUsage(split("levels", option, "-1"), {option, "'-1'"});
  }
  expectWrongUsage(split("crossings", "--sensitivity", "1.5"), {"'1.5'"});
  expectWrongUsage(split("crossings", "--zero-offset", "32768"), {"32767"});
  expectWrongUsage(runOrv({"split", "a", "--silence"}), {"--silence"});
}

TEST(OrvUsage, RangeOfTheSensitivityIsTheMethods) {
  expectWrongUsage(runOrv({"split", "a", "--sensitivity", "101"}), {"'101'", "from 0 to 100"});
  expectWrongUsage(runOrv({"split", "a", "--sensitivity", "32768", "--method", "crossings"}), {"from 0 to 32767"});
  // Refused for the file, not for the number.
  expectFailure(runOrv({"split", "a", "--sensitivity", "99.5"}), {"a: no such file"});
  expectFailure(runOrv({"split", "a", "--sensitivity", "101", "--method", "crossings"}), {"a: no such file"});
}

TEST(OrvUsage, SettingsOfTheOtherMethodAreRefused) {
  for (const char* option : {"--silence", "--zero-offset"}) {
    expectWrongUsage(runOrv({"split", "a", option, "9"}), {option, "belongs to --method crossings", "here is levels"});
  }
  for (const char* option : {"--durations", "--min-track", "--cut"}) {
    expectWrongUsage(runOrv({"split", "a", option, "9", "--method", "crossings"}),
                     {option, "belongs to --method levels", "here is crossings"});
  }
  expectWrongUsage(runOrv({"split", "a", "--trim", "--method", "crossings"}), {"--trim", "levels"});
}

TEST(OrvUsage, DurationsThatAreNoneAreRefused) {
  for (const char* value : {"", "x", "-5", "0:00", "3:28,", "3:28,x", "missing.cue"}) {
    expectWrongUsage(runOrv({"split", "a", "--durations", value}), {"--durations", "is no duration such as 3:28"});
  }
}

TEST(OrvUsage, NumberOfTracksIsSaidOnce) {
  expectWrongUsage(runOrv({"split", "a", "--tracks", "2", "--durations", "3:28,3:54"}), {"--tracks", "--durations"});
  expectWrongUsage(runOrv({"split", "a", "--durations", "3:28,3:54", "--tracks", "2"}), {"--tracks", "--durations"});
}

TEST(OrvUsage, FormatsThatContradictEachOtherAreRefused) {
  expectWrongUsage(runOrv({"split", "a", "--json", "--format", "cue"}), {"--json", "--format cue"});
  expectFailure(runOrv({"split", "a", "--json", "--format", "json"}), {"a: no such file"});
}

TEST(OrvUsage, LevelBelowZeroIsTaken) {
  const TemporaryDirectory scratch;
  writeRecording(scratch / "a.aiff", threePieces());
  EXPECT_EQ(orvJson({"split", scratch / "a.aiff", "--method", "crossings", "--zero-offset", "-500"})["tracks"].size(),
            3U);
}

TEST(OrvUsage, PositionsThatAreNoneAreRefused) {
  for (const char* value :
       {"", "-5", "x", "1e3", "1:", ":5", "1:2:3:4", "s", "ms", "1:-2", "5m", "99999999999999999999"}) {
    expectWrongUsage(runOrv({"export", "a", "--from", value, "--to", "9", "--output", "b"}), {"--from"});
  }
}

TEST(OrvUsage, UnknownNamesAreRefusedWithTheKnownOnes) {
  expectWrongUsage(runOrv({"split", "a", "--method", "magic"}), {"magic", "levels", "crossings"});
  expectWrongUsage(runOrv({"split", "a", "--format", "xml"}), {"xml", "table, json, cue, labels"});
  expectWrongUsage(runOrv({"split", "a", "--cut", "after"}), {"after", "before, middle"});
  expectWrongUsage(runOrv({"export", "a", "--from", "0", "--to", "9", "--output", "b", "--type", "mp3"}), {"mp3"});
}

TEST(OrvUsage, VerboseShowsTheLogBeforeOrBehindTheSubcommand) {
  const TemporaryDirectory scratch;
  writeWholeFile(scratch / "a.aiff", "no recording");
  for (const auto& arguments : {std::vector<std::string>{"--verbose", "info", scratch / "a.aiff"},
                                std::vector<std::string>{"info", scratch / "a.aiff", "--verbose"}}) {
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("orv: log: "), std::string::npos) << result.errors;
  }
}

}  // namespace
}  // namespace orv::test
