#include <gtest/gtest.h>

#include "OrvPlatform/AudioFile.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

TEST(WithoutLibsndfile, FilesOfOtherProgramsAreNotSupportedAndOneLogLineSaysWhy) {
  const TemporaryDirectory scratch;
  writeWholeFile(scratch / "a.flac", std::string("fLaC\0\0\0\x22", 8) + std::string(200, 'x'));
  const LogCapture log;
  std::unique_ptr<AudioFileSession> session;
  for (const bool forUpdate : {false, true}) {
    EXPECT_EQ(audioFileService()->open(scratch / "a.flac", forUpdate, &session), kAudioFileUnsupportedFileTypeError);
    EXPECT_EQ(audioFileProblem(), "FLAC: can't be decoded, as this library was built without libsndfile");
    EXPECT_EQ(session, nullptr);
  }
  EXPECT_EQ(log.lines(),
            std::vector<std::string>(
                2, "audio file service: FLAC: can't be decoded, as this library was built without libsndfile"));
}

}  // namespace
}  // namespace orv::test
