#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "MonitorFixture.h"

namespace {

/// Two devices that cycle beside each other for as long as it lives.
class MonitorStress : public PlayThrough {
 protected:
  static constexpr int kRounds = 200;

  MonitorStress() {
    hardware->at(kMicrophone).input.assign(32, 1.0F);
    for (const AudioDeviceID id : {kMicrophone, kSpeaker}) {
      threads_.emplace_back([this, id] {
        while (!isDone_) {
          if (hardware->isRunning(id)) {
            look(id, hardware->cycle(id));
          }
          std::this_thread::yield();
        }
      });
    }
  }
  ~MonitorStress() override { finish(); }

  void finish() {
    isDone_ = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
    threads_.clear();
  }

  /// A block is all of one input block, or silence.
  void look(AudioDeviceID id, const std::vector<float>& output) {
    if (id == kSpeaker) {
      const float first = output[0];
      torn_ += std::all_of(output.begin(), output.end(), [&](float sample) { return sample == first; }) ? 0 : 1;
      heard_ += first != 0 ? 1 : 0;
    }
  }

  std::atomic<int> torn_{0};
  std::atomic<int> heard_{0};

 private:
  std::atomic<bool> isDone_{false};
  std::vector<std::thread> threads_;
};

}  // namespace

TEST_F(MonitorStress, ControlCallsOfSeveralThreadsAreSafeWhileTwoDevicesCycle) {
  connect();
  const auto run = [&](int kind) {
    for (int i = 0; i < kRounds; ++i) {
      switch ((i + kind) % 6) {
        case 0:
          handler->start();
          break;
        case 1:
          handler->setVolumeControl(OrvSoftwareVolumeControl::init());
          break;
        case 2:
          handler->setAudioProcessor(i % 4 == 0 ? nullptr : std::make_shared<AddingProcessor>(1.0F));
          break;
        case 3:
          handler->setAudioDevice_isInput(microphone, true);
          break;
        case 4:
          handler->setVolumeControl(nullptr);
          break;
        default:
          handler->stop();
      }
    }
  };
  std::vector<std::thread> hosts;
  for (int kind = 0; kind < 3; ++kind) {
    hosts.emplace_back(run, kind * 2);
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  handler->stop();
  handler->start();
  while (heard_ == 0) {
    std::this_thread::yield();
  }
  finish();
  EXPECT_EQ(torn_, 0);
}

TEST_F(MonitorStress, HandlersCanBeMadeStartedStoppedAndDeletedWhileTheDevicesCycle) {
  const auto run = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const auto other = OrvPlayThroughHandler::init();
      other->setAudioDevice_isInput(microphone, true);
      other->setAudioDevice_isInput(speaker, false);
      other->start();
      std::this_thread::yield();
      other->stop();
    }
  };
  std::thread host(run);
  run();
  host.join();
  finish();
  pump();
  EXPECT_EQ(torn_, 0);
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  EXPECT_EQ(speaker->audioSubscribersForInput(false).size(), 0U);
}

/// Stops, changes and lets go of a handler from inside its cycle.
TEST_F(MonitorStress, WhatIsAskedForInACycleIsLeftToTheMainThread) {
  class Meddler final : public OrvObject, public OrvCoreAudioIOSubscriber {
   public:
    std::shared_ptr<OrvPlayThroughHandler> handler;
    std::atomic<int> cycles{0};
    OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
        const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*output*/, const AudioTimeStamp* /*outputTime*/,
        void* /*data*/) noexcept override {
      if (cycles++ == 0) {
        EXPECT_TRUE(handler->stop());
        handler->setAudioProcessor(nullptr);
        handler->setVolumeControl(nullptr);
        handler->setAudioDevice_isInput(nullptr, true);
        handler = nullptr;
      }
      return noErr;
    }
  };
  const auto meddler = std::make_shared<Meddler>();
  meddler->handler = OrvPlayThroughHandler::init();
  const std::weak_ptr<OrvPlayThroughHandler> observed = meddler->handler;
  meddler->handler->setAudioDevice_isInput(microphone, true);
  meddler->handler->setAudioDevice_isInput(speaker, false);
  meddler->handler->start();
  speaker->addAudioIOSubscriber_forInput(meddler, false);
  while (meddler->cycles == 0) {
    std::this_thread::yield();
  }
  pump();
  EXPECT_TRUE(observed.expired());
  EXPECT_FALSE(hardware->isRunning(kSpeaker));
  speaker->removeAudioIOSubscriber_forInput(meddler, false);
}
