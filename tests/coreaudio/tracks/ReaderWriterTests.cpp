#include <OrvCoreAudio/OrvObject.h>

#include "TracksInMemory.h"

namespace orv::test {
namespace {

class TracksInFile : public ::testing::Test {
 protected:
  TracksInFile() { files_->put("take.aiff", plainAIFF()); }

  std::size_t fileLength() { return files_->file("take.aiff").size(); }
  std::uint32_t formSize() { return bigNumber(files_->file("take.aiff"), 4); }

  InstalledMemoryFiles files_;
  const std::size_t lengthBefore_ = plainAIFF().size();
};

TEST_F(TracksInFile, ComeBackWithProcessingAndFlag) {
  const auto writer = inFile("take.aiff");
  writer->addTrackInfo(
      OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive("One", 5, 900, true));
  writer->addTrackInfoForAllTracks({track("Two", 900, 2000), OrvAudioTrackInfo::init()});
  const auto gain =
      OrvAudioProcessingRangeInfo::initWithProcessNameAndRange_processingStartFrame_processingEndFrame("Gain", 10, 20);
  gain->addProcessingSettingFloat_value("dB", -6);
  writer->addAudioProcessingInfo(gain);
  writer->setFileHasBeenProcessed(true);
  ASSERT_TRUE(writer->writeTrackInfosToFile());

  const auto reader = inFile("take.aiff");
  ASSERT_TRUE(reader->readTrackInfosFromFile());
  ASSERT_EQ(reader->trackInfos()->size(), 3U);
  const auto first = reader->trackInfos()->front();
  EXPECT_EQ(first->trackName(), "One");
  EXPECT_EQ(first->trackBeginFrame(), 5U);
  EXPECT_EQ(first->trackEndFrame(), 900U);
  EXPECT_TRUE(first->isActive());
  EXPECT_FALSE(reader->trackInfos()->back()->trackName());
  ASSERT_EQ(reader->processingInfos()->size(), 1U);
  EXPECT_EQ(*reader->processingInfos()->front()->processingSettings()->at("dB").as<float>(), -6.0F);
  EXPECT_TRUE(reader->fileHasBeenProcessed());
}

TEST_F(TracksInFile, AreAppendedAsOneChunkAndTheFormGrowsWithIt) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  const Bytes file = files_->file("take.aiff");
  const std::uint32_t dataLength = bigNumber(file, lengthBefore_ + 16);
  EXPECT_EQ(dataLength % 2, 0U);
  EXPECT_EQ(file.size(), lengthBefore_ + 20 + dataLength);
  EXPECT_EQ(formSize(), file.size() - 8);
  EXPECT_EQ(ownChunks(file).size(), 1U);
}

TEST_F(TracksInFile, ChangeNoByteOfWhatWasThere) {
  const Bytes before = files_->file("take.aiff");
  ASSERT_TRUE(storeName("take.aiff", "One"));
  Bytes after = files_->file("take.aiff");
  after.resize(before.size());
  std::copy_n(before.begin() + 4, 4, after.begin() + 4);
  EXPECT_EQ(after, before);
}

TEST_F(TracksInFile, TheSignatureGivenForAPathStandsInReadingOrder) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  EXPECT_EQ(Bytes(files_->file("take.aiff").begin() + static_cast<std::ptrdiff_t>(lengthBefore_) + 8,
                  files_->file("take.aiff").begin() + static_cast<std::ptrdiff_t>(lengthBefore_) + 12),
            text("Vorn"));
}

TEST_F(TracksInFile, TheSignatureGivenForAFileStandsAsItLiesInMemory) {
  const auto file = OrvAudioFile::initWithPath_accessMode("take.aiff", OrvAudioFile::kModeRead);
  const auto writer = ReaderWriter::initWithAudioFile_applSignature(file, kSignature);
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  Bytes inMemory(4);
  std::memcpy(inMemory.data(), &kSignature, 4);
  EXPECT_EQ(Bytes(files_->file("take.aiff").begin() + static_cast<std::ptrdiff_t>(lengthBefore_) + 8,
                  files_->file("take.aiff").begin() + static_cast<std::ptrdiff_t>(lengthBefore_) + 12),
            inMemory);
  EXPECT_TRUE(ReaderWriter::initWithAudioFile_applSignature(file, kSignature)->loadTracks());
  EXPECT_EQ(namesIn("take.aiff"), "problem: the file holds no tracks") << "under the signature in reading order";
}

TEST_F(TracksInFile, ASecondWriteOverwritesInPlace) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  const std::size_t length = fileLength();
  ASSERT_TRUE(storeName("take.aiff", "A name that is not as short as the first"));
  EXPECT_EQ(fileLength(), length);
  EXPECT_EQ(namesIn("take.aiff"), "A name that is not as short as the first\n");
}

TEST_F(TracksInFile, KeepOneChunkThroughAnyNumberOfWritesOfOneObject) {
  const auto writer = inFile("take.aiff");
  for (int i = 0; i < 25; ++i) {
    writer->addTrackInfo(track("Track " + std::to_string(i)));
    ASSERT_TRUE(writer->writeTrackInfosToFile());
    ASSERT_EQ(ownChunks(files_->file("take.aiff")).size(), 1U);
    ASSERT_TRUE(writer->readTrackInfosFromFile());
    ASSERT_EQ(writer->trackInfos()->size(), static_cast<std::size_t>(i) + 1);
  }
}

TEST_F(TracksInFile, OneObjectScansAnyNumberOfFilesWithAnyNumberOfChunks) {
  Bytes many;
  for (int i = 0; i < 30; ++i) {
    many = std::move(many) + ownChunk(2, bigEndian(4, 4) + Bytes(12 + static_cast<std::size_t>(i)));
  }
  files_->put("take.aiff", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + many));
  const auto reader = inFile("take.aiff");
  for (int i = 0; i < 30; ++i) {
    EXPECT_FALSE(reader->loadTracks());
  }
  reader->addTrackInfo(track("One"));
  EXPECT_TRUE(reader->writeTrackInfosToFile());
  EXPECT_EQ(namesIn("take.aiff"), "One\n");
  EXPECT_EQ(ownChunks(files_->file("take.aiff")).size(), 1U);
}

TEST_F(TracksInFile, WhatAnObjectFoundInAFileBeforeIsForgotten) {
  const Bytes valid = [&] {
    EXPECT_TRUE(storeName("take.aiff", "Old"));
    const auto own = ownChunks(files_->file("take.aiff"));
    return own.empty() ? Bytes() : bigChunk("APPL", own[0]);
  }();
  files_->put("take.aiff", aiff(commonChunk(2, 100, 16) + valid + valid + soundChunk(shortAudio())));
  const auto writer = inFile("take.aiff");
  ASSERT_TRUE(writer->loadTracks());
  files_->put("take.aiff", aiff(commonChunk(2, 33'000, 16) + soundChunk(audioBytes(132'000))));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(audioOf("take.aiff"), audioBytes(132'000));
}

TEST_F(TracksInFile, ABlockOfFixedSizeGrowsTheFileByItsSize) {
  const auto writer = inFileWithBlock("take.aiff", 4096);
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  const Bytes& file = files_->file("take.aiff");
  EXPECT_EQ(file.size(), lengthBefore_ + 4096 + 8);
  EXPECT_EQ(formSize(), file.size() - 8);
  EXPECT_EQ(bigNumber(file, lengthBefore_ + 4), 4096U);
}

TEST_F(TracksInFile, TheUsualBlockHas32768Bytes) {
  const auto writer =
      ReaderWriter::initWithAudioFilePath_applSignature_useFixedSizeBlock("take.aiff", kSignature, true);
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(fileLength(), lengthBefore_ + 32768 + 8);
  const auto variable =
      ReaderWriter::initWithAudioFilePath_applSignature_useFixedSizeBlock("take.aiff", kSignature, false);
  variable->addTrackInfo(track("One"));
  ASSERT_TRUE(variable->writeTrackInfosToFile());
  EXPECT_EQ(namesIn("take.aiff"), "One\n");
}

/// The unconverted size of a block of 4,096 bytes is 1,048,576.
TEST_F(TracksInFile, ABlockOfFixedSizeIsFoundAgainInAFileThatIsLongEnough) {
  const Bytes audio = audioBytes(1'100'000);
  files_->put("take.aiff", aiff(commonChunk(2, 275'000, 16) + soundChunk(audio)));
  const auto writer = inFileWithBlock("take.aiff", 4096);
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->storeTracks()) << writer->lastProblem();
  const std::size_t length = fileLength();
  writer->addTrackInfo(track("Two"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(fileLength(), length);
  EXPECT_EQ(namesIn("take.aiff"), "One\nTwo\n");
  EXPECT_EQ(audioOf("take.aiff"), audio);
}

TEST_F(TracksInFile, ABlockOfFixedSizeIsNotFoundAgainInAShorterFileAndStoringSaysSo) {
  const auto writer = inFileWithBlock("take.aiff", 4096);
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(namesIn("take.aiff"), "problem: the stored tracks are damaged");
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(fileLength(), lengthBefore_ + 2 * (4096 + 8)) << "another one was appended";
  EXPECT_EQ(ownChunks(files_->file("take.aiff")).size(), 1U) << "and the first one retired";
  const Bytes before = files_->file("take.aiff");
  EXPECT_FALSE(writer->storeTracks());
  EXPECT_EQ(writer->lastProblem(), "the file is too short for tracks in a block of fixed size");
  EXPECT_EQ(files_->file("take.aiff"), before);
}

TEST_F(TracksInFile, TracksThatDoNotFitIntoTheBlockAreNotWritten) {
  const Bytes before = files_->file("take.aiff");
  const LogCapture log;
  for (const std::uint32_t blockSize : {0U, 1U, 12U, 64U}) {
    const auto writer = inFileWithBlock("take.aiff", blockSize);
    writer->addTrackInfo(track("One"));
    EXPECT_FALSE(writer->writeTrackInfosToFile());
  }
  EXPECT_EQ(files_->file("take.aiff"), before);
  EXPECT_TRUE(log.contains("UNABLE TO WRITE APPLICATION INFORMATION TO AUDIO FILE"));
}

TEST_F(TracksInFile, AFileWhoseFormSizeIsWrongIsNeitherReadNorWritten) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  files_->file("take.aiff").push_back(0);
  const Bytes before = files_->file("take.aiff");
  const LogCapture log;
  EXPECT_FALSE(storeName("take.aiff", "Two"));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"UNABLE TO WRITE APPLICATION INFORMATION TO AUDIO FILE"});
  EXPECT_EQ(files_->file("take.aiff"), before);
  EXPECT_EQ(namesIn("take.aiff"),
            "problem: the size that the file's FORM states is not its length: repair the file first");
}

TEST_F(TracksInFile, AFileThatDoesNotBeginWithFormPassesTheCheckAndStoringRefusesIt) {
  const Bytes wave = riff(formatChunk(2, 16) + littleChunk("data", shortAudio()));
  files_->put("take.wav", wave);
  const auto writer = inFile("take.wav");
  EXPECT_TRUE(writer->verifyBasicFileFormat(*openHandle("take.wav")));
  writer->addTrackInfo(track("One"));
  {
    const LogCapture log;
    EXPECT_FALSE(writer->storeTracks());
  }
  EXPECT_EQ(writer->lastProblem(), "tracks can only be stored in AIFF and AIFC files");
  EXPECT_EQ(files_->file("take.wav"), wave);

  EXPECT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(files_->file("take.wav").size(), wave.size() + 65536 + 8);
  EXPECT_EQ(bigNumber(files_->file("take.wav"), 4), files_->file("take.wav").size() - 8);
}

TEST_F(TracksInFile, NothingIsStoredWhereThereIsNothing) {
  const Bytes before = files_->file("take.aiff");
  const LogCapture log;
  EXPECT_FALSE(inFile("take.aiff")->writeTrackInfosToFile());
  EXPECT_EQ(files_->file("take.aiff"), before);
  EXPECT_TRUE(inFile("take.aiff")->writeDataToFile_fileHandle({}, *openHandle("take.aiff")));
  EXPECT_EQ(files_->file("take.aiff"), before);
}

TEST_F(TracksInFile, AFileThatIsMissingIsTold) {
  const LogCapture log;
  const auto missing = inFile("missing.aiff");
  EXPECT_FALSE(missing->loadTracks());
  EXPECT_EQ(missing->lastProblem(), "missing.aiff: no such file or directory");
  missing->addTrackInfo(track("One"));
  EXPECT_FALSE(missing->storeTracks());
  EXPECT_EQ(missing->lastProblem(), "missing.aiff: no such file or directory");
  EXPECT_FALSE(files_->exists("missing.aiff"));
}

TEST_F(TracksInFile, ThatAreMissingAreToldApartFromThoseThatCannotBeRead) {
  const auto isNothingStored = [](const std::string& path) {
    const auto reader = inFile(path);
    EXPECT_FALSE(reader->loadTracks());
    return reader->isNothingStored();
  };
  EXPECT_TRUE(isNothingStored("take.aiff"));
  EXPECT_FALSE(isNothingStored("missing.aiff"));
  files_->put("take.aiff", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + ownChunk(3, Bytes(100, 1))));
  EXPECT_FALSE(isNothingStored("take.aiff"));
  files_->put("take.aiff", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + ownChunk(2, Bytes(100, 1))));
  EXPECT_FALSE(isNothingStored("take.aiff"));
}

TEST_F(TracksInFile, WhatWasReadBeforeCountsForReadingButNotForLoading) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  const auto reader = inFile("take.aiff");
  ASSERT_TRUE(reader->readTrackInfosFromFile());
  files_->put("take.aiff", plainAIFF());
  EXPECT_TRUE(reader->readTrackInfosFromFile());
  EXPECT_EQ(reader->lastProblem(), "the file holds no tracks");
  EXPECT_FALSE(reader->loadTracks());
  EXPECT_EQ(reader->trackInfos()->front()->trackName(), "One") << "what was there is kept";
}

TEST_F(TracksInFile, ClearingIsStored) {
  ASSERT_TRUE(storeName("take.aiff", "One"));
  const auto writer = inFile("take.aiff");
  ASSERT_TRUE(writer->loadTracks());
  writer->clearTrackInfos();
  writer->clearProcessingInfos();
  ASSERT_TRUE(writer->storeTracks());
  const auto reader = inFile("take.aiff");
  ASSERT_TRUE(reader->loadTracks());
  EXPECT_EQ(reader->trackInfos(), nullptr);
}

TEST_F(TracksInFile, SingleStepsDoTheirWork) {
  const auto writer = inFile("take.aiff");
  const auto file = openHandle("take.aiff");
  EXPECT_TRUE(writer->repairFile_atOffset(*file, 12));
  const ArchiveBytes odd(33, 0xAA);
  const auto end = static_cast<std::uint32_t>(lengthBefore_);
  EXPECT_EQ(writer->writeApplicationChunkToFile_applicationData_atOffset(*file, odd, end), 20U + 33U + 1U);
  EXPECT_FALSE(writer->verifyBasicFileFormat(*file));
  EXPECT_TRUE(writer->updateFormChunkSizeInFile_bytesAdded(*file, 12345));
  EXPECT_TRUE(writer->verifyBasicFileFormat(*file));
  EXPECT_EQ(ownChunks(files_->file("take.aiff")).at(0).size(), 33U + 12U);
  EXPECT_EQ(chunksNamed(files_->file("take.aiff"), "SSND").size(), 1U);
}

TEST_F(TracksInFile, BytesThatAreNoArchiveAreWrittenAsTheyAre) {
  const auto writer = inFile("take.aiff");
  ASSERT_TRUE(writer->writeDataToFile_fileHandle(ArchiveBytes(33, 0xAA), *openHandle("take.aiff")));
  EXPECT_EQ(fileLength(), lengthBefore_ + 20 + 33 + 1);
}

TEST(ApplicationChunkRecord, IsValidWhenItsSizesFitIntoTheFile) {
  const auto judged = [](std::uint32_t chunkSize, std::uint32_t dataSize, std::uint64_t fileLength) {
    OrvApplicationChunk chunk{};
    chunk.chunkSize = chunkSize;
    chunk.dataSize = dataSize;
    ReaderWriter::validateVornApplicationChunk_fileLength(chunk, fileLength);
    return chunk.seemsValid;
  };
  EXPECT_TRUE(judged(92, 84, 100));
  EXPECT_FALSE(judged(93, 0, 100));
  EXPECT_FALSE(judged(0, 85, 100));
  EXPECT_FALSE(judged(0xFFFFFFFF, 0, 100)) << "nothing wraps";
  EXPECT_FALSE(judged(0, 0xFFFFFFFF, 100));
}

TEST(ApplicationChunkRecord, IsCompatibleUpToVersion2) {
  for (const auto& [version, isCompatible] : {std::pair{0U, true}, {2U, true}, {3U, false}, {0xFFFFFFFFU, false}}) {
    OrvApplicationChunk chunk{};
    chunk.version = version;
    ReaderWriter::validateVornApplicationChunk_fileLength(chunk, 100);
    EXPECT_EQ(chunk.isCompatible, isCompatible);
    EXPECT_TRUE(chunk.seemsValid);
  }
}

class Refuser final : public OrvObject, public OrvTrackInfoVersionDelegate {
 public:
  bool versionIsSupported(std::uint32_t version) override { return version == 77; }
};

TEST_F(TracksInFile, TheDelegateIsAskedForVersionsWhileItLives) {
  const auto reader = inFile("take.aiff");
  EXPECT_TRUE(reader->versionIsSupported(2));
  EXPECT_FALSE(reader->versionIsSupported(3));
  auto refuser = std::make_shared<Refuser>();
  reader->setDelegate(refuser);
  EXPECT_EQ(reader->delegate(), refuser);
  EXPECT_TRUE(reader->versionIsSupported(77));
  EXPECT_FALSE(reader->versionIsSupported(2));
  refuser = nullptr;
  EXPECT_EQ(reader->delegate(), nullptr) << "it is not retained";
  EXPECT_TRUE(reader->versionIsSupported(2));
  const auto other = OrvAudioTrackInfo::init();
  reader->setDelegate(other);
  EXPECT_TRUE(reader->versionIsSupported(2)) << "an object that cannot answer is not asked";
}

TEST(TracksReaderWriter, TwoForTheSamePathAreEqualAndSoIsAnyOtherObject) {
  EXPECT_TRUE(inFile("/x/take1.aiff")->isEqual(inFile("/x/take1.aiff")));
  EXPECT_TRUE(inFile("/x/take1.aiff")->isEqual(ReaderWriter::initWithAudioFilePathExternalStorage("/x/take1.wav")));
  EXPECT_FALSE(inFile("/x/take1.aiff")->isEqual(inFile("/x/take2.aiff")));
  EXPECT_TRUE(inFile("/x/take1.aiff")->isEqual(track("One")));
}

TEST(TracksReaderWriter, IsNotMadeWithoutAPath) {
  EXPECT_EQ(ReaderWriter::initWithAudioFilePath_applSignature(std::nullopt, 1), nullptr);
  EXPECT_EQ(ReaderWriter::initWithAudioFile_applSignature(nullptr, 1), nullptr);
  EXPECT_EQ(ReaderWriter::initWithAudioFilePathExternalStorage(std::nullopt), nullptr);
}

TEST(TracksReaderWriter, HoldsTheFileThatIsHandedOver) {
  auto file = OrvAudioFile::initWithPath_accessMode("take.aiff", OrvAudioFile::kModeRead);
  const std::weak_ptr<OrvAudioFile> watched = file;
  auto writer = ReaderWriter::initWithAudioFile_applSignature_useFixedSizeBlock(std::move(file), 1, true);
  EXPECT_FALSE(watched.expired());
  EXPECT_EQ(writer->tracksInfoFilePath(), "take.tracks");
  writer = nullptr;
  EXPECT_TRUE(watched.expired());
}

TEST(TracksReaderWriter, TheOperationThatNeverMadeOneMakesNone) {
  const LogCapture log;
  const auto file = OrvAudioFile::initWithPath_accessMode("take.aiff", OrvAudioFile::kModeRead);
  EXPECT_EQ(ReaderWriter::trackInfoReaderWriterWithAudioFile_applSignature(file, 1), nullptr);
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_NE(ReaderWriter::trackInfoReaderWriterWithAudioFilePath_applSignature("take.aiff", 1), nullptr);
}

TEST(TracksReaderWriter, AnswersForAContainerThatIsNotThere) {
  const auto reader = inFile("take.aiff");
  EXPECT_EQ(reader->trackInfos(), nullptr);
  EXPECT_EQ(reader->processingInfos(), nullptr);
  EXPECT_FALSE(reader->fileHasBeenProcessed());
  reader->clearTrackInfos();
  reader->clearProcessingInfos();
  reader->addAudioProcessingForAllTracks({});
  EXPECT_TRUE(reader->processingInfos()->empty());
}

}  // namespace
}  // namespace orv::test
