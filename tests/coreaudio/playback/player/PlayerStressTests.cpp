#include <atomic>
#include <set>

#include "PlayerFixture.h"

namespace {

class PlayerStress : public PlayerFixture {
 protected:
  /// Cycles of all devices on a thread of their own while `body` runs.
  template <typename Body>
  void whileCycling(Body&& body) {
    std::atomic<bool> isDone{false};
    std::thread cycles([&] {
      while (!isDone) {
        hardware->step();
      }
    });
    body();
    isDone = true;
    cycles.join();
    pump();
  }
};

}  // namespace

TEST_F(PlayerStress, EveryControlIsSafeWhileCyclesGoOn) {
  plug(2, 48000);
  const auto one = device;
  plug(6, 44100, 100);
  const auto other = device;
  const std::string short_ = write("short.aiff", 1, 44100, noise(700));
  const std::string long_ = write("long.wav", 2, 44100, noise(2 * 30000), SF_FORMAT_WAV | SF_FORMAT_PCM_24);
  makePlayer(long_);
  whileCycling([&] {
    for (std::uint32_t i = 0; i < 300; ++i) {
      switch (i % 12) {
        case 0:
          player->play();
          break;
        case 1:
          player->setCurrentFrameOffset(i * 97 % 30000);
          break;
        case 2:
          player->setVolumeControl(i % 24 == 2 ? OrvSoftwareVolumeControl::init() : nullptr);
          break;
        case 3:
          player->playFromFrame_endFrame(i * 31 % 30000, 30000);
          break;
        case 4:
          player->setAudioProcessor(i % 24 == 4 ? OrvSoftwareVolumeControl::init() : nullptr);
          break;
        case 5:
          player->rewind();
          break;
        case 6:
          player->playExactlyFromFrame_endFrame(i, 25000);
          break;
        case 7:
          player->stop();
          break;
        case 8:
          player->playFromFrame(0);
          break;
        case 9:
          player->setOutputDevice(i % 24 == 9 ? one : other);
          break;
        case 10:
          player->setAudioFilePath(i % 24 == 10 ? short_ : long_);
          break;
        default:
          player->dumpDebugInfo();
          break;
      }
      pump();
    }
    player->stop();
  });
  EXPECT_FALSE(one->isRunning());
  EXPECT_FALSE(other->isRunning());
}

TEST_F(PlayerStress, EachMoveIsHeardFromItsFirstFrameInCompletePieces) {
  constexpr std::uint32_t kLength = 30000;
  plug(1, 44100);
  std::vector<float> ramp(kLength);  // every sample says which frame it is
  for (std::size_t i = 0; i < ramp.size(); ++i) {
    ramp[i] = static_cast<float>(i + 1) / 65536.0F;
  }
  makePlayer(write("ramp.wav", 1, 44100, ramp, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, kLength));
  listen();
  std::vector<std::uint32_t> places;
  whileCycling([&] {
    for (std::uint32_t i = 0; i < 80; ++i) {
      places.push_back(i * 131 % kLength);
      player->playExactlyFromFrame_endFrame(places.back(), kLength);
      // One that begins after the move has to be over.
      for (const std::uint64_t before = hardware->cycles(deviceID); hardware->cycles(deviceID) < before + 2;) {
        std::this_thread::yield();
      }
    }
    player->stop();
  });
  std::set<float> firsts;
  for (std::size_t begin = 0; begin < capture->samples.size(); begin += kFrames) {
    const float first = capture->samples[begin];
    firsts.insert(first);
    for (std::size_t i = 1; i < kFrames; ++i) {
      const float sample = capture->samples[begin + i];
      const float wanted = first + static_cast<float>(i) / 65536.0F;
      ASSERT_TRUE(sample == (first == 0.0F ? 0.0F : wanted) || (sample == 0.0F && wanted > kLength / 65536.0F));
    }
  }
  for (const std::uint32_t place : places) {
    EXPECT_EQ(firsts.count(ramp[place]), 1U) << place;
  }
}

TEST_F(PlayerStress, DeletingPlayersWhileCyclesCallThemIsSafe) {
  plug(2, 44100);
  const std::string path = write("noise.aiff", 2, 44100, noise(2 * 5000));
  whileCycling([&] {
    for (int i = 0; i < 100; ++i) {
      makePlayer(path);
      player->play();
      if (i % 3 == 0) {
        std::this_thread::yield();
      }
      if (i % 4 == 0) {
        player->stop();
      }
      player = nullptr;
      if (i % 5 == 0) {
        pump();
      }
    }
  });
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 0U);
  EXPECT_FALSE(device->isRunning());
}

TEST_F(PlayerStress, ManyPlayersOnOneDeviceDoNotDisturbEachOther) {
  plug(2, 44100);
  const std::string path = write("noise.aiff", 2, 44100, noise(2 * 20000));
  whileCycling([&] {
    std::vector<std::shared_ptr<OrvAudioPlayer>> players;
    for (int i = 0; i < 8; ++i) {
      players.push_back(OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path));
      players.back()->play();
    }
    for (std::uint32_t i = 0; i < 40; ++i) {
      players[i % players.size()]->setCurrentFrameOffset(i * 331);
      pump();
    }
  });
  EXPECT_FALSE(device->isRunning());
}
