#include <gtest/gtest.h>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

/// Files of other programs, given to the command line.
namespace orv::test {
namespace {

class OrvForeignFiles : public testing::Test {
 protected:
  std::string encoded(const std::string& name, const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> command{"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", plain_};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(scratch_ / name);
    const ProcessResult result = run(command);
    EXPECT_EQ(result.status, 0) << result.errors;
    return scratch_ / name;
  }

  void SetUp() override { writeRecording(plain_, recording_, SF_FORMAT_WAV | SF_FORMAT_PCM_16); }

  TemporaryDirectory scratch_;
  const std::string plain_ = scratch_ / "plain.wav";
  const Recording recording_ = threePieces(2, 44'100);
};

TEST_F(OrvForeignFiles, InfoTellsWhatAFlacIs) {
  const nlohmann::json info = orvJson({"info", encoded("a.flac")});
  EXPECT_EQ(info["type"], "FLAC");
  EXPECT_EQ(info["formatID"], "lpcm");
  EXPECT_EQ(info["sampleRate"], 44'100);
  EXPECT_EQ(info["channels"], 2);
  EXPECT_EQ(info["bitsPerChannel"], 16);
  EXPECT_EQ(info["lengthInFrames"], recording_.frames());
}

TEST_F(OrvForeignFiles, InfoTellsTheTypeOfEachKind) {
  for (const auto& [name, type] : std::vector<std::pair<std::string, std::string>>{{"a.ogg", "Oggf"},
                                                                                   {"a.opus", "Oggf"},
                                                                                   {"a.mp3", "MPG3"},
                                                                                   {"a.caf", "caff"},
                                                                                   {"a.w64", "W64f"},
                                                                                   {"a.au", "NeXT"}}) {
    EXPECT_EQ(orvJson({"info", encoded(name)})["type"], type) << name;
  }
}

TEST_F(OrvForeignFiles, SplitFindsTheTracksOfAnMp3AndExportsThem) {
  const std::string mp3 = encoded("a.mp3", {"-b:a", "192k"});
  const std::string out = scratch_ / "tracks";
  const nlohmann::json report = orvJson({"split", mp3, "--method", "crossings", "--export", out});
  ASSERT_EQ(report["tracks"].size(), 3U);
  ASSERT_EQ(entriesOf(out).size(), 3U);
  const auto decoded = readIndependently(mp3);
  ASSERT_TRUE(decoded);
  for (std::size_t i = 0; i < 3; ++i) {
    const auto begin = report["tracks"][i]["begin"].get<std::ptrdiff_t>();
    const auto end = report["tracks"][i]["end"].get<std::ptrdiff_t>();
    const auto track = readIndependently(out + "/" + entriesOf(out)[i]);
    ASSERT_TRUE(track);
    EXPECT_EQ(track->doubles,
              std::vector<double>(decoded->doubles.begin() + 2 * begin, decoded->doubles.begin() + 2 * end));
  }
}

TEST_F(OrvForeignFiles, ExportOfAnOggGivesAllItsSamples) {
  const std::string ogg = encoded("a.ogg");
  const std::string frames = std::to_string(orvJson({"info", ogg})["lengthInFrames"].get<std::int64_t>());
  const ProcessResult result =
      runOrv({"export", ogg, "--from", "0", "--to", frames, "--output", scratch_ / "out.aiff"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto source = readIndependently(ogg);
  const auto copy = readIndependently(scratch_ / "out.aiff");
  ASSERT_TRUE(source && copy);
  EXPECT_EQ(copy->frames, source->frames);
  EXPECT_EQ(copy->doubles, source->doubles);
}

TEST_F(OrvForeignFiles, ExportOfAFlacIntoAiffAndWaveIsBitExact) {
  const std::string flac = encoded("a.flac");
  const auto source = readIndependently(plain_);
  for (const char* name : {"out.aiff", "out.wav"}) {
    const ProcessResult result =
        runOrv({"export", flac, "--from", "1001", "--to", "50000", "--output", scratch_ / name});
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto copy = readIndependently(scratch_ / name);
    ASSERT_TRUE(source && copy);
    EXPECT_EQ(copy->ints, std::vector<std::int32_t>(source->ints.begin() + 2002, source->ints.begin() + 100'000));
  }
}

TEST_F(OrvForeignFiles, ExportIntoAKindThatIsOnlyReadFailsWithOneLine) {
  const std::string flac = encoded("a.flac");
  expectFailure(runOrv({"export", flac, "--from", "0", "--to", "100", "--output", scratch_ / "out"}),
                {"out", "files of type 'FLAC' can't be made"});
}

TEST_F(OrvForeignFiles, ADamagedFlacFailsWithOneLine) {
  const std::string flac = encoded("a.flac");
  std::string bytes = readWholeFile(flac);
  for (std::size_t i = 0; i < 40; ++i) {
    bytes[bytes.size() / 2 + i * 7] = static_cast<char>(bytes[bytes.size() / 2 + i * 7] ^ 0x5A);
  }
  writeWholeFile(flac, bytes);
  const std::string frames = std::to_string(recording_.frames());
  expectFailure(runOrv({"export", flac, "--from", "0", "--to", frames, "--output", scratch_ / "out.aiff"}),
                {"a.flac", "FLAC: the file is damaged"});
}

TEST_F(OrvForeignFiles, ATextUnderTheNameOfAFlacFailsWithOneLine) {
  writeWholeFile(scratch_ / "a.flac", "Dear diary\n");
  expectFailure(runOrv({"info", scratch_ / "a.flac"}), {"a.flac", "not an AIFF"});
}

}  // namespace
}  // namespace orv::test
