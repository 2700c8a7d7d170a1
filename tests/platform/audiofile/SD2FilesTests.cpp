#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "CompanionRecipes.h"
#include "support/TemporaryDirectory.h"

/// Sound Designer II files as the service makes, recognises, updates and empties them.
namespace orv::test {
namespace {

constexpr AudioFileTypeID kSD2 = kAudioFileSoundDesigner2Type;
const Bytes kAudio = audioBytes(400);
const Bytes kCompanion = appleDouble(resourceFork());

Opened initialize(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format) {
  std::unique_ptr<AudioFileSession> session;
  const OSStatus status = audioFileService()->initialize(path, type, format, &session);
  return {status, std::move(session), status == noErr ? std::string() : audioFileProblem()};
}

class SD2Files : public ::testing::Test {
 protected:
  void put(const std::string& path, const Bytes& audio, const Bytes& companion = kCompanion) {
    files_->put(path, audio);
    files_->put(companionOf(path), companion);
  }
  AudioFileTypeID typeOf(const std::string& path) {
    const Opened file = openForReading(path);
    EXPECT_EQ(file.status, noErr) << file.problem;
    return file.session ? file.session->fileType() : 0;
  }

  InstalledMemoryFiles files_;
};

// -- Recognition ---------------------------------------------------------------------------------------------------

TEST_F(SD2Files, AreRecognisedByTheirCompanionWhateverTheirName) {
  for (const char* path : {"f.sd2", "F.SD2", "f", "f.aiff", "folder.sd2/f"}) {
    put(path, kAudio);
    EXPECT_EQ(typeOf(path), kSD2) << path;
    EXPECT_EQ(audioOf(path), kAudio);
  }
}

TEST_F(SD2Files, AnEmptyOneHoldsNoAudio) {
  put("f.sd2", {});
  EXPECT_EQ(typeOf("f.sd2"), kSD2);
  EXPECT_TRUE(audioOf("f.sd2").empty());
}

TEST_F(SD2Files, OtherContainersAreRecognisedByTheirContentWhateverTheirNameAndCompanion) {
  put("f.sd2", form("AIFF", commonChunk(1, 400, 8) + soundChunk(kAudio)));
  EXPECT_EQ(typeOf("f.sd2"), kAudioFileAIFFType);
  put("f.sd2", riff(formatChunk(1, 8) + littleChunk("data", kAudio)));
  EXPECT_EQ(typeOf("f.sd2"), kAudioFileWAVEType);
}

TEST_F(SD2Files, ACompanionOfSomethingElseDoesNotMakeAFileOne) {
  put("f.txt", text("Dear diary, today I recorded a concert.\n"),
      appleDouble(resourceFork({{{1000, "a comment"}}, "STR "})));
  const Opened file = openForReading("f.txt");
  EXPECT_EQ(file.status, kAudioFileUnsupportedFileTypeError);
  EXPECT_EQ(file.problem, "not an AIFF, AIFC or WAVE file");
}

TEST_F(SD2Files, ANameThatIsNothingButTheExtensionSaysNothing) {
  files_->put(".sd2", kAudio);
  EXPECT_EQ(openForReading(".sd2").status, kAudioFileUnsupportedFileTypeError);
}

TEST_F(SD2Files, BytesThatAreNoWholeFrameAreLeftOut) {
  put("f.sd2", audioBytes(403));
  EXPECT_EQ(audioOf("f.sd2").size(), 400U);
}

// -- Formats -------------------------------------------------------------------------------------------------------

TEST_F(SD2Files, HoldBigEndianSignedIntegersOfWholeBytesOnly) {
  for (const auto& format : {signedLittle(16), signedLittle(24), signedBig(12), signedBig(20), floatBig(32),
                             floatBig(64), floatLittle(32), unsignedBytes()}) {
    const Opened file = create("f.sd2", kSD2, format);
    EXPECT_EQ(file.status, kAudioFileUnsupportedDataFormatError);
    EXPECT_EQ(file.problem, "Sound Designer II holds big-endian signed integers of 8, 16, 24 or 32 bits");
  }
  EXPECT_TRUE(files_->disk().files.empty());
}

TEST_F(SD2Files, HoldBytesWithoutByteOrder) {
  const Opened file = create("f.sd2", kSD2, signedLittle(8));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_TRUE(isSameFormat(file.session->format(), signedBig(8)));
}

TEST_F(SD2Files, ARateThatTakesMoreThanAPascalStringIsRefused) {
  const Opened file = create("f.sd2", kSD2, signedBig(16, 2, 1e300));
  EXPECT_EQ(file.status, kAudioFileUnsupportedDataFormatError);
  EXPECT_EQ(file.problem, "Sound Designer II can't hold this sample rate");
  EXPECT_TRUE(files_->disk().files.empty());
}

// -- Creation ------------------------------------------------------------------------------------------------------

TEST_F(SD2Files, ANewOneHasItsCompanionBeforeAnyAudio) {
  const Opened file = create("f.sd2", kSD2, signedBig(16));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_TRUE(files_->file("f.sd2").empty());
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);
}

TEST_F(SD2Files, CreatingOverAnExistingFileIsRefusedAndTouchesNeitherPart) {
  put("f.sd2", kAudio);
  const Opened file = create("f.sd2", kSD2, signedBig(24));
  EXPECT_EQ(file.status, kFileExistsStatus);
  EXPECT_EQ(files_->file("f.sd2"), kAudio);
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);

  files_->remove("._f.sd2");
  EXPECT_EQ(create("f.sd2", kSD2, signedBig(24)).status, kFileExistsStatus);
  EXPECT_FALSE(files_->exists("._f.sd2"));
}

TEST_F(SD2Files, ACompanionThatWasLeftAloneIsTakenOver) {
  files_->put("._f.sd2", audioBytes(5000));
  writeAudioFile("f.sd2", kSD2, signedBig(16), kAudio);
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);
  EXPECT_EQ(audioOf("f.sd2"), kAudio);
}

TEST_F(SD2Files, WhenAnyWriteOfItsCreationFailsNothingIsLeft) {
  for (const int change : {0, 1}) {
    files_->disk().changes = 0;
    files_->disk().failAt = change;
    const Opened file = create("f.sd2", kSD2, signedBig(16));
    EXPECT_EQ(file.status, kDiskFullStatus);
    EXPECT_EQ(file.problem, "disk full");
    EXPECT_TRUE(files_->disk().files.empty());
  }
}

TEST_F(SD2Files, EmptyingOneReplacesFileAndCompanion) {
  put("f.sd2", kAudio, appleDouble(resourceFork(soundTexts("3", "96000", "8"))) + audioBytes(900));
  const Opened file = initialize("f.sd2", kSD2, signedBig(16));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_TRUE(files_->file("f.sd2").empty());
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);
}

TEST_F(SD2Files, EmptyingAnotherContainerMakesACompanion) {
  files_->put("f", form("AIFF", commonChunk(1, 400, 8) + soundChunk(kAudio)));
  const Opened file = initialize("f", kSD2, signedBig(16));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_TRUE(files_->file("f").empty());
  EXPECT_EQ(files_->file("._f"), kCompanion);
}

TEST_F(SD2Files, AFormatThatDoesNotFitIsRefusedBeforeAnythingIsTouched) {
  put("f.sd2", kAudio);
  EXPECT_EQ(initialize("f.sd2", kSD2, floatBig(32)).status, kAudioFileUnsupportedDataFormatError);
  EXPECT_EQ(initialize("g.sd2", kSD2, signedBig(16)).status, kFileNotFoundStatus);
  EXPECT_EQ(files_->file("f.sd2"), kAudio);
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);
  EXPECT_EQ(files_->disk().files.size(), 2U);
}

TEST_F(SD2Files, MakingAnotherContainerOfOneTakesItsCompanionAway) {
  put("f.sd2", kAudio);
  const Opened file = initialize("f.sd2", kAudioFileAIFFType, signedBig(16));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_FALSE(files_->exists("._f.sd2"));
}

TEST_F(SD2Files, MakingAnotherContainerKeepsACompanionOfSomethingElse) {
  const Bytes comment = appleDouble(resourceFork({{{1000, "a comment"}}, "STR "}));
  put("f.aiff", kAudio, comment);
  const Opened file = initialize("f.aiff", kAudioFileAIFFType, signedBig(16));
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(files_->file("._f.aiff"), comment);
}

// -- Writing -------------------------------------------------------------------------------------------------------

TEST_F(SD2Files, OpeningForUpdateChangesNothingByItself) {
  put("f.sd2", audioBytes(403));
  const Opened file = openForUpdate("f.sd2");
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(files_->file("f.sd2"), audioBytes(403));
  EXPECT_EQ(files_->file("._f.sd2"), kCompanion);
}

TEST_F(SD2Files, AudioIsWrittenInPlace) {
  put("f.sd2", kAudio);
  const Opened file = openForUpdate("f.sd2");
  const Bytes more = audioBytes(40, 3);
  std::uint32_t count = 40;
  ASSERT_EQ(file.session->writeBytes(100, &count, more.data()), noErr);
  ASSERT_EQ(file.session->close(), noErr);
  Bytes expected = kAudio;
  std::copy(more.begin(), more.end(), expected.begin() + 100);
  EXPECT_EQ(files_->file("f.sd2"), expected);
}

TEST_F(SD2Files, AppendingGoesOnBehindTheLastWholeFrame) {
  put("f.sd2", audioBytes(403));
  const Opened file = openForUpdate("f.sd2");
  append(*file.session, audioBytes(8, 2));
  ASSERT_EQ(file.session->close(), noErr);
  const Bytes whole = audioBytes(403);
  EXPECT_EQ(files_->file("f.sd2"), Bytes(whole.begin(), whole.begin() + 400) + audioBytes(8, 2));
}

TEST_F(SD2Files, NoPadByteFollowsAnOddLength) {
  writeAudioFile("f.sd2", kSD2, signedBig(24, 1), audioBytes(303));
  EXPECT_EQ(files_->file("f.sd2"), audioBytes(303));
  const Opened file = openForUpdate("f.sd2");
  append(*file.session, audioBytes(3, 2));
  ASSERT_EQ(file.session->updateSizes(), noErr);
  append(*file.session, audioBytes(3, 3));
  ASSERT_EQ(file.session->close(), noErr);
  EXPECT_EQ(files_->file("f.sd2"), audioBytes(303) + audioBytes(3, 2) + audioBytes(3, 3));
}

TEST_F(SD2Files, AnUnfinishedFrameIsNotKept) {
  put("f.sd2", kAudio);
  const Opened file = openForUpdate("f.sd2");
  append(*file.session, audioBytes(6, 2));
  EXPECT_EQ(file.session->dataByteCount(), 406);
  ASSERT_EQ(file.session->close(), noErr);
  const Bytes more = audioBytes(6, 2);
  EXPECT_EQ(files_->file("f.sd2"), kAudio + Bytes(more.begin(), more.begin() + 4));
}

TEST_F(SD2Files, AProcessKilledAtAnyMomentLeavesAllThatWasWritten) {
  const Opened file = create("f.sd2", kSD2, signedBig(24, 1));
  ASSERT_EQ(file.status, noErr) << file.problem;
  Bytes written;
  Bytes before;
  int states = 0;
  files_->disk().onChange = [&](const Bytes& state) {
    ++states;
    put("left.sd2", state, files_->file("._f.sd2"));
    const Bytes audio = audioOf("left.sd2");
    EXPECT_GE(audio.size(), before.size() - before.size() % 3);
    ASSERT_LE(audio.size(), written.size());
    EXPECT_TRUE(std::equal(audio.begin(), audio.end(), written.begin()));
  };
  unsigned seed = 1;
  for (const std::size_t count : {3U, 1U, 1U, 1U, 7U, 600U, 5000U, 2U, 70001U, 9U}) {
    const Bytes more = audioBytes(count, ++seed);
    before = written;
    written = std::move(written) + more;
    append(*file.session, more);
  }
  before = written;
  ASSERT_EQ(file.session->close(), noErr);
  EXPECT_GE(states, 8);
}

TEST_F(SD2Files, AFullDiskKeepsWhatFitted) {
  const Opened file = create("f.sd2", kSD2, signedBig(16));
  files_->disk().capacity = 1001;
  const Bytes audio = audioBytes(2000);
  auto count = static_cast<std::uint32_t>(audio.size());
  EXPECT_EQ(file.session->writeBytes(0, &count, audio.data()), kDiskFullStatus);
  EXPECT_EQ(count, 1001U);
  EXPECT_EQ(file.session->close(), noErr);
  const Bytes fitted = audioOf("f.sd2");
  EXPECT_EQ(fitted.size(), 1000U);
  EXPECT_TRUE(std::equal(fitted.begin(), fitted.end(), audio.begin()));
}

// -- The real file system ------------------------------------------------------------------------------------------

class SD2OnDisk : public ::testing::Test {
 protected:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "f.sd2";
};

TEST_F(SD2OnDisk, ADirectoryInPlaceOfTheCompanionIsRefusedAndNothingIsTouched) {
  writeBytesToFile(path_, kAudio);
  std::filesystem::create_directory(companionOf(path_));
  EXPECT_EQ(openForReading(path_).status, kWrongFileKindStatus);
  const Opened file = initialize(path_, kSD2, signedBig(16));
  EXPECT_NE(file.status, noErr);
  EXPECT_NE(file.problem.find(companionOf(path_)), std::string::npos) << file.problem;
  EXPECT_EQ(bytesOfFile(path_), kAudio);
}

TEST_F(SD2OnDisk, ANameThatLeavesNoRoomForTheCompanionsIsRefusedAndNothingIsMade) {
  const std::string path = directory_ / std::string(254, 'n');
  EXPECT_NE(create(path, kSD2, signedBig(16)).status, noErr);
  EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
}

TEST_F(SD2OnDisk, WithoutTheRightToReadTheCompanionTheProblemSaysSo) {
  if (::geteuid() == 0) {
    GTEST_SKIP() << "root may do everything";
  }
  writeAudioFile(path_, kSD2, signedBig(16), kAudio);
  ::chmod(companionOf(path_).c_str(), 0);
  const Opened file = openForReading(path_);
  EXPECT_EQ(file.problem, "Sound Designer II: the companion: permission denied");
}

TEST_F(SD2OnDisk, InAFolderThatMayNotBeWrittenToNothingIsMadeAndNothingEmptied) {
  if (::geteuid() == 0) {
    GTEST_SKIP() << "root may do everything";
  }
  writeBytesToFile(path_, kAudio);
  ::chmod(directory_.path().c_str(), 0500);
  EXPECT_NE(create(directory_ / "g.sd2", kSD2, signedBig(16)).status, noErr);
  EXPECT_NE(initialize(path_, kSD2, signedBig(16)).status, noErr);
  ::chmod(directory_.path().c_str(), 0700);
  EXPECT_EQ(bytesOfFile(path_), kAudio);
  EXPECT_FALSE(std::filesystem::exists(companionOf(path_)));
}

}  // namespace
}  // namespace orv::test
