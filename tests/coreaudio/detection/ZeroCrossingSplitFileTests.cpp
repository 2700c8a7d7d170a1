#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvCoreAudio/OrvAudioTrackAutoDefiner.h>
#include <OrvCoreAudio/OrvSplitDetection.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Recording.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::pcm;
using orv::test::Stretch;
using orv::test::TemporaryDirectory;
using orv::test::threePieces;
using orv::test::writeRecording;

namespace {

constexpr std::uint32_t kBlock = 8820;  // frames in a fifth of a second at 44.1 kHz

class ZeroCrossingSplitFile : public testing::Test {
 protected:
  /// Splits with the defaults; `trackCount_` and `splits_` hold the result.
  std::int32_t split(const orv::test::FormatPointer& format, const std::vector<Stretch>& stretches,
                     std::int32_t wanted = 0, AudioFileTypeID type = 0) {
    writeRecording(folder / "side", format, stretches, type);
    file = OrvAudioFile::initWithPath_accessMode(folder / "side", 0);
    EXPECT_TRUE(file->open());
    trackCount = wanted;
    return zeroCrossingSplitFile(file.get(), 71, 7, 500, splits.data(), &trackCount);
  }

  TemporaryDirectory folder;
  std::shared_ptr<OrvAudioFile> file;
  std::array<std::uint32_t, kSplitArrayEntries> splits{};
  std::int32_t trackCount = 0;
};

const orv::test::FormatPointer kBigEndian16 = pcm(44100, 2, 16, 14);

}  // namespace

TEST_F(ZeroCrossingSplitFile, BigEndianSamplesAreAnalysedByTheirTrueValues) {
  EXPECT_EQ(split(kBigEndian16, threePieces()), 0);
  ASSERT_EQ(trackCount, 3);
  EXPECT_EQ(splits[0], 0U);
  EXPECT_EQ(splits[1], 50U * kBlock);  // quiet from block 40 to 60
  EXPECT_EQ(splits[2], 110U * kBlock);
  EXPECT_EQ(splits[3], 32U * 44100);
}

TEST_F(ZeroCrossingSplitFile, LittleEndianSamplesGiveTheSameBoundaries) {
  split(pcm(44100, 2, 16, 12), threePieces(), 0, orv::fourCC("WAVE"));
  ASSERT_EQ(trackCount, 3);
  EXPECT_EQ(splits[1], 50U * kBlock);
}

TEST_F(ZeroCrossingSplitFile, OtherFormatsAreConvertedAndGiveTheSameBoundaries) {
  for (const auto& format : {pcm(44100, 2, 24, 14), pcm(44100, 2, 8, 14), pcm(44100, 2, 32, 11), pcm(44100, 1, 24, 14),
                             pcm(44100, 2, 20, 14), pcm(44100, 2, 64, 11)}) {
    SCOPED_TRACE(format->description());
    split(format, threePieces());
    ASSERT_EQ(trackCount, 3);
    EXPECT_EQ(splits[1], 50U * kBlock);
    EXPECT_EQ(splits[2], 110U * kBlock);
    EXPECT_EQ(splits[3], 32U * 44100);
  }
}

TEST_F(ZeroCrossingSplitFile, AMonoFileOf16BitsIsScannedInBlocksOfTwoChannels) {
  split(pcm(44100, 1, 16, 14), threePieces());
  ASSERT_EQ(trackCount, 3);
  EXPECT_EQ(splits[1], 25U * kBlock);  // each block holds twice the time: boundaries come out at half of it
  EXPECT_EQ(splits[3], 32U * 44100);
}

TEST_F(ZeroCrossingSplitFile, AFileShorterThanTwoBlocksIsOneTrack) {
  split(kBigEndian16, {{0.3, 0.5}});
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[0], 0U);
  EXPECT_EQ(splits[1], 13230U);
}

TEST_F(ZeroCrossingSplitFile, AnEmptyFileIsOneTrackOfNoLength) {
  split(kBigEndian16, {});
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[1], 0U);
}

TEST_F(ZeroCrossingSplitFile, ACountedRunForOneTrackCoversTheWholeFile) {
  split(kBigEndian16, threePieces(), 1);
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[0], 0U);
  EXPECT_EQ(splits[1], 32U * 44100);
}

TEST_F(ZeroCrossingSplitFile, ACountedRunDropsTheLatestOfItsPicks) {
  // Picks are made one by one: those of a run for three tracks are among those of a run for four.
  split(kBigEndian16, threePieces(), 3);
  ASSERT_EQ(trackCount, 3);
  EXPECT_EQ(splits[3], 32U * 44100);
  const std::array<std::uint32_t, 2> kept{splits[1], splits[2]};
  split(kBigEndian16, threePieces(), 4);
  ASSERT_EQ(trackCount, 4);
  EXPECT_EQ(splits[4], 32U * 44100);
  for (const std::uint32_t boundary : kept) {
    EXPECT_EQ(std::count(splits.begin() + 1, splits.begin() + 4, boundary), 1);
  }
}

TEST_F(ZeroCrossingSplitFile, ANegativeTrackCountYieldsNoneAndTouchesNothing) {
  split(kBigEndian16, {{1, 0.5}}, -4);
  EXPECT_EQ(trackCount, -4);
}

TEST_F(ZeroCrossingSplitFile, ARateTooLowForABlockIsOneTrack) {
  split(pcm(4, 2, 16, 14), {{10, 0.5}});
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[1], 40U);
}

TEST_F(ZeroCrossingSplitFile, MoreBlocksThanTheFormulaGivesAreNotCounted) {
  // At 9 Hz a block is 1 frame, though a fifth of a second is 1.8: the file has more blocks than counts.
  split(pcm(9, 2, 16, 14), {{60, 0.5}});
  EXPECT_GE(trackCount, 1);
  EXPECT_EQ(splits[static_cast<std::size_t>(trackCount)], 540U);
}

TEST_F(ZeroCrossingSplitFile, AReadFailureIsTakenAsTheEndOfTheFile) {
  const orv::test::LogCapture log;
  const orv::test::InstalledFake fake;
  fake->data.assign(std::size_t{kBlock} * 4 * 20, '\0');
  const auto broken = OrvAudioFile::initWithPath_accessMode("fake.aiff", 0);
  ASSERT_TRUE(broken->open());
  fake->readStatus = orv::statusCC("wht?");
  EXPECT_EQ(zeroCrossingSplitFile(broken.get(), 71, 7, 500, splits.data(), &trackCount), 0);
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[1], 20U * kBlock);
}

TEST_F(ZeroCrossingSplitFile, AFileThatIsNotOpenIsOneTrackOfNoLength) {
  const auto closed = OrvAudioFile::initWithPath_accessMode("none.aiff", 0);
  EXPECT_EQ(zeroCrossingSplitFile(closed.get(), 71, 7, 500, splits.data(), &trackCount), 0);
  EXPECT_EQ(trackCount, 1);
  EXPECT_EQ(splits[1], 0U);
}
