#include "OrvPlatform/FileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/TemporaryDirectory.h"

using orv::FileAccess;
using orv::fileManager;
using orv::HFSCodes;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeWholeFile;

namespace {

std::unique_ptr<orv::FileHandle> opened(const std::string& path, FileAccess access) {
  std::unique_ptr<orv::FileHandle> handle;
  EXPECT_EQ(fileManager()->open(path, access, &handle), noErr);
  return handle;
}

OSStatus statusOfOpening(const std::string& path, FileAccess access) {
  std::unique_ptr<orv::FileHandle> handle;
  return fileManager()->open(path, access, &handle);
}

constexpr HFSCodes kCodes{orv::fourCC("AIFF"), orv::fourCC("tOrQ")};

}  // namespace

TEST(FileManager, OpeningWhatIsNotThereSaysSo) {
  const TemporaryDirectory folder;
  EXPECT_EQ(statusOfOpening(folder / "none", FileAccess::read), kFileNotFoundStatus);
  EXPECT_EQ(statusOfOpening(folder / "none", FileAccess::readWrite), kFileNotFoundStatus);
}

TEST(FileManager, OpeningAFolderIsRefused) {
  const TemporaryDirectory folder;
  EXPECT_EQ(statusOfOpening(folder.path(), FileAccess::read), kWrongFileKindStatus);
}

TEST(FileManager, OpeningAPipeIsRefusedWithoutWaitingForAWriter) {
  const TemporaryDirectory folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(statusOfOpening(folder / "pipe", FileAccess::read), kWrongFileKindStatus);
}

TEST(FileManager, CreatingRefusesAnExistingFileAndLeavesIt) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "music");
  EXPECT_EQ(statusOfOpening(folder / "a", FileAccess::create), kFileExistsStatus);
  EXPECT_EQ(readWholeFile(folder / "a"), "music");
}

TEST(FileManager, ReplacingEmptiesAnExistingFile) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "music");
  opened(folder / "a", FileAccess::replace);
  EXPECT_EQ(readWholeFile(folder / "a"), "");
}

TEST(FileHandle, ReadsUpToTheEnd) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "0123456789");
  const auto handle = opened(folder / "a", FileAccess::read);
  char bytes[8] = {};
  std::size_t moved = 0;
  EXPECT_EQ(handle->readAt(6, bytes, sizeof bytes, &moved), noErr);
  EXPECT_EQ(std::string(bytes, moved), "6789");
  EXPECT_EQ(handle->readAt(10, bytes, sizeof bytes, &moved), noErr);
  EXPECT_EQ(moved, 0U);
  EXPECT_EQ(handle->size(), 10);
}

TEST(FileHandle, WritingPastTheEndFillsWithZeros) {
  const TemporaryDirectory folder;
  const auto handle = opened(folder / "a", FileAccess::create);
  std::size_t moved = 0;
  EXPECT_EQ(handle->writeAt(3, "x", 1, &moved), noErr);
  EXPECT_EQ(moved, 1U);
  EXPECT_EQ(readWholeFile(folder / "a"), std::string("\0\0\0x", 4));
}

TEST(FileHandle, SeekReadAndWriteShareAPosition) {
  const TemporaryDirectory folder;
  const auto handle = opened(folder / "a", FileAccess::create);
  std::size_t moved = 0;
  EXPECT_EQ(handle->write("abcdef", 6, &moved), noErr);
  EXPECT_EQ(handle->offset(), 6);
  handle->seek(2);
  char bytes[2] = {};
  EXPECT_EQ(handle->read(bytes, 2, &moved), noErr);
  EXPECT_EQ(std::string(bytes, 2), "cd");
  EXPECT_EQ(handle->offset(), 4);
}

TEST(FileHandle, TheSizeCanBeCutAndRoomReserved) {
  const TemporaryDirectory folder;
  const auto handle = opened(folder / "a", FileAccess::create);
  EXPECT_EQ(handle->reserve(0, 100), noErr);
  EXPECT_EQ(handle->size(), 100);
  EXPECT_EQ(handle->setSize(7), noErr);
  EXPECT_EQ(handle->size(), 7);
  EXPECT_EQ(handle->synchronise(), noErr);
}

TEST(FileManager, MovingRefusesAnExistingDestination) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  writeWholeFile(folder / "b", "b");
  EXPECT_EQ(fileManager()->move(folder / "a", folder / "b"), kFileExistsStatus);
  EXPECT_EQ(readWholeFile(folder / "a"), "a");
  EXPECT_EQ(readWholeFile(folder / "b"), "b");
}

TEST(FileManager, MovingTakesTheFileAlong) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  EXPECT_EQ(fileManager()->move(folder / "a", folder / "b"), noErr);
  EXPECT_FALSE(fileManager()->exists(folder / "a"));
  EXPECT_EQ(readWholeFile(folder / "b"), "a");
}

TEST(FileManager, MovingAcrossFileSystemsCopiesAndRemoves) {
  const TemporaryDirectory folder;
  const std::string other = "/dev/shm/orv-move-test";
  if (!std::filesystem::is_directory("/dev/shm")) {
    GTEST_SKIP() << "no second file system";
  }
  std::filesystem::remove(other);
  writeWholeFile(folder / "a", "a");
  EXPECT_EQ(fileManager()->move(folder / "a", other), noErr);
  EXPECT_FALSE(fileManager()->exists(folder / "a"));
  EXPECT_EQ(readWholeFile(other), "a");
  std::filesystem::remove(other);
}

TEST(FileManager, CopyingTakesTheCodesAlong) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  ASSERT_EQ(fileManager()->setHFSCodes(folder / "a", kCodes), noErr);
  EXPECT_EQ(fileManager()->copy(folder / "a", folder / "b"), noErr);
  EXPECT_EQ(readWholeFile(folder / "b"), "a");
  EXPECT_EQ(fileManager()->attributes(folder / "b")->hfsCodes, fileManager()->attributes(folder / "a")->hfsCodes);
}

TEST(FileManager, CopyingRefusesAnExistingDestination) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  writeWholeFile(folder / "b", "b");
  EXPECT_EQ(fileManager()->copy(folder / "a", folder / "b"), kFileExistsStatus);
  EXPECT_EQ(readWholeFile(folder / "b"), "b");
}

TEST(FileManager, ReplacingPutsOneFileInThePlaceOfAnother) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  writeWholeFile(folder / "b", "b");
  EXPECT_EQ(fileManager()->replace(folder / "a", folder / "b"), noErr);
  EXPECT_EQ(readWholeFile(folder / "b"), "a");
  EXPECT_FALSE(fileManager()->exists(folder / "a"));
}

TEST(FileManager, RemovingWhatIsNotThereSaysSo) {
  const TemporaryDirectory folder;
  EXPECT_EQ(fileManager()->remove(folder / "none"), kFileNotFoundStatus);
}

TEST(FileManager, CodesAreKeptWhereTheFileSystemKeepsThemAndDroppedSilentlyElsewhere) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "a");
  EXPECT_EQ(fileManager()->setHFSCodes(folder / "a", kCodes), noErr);
  const auto attributes = fileManager()->attributes(folder / "a");
  ASSERT_TRUE(attributes);
  if (!attributes->hfsCodes) {
    GTEST_SKIP() << "this file system keeps no extended attributes";
  }
  EXPECT_EQ(*attributes->hfsCodes, kCodes);
}

TEST(FileManager, AttributesTellSizeAndKind) {
  const TemporaryDirectory folder;
  writeWholeFile(folder / "a", "abc");
  EXPECT_EQ(fileManager()->attributes(folder / "a")->sizeInBytes, 3);
  EXPECT_FALSE(fileManager()->attributes(folder / "a")->isDirectory);
  EXPECT_TRUE(fileManager()->attributes(folder.path())->isDirectory);
  EXPECT_FALSE(fileManager()->attributes(folder / "none"));
}

TEST(FileManager, AHostMayInstallItsOwnAndGoBack) {
  class Nothing final : public orv::FileManager {
   public:
    OSStatus open(const std::string&, FileAccess, std::unique_ptr<orv::FileHandle>*) override { return -1; }
    bool exists(const std::string&) override { return true; }
    std::optional<orv::FileAttributes> attributes(const std::string&) override { return std::nullopt; }
    OSStatus move(const std::string&, const std::string&) override { return -1; }
    OSStatus copy(const std::string&, const std::string&) override { return -1; }
    OSStatus remove(const std::string&) override { return -1; }
    OSStatus replace(const std::string&, const std::string&) override { return -1; }
    OSStatus setHFSCodes(const std::string&, const HFSCodes&) override { return -1; }
  };
  const auto before = orv::installFileManager(std::make_shared<Nothing>());
  EXPECT_TRUE(fileManager()->exists("/no/such/thing"));
  orv::installFileManager(nullptr);
  EXPECT_EQ(fileManager(), before);
  EXPECT_FALSE(fileManager()->exists("/no/such/thing"));
}
