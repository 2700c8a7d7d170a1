#include <OrvCoreAudio/OrvAudioFile.h>
#include <gtest/gtest.h>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::InstalledFake;
using orv::test::LogCapture;
using orv::test::noise;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeWholeFile;

namespace {

using Format = OrvAudioStreamBasicDescription;

/// A fake platform file under a path in a scratch folder.
class File : public testing::Test {
 protected:
  std::shared_ptr<OrvAudioFile> make(int mode) {
    auto file = OrvAudioFile::initWithPath_accessMode(folder / "side.aiff", mode);
    return file;
  }
  std::shared_ptr<OrvAudioFile> makeWithFormat(int mode) {
    auto file = make(mode);
    EXPECT_TRUE(file->setFileStreamFormat(Format::defaultStandardFileFormat()));
    return file;
  }

  LogCapture log;
  InstalledFake fake;
  TemporaryDirectory folder;
};

}  // namespace

TEST_F(File, WithoutAPathThereIsNoFileObject) {
  EXPECT_EQ(OrvAudioFile::initWithPath_accessMode(std::nullopt, 0), nullptr);
}

TEST_F(File, AFreshObjectIsClosedAndHasNoFormat) {
  const auto file = make(0);
  EXPECT_EQ(file->path(), folder / "side.aiff");
  EXPECT_EQ(file->name(), "side.aiff");
  EXPECT_FALSE(file->isOpen());
  EXPECT_EQ(file->fileStreamFormat(), nullptr);
  EXPECT_EQ(file->fileType(), orv::fourCC("AIFF"));
  EXPECT_EQ(file->lengthInFrames(), 0U);
  EXPECT_EQ(file->lengthInMilliSeconds(), 0);
  EXPECT_FALSE(file->formatIDName());
  EXPECT_FALSE(file->usesCache());
  EXPECT_FALSE(file->usesInternalCache());
}

TEST_F(File, OpeningAdoptsTheFilesFormatAndType) {
  fake->format = {48000, orv::fourCC("lpcm"), 12, 6, 1, 6, 2, 24, 0};
  fake->type = orv::fourCC("WAVE");
  fake->data = noise(600);
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  EXPECT_EQ(file->fileType(), orv::fourCC("WAVE"));
  EXPECT_EQ(file->sampleRate(), 48000);
  EXPECT_EQ(file->formatID(), orv::fourCC("lpcm"));
  EXPECT_EQ(file->formatIDName(), "Linear PCM");
  EXPECT_EQ(file->formatFlags(), 12U);
  EXPECT_EQ(file->bytesPerPacket(), 6U);
  EXPECT_EQ(file->framesPerPacket(), 1U);
  EXPECT_EQ(file->bytesPerFrame(), 6U);
  EXPECT_EQ(file->channelsPerFrame(), 2U);
  EXPECT_EQ(file->bitsPerChannel(), 24U);
  EXPECT_EQ(file->lengthInBytes(), 600U);
  EXPECT_EQ(file->lengthInFrames(), 100U);
  EXPECT_EQ(file->lengthInMilliSeconds(), 2);
  EXPECT_FALSE(fake->openedForUpdate);
}

TEST_F(File, OpeningAnOpenFileAnswersNo) {
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  EXPECT_FALSE(file->open());
  EXPECT_TRUE(file->isOpen());
}

TEST_F(File, AFileThatCannotBeOpenedForReadingIsLoggedWithItsStatusTwice) {
  fake->openStatus = orv::statusCC("typ?");
  EXPECT_FALSE(make(0)->open());
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "OrvAudioFile: Error opening audio file in read mode", "OS Status: kAudioFileUnsupportedFileTypeError",
                "OrvAudioFile: Error opening audio file", "OS Status: kAudioFileUnsupportedFileTypeError"}));
}

TEST_F(File, AFailedReadWriteOpenFallsBackToCreate) {
  fake->openStatus = kFileNotFoundStatus;
  const auto file = makeWithFormat(1);
  EXPECT_TRUE(file->open());
  EXPECT_EQ(fake->creations, 1);
  EXPECT_EQ(fake->initializations, 0);
  EXPECT_EQ(file->accessMode(), 1);
  EXPECT_EQ(log.lines().at(0), "OrvAudioFile: Error opening audio file in read/write mode");
}

TEST_F(File, AFailedReadWriteOpenOfAnExistingFileInitialisesIt) {
  writeWholeFile(folder / "side.aiff", "?");
  fake->openStatus = orv::statusCC("typ?");
  EXPECT_TRUE(makeWithFormat(1)->open());
  EXPECT_EQ(fake->creations, 0);
  EXPECT_EQ(fake->initializations, 1);
}

TEST_F(File, OpeningForUpdateOnlyNeverMakesOrEmptiesAFile) {
  fake->openStatus = orv::statusCC("typ?");
  EXPECT_FALSE(makeWithFormat(1)->openForUpdateOnly());
  EXPECT_EQ(fake->creations + fake->initializations, 0);
  fake->openStatus = noErr;
  const auto file = make(0);
  EXPECT_TRUE(file->openForUpdateOnly());
  EXPECT_TRUE(fake->openedForUpdate);
  EXPECT_FALSE(file->openForUpdateOnly());
}

TEST_F(File, OpeningInMode2Creates) {
  const auto file = makeWithFormat(2);
  EXPECT_TRUE(file->open());
  EXPECT_EQ(fake->creations, 1);
  EXPECT_FALSE(file->create());
  EXPECT_FALSE(file->initializeFile());
}

TEST_F(File, CreatingOverAnExistingFileInitialisesIt) {
  writeWholeFile(folder / "side.aiff", "?");
  EXPECT_TRUE(makeWithFormat(2)->create());
  EXPECT_EQ(fake->initializations, 1);
}

TEST_F(File, AFailedCreationIsLogged) {
  fake->createStatus = kDiskFullStatus;
  EXPECT_FALSE(makeWithFormat(2)->create());
  EXPECT_EQ(log.lines().at(0), "OrvAudioFile: Error creating audio file");
  writeWholeFile(folder / "side.aiff", "?");
  EXPECT_FALSE(makeWithFormat(2)->create());
  EXPECT_EQ(log.lines().at(2), "OrvAudioFile: Error initializing audio file");
}

TEST_F(File, ChangingTheModeOfAClosedFileLeavesIt) {
  const auto file = make(0);
  file->changeAccessMode(2);
  EXPECT_EQ(file->accessMode(), 0);
}

TEST_F(File, ChangingTheModeOfAnOpenFileClosesItAndLeavesItClosed) {
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  file->changeAccessMode(0);
  EXPECT_TRUE(file->isOpen());
  file->changeAccessMode(2);
  EXPECT_FALSE(file->isOpen());
  EXPECT_EQ(file->accessMode(), 2);
  EXPECT_EQ(fake->closes, 1);
}

TEST_F(File, ChangingToModeReadWriteTurnsTheCacheOff) {
  const auto file = make(0);
  file->setUseCache(true);
  ASSERT_TRUE(file->open());
  file->changeAccessMode(1);
  EXPECT_FALSE(file->usesCache());
}

TEST_F(File, TheFormatOfAFileThatIsReadCannotBeSet) {
  EXPECT_FALSE(make(0)->setFileStreamFormat(Format::defaultStandardFileFormat()));
}

TEST_F(File, SettingTheFormatOfAnOpenFileOpensItAgain) {
  const auto file = makeWithFormat(2);
  ASSERT_TRUE(file->open());
  EXPECT_TRUE(file->setFileStreamFormat(Format::standardFormat(2)));
  EXPECT_TRUE(file->isOpen());
  EXPECT_EQ(file->sampleRate(), 48000);
  EXPECT_EQ(fake->closes, 1);
  EXPECT_EQ(fake->creations, 2);
}

TEST_F(File, TheFormatSetIsACopy) {
  const auto format = Format::standardFormat(5);
  const auto file = make(2);
  ASSERT_TRUE(file->setFileStreamFormat(format));
  format->setSampleRate(1);
  EXPECT_EQ(file->fileStreamFormat()->sampleRate(), 44100);
}

TEST_F(File, FloatFormatsMakeTheFileAnAIFC) {
  const auto file = make(2);
  file->setFileStreamFormat(Format::standardFormat(3));
  EXPECT_EQ(file->fileType(), orv::fourCC("AIFC"));
  file->setFileStreamFormat(Format::standardFormat(5));
  EXPECT_EQ(file->fileType(), orv::fourCC("AIFF"));
}

TEST_F(File, ReadingAClosedFileAnswersYesAndWritingItNo) {
  const auto file = make(0);
  char bytes[4] = {};
  std::uint32_t length = 4;
  EXPECT_TRUE(file->read_length(bytes, &length));
  EXPECT_TRUE(file->read_length_fromOffset(bytes, &length, 0));
  EXPECT_FALSE(file->write_length(bytes, &length));
  EXPECT_TRUE(file->write_length_atOffset(bytes, &length, 0));
  EXPECT_TRUE(file->flush());
  EXPECT_TRUE(file->close());
}

TEST_F(File, PacketsOfAClosedFileAnswerNo) {
  const auto file = make(0);
  char bytes[4] = {};
  std::uint32_t count = 4;
  std::uint32_t packets = 1;
  EXPECT_FALSE(file->readPackets_numBytes_outPacketDescriptions_numPackets(bytes, &count, nullptr, &packets));
  EXPECT_FALSE(file->writePackets_numBytes_inPacketDescriptions_numPackets(bytes, count, nullptr, &packets));
}

TEST_F(File, UncachedReadsAdvanceTheOffsetAndEndWithNo) {
  fake->data = noise(10);
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  char bytes[8] = {};
  std::uint32_t length = 8;
  EXPECT_TRUE(file->read_length(bytes, &length));
  EXPECT_EQ(file->offset(), 8);
  length = 8;
  EXPECT_TRUE(file->read_length(bytes, &length));
  EXPECT_EQ(length, 2U);
  length = 8;
  EXPECT_FALSE(file->read_length(bytes, &length));
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(file->lastStatus(), kEndOfFileStatus);
}

TEST_F(File, UncachedWritesAdvanceOffsetAndLength) {
  const auto file = makeWithFormat(2);
  ASSERT_TRUE(file->open());
  std::uint32_t length = 8;
  EXPECT_TRUE(file->write_length("01234567", &length));
  EXPECT_TRUE(file->write_length("89abcdef", &length));
  EXPECT_EQ(file->offset(), 16);
  EXPECT_EQ(file->lengthInBytes(), 16U);
  EXPECT_EQ(fake->data, "0123456789abcdef");
}

TEST_F(File, AFailedWriteAnswersNoAndIsLogged) {
  const auto file = makeWithFormat(2);
  ASSERT_TRUE(file->open());
  fake->writeStatus = orv::statusCC("off?");
  std::uint32_t length = 4;
  EXPECT_FALSE(file->write_length("abcd", &length));
  EXPECT_EQ(file->offset(), 0);
  EXPECT_TRUE(log.contains("OS Status: kAudioFileDoesNotAllow64BitDataSizeError"));
}

TEST_F(File, ThePacketPositionAdvancesWhetherOrNotTheCallSucceeds) {
  fake->data = noise(40);
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  std::string bytes(40, '\0');
  std::uint32_t count = 0;
  std::uint32_t packets = 2;
  ASSERT_TRUE(file->readPackets_numBytes_outPacketDescriptions_numPackets(bytes.data(), &count, nullptr, &packets));
  ASSERT_TRUE(file->readPackets_numBytes_outPacketDescriptions_numPackets(bytes.data(), &count, nullptr, &packets));
  EXPECT_EQ(bytes.substr(0, 8), fake->data.substr(8, 8));
  fake->readStatus = orv::statusCC("wht?");
  packets = 2;
  file->readPackets_numBytes_outPacketDescriptions_numPackets(bytes.data(), &count, nullptr, &packets);
  const std::uint32_t advanced = packets;
  fake->readStatus = noErr;
  packets = 1;
  ASSERT_TRUE(file->readPackets_numBytes_outPacketDescriptions_numPackets(bytes.data(), &count, nullptr, &packets));
  EXPECT_EQ(bytes.substr(0, 4), fake->data.substr(16 + advanced * std::size_t{4}, 4));
}

TEST_F(File, LengthsAreThoseOfTheFile) {
  fake->data = noise(44100 * 4);
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  EXPECT_EQ(file->lengthInFrames(), 44100U);
  EXPECT_EQ(file->lengthInMilliSeconds(), 1000);
}

TEST_F(File, AFormatWithoutBytesPerFrameOrRateHasNoLength) {
  const auto file = make(2);
  file->setFileStreamFormat(Format::init());
  EXPECT_EQ(file->lengthInFrames(), 0U);
  EXPECT_EQ(file->lengthInMilliSeconds(), 0);
  const auto noRate = Format::standardFormat(5);
  noRate->setSampleRate(0);
  fake->data = noise(400);
  file->setFileStreamFormat(noRate);
  EXPECT_TRUE(file->open());
  EXPECT_EQ(file->lengthInMilliSeconds(), 0);
}

TEST_F(File, ANewPathForgetsStateButNotTheFormatObject) {
  const auto file = makeWithFormat(2);
  file->updatePath(folder / "other.aiff");
  EXPECT_EQ(file->name(), "other.aiff");
  EXPECT_EQ(file->sampleRate(), 0);
  EXPECT_NE(file->fileStreamFormat(), nullptr);
  file->updatePath(std::nullopt);
  EXPECT_EQ(file->name(), "other.aiff");
}

TEST_F(File, MovingTakesTheFileAndThePathAlong) {
  writeWholeFile(folder / "side.aiff", "music");
  const auto file = make(0);
  EXPECT_TRUE(file->moveToPath_handler(folder / "b.aiff", nullptr));
  EXPECT_EQ(file->path(), folder / "b.aiff");
  EXPECT_EQ(readWholeFile(folder / "b.aiff"), "music");
}

TEST_F(File, AFailedMoveTellsTheHandlerAndKeepsThePath) {
  class Handler final : public orv::FileManagerHandler {
   public:
    bool shouldProceedAfterError(const std::string& error) override {
      text = error;
      return true;
    }
    std::string text;
  } handler;
  writeWholeFile(folder / "side.aiff", "music");
  writeWholeFile(folder / "b.aiff", "other music");
  const auto file = make(0);
  EXPECT_FALSE(file->moveToPath_handler(folder / "b.aiff", &handler));
  EXPECT_EQ(handler.text, "file exists");
  EXPECT_EQ(file->path(), folder / "side.aiff");
  EXPECT_EQ(readWholeFile(folder / "b.aiff"), "other music");
  EXPECT_FALSE(file->copyToPath_handler(folder / "b.aiff", &handler));
  EXPECT_EQ(readWholeFile(folder / "b.aiff"), "other music");
}

TEST_F(File, CopyingKeepsThePath) {
  writeWholeFile(folder / "side.aiff", "music");
  const auto file = make(0);
  EXPECT_TRUE(file->copyToPath_handler(folder / "b.aiff", nullptr));
  EXPECT_EQ(file->path(), folder / "side.aiff");
  EXPECT_EQ(readWholeFile(folder / "b.aiff"), "music");
}

namespace {

/// The type code that closing a file of `type` stamps on it; none where the file system keeps no codes.
std::optional<orv::HFSCodes> stampFor(FourCharCode type, const TemporaryDirectory& folder, InstalledFake& fake) {
  writeWholeFile(folder / "stamped", "?");
  fake->type = type;
  const auto file = OrvAudioFile::initWithPath_accessMode(folder / "stamped", 0);
  EXPECT_TRUE(file->open());
  EXPECT_TRUE(file->close());
  return orv::fileManager()->attributes(folder / "stamped")->hfsCodes;
}

}  // namespace

TEST_F(File, ClosingStampsTypeAndCreator) {
  if (!stampFor(orv::fourCC("AIFF"), folder, fake)) {
    GTEST_SKIP() << "this file system keeps no extended attributes";
  }
  constexpr FourCharCode kCreator = orv::fourCC("tOrQ");
  EXPECT_EQ(stampFor(orv::fourCC("AIFF"), folder, fake), (orv::HFSCodes{orv::fourCC("AIFF"), kCreator}));
  EXPECT_EQ(stampFor(orv::fourCC("WAVE"), folder, fake), (orv::HFSCodes{orv::fourCC("WAVE"), kCreator}));
  EXPECT_EQ(stampFor(orv::fourCC("Sd2f"), folder, fake), (orv::HFSCodes{orv::fourCC("Sd2f"), kCreator}));
  EXPECT_EQ(stampFor(orv::fourCC("AIFC"), folder, fake), (orv::HFSCodes{orv::fourCC("AIFC"), kCreator}));
}

TEST_F(File, AFileOfAnUnknownTypeIsStampedAIFC) {
  const auto codes = stampFor(orv::fourCC("none"), folder, fake);
  if (!codes) {
    GTEST_SKIP() << "this file system keeps no extended attributes";
  }
  EXPECT_EQ(codes->type, orv::fourCC("AIFC"));
}

TEST_F(File, AFileThatCannotBeClosedAnswersNoAndCountsAsClosed) {
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  fake->closeStatus = orv::statusCC("wht?");
  EXPECT_FALSE(file->close());
  EXPECT_FALSE(file->isOpen());
  EXPECT_TRUE(file->close());
}

TEST_F(File, FlushingAnUncachedFileUpdatesItsSizes) {
  const auto file = makeWithFormat(2);
  ASSERT_TRUE(file->open());
  EXPECT_TRUE(file->flush());
  EXPECT_EQ(fake->updates, 1);
}

TEST_F(File, LinearPCMHasNoMagicCookie) {
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  std::uint32_t size = 7;
  EXPECT_EQ(file->magicCookie(&size), nullptr);
  EXPECT_EQ(size, 0U);
  EXPECT_NE(file->setMagicCookie_size("c", 1), noErr);
}

TEST_F(File, TheDebugReportHasPathOffsetLengthsAndFormat) {
  fake->data = noise(400);
  const auto file = make(0);
  ASSERT_TRUE(file->open());
  const std::string report = file->dumpDebugInfo();
  EXPECT_EQ(report.find("\nDebug information <OrvAudioFile: 0x"), 0U);
  EXPECT_NE(report.find("\nPath: " + folder.path() +
                        "/side.aiff\nName: side.aiff\n\n            fileOffset: 0"
                        "\n         lengthInBytes: 400\n        lengthInFrames: 100\n\n\n  lengthInMilliSeconds: 2"
                        "File stream format:\n\tSample rate:      44100Hz\n"),
            std::string::npos)
      << report;
}

TEST(OrvAudioFileNames, PropertiesHaveNames) {
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("ffmt")), "kAudioFilePropertyFileFormat");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("dfmt")), "kAudioFilePropertyDataFormat");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("fnme")), "kAudioFilePropertyDataFormatName");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("optm")), "kAudioFilePropertyIsOptimized");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("mgic")), "kAudioFilePropertyMagicCookieData");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("bcnt")), "kAudioFilePropertyAudioDataByteCount");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("pcnt")), "kAudioFilePropertyAudioDataPacketCount");
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("psze")), "kAudioFilePropertyMaximumPacketSize");
}

TEST(OrvAudioFileNames, AnUnknownPropertyIsNamedByItsBytesInMemoryOrder) {
  EXPECT_EQ(OrvAudioFile::propertyName(orv::fourCC("abcd")), "Unknown property: dcba");
}

TEST(OrvAudioFileNames, EveryKnownStatusHasItsLine) {
  const LogCapture log;
  for (const char* code :
       {"wht?", "typ?", "fmt?", "pty?", "!siz", "prm?", "optm", "nme?", "chk?", "off?", "pck?", "dta?", "op??"}) {
    OrvAudioFile::printOSStatusCode((code[0] << 24) | (code[1] << 16) | (code[2] << 8) | code[3]);
  }
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "OS Status: kAudioFileUnspecifiedError", "OS Status: kAudioFileUnsupportedFileTypeError",
                "OS Status: kAudioFileUnsupportedDataFormatError", "OS Status: kAudioFileUnsupportedPropertyError",
                "OS Status: kAudioFileBadPropertySizeError", "OS Status: kAudioFilePermissionsError",
                "OS Status: kAudioFileNotOptimizedError", "OS Status: kAudioFileFormatNameUnavailableError",
                "OS Status: kAudioFileInvalidChunkError", "OS Status: kAudioFileDoesNotAllow64BitDataSizeError",
                "OS Status: kAudioFileInvalidPacketOffsetError", "OS Status: kAudioFileInvalidFileError",
                "OS Status: kAudioFileOperationNotSupportedError"}));
}

TEST(OrvAudioFileNames, AnyOtherStatusIsPrintedInMemoryOrderWithItsNumber) {
  const LogCapture log;
  OrvAudioFile::printOSStatusCode(orv::statusCC("abcd"));
  EXPECT_EQ(log.lines().at(0), "OrvAudioFile: OS Status: dcba (1633837924)");
}

TEST(OrvAudioFileProperties, APropertyThatCannotBeReadIsLoggedAndNull) {
  const LogCapture log;
  const InstalledFake fake;
  const auto file = OrvAudioFile::initWithPath_accessMode("fake.aiff", 0);
  ASSERT_TRUE(file->open());
  EXPECT_EQ(OrvAudioFile::sizeOfPropertyData_propertyID(file->audioFileID(), orv::fourCC("abcd")), 0U);
  EXPECT_EQ(OrvAudioFile::anyProperty_propertyID(file->audioFileID(), orv::fourCC("abcd")), nullptr);
  EXPECT_EQ(log.lines().at(0), "ERROR READING AUDIO FILE PROPERTY SIZE FOR: Unknown property: dcba");
  EXPECT_EQ(log.lines().at(1), "OS Status: kAudioFileUnsupportedPropertyError");
}
