#include <gtest/gtest.h>
#include <sndfile.h>

#include "ForeignRecipes.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

/// How long a file is said to be is how much of it can be read.
namespace orv::test {
namespace {

class ForeignLength : public testing::Test {
 protected:
  static constexpr std::int64_t kFrames = 200'000;

  std::string encoded(const std::string& name, const std::vector<std::string>& arguments) {
    const std::string plain = scratch_ / "plain.wav";
    writeWithLibsndfile(plain, makeSource(kFrames), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    encodeWithFfmpeg(plain, arguments, scratch_ / name);
    return scratch_ / name;
  }

  /// Frames that the file claims. Fails the test when it can't be opened, or not all of it read.
  std::int64_t framesOf(const std::string& path) {
    const OpenedForeign opened = openFile(path);
    EXPECT_EQ(opened.status, noErr) << opened.problem;
    if (!opened.session) {
      return -1;
    }
    const std::string bytes = allBytes(*opened.session);
    EXPECT_EQ(static_cast<std::int64_t>(bytes.size()), opened.session->dataByteCount());
    return opened.session->dataByteCount() / opened.session->format().mBytesPerFrame;
  }

  TemporaryDirectory scratch_;
};

TEST_F(ForeignLength, IsExactWhereTheHeaderOfAnMP3TellsIt) {
  EXPECT_EQ(framesOf(encoded("a.mp3", {"-c:a", "libmp3lame", "-q:a", "4"})), kFrames);
}

TEST_F(ForeignLength, OfAnMP3WithoutHeaderIsAllThatCanBeDecodedNotAGuessFromTheSizeOfTheFile) {
  // A quiet begin makes a guess from the first frames far too high or low.
  const std::string path =
      encoded("a.mp3", {"-af", "volume=0:enable='lt(t,1)'", "-c:a", "libmp3lame", "-q:a", "2", "-write_xing", "0"});
  const std::int64_t frames = framesOf(path);
  EXPECT_GE(frames, kFrames);
  EXPECT_LT(frames, kFrames + 4 * 1152);
  EXPECT_EQ(frames % 1152, 0);
}

TEST_F(ForeignLength, OfAFlacThatDoesNotTellItIsFoundOut) {
  const std::string path = encoded("a.flac", {"-c:a", "flac"});
  std::string bytes = readWholeFile(path);
  // The count: 36 bits that end the first 18 bytes behind the block's header (RFC 9639, section 8.2).
  bytes[21] = static_cast<char>(bytes[21] & 0xF0);
  bytes.replace(22, 4, 4, '\0');
  writeWholeFile(path, bytes);
  EXPECT_EQ(framesOf(path), kFrames);
}

TEST_F(ForeignLength, OfAFlacThatClaimsTooMuchIsWhatIsThere) {
  const std::string path = encoded("a.flac", {"-c:a", "flac"});
  std::string bytes = readWholeFile(path);
  bytes[22] = '\x7F';
  writeWholeFile(path, bytes);
  EXPECT_EQ(framesOf(path), kFrames);
}

TEST_F(ForeignLength, OfATruncatedFileIsWhatIsStillThere) {
  const std::vector<std::pair<const char*, std::vector<std::string>>> kinds{
      {"a.flac", {"-c:a", "flac"}},     {"a.mp3", {"-c:a", "libmp3lame", "-b:a", "128k"}},
      {"a.w64", {"-c:a", "pcm_s16le"}}, {"a.au", {"-c:a", "pcm_s16be"}},
      {"a.wav", {"-c:a", "pcm_mulaw"}},
  };
  for (const auto& [name, arguments] : kinds) {
    const std::string path = encoded(name, arguments);
    const std::string bytes = readWholeFile(path);
    writeWholeFile(path, bytes.substr(0, bytes.size() * 6 / 10));
    const std::int64_t frames = framesOf(path);
    EXPECT_GT(frames, kFrames * 4 / 10) << name;
    EXPECT_LT(frames, kFrames * 8 / 10) << name;
  }
}

TEST_F(ForeignLength, OfAFileWithoutAudioIsNone) {
  writeWithLibsndfile(scratch_ / "a.caf", Source{}, SF_FORMAT_CAF | SF_FORMAT_PCM_16);
  EXPECT_EQ(framesOf(scratch_ / "a.caf"), 0);
}

TEST_F(ForeignLength, ReadingAtTheEndIsTheEndOfTheFileAndNotAFailure) {
  const OpenedForeign opened = openFile(encoded("a.flac", {"-c:a", "flac"}));
  ASSERT_EQ(opened.status, noErr);
  const std::int64_t length = opened.session->dataByteCount();
  char buffer[8];
  std::uint32_t count = sizeof buffer;
  EXPECT_EQ(opened.session->readBytes(length - 3, &count, buffer), noErr);
  EXPECT_EQ(count, 3U);
  count = sizeof buffer;
  EXPECT_EQ(opened.session->readBytes(length, &count, buffer), kEndOfFileStatus);
  EXPECT_EQ(count, 0U);
  count = sizeof buffer;
  EXPECT_EQ(opened.session->readBytes(length + (std::int64_t{1} << 60), &count, buffer), kEndOfFileStatus);
  count = 0;
  EXPECT_EQ(opened.session->readBytes(length, &count, buffer), noErr);
  count = 1;
  EXPECT_EQ(opened.session->readBytes(-1, &count, buffer), kAudioFileInvalidPacketOffsetError);
  EXPECT_EQ(count, 0U);
}

}  // namespace
}  // namespace orv::test
