#include <gtest/gtest.h>
#include <sndfile.h>

#include "ForeignRecipes.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class ForeignRefusal : public testing::Test {
 protected:
  void expectRefusal(const std::string& name, OSStatus status, const std::string& problem) {
    const std::string before = readWholeFile(scratch_ / name);
    for (const bool forUpdate : {false, true}) {
      const OpenedForeign opened = openFile(scratch_ / name, forUpdate);
      EXPECT_EQ(opened.status, status) << fourCCText(static_cast<FourCharCode>(opened.status));
      EXPECT_EQ(opened.problem, problem);
      EXPECT_EQ(opened.session, nullptr);
    }
    EXPECT_EQ(readWholeFile(scratch_ / name), before);
  }

  TemporaryDirectory scratch_;
};

TEST_F(ForeignRefusal, NothingCanBeWrittenIntoThem) {
  const std::string path = make(foreignFile("Flac16"), makeSource(10'000), scratch_.path());
  const std::string before = readWholeFile(path);
  const OpenedForeign opened = openFile(path);
  ASSERT_EQ(opened.status, noErr);
  std::uint32_t count = 4;
  EXPECT_EQ(opened.session->writeBytes(0, &count, "abcd"), kAudioFilePermissionsError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(audioFileProblem(), "files of other programs can only be read");
  EXPECT_EQ(opened.session->updateSizes(), kAudioFilePermissionsError);
  EXPECT_EQ(opened.session->close(), noErr);
  EXPECT_EQ(readWholeFile(path), before);
}

TEST_F(ForeignRefusal, TheyCanNotBeOpenedForUpdate) {
  for (const char* name : {"Flac16", "Vorbis", "Mp3", "Caf16", "AifcULaw", "WaveImaAdpcm"}) {
    const std::string path = make(foreignFile(name), makeSource(10'000), scratch_.path());
    const std::string before = readWholeFile(path);
    const OpenedForeign opened = openFile(path, true);
    EXPECT_EQ(opened.status, kAudioFilePermissionsError) << name;
    EXPECT_EQ(opened.problem, "files of other programs can only be read");
    EXPECT_EQ(opened.session, nullptr);
    EXPECT_EQ(readWholeFile(path), before) << name;
  }
}

TEST_F(ForeignRefusal, TheyCanNotBeMade) {
  const AudioStreamBasicDescription format{
      44100, kAudioFormatLinearPCM, kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked, 4, 1, 4, 2, 16, 0};
  for (const AudioFileTypeID type :
       {kAudioFileFLACType, kAudioFileOggType, kAudioFileMP3Type, kAudioFileCAFType, kAudioFileNextType}) {
    std::unique_ptr<AudioFileSession> session;
    EXPECT_EQ(audioFileService()->create(scratch_ / "new", type, format, &session), kAudioFileUnsupportedFileTypeError);
    EXPECT_EQ(session, nullptr);
  }
}

TEST_F(ForeignRefusal, AClosedFileAnswersWithAStatus) {
  const OpenedForeign opened = openFile(make(foreignFile("Flac16"), makeSource(1000), scratch_.path()));
  ASSERT_EQ(opened.status, noErr);
  EXPECT_EQ(opened.session->close(), noErr);
  EXPECT_EQ(opened.session->close(), kAudioFileUnspecifiedError);
  char buffer[4];
  std::uint32_t count = sizeof buffer;
  EXPECT_EQ(opened.session->readBytes(0, &count, buffer), kAudioFileUnspecifiedError);
  EXPECT_EQ(count, 0U);
}

TEST_F(ForeignRefusal, TextUnderTheNameOfAFlacIsNotAnAudioFile) {
  writeWholeFile(scratch_ / "a.flac", "Dear diary, today I recorded a concert.\n");
  EXPECT_EQ(openFile(scratch_ / "a.flac").status, kAudioFileUnsupportedFileTypeError);
  EXPECT_EQ(openFile(scratch_ / "a.flac").problem.find('\n'), std::string::npos);
}

TEST_F(ForeignRefusal, AnEmptyFileIsEmpty) {
  writeWholeFile(scratch_ / "a.mp3", "");
  expectRefusal("a.mp3", kAudioFileUnsupportedFileTypeError, "the file is empty");
}

TEST_F(ForeignRefusal, ADirectoryIsNoFile) {
  EXPECT_NE(openFile(scratch_.path()).status, noErr);
  EXPECT_FALSE(openFile(scratch_.path()).problem.empty());
}

TEST_F(ForeignRefusal, ASignatureWithNothingBehindItIsADamagedFileAndSaysOfWhatKind) {
  for (const auto& [head, name] : std::vector<std::pair<std::string, std::string>>{
           {"fLaC", "FLAC"}, {"OggS", "Ogg"}, {"caff", "CAF"}, {".snd", "AU"}, {"ID3", "MP3"}}) {
    writeWholeFile(scratch_ / "a", head + std::string(20, '\1'));
    const OpenedForeign opened = openFile(scratch_ / "a");
    EXPECT_NE(opened.status, noErr) << name;
    EXPECT_TRUE(opened.problem.starts_with(name + ": the file can't be decoded (")) << opened.problem;
    EXPECT_EQ(opened.problem.find('\n'), std::string::npos);
  }
}

TEST_F(ForeignRefusal, AnOggStreamOfAnotherCodecIsRefused) {
  writeWithLibsndfile(scratch_ / "plain.wav", makeSource(16'000, 16, 1, 16'000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  encodeWithFfmpeg(scratch_ / "plain.wav", {"-c:a", "libspeex"}, scratch_ / "a.ogg");
  const OpenedForeign opened = openFile(scratch_ / "a.ogg");
  EXPECT_NE(opened.status, noErr);
  EXPECT_TRUE(opened.problem.starts_with("Ogg: the file can't be decoded (")) << opened.problem;
}

TEST_F(ForeignRefusal, CompressedAIFCThatNobodyDecodesKeepsTheAnswerOfOurContainer) {
  const std::string path = make(foreignFile("AifcULaw"), makeSource(1000), scratch_.path());
  std::string bytes = readWholeFile(path);
  const std::size_t code = bytes.find("ulaw");
  ASSERT_NE(code, std::string::npos);
  bytes.replace(code, 4, "QDM2");
  writeWholeFile(scratch_ / "a.aifc", bytes);
  expectRefusal("a.aifc", kAudioFileUnsupportedDataFormatError, "AIFC: compression 'QDM2' can't be read");
}

TEST_F(ForeignRefusal, PlainSamplesThatOurContainerRefusesAreNotTriedAnotherWay) {
  writeWithLibsndfile(scratch_ / "a.wav", makeSource(1000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  std::string bytes = readWholeFile(scratch_ / "a.wav");
  bytes[34] = 13;  // bits of a sample
  bytes[32] = 8;   // bytes of a frame
  writeWholeFile(scratch_ / "a.wav", bytes);
  EXPECT_NE(openFile(scratch_ / "a.wav").status, noErr);
}

}  // namespace
}  // namespace orv::test
