// Writing through OrvAudioFile with the cache on.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "support/LogCapture.h"

using orv::test::FakeFile;
using orv::test::InstalledFake;
using orv::test::LogCapture;
using orv::test::noise;
using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t kBuffer = 0xC0000;

class WriteBehind : public testing::Test {
 protected:
  void SetUp() override {
    file = OrvAudioFile::initWithPath_accessMode("no-such-folder/fake.aiff", OrvAudioFile::kModeWrite);
    file->setFileStreamFormat(OrvAudioStreamBasicDescription::defaultStandardFileFormat());
    file->setUseCache(true);
    ASSERT_TRUE(file->open());
  }

  void TearDown() override {
    if (file) {
      fake->set(&FakeFile::writesWait, false);
    }
  }

  bool write(const std::string& bytes) {
    auto length = static_cast<std::uint32_t>(bytes.size());
    const bool answer = file->write_length(bytes.data(), &length);
    EXPECT_TRUE(!answer || length == bytes.size());
    return answer;
  }

  void setWriteStatus(OSStatus status) {
    const std::lock_guard guard(fake->mutex);
    fake->writeStatus = status;
  }

  LogCapture log;
  InstalledFake fake;
  std::shared_ptr<OrvAudioFile> file;
};

}  // namespace

TEST_F(WriteBehind, ClosingSavesEveryByteInOrder) {
  const std::string bytes = noise(kBuffer * 3 + 777);
  for (std::size_t at = 0; at < bytes.size(); at += 10007) {
    ASSERT_TRUE(write(bytes.substr(at, 10007)));
  }
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, bytes);
}

TEST_F(WriteBehind, AWriteThatExactlyFillsABufferHandsItToTheWorker) {
  const std::string bytes = noise(kBuffer);
  ASSERT_TRUE(write(bytes));
  {
    std::unique_lock lock(fake->mutex);
    EXPECT_TRUE(fake->changed.wait_for(lock, 10s, [&] { return fake->data.size() == kBuffer; }));
    EXPECT_EQ(fake->writeSizes, std::vector<std::uint32_t>{kBuffer});
  }
  ASSERT_TRUE(write("more"));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, bytes + "more");
}

TEST_F(WriteBehind, AWriteLargerThanBothBuffersIsAcceptedWhole) {
  const std::string bytes = noise(kBuffer * 5 + 3);
  ASSERT_TRUE(write(bytes));
  EXPECT_EQ(file->offset(), static_cast<std::int64_t>(bytes.size()));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, bytes);
}

TEST_F(WriteBehind, TheLengthIsThePositionThatIsWrittenNext) {
  ASSERT_TRUE(write(noise(1000)));
  EXPECT_EQ(file->lengthInBytes(), 1000U);
  EXPECT_EQ(file->lengthInFrames(), 250U);
}

TEST_F(WriteBehind, SettingTheOffsetChangesNothingInMode2) {
  ASSERT_TRUE(write(noise(1000)));
  file->setOffset(4);
  EXPECT_EQ(file->offset(), 1000);
}

TEST_F(WriteBehind, AfterAFlushTheBytesAreInTheFileAndItsSizesAreUpdated) {
  ASSERT_TRUE(write(noise(1000)));
  EXPECT_TRUE(file->flush());
  const std::lock_guard guard(fake->mutex);
  EXPECT_EQ(fake->data, noise(1000));
  EXPECT_GE(fake->updates, 1);
}

TEST_F(WriteBehind, WritingGoesOnAfterAFlush) {
  const std::string bytes = noise(kBuffer * 2 + 5000);
  std::size_t at = 0;
  for (const std::size_t size : {1000UL, 50000UL, 3UL, 786432UL, 0UL, 700000UL}) {
    ASSERT_TRUE(write(bytes.substr(at, size)));
    at += size;
    ASSERT_TRUE(file->flush());
  }
  ASSERT_TRUE(write(bytes.substr(at)));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, bytes);
}

TEST_F(WriteBehind, AFlushAnswersYesThoughTheWorkerHasNotFinished) {
  fake->set(&FakeFile::writesWait, true);
  ASSERT_TRUE(write(noise(1000)));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(file->flush());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 290ms);
  {
    const std::lock_guard guard(fake->mutex);
    EXPECT_TRUE(fake->data.empty());
  }
  fake->set(&FakeFile::writesWait, false);
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, noise(1000));
}

TEST_F(WriteBehind, ClosingWaitsForADiskThatIsSlowerThanAFlushWaits) {
  const std::string bytes = noise(kBuffer * 2 + 100);
  fake->set(&FakeFile::writesWait, true);
  ASSERT_TRUE(write(bytes.substr(0, kBuffer)));
  ASSERT_TRUE(write(bytes.substr(kBuffer, kBuffer - 4)));
  std::thread disk([&] {
    std::this_thread::sleep_for(500ms);
    fake->set(&FakeFile::writesWait, false);
  });
  ASSERT_TRUE(write(bytes.substr(kBuffer * 2 - 4)));
  EXPECT_TRUE(file->close());
  disk.join();
  EXPECT_EQ(fake->data, bytes);
  EXPECT_EQ(fake->closes, 1);
}

TEST_F(WriteBehind, BytesThatDoNotFillABufferReachTheFileByThemselves) {
  ASSERT_TRUE(write(noise(1000)));
  std::unique_lock lock(fake->mutex);
  EXPECT_TRUE(fake->changed.wait_for(lock, 20s, [&] { return fake->data == noise(1000); }));
}

TEST_F(WriteBehind, BytesSavedEarlyAreNotSavedTwice) {
  ASSERT_TRUE(write(noise(1000)));
  {
    std::unique_lock lock(fake->mutex);
    ASSERT_TRUE(fake->changed.wait_for(lock, 20s, [&] { return fake->data.size() == 1000; }));
  }
  ASSERT_TRUE(write("tail"));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, noise(1000) + "tail");
  EXPECT_EQ(fake->writeSizes, (std::vector<std::uint32_t>{1000, 4}));
}

TEST_F(WriteBehind, AFullDiskMakesWritesAnswerNoInsteadOfWaitingForEver) {
  setWriteStatus(kDiskFullStatus);
  int accepted = 0;
  while (accepted < 10 && write(noise(kBuffer))) {
    ++accepted;
  }
  EXPECT_LE(accepted, 2);
  EXPECT_EQ(file->lastStatus(), kDiskFullStatus);
  EXPECT_FALSE(file->close());
  EXPECT_EQ(fake->closes, 1);
}

TEST_F(WriteBehind, ADiskThatHasRoomAgainGetsEverythingThatWasAccepted) {
  setWriteStatus(kDiskFullStatus);
  std::string accepted;
  for (std::uint32_t i = 0; i < 3; ++i) {
    const std::string bytes = noise(kBuffer, i + 1);
    if (write(bytes)) {
      accepted += bytes;
    }
  }
  setWriteStatus(noErr);
  ASSERT_TRUE(write("after"));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, accepted + "after");
}

TEST_F(WriteBehind, AWriteInsideTheBufferedRangeIsAppended) {
  ASSERT_TRUE(write("0123456789"));
  std::uint32_t length = 3;
  EXPECT_TRUE(file->write_length_atOffset("abc", &length, 2));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, "0123456789abc");
}

TEST_F(WriteBehind, AWriteOutsideTheBufferedRangeLosesNothingThatCameBefore) {
  const std::string bytes = noise(kBuffer + 1000);
  ASSERT_TRUE(write(bytes));
  std::uint32_t length = 4;
  EXPECT_TRUE(file->write_length_atOffset("ABCD", &length, 8));
  EXPECT_TRUE(file->close());
  std::string expected = bytes;
  expected.replace(8, 4, "ABCD");
  EXPECT_EQ(fake->data, expected);
}

TEST_F(WriteBehind, AWritePastTheEndIsRefused) {
  ASSERT_TRUE(write("0123456789"));
  std::uint32_t length = 3;
  EXPECT_FALSE(file->write_length_atOffset("abc", &length, 10 + 2 * std::int64_t{kBuffer}));
  EXPECT_EQ(length, 0U);
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, "0123456789");
}

TEST_F(WriteBehind, TurningTheCacheOffSavesWhatItHolds) {
  ASSERT_TRUE(write("0123456789"));
  file->setUseCache(false);
  EXPECT_EQ(fake->data, "0123456789");
  ASSERT_TRUE(write("direct"));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(fake->data, "0123456789direct");
}

TEST_F(WriteBehind, PacketsAreNotWrittenWhileTheCacheIsOn) {
  std::uint32_t packets = 1;
  EXPECT_FALSE(file->writePackets_numBytes_inPacketDescriptions_numPackets("abcd", 4, nullptr, &packets));
  EXPECT_TRUE(fake->data.empty());
}

TEST_F(WriteBehind, AFileThatGoesAwayWithoutClosingSavesEverything) {
  const std::string bytes = noise(kBuffer + 17);
  ASSERT_TRUE(write(bytes));
  file.reset();
  EXPECT_EQ(fake->data, bytes);
  EXPECT_EQ(fake->closes, 1);
}

TEST_F(WriteBehind, AHandleLeftOpenByANewPathIsSavedAndClosedWithTheObject) {
  ASSERT_TRUE(write("0123456789"));
  file->updatePath("elsewhere.aiff");
  EXPECT_FALSE(file->isOpen());
  EXPECT_EQ(fake->closes, 0);
  file.reset();
  EXPECT_EQ(fake->closes, 1);
  EXPECT_EQ(fake->data, "0123456789");
}
