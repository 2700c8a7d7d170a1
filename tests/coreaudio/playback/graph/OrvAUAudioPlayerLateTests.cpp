// A disk that does not keep up.
#include <gtest/gtest.h>

#include <thread>

#include "GraphPlayerFixture.h"
#include "coreaudio/support/FakeAudioFileService.h"

namespace {

/// A file of silence, as long as the player's read-ahead several times over.
class GraphPlayerOnASlowDisk : public GraphPlayer {
 protected:
  GraphPlayerOnASlowDisk() {
    disk->format.mSampleRate = 48000;
    disk->data.resize(std::size_t{kLength} * disk->format.mBytesPerFrame);
    player = playerOf("any.aiff");
  }
  ~GraphPlayerOnASlowDisk() override {
    disk->set(&orv::test::FakeFile::readsWait, false);
    player = nullptr;
  }

  static constexpr std::uint32_t kLength = 400000;
  static constexpr std::uint32_t kMostCycles = kLength / kFrames;

  const orv::test::InstalledFake disk;
  std::shared_ptr<OrvAUAudioPlayer> player;
};

}  // namespace

TEST_F(GraphPlayerOnASlowDisk, CyclesForWhichItIsLateAreCountedAndThePositionStays) {
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, kLength));
  disk->set(&orv::test::FakeFile::readsWait, true);
  for (std::uint32_t i = 0; player->lateCycles() == 0; ++i) {
    ASSERT_LT(i, kMostCycles);
    cycle();
  }
  const std::uint32_t position = player->currentFrameOffset();
  EXPECT_EQ(player->lateCycles(), 1U);
  EXPECT_FALSE(player->isReadAhead());
  cycle();
  cycle();
  EXPECT_EQ(player->lateCycles(), 3U);
  EXPECT_EQ(player->currentFrameOffset(), position);
}

TEST_F(GraphPlayerOnASlowDisk, NoCycleIsLateThatWaitsUntilEnoughIsRead) {
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, kLength));
  std::uint32_t count = 0;
  for (; player->isPlaying(); ++count) {
    ASSERT_LE(count, kMostCycles + 2);
    while (!player->isReadAhead()) {
      std::this_thread::yield();
    }
    cycle();
  }
  EXPECT_EQ(player->lateCycles(), 0U);
  EXPECT_EQ(player->currentFrameOffset(), kLength);
}
