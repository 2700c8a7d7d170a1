#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "DeviceFixture.h"

namespace {

constexpr std::uint64_t kAlive = 0x600DF00D;

/// Knows whether it is called after its end, and whether that end came on the I/O thread.
class Witness final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  explicit Witness(std::atomic<int>* faults) : faults_(faults) {}
  ~Witness() override {
    state_ = 0;
    *faults_ += orv::isInHardwareCycle() ? 1 : 0;
  }
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
      const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
      void* /*clientData*/) noexcept override {
    *faults_ += state_ == kAlive ? 0 : 1;
    return noErr;
  }

 private:
  std::atomic<std::uint64_t> state_{kAlive};
  std::atomic<int>* faults_;
};

class DispatchStress : public DeviceFixture {};

}  // namespace

TEST_F(DispatchStress, RemovingAndDestroyingSubscribersWhileACycleCallsThemIsSafe) {
  std::atomic<int> faults{0};
  std::atomic<bool> isDone{false};
  device->start();
  std::thread cycles([&] {
    while (!isDone) {
      hardware->cycle();
    }
  });
  std::vector<std::thread> hosts;
  for (int thread = 0; thread < 3; ++thread) {
    hosts.emplace_back([&, thread] {
      const bool isInput = thread % 2 == 0;
      for (int i = 0; i < 700; ++i) {
        auto subscriber = std::make_shared<Witness>(&faults);
        device->addAudioIOSubscriber_forInput(subscriber, isInput);
        std::this_thread::yield();
        device->removeAudioIOSubscriber_forInput(subscriber, isInput);
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  isDone = true;
  cycles.join();
  device->stop();
  pump();
  EXPECT_EQ(faults, 0);
}

TEST_F(DispatchStress, StartsAndStopsOfManyThreadsAddUp) {
  std::vector<std::thread> hosts;
  for (int thread = 0; thread < 4; ++thread) {
    hosts.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        device->start();
        device->stop();
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  EXPECT_FALSE(hardware->isRunning());
  device->start();
  EXPECT_TRUE(hardware->isRunning());
  device->stop();
}
