// Files of other programs, read through OrvAudioFile.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "OrvPlatform/AudioFile.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::LogCapture;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;

namespace {

constexpr int kChannels = 2;

class OrvAudioFileForeign : public testing::Test {
 protected:
  OrvAudioFileForeign() {
    for (std::int64_t i = 0; i < 500'000 * kChannels; ++i) {
      samples_.push_back(static_cast<std::int16_t>(i * 7919 % 20'000 - 10'000));
    }
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = kChannels;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    SNDFILE* const file = sf_open(path_.c_str(), SFM_WRITE, &info);
    sf_write_short(file, samples_.data(), static_cast<sf_count_t>(samples_.size()));
    sf_close(file);
  }

  std::shared_ptr<OrvAudioFile> fileInMode(int mode) const {
    return OrvAudioFile::initWithPath_accessMode(path_, mode);
  }

  TemporaryDirectory scratch_;
  const std::string path_ = scratch_ / "a.flac";
  std::vector<std::int16_t> samples_;
};

TEST_F(OrvAudioFileForeign, AFlacOpensAsLinearPCMOfItsDepth) {
  const auto file = fileInMode(OrvAudioFile::kModeRead);
  ASSERT_TRUE(file->open());
  EXPECT_EQ(file->fileType(), kAudioFileFLACType);
  EXPECT_EQ(file->formatID(), kAudioFormatLinearPCM);
  EXPECT_EQ(file->bitsPerChannel(), 16U);
  EXPECT_EQ(file->channelsPerFrame(), 2U);
  EXPECT_EQ(file->sampleRate(), 44100);
  EXPECT_EQ(file->lengthInFrames(), 500'000U);
  EXPECT_EQ(file->lengthInMilliSeconds(), 11'337);
  EXPECT_TRUE(file->close());
}

TEST_F(OrvAudioFileForeign, ItsSamplesAreReadWithAndWithoutTheCache) {
  for (const bool useCache : {false, true}) {
    const auto file = fileInMode(OrvAudioFile::kModeRead);
    file->setUseCache(useCache);
    ASSERT_TRUE(file->open());
    std::vector<std::int16_t> read(samples_.size());
    auto length = static_cast<std::uint32_t>(read.size() * 2);
    EXPECT_TRUE(file->read_length(read.data(), &length));
    EXPECT_EQ(length, read.size() * 2);
    EXPECT_TRUE(read == samples_);

    std::vector<std::int16_t> middle(1000);
    length = 2000;
    EXPECT_TRUE(file->read_length_fromOffset(middle.data(), &length, 2 * 123'456));
    EXPECT_TRUE(std::equal(middle.begin(), middle.end(), samples_.begin() + 123'456));
  }
}

TEST_F(OrvAudioFileForeign, OpeningForUpdateOnlyIsRefusedAndLeavesTheFileAlone) {
  const std::string before = readWholeFile(path_);
  const LogCapture log;
  const auto file = fileInMode(OrvAudioFile::kModeReadWrite);
  EXPECT_FALSE(file->openForUpdateOnly());
  EXPECT_EQ(file->lastStatus(), kAudioFilePermissionsError);
  EXPECT_EQ(file->lastProblem(), "files of other programs can only be read");
  EXPECT_TRUE(log.contains("OS Status: kAudioFilePermissionsError"));
  EXPECT_EQ(readWholeFile(path_), before);
}

TEST_F(OrvAudioFileForeign, WritingToOneThatIsOpenForReadingFails) {
  const std::string before = readWholeFile(path_);
  const LogCapture log;
  const auto file = fileInMode(OrvAudioFile::kModeRead);
  ASSERT_TRUE(file->open());
  std::uint32_t length = 4;
  EXPECT_FALSE(file->write_length_atOffset("abcd", &length, 0));
  EXPECT_EQ(file->lastStatus(), kAudioFilePermissionsError);
  EXPECT_TRUE(file->close());
  EXPECT_EQ(readWholeFile(path_), before);
}

}  // namespace
