#include <filesystem>

#include "TracksInMemory.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class SideFile : public ::testing::Test {
 protected:
  std::shared_ptr<ReaderWriter> beside() const { return ReaderWriter::initWithAudioFilePathExternalStorage(audio_); }

  const TemporaryDirectory folder_;
  const std::string audio_ = folder_ / "take1.aiff";
  const std::string side_ = folder_ / "take1.tracks";
};

TEST(SideFilePath, IsTheAudioFilesWithTheExtensionTracks) {
  const auto path = [](const char* audio) {
    return ReaderWriter::initWithAudioFilePathExternalStorage(audio)->tracksInfoFilePath();
  };
  EXPECT_EQ(path("/x/take1.aiff"), "/x/take1.tracks");
  EXPECT_EQ(path("/x.y/take1"), "/x.y/take1.tracks");
  EXPECT_EQ(path("take.1.wav"), "take.1.tracks");
  EXPECT_EQ(path("/x/.aiff"), "/x/.aiff.tracks");
}

TEST_F(SideFile, HoldsTheTracksAndNeedsNoAudioFile) {
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_FALSE(std::filesystem::exists(audio_));
  const auto reader = ReaderWriter::trackInfoReaderWriterWithAudioFilePathExternalStorage(audio_);
  ASSERT_TRUE(reader->readTrackInfosFromFile());
  EXPECT_EQ(reader->trackInfos()->front()->trackName(), "One");
}

TEST_F(SideFile, HoldsTheArchiveAndNothingElse) {
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->storeTracks());
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("One"));
  const ArchiveBytes bytes = archive(info, ArchiveForm::sequential);
  EXPECT_EQ(readWholeFile(side_), std::string(bytes.begin(), bytes.end()));
}

TEST_F(SideFile, LeavesTheAudioFileAlone) {
  writeWholeFile(audio_, "no audio at all");
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->storeTracks());
  EXPECT_EQ(readWholeFile(audio_), "no audio at all");
}

TEST_F(SideFile, ThatIsMissingADirectoryEmptyOrATextIsRefusedWithOneLine) {
  const auto problem = [&] {
    const auto reader = beside();
    EXPECT_FALSE(reader->loadTracks());
    EXPECT_FALSE(reader->readTrackInfosFromFile());
    EXPECT_EQ(reader->trackInfos(), nullptr);
    return reader->lastProblem();
  };
  EXPECT_EQ(problem(), side_ + ": no such file or directory");
  writeWholeFile(side_, "");
  EXPECT_EQ(problem(), side_ + ": not an archive");
  writeWholeFile(side_, "1. Intro 00:00\n2. Song 03:20\n");
  EXPECT_EQ(problem(), side_ + ": not an archive");
  std::filesystem::remove(side_);
  std::filesystem::create_directory(side_);
  EXPECT_EQ(problem(), side_ + ": " + describeStatus(kWrongFileKindStatus));
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  EXPECT_FALSE(writer->storeTracks());
  EXPECT_EQ(writer->lastProblem().rfind(side_, 0), 0U);
}

TEST_F(SideFile, ThatIsMissingIsToldApartFromOneThatCannotBeRead) {
  const auto reader = beside();
  EXPECT_FALSE(reader->loadTracks());
  EXPECT_TRUE(reader->isNothingStored());
  writeWholeFile(side_, "1. Intro 00:00\n");
  EXPECT_FALSE(reader->loadTracks());
  EXPECT_FALSE(reader->isNothingStored());
}

TEST_F(SideFile, WithAnotherObjectInItIsRefused) {
  ASSERT_TRUE(archiveToFile("a text", ArchiveForm::sequential, side_, nullptr));
  const auto reader = beside();
  EXPECT_FALSE(reader->loadTracks());
  EXPECT_EQ(reader->lastProblem(), "what is stored are no tracks");
  ASSERT_TRUE(archiveToFile(track("One"), ArchiveForm::sequential, side_, nullptr));
  EXPECT_FALSE(reader->loadTracks());
}

TEST_F(SideFile, WithTheKeyedFormIsReadToo) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("One"));
  ASSERT_TRUE(archiveToFile(info, ArchiveForm::keyed, side_, nullptr));
  const auto reader = beside();
  ASSERT_TRUE(reader->loadTracks());
  EXPECT_EQ(reader->trackInfos()->front()->trackName(), "One");
}

TEST_F(SideFile, ThatCannotBeReadAnyMoreKeepsWhatWasReadBefore) {
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->storeTracks());
  std::filesystem::remove(side_);
  EXPECT_FALSE(writer->readTrackInfosFromFile());
  EXPECT_EQ(writer->trackInfos()->size(), 1U);
}

TEST_F(SideFile, CutOffAnywhereIsRefused) {
  const auto writer = beside();
  writer->addTrackInfo(track("One"));
  ASSERT_TRUE(writer->storeTracks());
  const std::string whole = readWholeFile(side_);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    writeWholeFile(side_, whole.substr(0, length));
    EXPECT_FALSE(beside()->loadTracks()) << length;
  }
}

TEST_F(SideFile, WithoutAnythingToStoreIsNotMade) {
  const auto writer = beside();
  EXPECT_FALSE(writer->writeTrackInfosToFile());
  EXPECT_EQ(writer->lastProblem(), "there is nothing to store");
  EXPECT_FALSE(std::filesystem::exists(side_));
}

}  // namespace
}  // namespace orv::test
