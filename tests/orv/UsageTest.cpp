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
  for (const char* command : {"info", "split", "export"}) {
    EXPECT_NE(result.output.find(command), std::string::npos);
  }
}

TEST(OrvUsage, HelpOfEachSubcommandHasAnExample) {
  for (const char* command : {"info", "split", "export"}) {
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
  for (const char* option : {"--sensitivity", "--silence", "--tracks", "--zero-offset"}) {
    for (const char* value : {"", "x", "nan", "inf", "99999999999999999999", "1e99", "12x"}) {
      expectWrongUsage(runOrv({"split", "a", option, value}), {option, "orv split --help"});
    }
  }
  for (const char* option : {"--sensitivity", "--silence", "--tracks"}) {
    expectWrongUsage(runOrv({"split", "a", option, "-1"}), {option, "'-1'"});
  }
  expectWrongUsage(runOrv({"split", "a", "--sensitivity", "1.5"}), {"'1.5'"});
  expectWrongUsage(runOrv({"split", "a", "--zero-offset", "32768"}), {"32767"});
  expectWrongUsage(runOrv({"split", "a", "--silence"}), {"--silence"});
}

TEST(OrvUsage, LevelBelowZeroIsTaken) {
  const TemporaryDirectory scratch;
  writeRecording(scratch / "a.aiff", threePieces());
  EXPECT_EQ(orvJson({"split", scratch / "a.aiff", "--zero-offset", "-500"})["tracks"].size(), 3U);
}

TEST(OrvUsage, PositionsThatAreNoneAreRefused) {
  for (const char* value :
       {"", "-5", "x", "1e3", "1:", ":5", "1:2:3:4", "s", "ms", "1:-2", "5m", "99999999999999999999"}) {
    expectWrongUsage(runOrv({"export", "a", "--from", value, "--to", "9", "--output", "b"}), {"--from"});
  }
}

TEST(OrvUsage, UnknownNamesAreRefusedWithTheKnownOnes) {
  expectWrongUsage(runOrv({"split", "a", "--method", "magic"}), {"magic", "crossings"});
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
