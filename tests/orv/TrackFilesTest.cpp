#include "TrackFiles.h"

#include <gtest/gtest.h>

#include "Text.h"

namespace orv::cli {
namespace {

TEST(OrvTrackFileName, NumberNameAndExtension) {
  EXPECT_EQ(trackFileName(1, "Untitled Track 0", ".aiff"), "01 Untitled Track 0.aiff");
  EXPECT_EQ(trackFileName(98, "Für Elise", ".aifc"), "98 Für Elise.aifc");
}

TEST(OrvTrackFileName, NothingLeadsOutOfTheDirectory) {
  EXPECT_EQ(trackFileName(1, "../../etc/passwd", ".aiff"), "01 -..-etc-passwd.aiff");
  EXPECT_EQ(trackFileName(2, "..", ".aiff"), "02 Untitled.aiff");
  EXPECT_EQ(trackFileName(3, "", ".aiff"), "03 Untitled.aiff");
  EXPECT_EQ(trackFileName(4, " . hidden ", ".aiff"), "04 hidden.aiff");
  EXPECT_EQ(trackFileName(5, "AC\\DC", ".aiff"), "05 AC-DC.aiff");
  EXPECT_EQ(trackFileName(6, "a\nb", ".aiff"), "06 a\uFFFDb.aiff");
}

TEST(OrvTrackFileName, FitsIntoWhatFileSystemsAllow) {
  std::string name;
  for (int i = 0; i < 500; ++i) {
    name += "音";
  }
  const std::string file = trackFileName(7, name, ".aiff");
  EXPECT_LE(file.size(), 255U);
  EXPECT_EQ(validUtf8(file), file);
}

}  // namespace
}  // namespace orv::cli
