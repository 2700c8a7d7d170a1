#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "AudioFileRecipes.h"
#include "support/TemporaryDirectory.h"

/// Files that can't be opened, each refused with its status and one clear line.
namespace orv::test {
namespace {

class BadFiles : public ::testing::Test {
 protected:
  /// What opening these bytes answers, the same for reading and for update, and without touching them.
  Opened refusalOf(const Bytes& bytes) {
    files_->put("f", bytes);
    Opened forReading = openForReading("f");
    const Opened forUpdate = openForUpdate("f");
    EXPECT_EQ(forReading.status, forUpdate.status);
    EXPECT_EQ(forReading.problem, forUpdate.problem);
    EXPECT_EQ(forReading.session, nullptr);
    EXPECT_EQ(forReading.problem.find('\n'), std::string::npos);
    EXPECT_EQ(files_->file("f"), bytes);
    return forReading;
  }

  void expectRefusal(const Bytes& bytes, OSStatus status, const std::string& problem) {
    const Opened refusal = refusalOf(bytes);
    EXPECT_EQ(fourCCText(static_cast<FourCharCode>(refusal.status)), fourCCText(static_cast<FourCharCode>(status)));
    EXPECT_EQ(refusal.problem, problem);
  }

  InstalledMemoryFiles files_;
};

const Bytes kAudio = audioBytes(400);

Bytes withRate(const Bytes& rate) {
  return form("AIFF", commonChunk(2, 100, 16, rate) + soundChunk(kAudio));
}

Bytes waveWith(const Bytes& formatChunkBody) {
  return riff(littleChunk("fmt ", formatChunkBody) + littleChunk("data", kAudio));
}

TEST_F(BadFiles, EmptyFile) {
  expectRefusal({}, kAudioFileUnsupportedFileTypeError, "the file is empty");
}

TEST_F(BadFiles, TextFile) {
  expectRefusal(text("Dear diary, today I recorded a concert.\n"), kAudioFileUnsupportedFileTypeError,
                "not an AIFF, AIFC or WAVE file");
}

TEST_F(BadFiles, ElevenBytes) {
  expectRefusal(text("FORM\0\0\0\4AIF"), kAudioFileUnsupportedFileTypeError, "not an AIFF, AIFC or WAVE file");
}

TEST_F(BadFiles, TwelveBytesOfAIFF) {
  expectRefusal(form("AIFF", {}), kAudioFileInvalidFileError,
                "AIFF: the file has no common chunk, which says the format");
}

TEST_F(BadFiles, TwelveBytesOfWAVE) {
  expectRefusal(riff({}), kAudioFileInvalidFileError, "WAVE: the file has no format chunk");
}

TEST_F(BadFiles, FormOfPictures) {
  expectRefusal(form("ILBM", bigChunk("BODY", kAudio)), kAudioFileUnsupportedFileTypeError,
                "not an AIFF, AIFC or WAVE file");
}

TEST_F(BadFiles, RiffOfVideo) {
  expectRefusal(littleChunk("RIFF", text("AVI ") + littleChunk("LIST", kAudio)), kAudioFileUnsupportedFileTypeError,
                "not an AIFF, AIFC or WAVE file");
}

TEST_F(BadFiles, AIFFWithoutSoundChunk) {
  expectRefusal(form("AIFF", commonChunk(2, 0, 16)), kAudioFileInvalidFileError, "AIFF: the file has no sound chunk");
}

TEST_F(BadFiles, AIFFWithoutCommonChunk) {
  expectRefusal(form("AIFF", soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: the file has no common chunk, which says the format");
}

TEST_F(BadFiles, WAVEWithoutDataChunk) {
  expectRefusal(riff(formatChunk(2, 16)), kAudioFileInvalidFileError, "WAVE: the file has no data chunk");
}

TEST_F(BadFiles, WAVEWithoutFormatChunk) {
  expectRefusal(riff(littleChunk("data", kAudio)), kAudioFileInvalidFileError, "WAVE: the file has no format chunk");
}

TEST_F(BadFiles, AIFFCutAnywhereInItsHeaderIsRefusedAndBehindItOpens) {
  const Bytes whole = form("AIFF", commonChunk(2, 100, 16) + soundChunk(kAudio));
  for (std::size_t length = 0; length < 54; ++length) {
    const Opened refusal = refusalOf(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_NE(refusal.status, noErr) << length;
    EXPECT_FALSE(refusal.problem.empty()) << length;
  }
  for (std::size_t length = 54; length <= whole.size(); ++length) {
    files_->put("f", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_EQ(audioOf("f").size(), (length - 54) / 4 * 4) << length;
  }
}

TEST_F(BadFiles, WAVECutAnywhereInItsHeaderIsRefusedAndBehindItOpens) {
  const Bytes whole = riff(formatChunk(2, 16) + littleChunk("data", kAudio));
  for (std::size_t length = 0; length < 44; ++length) {
    const Opened refusal = refusalOf(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_NE(refusal.status, noErr) << length;
    EXPECT_FALSE(refusal.problem.empty()) << length;
  }
  for (std::size_t length = 44; length <= whole.size(); ++length) {
    files_->put("f", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_EQ(audioOf("f").size(), (length - 44) / 4 * 4) << length;
  }
}

TEST_F(BadFiles, TruncatedCommonChunk) {
  const Bytes common = bigChunk("COMM", {0, 2, 0, 0, 0, 100});
  expectRefusal(form("AIFF", common + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: the common chunk is too short");
  expectRefusal(form("AIFC", commonChunk(2, 100, 16) + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFC: the common chunk is too short");
}

TEST_F(BadFiles, TruncatedFormatChunk) {
  expectRefusal(waveWith({1, 0, 2, 0}), kAudioFileInvalidFileError, "WAVE: the format chunk is too short");
  expectRefusal(waveWith(formatBody(0xFFFE, 2, 44100, 4, 16) + Bytes{22, 0}), kAudioFileInvalidFileError,
                "WAVE: the extended format chunk is too short");
}

TEST_F(BadFiles, SoundChunkWithoutItsFields) {
  expectRefusal(form("AIFF", commonChunk(2, 100, 16) + bigChunk("SSND", {0, 0, 0, 0})), kAudioFileInvalidFileError,
                "AIFF: the sound chunk is too short");
}

TEST_F(BadFiles, SoundThatBeginsBehindItsChunk) {
  const Bytes sound = bigChunk("SSND", bigEndian(0xFFFFFFFF, 4) + bigEndian(0, 4) + kAudio);
  expectRefusal(form("AIFF", commonChunk(2, 100, 16) + sound), kAudioFileInvalidFileError,
                "AIFF: the sound begins behind the end of its chunk");
}

TEST_F(BadFiles, NoChannels) {
  expectRefusal(form("AIFF", commonChunk(0, 100, 16) + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: the file has no channels");
  expectRefusal(waveWith(formatBody(1, 0, 44100, 4, 16)), kAudioFileInvalidFileError, "WAVE: the file has no channels");
}

TEST_F(BadFiles, TooManyChannels) {
  expectRefusal(form("AIFF", commonChunk(65535, 100, 16) + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: 65535 channels are more than the 1024 that can be read");
  expectRefusal(waveWith(formatBody(1, 65535, 44100, 65534, 16)), kAudioFileInvalidFileError,
                "WAVE: 65535 channels are more than the 1024 that can be read");
  expectRefusal(form("AIFF", commonChunk(1025, 100, 16) + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: 1025 channels are more than the 1024 that can be read");
}

TEST_F(BadFiles, RatesThatAreNone) {
  expectRefusal(withRate(Bytes(10, 0)), kAudioFileInvalidFileError, "AIFF: 0 is not a sample rate");
  expectRefusal(withRate({0xC0, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}), kAudioFileInvalidFileError,
                "AIFF: -44100 is not a sample rate");
  expectRefusal(withRate({0x7F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}), kAudioFileInvalidFileError,
                "AIFF: inf is not a sample rate");
  expectRefusal(withRate({0x7F, 0xFF, 0xC0, 0, 0, 0, 0, 0, 0, 0}), kAudioFileInvalidFileError,
                "AIFF: nan is not a sample rate");
  expectRefusal(waveWith(formatBody(1, 2, 0, 4, 16)), kAudioFileInvalidFileError, "WAVE: 0 is not a sample rate");
}

TEST_F(BadFiles, SampleSizesThatAreNone) {
  expectRefusal(form("AIFF", commonChunk(2, 100, 0) + soundChunk(kAudio)), kAudioFileUnsupportedDataFormatError,
                "AIFF: samples of 0 bits in 0 bytes can't be read");
  expectRefusal(form("AIFF", commonChunk(2, 100, 33) + soundChunk(kAudio)), kAudioFileUnsupportedDataFormatError,
                "AIFF: samples of 33 bits in 5 bytes can't be read");
  expectRefusal(form("AIFF", commonChunk(2, 100, 65535) + soundChunk(kAudio)), kAudioFileUnsupportedDataFormatError,
                "AIFF: samples of 65535 bits in 8192 bytes can't be read");
  expectRefusal(waveWith(formatBody(1, 2, 44100, 0, 16)), kAudioFileUnsupportedDataFormatError,
                "WAVE: samples of 16 bits in 0 bytes can't be read");
  expectRefusal(waveWith(formatBody(1, 2, 44100, 16, 64)), kAudioFileUnsupportedDataFormatError,
                "WAVE: samples of 64 bits in 8 bytes can't be read");
  expectRefusal(waveWith(formatBody(3, 2, 44100, 4, 16)), kAudioFileUnsupportedDataFormatError,
                "WAVE: samples of 16 bits in 2 bytes can't be read");
}

TEST_F(BadFiles, FramesThatDoNotFitTheirSamples) {
  expectRefusal(waveWith(formatBody(1, 2, 44100, 5, 16)), kAudioFileInvalidFileError,
                "WAVE: the size of a frame does not fit its samples");
  expectRefusal(waveWith(formatBody(1, 2, 44100, 8, 24)), kAudioFileInvalidFileError,
                "WAVE: the size of a frame does not fit its samples");
}

TEST_F(BadFiles, CompressedAIFC) {
  const auto aifc = [](std::string_view code) {
    return form("AIFC", commonChunkAIFC(2, 100, 16, code) + soundChunk(kAudio));
  };
  expectRefusal(aifc("MAC3"), kAudioFileUnsupportedDataFormatError,
                "AIFC: compression 'MAC3' (MACE 3:1) can't be read");
  expectRefusal(aifc("ACE2"), kAudioFileUnsupportedDataFormatError, "AIFC: compression 'ACE2' (ACE) can't be read");
  expectRefusal(aifc("QDM2"), kAudioFileUnsupportedDataFormatError, "AIFC: compression 'QDM2' can't be read");
}

TEST_F(BadFiles, OffsetBinaryOfAnotherSizeThanABytesIsReadAsBytes) {
  files_->put("f", form("AIFC", commonChunkAIFC(2, 200, 16, "raw ") + soundChunk(kAudio)));
  EXPECT_EQ(openForReading("f").session->format().mBitsPerChannel, 8U);
}

TEST_F(BadFiles, CompressedWAVE) {
  expectRefusal(waveWith(formatBody(0x55, 2, 44100, 1, 0)), kAudioFileUnsupportedDataFormatError,
                "WAVE: coding 0x0055 (MP3) can't be read");
  expectRefusal(waveWith(formatBody(0x1234, 2, 44100, 4, 16)), kAudioFileUnsupportedDataFormatError,
                "WAVE: coding 0x1234 can't be read");
  const Bytes extension = Bytes{22, 0, 16, 0, 3, 0, 0, 0} + Bytes(16, 0x77);
  expectRefusal(waveWith(formatBody(0xFFFE, 2, 44100, 4, 16) + extension), kAudioFileUnsupportedDataFormatError,
                "WAVE: the sub-format is not one of plain samples");
}

TEST_F(BadFiles, RF64WithoutItsSizes) {
  Bytes file = riff(formatChunk(2, 16) + littleChunk("data", kAudio));
  std::copy_n("RF64", 4, file.begin());
  expectRefusal(file, kAudioFileInvalidFileError, "WAVE: the RF64 file does not begin with its sizes");
}

TEST_F(BadFiles, ChunksWithoutEnd) {
  Bytes chunks;
  for (int i = 0; i < 200000; ++i) {
    chunks = std::move(chunks) + text("NONE") + Bytes(4, 0);
  }
  expectRefusal(form("AIFF", chunks + commonChunk(2, 100, 16) + soundChunk(kAudio)), kAudioFileInvalidFileError,
                "AIFF: the file has no common chunk, which says the format");
}

TEST(BadPaths, MissingFile) {
  const Opened refusal = openForReading(TemporaryDirectory() / "missing.aiff");
  EXPECT_EQ(refusal.status, kFileNotFoundStatus);
  EXPECT_EQ(refusal.problem, "no such file or directory");
}

TEST(BadPaths, Directory) {
  const TemporaryDirectory directory;
  EXPECT_EQ(openForReading(directory.path()).status, kWrongFileKindStatus);
  EXPECT_EQ(openForUpdate(directory.path()).status, kWrongFileKindStatus);
}

/// The superuser may read everything: this makes the process another user for a while.
class OrdinaryUser {
 public:
  OrdinaryUser() : isSuperuser_(::geteuid() == 0) {
    if (isSuperuser_) {
      EXPECT_EQ(::seteuid(65534), 0);
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  ~OrdinaryUser() {
    if (isSuperuser_) {
      EXPECT_EQ(::seteuid(0), 0);
    }
  }

 private:
  const bool isSuperuser_;
};

TEST(BadPaths, NoPermission) {
  const TemporaryDirectory directory;
  const std::string path = directory / "f.aiff";
  writeBytesToFile(path, form("AIFF", commonChunk(2, 100, 16) + soundChunk(kAudio)));
  ::chmod(path.c_str(), 0);
  ::chmod(directory.path().c_str(), 0755);
  const OrdinaryUser user;
  const Opened refusal = openForReading(path);
  EXPECT_EQ(refusal.status, kAudioFilePermissionsError);
  EXPECT_EQ(refusal.problem, "permission denied");
}

}  // namespace
}  // namespace orv::test
