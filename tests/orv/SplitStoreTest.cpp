#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;

class OrvSplitStore : public testing::Test {
 protected:
  static Json split(const std::string& path, const std::string& store) {
    return orvJson({"split", path, "--method", "crossings", "--store", store});
  }

  static std::string decoded(const std::string& path) {
    return run({"ffmpeg", "-v", "error", "-i", path, "-f", "md5", "-"}).output;
  }

  static void expectFrames(const std::string& path, std::int64_t frames) {
    const std::string count = std::to_string(frames);
    EXPECT_EQ(run({"soxi", "-s", path}).output, count + "\n");
    EXPECT_NE(run({"sndfile-info", path}).output.find("Frames      : " + count + "\n"), std::string::npos);
    EXPECT_EQ(run({"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries", "stream=duration_ts", "-of",
                   "default=nk=1:nw=1", path})
                  .output,
              count + "\n");
  }

  // A recording that takes so many bytes, its first seconds those of three pieces and the rest silence.
  std::string recordingOfBytes(std::uint64_t bytes) {
    constexpr std::uint64_t header = 54;
    const std::string path = scratch_ / std::to_string(bytes) + ".aiff";
    Recording recording = threePieces();
    const auto most = static_cast<std::size_t>((bytes - header) / 4);
    const std::size_t wanted = std::min<std::size_t>(most, 200'000);
    recording.samples.resize(2 * wanted);
    writeRecording(path, recording);
    std::string start = readWholeFile(path);
    const auto put = [&](std::size_t offset, std::uint64_t number) {
      for (std::size_t i = 0; i < 4; ++i) {
        start[offset + i] = static_cast<char>(number >> (24 - 8 * i) & 0xFFU);
      }
    };
    EXPECT_EQ(start.substr(38, 4), "SSND");
    put(4, bytes - 8);
    put(22, most);
    put(42, 8 + 4 * most);
    writeWholeFile(path, start);
    std::filesystem::resize_file(path, bytes);
    return path;
  }

  TemporaryDirectory scratch_;
};

class OrvSplitStoreOfSize : public OrvSplitStore, public testing::WithParamInterface<std::uint64_t> {};

TEST_P(OrvSplitStoreOfSize, RecordingKeepsItsTracksAndItsAudio) {
  const std::string path = recordingOfBytes(GetParam());
  const auto frames = static_cast<std::int64_t>((GetParam() - 54) / 4);
  const std::string before = decoded(path);
  const Json tracks = split(path, "internal")["tracks"];
  EXPECT_FALSE(tracks.empty());
  const Json stored = orvJson({"tracks", path});
  EXPECT_EQ(stored["storage"], "internal");
  EXPECT_EQ(stored["tracks"], tracks);
  expectFrames(path, frames);
  EXPECT_EQ(decoded(path), before);
}

INSTANTIATE_TEST_SUITE_P(Bytes, OrvSplitStoreOfSize,
                         testing::Values(1 << 10, (100 << 10) + 2, 1 << 20, (std::uint64_t{300} << 20) + 2),
                         [](const auto& each) { return std::to_string(each.param); });

TEST_F(OrvSplitStore, SideFileKeepsTheTracksAndLeavesTheRecordingAlone) {
  const std::string path = scratch_ / "a.wav";
  writeRecording(path, threePieces(), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const std::string before = readWholeFile(path);
  const Json tracks = split(path, "external")["tracks"];
  EXPECT_EQ(tracks.size(), 3U);
  EXPECT_EQ(orvJson({"tracks", path})["tracks"], tracks);
  EXPECT_EQ(orvJson({"tracks", path})["storage"], "external");
  EXPECT_EQ(readWholeFile(path), before);
  EXPECT_EQ(entriesOf(scratch_.path()), (std::vector<std::string>{"a.tracks", "a.wav"}));
}

TEST_F(OrvSplitStore, TracksAreReplacedAndProcessingRecordsStay) {
  const std::string path = scratch_ / "a.aiff";
  writeRecording(path, threePieces());
  EXPECT_EQ(runOrv({"tracks", path, "--add", "Old:0:10"}).status, 0);
  EXPECT_EQ(runOrv({"process", path, "--from", "0", "--to", "5", "--gain-db", "-6"}).status, 0);
  const Json processing = orvJson({"tracks", path})["processing"];
  const Json tracks = split(path, "internal")["tracks"];
  EXPECT_EQ(orvJson({"tracks", path})["tracks"], tracks);
  EXPECT_EQ(orvJson({"tracks", path})["processing"], processing);
}

TEST_F(OrvSplitStore, TableSaysWhereTheyWereStored) {
  const std::string path = scratch_ / "a.aiff";
  writeRecording(path, threePieces());
  EXPECT_TRUE(runOrv({"split", path, "--method", "crossings", "--store", "internal"})
                  .output.ends_with("Stored 3 tracks in the recording\n"));
  EXPECT_TRUE(runOrv({"split", path, "--method", "crossings", "--store", "external"})
                  .output.ends_with("Stored 3 tracks beside the recording\n"));
}

TEST_F(OrvSplitStore, WaveIsRefusedBeforeTheAnalysisWithAWayOut) {
  const std::string path = scratch_ / "a.wav";
  writeRecording(path, threePieces(), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const std::string before = readWholeFile(path);
  expectFailure(runOrv({"split", path, "--store", "internal", "--export", scratch_ / "tracks"}),
                {path, "only AIFF and AIFC", "--store external"});
  EXPECT_EQ(readWholeFile(path), before);
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.wav"});
}

TEST_F(OrvSplitStore, UnknownPlaceIsWrongUsage) {
  expectWrongUsage(runOrv({"split", "a", "--store", "cloud"}), {"--store", "internal, external"});
}

}  // namespace
}  // namespace orv::test
