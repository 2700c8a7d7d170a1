// Reading through OrvAudioFile with the cache on.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "support/LogCapture.h"

using orv::test::InstalledFake;
using orv::test::LogCapture;
using orv::test::noise;

namespace {

constexpr std::uint32_t kBuffer = 0xC0000;

class ReadAhead : public testing::Test {
 protected:
  /// Opens a file that holds `bytes` bytes of noise, its cache on.
  void open(std::size_t bytes) {
    fake->data = noise(bytes);
    file = OrvAudioFile::initWithPath_accessMode("fake.aiff", OrvAudioFile::kModeRead);
    file->setUseCache(true);
    ASSERT_TRUE(file->open());
  }

  /// Reads at the file's position; fails the test when the bytes are not those of the file.
  bool read(std::uint32_t wanted, std::uint32_t* moved) { return check(wanted, moved, file->offset(), true); }
  bool readAt(std::int64_t offset, std::uint32_t wanted, std::uint32_t* moved) {
    return check(wanted, moved, offset, false);
  }

  /// How often the platform was asked to read from `offset` on.
  std::ptrdiff_t readsFrom(std::int64_t offset) {
    const std::lock_guard guard(fake->mutex);
    return std::count(fake->readOffsets.begin(), fake->readOffsets.end(), offset);
  }

  LogCapture log;
  InstalledFake fake;
  std::shared_ptr<OrvAudioFile> file;

 private:
  bool check(std::uint32_t wanted, std::uint32_t* moved, std::int64_t offset, bool sequential) {
    std::string bytes(wanted, '\0');
    *moved = wanted;
    const bool answer =
        sequential ? file->read_length(bytes.data(), moved) : file->read_length_fromOffset(bytes.data(), moved, offset);
    EXPECT_LE(*moved, wanted);
    if (*moved > 0) {
      EXPECT_EQ(fake->data.compare(static_cast<std::size_t>(offset), *moved, bytes, 0, *moved), 0)
          << "wrong bytes at " << offset;
    }
    return answer;
  }
};

}  // namespace

TEST_F(ReadAhead, AReadAtTheEndAnswersNoWithLength0) {
  open(1000);
  std::uint32_t moved = 7;
  EXPECT_FALSE(readAt(1000, 10, &moved));
  EXPECT_EQ(moved, 0U);
  EXPECT_FALSE(readAt(5000, 10, &moved));
  EXPECT_EQ(moved, 0U);
  EXPECT_FALSE(readAt(-1, 10, &moved));
  EXPECT_EQ(moved, 0U);
}

TEST_F(ReadAhead, AReadThatMeetsTheEndAnswersNoWithTheBytesBeforeIt) {
  open(1000);
  std::uint32_t moved = 0;
  EXPECT_FALSE(readAt(900, 500, &moved));
  EXPECT_EQ(moved, 100U);
}

TEST_F(ReadAhead, AReadThatSpansTheEndOfABufferReturnsBytesOfBoth) {
  open(kBuffer * 2);
  std::uint32_t moved = 0;
  EXPECT_TRUE(read(kBuffer - 100, &moved));
  EXPECT_TRUE(read(300, &moved));
  EXPECT_EQ(moved, 300U);
}

TEST_F(ReadAhead, AReadLargerThanBothBuffersIsServedWhole) {
  open(kBuffer * 5);
  std::uint32_t moved = 0;
  EXPECT_TRUE(read(kBuffer * 4 + 17, &moved));
  EXPECT_EQ(moved, kBuffer * 4 + 17);
}

TEST_F(ReadAhead, SequentialReadsReturnEveryByteOnce) {
  open(kBuffer * 7 + 12345);
  std::uint64_t total = 0;
  std::uint32_t moved = 0;
  while (read(65536 + 4, &moved)) {
    total += moved;
  }
  EXPECT_EQ(total + moved, fake->data.size());
}

TEST_F(ReadAhead, TheFileIsReadInWholeBuffers) {
  open(kBuffer * 3);
  std::uint32_t moved = 0;
  for (int i = 0; i < 24; ++i) {
    ASSERT_TRUE(read(kBuffer / 8, &moved));
  }
  file->close();
  for (const std::int64_t offset : fake->readOffsets) {
    EXPECT_EQ(offset % kBuffer, 0);
  }
}

TEST_F(ReadAhead, SettingTheOffsetMakesTheNextReadRefillFromThere) {
  open(kBuffer * 2);
  std::uint32_t moved = 0;
  ASSERT_TRUE(read(100, &moved));
  file->setOffset(50);
  EXPECT_TRUE(read(100, &moved));
  EXPECT_EQ(readsFrom(50), 1);
  EXPECT_EQ(file->offset(), 150);
}

TEST_F(ReadAhead, SettingTheOffsetToWhereItIsRefillsNothing) {
  open(kBuffer);
  std::uint32_t moved = 0;
  ASSERT_TRUE(read(100, &moved));
  file->setOffset(100);
  EXPECT_TRUE(read(100, &moved));
  EXPECT_EQ(readsFrom(100), 0);
}

TEST_F(ReadAhead, RewindingReadsTheBeginAgain) {
  open(kBuffer * 2);
  std::uint32_t moved = 0;
  ASSERT_TRUE(read(kBuffer + 5, &moved));
  file->rewind();
  EXPECT_EQ(file->offset(), 0);
  EXPECT_TRUE(read(100, &moved));
}

TEST_F(ReadAhead, ReadingOnePlaceAgainAndAgainUsesTheBufferUpAndStillReturnsItsBytes) {
  open(kBuffer * 3);
  std::uint32_t moved = 0;
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(readAt(100000, kBuffer / 4, &moved));
    ASSERT_EQ(moved, kBuffer / 4);
  }
}

TEST_F(ReadAhead, AReadWhoseCopyWouldLeaveTheBufferIsServedAfresh) {
  open(kBuffer * 3);
  std::uint32_t moved = 0;
  ASSERT_TRUE(readAt(0, 10, &moved));
  ASSERT_TRUE(readAt(kBuffer - 10, 5000, &moved));
  EXPECT_EQ(moved, 5000U);
}

TEST_F(ReadAhead, ReadsAtRandomPlacesReturnTheirBytes) {
  open(kBuffer * 4 + 999);
  std::uint32_t state = 12345;
  std::uint32_t moved = 0;
  for (int i = 0; i < 300; ++i) {
    state = state * 1664525 + 1013904223;
    const std::uint32_t offset = state % (kBuffer * 4);
    state = state * 1664525 + 1013904223;
    const std::uint32_t wanted = 1 + state % 200000;
    if (i % 7 == 0) {
      file->setOffset(offset);
    }
    if (i % 3 == 0) {
      read(wanted, &moved);
    } else {
      readAt(offset, wanted, &moved);
    }
    ASSERT_FALSE(testing::Test::HasFailure()) << "step " << i;
  }
}

TEST_F(ReadAhead, AReadErrorAnswersNoIsLoggedAndDoesNotBlockLaterReads) {
  open(kBuffer * 2);
  fake->readStatus = orv::statusCC("wht?");
  std::uint32_t moved = 0;
  EXPECT_FALSE(read(100, &moved));
  EXPECT_EQ(moved, 0U);
  EXPECT_EQ(file->lastStatus(), orv::statusCC("wht?"));
  EXPECT_TRUE(log.contains("OS Status: kAudioFileUnspecifiedError"));
  fake->readStatus = noErr;
  EXPECT_TRUE(read(100, &moved));
  EXPECT_EQ(moved, 100U);
}

TEST_F(ReadAhead, AReadErrorOfTheWorkerMeetsTheCallerInsteadOfBlockingIt) {
  open(kBuffer * 4);
  std::uint32_t moved = 0;
  ASSERT_TRUE(read(100, &moved));
  {
    const std::lock_guard guard(fake->mutex);
    fake->readStatus = orv::statusCC("wht?");
  }
  std::uint64_t total = moved;
  while (read(50000, &moved)) {
    total += moved;
  }
  EXPECT_LT(total + moved, fake->data.size());
  EXPECT_EQ(file->lastStatus(), orv::statusCC("wht?"));
}

TEST_F(ReadAhead, AFileThatEndsEarlierThanItSaysEndsTheReading) {
  open(kBuffer * 3);
  {
    const std::lock_guard guard(fake->mutex);
    fake->data.resize(kBuffer + 10);
  }
  std::uint32_t moved = 0;
  EXPECT_FALSE(read(kBuffer * 2, &moved));
  EXPECT_EQ(moved, kBuffer + 10);
}

TEST_F(ReadAhead, ClosingWhileTheWorkerReadsEndsWell) {
  open(kBuffer * 4);
  std::uint32_t moved = 0;
  ASSERT_TRUE(read(100, &moved));
  fake->set(&orv::test::FakeFile::readsWait, true);
  std::thread releasing([&] { fake->set(&orv::test::FakeFile::readsWait, false); });
  EXPECT_TRUE(file->close());
  releasing.join();
  EXPECT_EQ(fake->closes, 1);
}

TEST_F(ReadAhead, AFileCanBeClosedAndOpenedManyTimes) {
  open(kBuffer + 100);
  for (int i = 0; i < 50; ++i) {
    std::uint32_t moved = 0;
    ASSERT_TRUE(read(kBuffer / 2, &moved));
    ASSERT_TRUE(file->close());
    ASSERT_TRUE(file->open());
    ASSERT_EQ(file->offset(), 0);
  }
}

TEST_F(ReadAhead, BytesWrittenInPlaceAreReadBack) {
  fake->data = noise(kBuffer * 2);
  file = OrvAudioFile::initWithPath_accessMode("fake.aiff", OrvAudioFile::kModeReadWrite);
  ASSERT_TRUE(file->open());
  file->setUseCache(true);
  std::uint32_t moved = 0;
  ASSERT_TRUE(readAt(0, 1000, &moved));
  std::uint32_t length = 4;
  ASSERT_TRUE(file->write_length_atOffset("ABCD", &length, 500));
  EXPECT_EQ(fake->data.substr(500, 4), "ABCD");
  EXPECT_TRUE(readAt(400, 1000, &moved));
}
