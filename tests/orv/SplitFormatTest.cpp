#include <gtest/gtest.h>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

// Forms of the answer, on a recording whose cuts are known to the frame: the blocks of the crossings method.
class OrvSplitFormat : public testing::Test {
 protected:
  std::string recording(const std::string& name, int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16) {
    writeRecording(scratch_ / name, threePieces(), format);
    return scratch_ / name;
  }

  static ProcessResult split(const std::string& source, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"split", source, "--method", "crossings"});
    return runOrv(arguments);
  }

  TemporaryDirectory scratch_;
};

TEST_F(OrvSplitFormat, CueSheetOfAnAiffRecording) {
  const ProcessResult result = split(recording("side a.aiff"), {"--format", "cue"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "FILE \"side a.aiff\" AIFF\n"
            "  TRACK 01 AUDIO\n"
            "    TITLE \"Untitled Track 0\"\n"
            "    INDEX 01 00:00:00\n"
            "  TRACK 02 AUDIO\n"
            "    TITLE \"Untitled Track 2\"\n"
            "    INDEX 01 00:05:00\n"
            "  TRACK 03 AUDIO\n"
            "    TITLE \"Untitled Track 4\"\n"
            "    INDEX 01 00:12:15\n");
}

TEST_F(OrvSplitFormat, CueSheetOfAWaveRecording) {
  const ProcessResult result = split(recording("a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16), {"--format", "cue"});
  EXPECT_TRUE(result.output.starts_with("FILE \"a.wav\" WAVE\n")) << result.output;
}

TEST_F(OrvSplitFormat, LabelFile) {
  EXPECT_EQ(split(recording("a.aiff"), {"--format", "labels"}).output,
            "0.000000\t5.000000\tUntitled Track 0\n"
            "5.000000\t12.200000\tUntitled Track 2\n"
            "12.200000\t17.500000\tUntitled Track 4\n");
}

TEST_F(OrvSplitFormat, JsonIsShortForTheFormatOfThatName) {
  const std::string source = recording("a.aiff");
  const std::string text = split(source, {"--json"}).output;
  EXPECT_TRUE(text.starts_with("{\n")) << text;
  EXPECT_EQ(split(source, {"--format", "json"}).output, text);
  EXPECT_EQ(split(source, {"--format", "json", "--json"}).output, text);
}

TEST_F(OrvSplitFormat, TableIsWhatIsAnsweredWithoutOne) {
  const std::string source = recording("a.aiff");
  EXPECT_EQ(split(source, {}).output, split(source, {"--format", "table"}).output);
}

TEST_F(OrvSplitFormat, OutputIsTheAnswerInAFile) {
  const std::string source = recording("a.aiff");
  for (const char* format : {"table", "json", "cue", "labels"}) {
    const std::string file = scratch_ / format;
    const ProcessResult result = split(source, {"--format", format, "--output", file});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(readWholeFile(file), split(source, {"--format", format}).output);
  }
}

TEST_F(OrvSplitFormat, OutputReplacesOnlyByForceAndNeverTheRecording) {
  const std::string source = recording("a.aiff");
  const std::string file = scratch_ / "a.cue";
  writeWholeFile(file, "precious");
  expectFailure(split(source, {"--format", "cue", "--output", file}), {file, "exists", "--force"});
  EXPECT_EQ(readWholeFile(file), "precious");
  EXPECT_EQ(split(source, {"--format", "cue", "--output", file, "--force"}).status, 0);
  EXPECT_TRUE(readWholeFile(file).starts_with("FILE"));
  expectFailure(split(source, {"--output", source, "--force"}), {source, "the recording itself"});
}

TEST_F(OrvSplitFormat, OutputAndPictureCanNotBeOneFile) {
  const std::string source = recording("a.aiff");
  expectFailure(split(source, {"--output", scratch_ / "x", "--picture", scratch_ / "./x", "--force"}),
                {scratch_ / "x", "twice"});
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

TEST_F(OrvSplitFormat, CueSheetSaysThatItCanNotHoldQuotationMarks) {
  const std::string source = recording("a\"b.aiff");
  const ProcessResult result = split(source, {"--format", "cue"});
  EXPECT_TRUE(result.output.starts_with("FILE \"a'b.aiff\" AIFF\n")) << result.output;
  EXPECT_NE(result.errors.find("orv: note: "), std::string::npos);
  EXPECT_EQ(split(source, {"--format", "cue", "--quiet"}).errors, "");
}

}  // namespace
}  // namespace orv::test
