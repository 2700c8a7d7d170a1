#include "OrvPlatform/FileSystem.h"

#include <gtest/gtest.h>

#include "support/TemporaryDirectory.h"

using orv::test::TemporaryDirectory;

namespace {

const std::uint8_t* bytesOf(const std::string& path) {
  return reinterpret_cast<const std::uint8_t*>(path.c_str());
}

}  // namespace

TEST(FileSystem, AReferenceIsMadeToWhatExists) {
  const TemporaryDirectory folder;
  FSRef ref;
  bool isDirectory = false;
  EXPECT_EQ(FSPathMakeRef(bytesOf(folder.path()), &ref, &isDirectory), noErr);
  EXPECT_EQ(ref.path, folder.path());
  EXPECT_TRUE(isDirectory);
}

TEST(FileSystem, NoReferenceIsMadeToWhatDoesNotExist) {
  const TemporaryDirectory folder;
  FSRef ref;
  EXPECT_EQ(FSPathMakeRef(bytesOf(folder / "none"), &ref, nullptr), kFileNotFoundStatus);
  EXPECT_EQ(FSPathMakeRef(nullptr, &ref, nullptr), kFileNotFoundStatus);
}

TEST(FileSystem, AReferenceIsSplitIntoFolderAndName) {
  const TemporaryDirectory folder;
  orv::test::writeWholeFile(folder / "side.aiff", "");
  FSRef ref;
  ASSERT_EQ(FSPathMakeRef(bytesOf(folder / "side.aiff"), &ref, nullptr), noErr);
  FSSpec spec;
  EXPECT_EQ(FSGetCatalogInfo(&ref, &spec), noErr);
  EXPECT_EQ(spec.directory, folder.path());
  EXPECT_EQ(spec.name, "side.aiff");
}
