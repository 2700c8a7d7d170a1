#include "audiofile/HeaderUpdater.h"

#include <gtest/gtest.h>

#include "AudioFileRecipes.h"

namespace orv::test {
namespace {

class HeaderUpdaterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    files_->put("f", form("AIFF", commonChunk(2, 10, 16) + soundChunk(audioBytes(40))));
    ASSERT_EQ(fileManager()->open("f", FileAccess::readWrite, &file_), noErr);
    audiofile::HeaderReader reader(*file_);
    ASSERT_EQ(audiofile::openContainer(reader, "f", audiofile::Walk::wholeFile, &container_), noErr);
    updater_ = std::make_unique<audiofile::HeaderUpdater>(*file_, *container_, reader.head());
  }

  static audiofile::Sizes sizes(std::int64_t dataBytes) { return {dataBytes, 54 + dataBytes, 54 + dataBytes}; }
  std::int64_t headerSays() { return openForReading("f").session->dataByteCount(); }

  InstalledMemoryFiles files_;
  std::unique_ptr<FileHandle> file_;
  std::unique_ptr<audiofile::Container> container_;
  std::unique_ptr<audiofile::HeaderUpdater> updater_;
};

TEST_F(HeaderUpdaterTest, WritesAllSizesAtOnceAndNothingTwice) {
  EXPECT_EQ(updater_->write(sizes(20), 0), noErr);
  EXPECT_EQ(headerSays(), 20);
  EXPECT_EQ(updater_->write(sizes(20), 0), noErr);
  EXPECT_EQ(files_->disk().changes, 1);
}

TEST_F(HeaderUpdaterTest, TakesNothingForGrantedAfterAFailure) {
  ASSERT_EQ(updater_->write(sizes(20), 0), noErr);
  files_->disk().failAt = 1;
  EXPECT_EQ(updater_->write(sizes(40), 0), kDiskFullStatus);
  EXPECT_EQ(updater_->write(sizes(20), 0), noErr);
  EXPECT_EQ(files_->disk().changes, 3) << "the failed write may have come half way";
}

}  // namespace
}  // namespace orv::test
