#include <OrvCoreAudio/OrvFileUtils.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/TemporaryDirectory.h"

using orv::test::TemporaryDirectory;

TEST(OrvFileUtils, ThePathsBytesAreACopyOfTheCallersOwn) {
  char* const bytes = OrvFileUtils::makeUnicode("/música/side.aiff");
  EXPECT_STREQ(bytes, "/música/side.aiff");
  std::free(bytes);
  EXPECT_EQ(OrvFileUtils::makeUnicode(std::nullopt), nullptr);
}

TEST(OrvFileUtils, ReferencesAreMadeToWhatExists) {
  const TemporaryDirectory folder;
  orv::test::writeWholeFile(folder / "a", "");
  FSRef ref;
  EXPECT_TRUE(OrvFileUtils::makeFSRef_fromPath(&ref, folder / "a"));
  EXPECT_EQ(ref.path, folder / "a");
  FSSpec spec;
  EXPECT_TRUE(OrvFileUtils::makeFSSpec_fromPath(&spec, folder / "a"));
  EXPECT_EQ(spec.name, "a");
}

TEST(OrvFileUtils, NoReferenceIsMadeToWhatDoesNotExist) {
  const TemporaryDirectory folder;
  FSRef ref;
  FSSpec spec;
  EXPECT_FALSE(OrvFileUtils::makeFSRef_fromPath(&ref, folder / "none"));
  EXPECT_FALSE(OrvFileUtils::makeFSSpec_fromPath(&spec, folder / "none"));
  EXPECT_FALSE(OrvFileUtils::makeFSRef_fromPath(&ref, std::nullopt));
}
