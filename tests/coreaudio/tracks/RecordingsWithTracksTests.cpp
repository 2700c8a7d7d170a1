// Recordings on the disk that carry tracks, as other programs read them, and as our own audio file updates them.
#include <filesystem>

#include "TracksInMemory.h"
#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

/// What other programs say about a file.
struct Reading {
  std::string soxFrames;
  std::string ffprobeSamples;
  std::string sndfileFrames;
  std::string checksum;  // of the audio as ffmpeg decodes it
  bool operator==(const Reading&) const = default;
};

std::string outputOf(const std::vector<std::string>& command) {
  const ProcessResult result = run(command);
  EXPECT_EQ(result.status, 0) << command.front() << ": " << result.errors;
  return result.output;
}

Reading readingOf(const std::string& path) {
  Reading reading;
  reading.soxFrames = outputOf({"soxi", "-s", path});
  reading.ffprobeSamples =
      outputOf({"ffprobe", "-v", "error", "-show_entries", "stream=duration_ts", "-of", "csv=p=0", path});
  const std::string info = outputOf({"sndfile-info", path});
  const std::size_t at = info.find("Frames");
  reading.sndfileFrames = at == std::string::npos ? info : info.substr(at, info.find('\n', at) - at);
  reading.checksum = outputOf({"ffmpeg", "-nostdin", "-v", "error", "-i", path, "-f", "md5", "-"});
  return reading;
}

class RecordingOfSize : public ::testing::TestWithParam<std::size_t> {};

/// The sound's beginning and end are noise; the rest of a long one takes no room on the disk.
void writeRecording(const std::string& path, std::size_t bytes) {
  constexpr std::size_t kHeader = 54;
  constexpr std::size_t kNoise = 100'000;
  const std::size_t audio = (bytes - kHeader) / 4 * 4;
  Bytes file =
      aiff(commonChunk(2, static_cast<std::uint32_t>(audio / 4), 16) + soundChunk(audioBytes(std::min(audio, kNoise))));
  const auto patch = [&](std::size_t at, std::size_t value) {
    const Bytes number = bigEndian(value, 4);
    std::copy(number.begin(), number.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
  };
  patch(4, kHeader - 8 + audio);
  patch(42, 8 + audio);
  writeBytesToFile(path, file);
  std::filesystem::resize_file(path, kHeader + audio);
}

TEST_P(RecordingOfSize, IsReadByOtherProgramsAsBeforeAndGivesItsTracksBack) {
  const TemporaryDirectory folder;
  const std::string path = folder / "take.aiff";
  writeRecording(path, GetParam());
  const Reading before = readingOf(path);
  for (int round = 0; round < 2; ++round) {
    const auto writer = inFile(path);
    writer->addTrackInfo(track("Erste Seite – 第一面", 0, 50));
    writer->addTrackInfo(track("APPL", 50, 100));
    ASSERT_TRUE(writer->storeTracks()) << writer->lastProblem();
    EXPECT_EQ(namesIn(path), "Erste Seite – 第一面\nAPPL\n");
    EXPECT_TRUE(readingOf(path) == before);
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, RecordingOfSize,
                         ::testing::Values(std::size_t{1} << 10, std::size_t{100} << 10, std::size_t{1} << 20,
                                           std::size_t{300} << 20),
                         [](const auto& tested) { return "Bytes" + std::to_string(tested.param); });

class RecordingWithTracks : public ::testing::Test {
 protected:
  void SetUp() override {
    writeAudioFile(path_, kAudioFileAIFFType, signedBig(16), audio_);
    ASSERT_TRUE(storeName(path_, "Side A"));
  }

  void appendToRecording(const Bytes& more) {
    const auto file = OrvAudioFile::initWithPath_accessMode(path_, OrvAudioFile::kModeReadWrite);
    ASSERT_TRUE(file->openForUpdateOnly());
    auto length = static_cast<std::uint32_t>(more.size());
    ASSERT_TRUE(file->write_length_atOffset(more.data(), &length, static_cast<std::int64_t>(file->lengthInBytes())));
    ASSERT_TRUE(file->close());
  }

  const TemporaryDirectory folder_;
  const std::string path_ = folder_ / "take.aiff";
  const Bytes audio_ = audioBytes(40'000, 1);
};

TEST_F(RecordingWithTracks, KeepsThemByteForByteWhileItGrows) {
  const auto before = ownChunks(bytesOfFile(path_));
  const Bytes more = audioBytes(123'456, 2);
  appendToRecording(more);
  EXPECT_EQ(ownChunks(bytesOfFile(path_)), before);
  EXPECT_EQ(namesIn(path_), "Side A\n");
  EXPECT_EQ(audioOf(path_), audio_ + more);
}

TEST_F(RecordingWithTracks, TakesNewOnesBetweenPiecesOfSound) {
  Bytes expected = audio_;
  for (unsigned round = 0; round < 8; ++round) {
    const Bytes more = audioBytes(round % 2 == 0 ? 4U * round + 4U : 100'000U, round + 3);
    appendToRecording(more);
    expected = expected + more;
    const std::string name(round % 3 == 2 ? 70'000 * round : 10, static_cast<char>('a' + round));
    ASSERT_TRUE(storeName(path_, name));
    EXPECT_EQ(namesIn(path_), name + "\n");
    EXPECT_EQ(audioOf(path_), expected);
    EXPECT_EQ(ownChunks(bytesOfFile(path_)).size(), 1U);
  }
}

TEST_F(RecordingWithTracks, GivesTheRoomOfARetiredChunkBackWhenItGrows) {
  const Bytes name = bigChunk("NAME", text("odd"));
  writeBytesToFile(path_, [&] {
    Bytes file = bytesOfFile(path_) + name;
    const Bytes size = bigEndian(file.size() - 8, 4);
    std::copy(size.begin(), size.end(), file.begin() + 4);
    return file;
  }());
  ASSERT_TRUE(storeName(path_, std::string(70'000, 'L')));
  ASSERT_EQ(chunksNamed(bytesOfFile(path_), "Orvf").size(), 1U) << "the place of the first chunk";
  const Bytes more = audioBytes(100'000, 2);
  appendToRecording(more);
  EXPECT_TRUE(chunksNamed(bytesOfFile(path_), "Orvf").empty());
  EXPECT_EQ(namesIn(path_), std::string(70'000, 'L') + "\n");
  EXPECT_EQ(audioOf(path_), audio_ + more);
  EXPECT_EQ(chunksNamed(bytesOfFile(path_), "NAME").size(), 1U);
}

TEST_F(RecordingWithTracks, KeepsThemWhenSamplesAreOverwrittenInPlace) {
  const auto before = ownChunks(bytesOfFile(path_));
  const auto file = OrvAudioFile::initWithPath_accessMode(path_, OrvAudioFile::kModeReadWrite);
  ASSERT_TRUE(file->openForUpdateOnly());
  const Bytes silence(400);
  std::uint32_t length = 400;
  ASSERT_TRUE(file->write_length_atOffset(silence.data(), &length, 1000));
  ASSERT_TRUE(file->close());
  EXPECT_EQ(ownChunks(bytesOfFile(path_)), before);
  EXPECT_EQ(namesIn(path_), "Side A\n");
}

TEST_F(RecordingWithTracks, IsReadByAnAudioFileThatIsOpenMeanwhile) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path_, OrvAudioFile::kModeRead);
  ASSERT_TRUE(file->open());
  const auto writer = ReaderWriter::initWithAudioFile_applSignature(file, kSignature);
  writer->addTrackInfo(track("Side B"));
  ASSERT_TRUE(writer->storeTracks());
  Bytes read(audio_.size());
  auto length = static_cast<std::uint32_t>(read.size());
  ASSERT_TRUE(file->read_length_fromOffset(read.data(), &length, 0));
  EXPECT_EQ(read, audio_);
}

TEST_F(RecordingWithTracks, OfFloatsInAnAIFCIsNoDifferent) {
  const std::string path = folder_ / "take.aifc";
  const Bytes audio = audioBytes(8'000, 4);
  writeAudioFile(path, kAudioFileAIFCType, floatBig(32), audio);
  ASSERT_TRUE(inFile(path) != nullptr);
  const auto writer = inFile(path);
  writer->addTrackInfo(track("Side A"));
  ASSERT_TRUE(writer->storeTracks());
  EXPECT_EQ(namesIn(path), "Side A\n");
  EXPECT_EQ(audioOf(path), audio);
}

}  // namespace
}  // namespace orv::test
