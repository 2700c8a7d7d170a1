#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "GraphPlayerFixture.h"

namespace {

/// Two devices that cycle for as long as it lives.
class GraphPlayerStress : public GraphPlayer {
 protected:
  static constexpr int kRounds = 60;

  GraphPlayerStress() {
    for (const AudioDeviceID id : {kSpeaker, kOther}) {
      threads_.emplace_back([this, id] {
        while (!isDone_) {
          if (hardware->isRunning(id)) {
            hardware->cycle(id);
          }
          std::this_thread::yield();
        }
      });
    }
  }
  ~GraphPlayerStress() override {
    isDone_ = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

 private:
  std::atomic<bool> isDone_{false};
  std::vector<std::thread> threads_;
};

}  // namespace

TEST_F(GraphPlayerStress, TransportCallsOfSeveralThreadsAreSafeWhileTheDeviceCycles) {
  const auto player = playerOf(file(44100, 2, 16, counted(0, 20000, 2)));
  const auto other = OrvAudioDevice::initWithDeviceID(kOther);
  const std::string path = countedFile(3000);
  const auto run = [&](int kind) {
    for (int i = 0; i < kRounds; ++i) {
      switch ((i + kind) % 7) {
        case 0:
          player->play();
          break;
        case 1:
          player->setCurrentFrameOffset(static_cast<std::uint32_t>(i * 100));
          break;
        case 2:
          player->setAudioProcessor(i % 2 == 0 ? nullptr : std::make_shared<GraphProcessor>());
          break;
        case 3:
          player->playExactlyFromFrame_endFrame(5, 3000);
          break;
        case 4:
          player->setVolumeScalar(0.5F);
          player->rewind();
          break;
        case 5:
          player->setOutputDevice(i % 2 == 0 ? other : speaker);
          break;
        default:
          i % 3 == 0 ? player->setAudioFilePath(path) : static_cast<void>(player->stop());
      }
    }
  };
  std::thread host([&] { run(0); });
  std::thread third([&] { run(3); });
  while (!player->isPlaying()) {
    player->play();
    pump();
  }
  host.join();
  third.join();
  player->stop();
  pump();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(GraphPlayerStress, PlayersCanBeDeletedWhileTheyPlay) {
  const std::string path = countedFile(2000);
  for (int i = 0; i < kRounds; ++i) {
    auto player = playerOf(path);
    player->play();
    std::this_thread::yield();
    player = nullptr;
    pump();
  }
  pump();
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
}
