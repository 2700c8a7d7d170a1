#include <gtest/gtest.h>

#include <thread>

#include "VirtualHardwareTestSupport.h"
#include "hardware/DeviceCycles.h"
#include "hardware/HardwareCycleMark.h"
#include "hardware/virtual/CycleCounters.h"
#include "hardware/virtual/CycleEngine.h"
#include "hardware/virtual/DescribedState.h"
#include "hardware/virtual/FileFeed.h"
#include "hardware/virtual/Wiring.h"
#include "support/RealTimeInterposer.h"
#include "support/TemporaryDirectory.h"

/// What the I/O thread does around the procs is held to the same rules as the procs themselves: the guard that is
/// linked into this program fails a test in which a marked thread allocates, frees, locks, or makes a system call other
/// than waking a thread.
namespace orv::test {
namespace {

using hardwaremodel::DeviceState;
using virtualhardware::CycleCounters;
using virtualhardware::CycleEngine;
using virtualhardware::FileFeed;
using virtualhardware::FileFeedSetup;
using virtualhardware::FilePlace;
using virtualhardware::LoopbackCable;
using virtualhardware::OutputCapture;
using virtualhardware::Surroundings;
using virtualhardware::ToneFeed;
using virtualhardware::Waker;
using virtualhardware::Wiring;

class SilentSink : public HardwareCycleSink {
 public:
  void cycle(const HardwareCycle& /*cycle*/) noexcept override {}
};

class RealTimeRules : public testing::Test {
 protected:
  static VirtualDevice described() {
    VirtualDevice device = simpleDevice("a");
    device.hasPlayThru = true;
    device.output.streams.push_back({{pcm(1, 16)}, 0});
    return device;
  }

  void makeCycles(int count) {
    for (int i = 0; i < count; ++i) {
      while (!engine_.isReady()) {
        std::this_thread::yield();
      }
      const HardwareCycleMark mark(marked_);
      engine_.prepare();
      if (engine_.isReady()) {
        engine_.skipMissed(engine_.dueTime());
        engine_.cycle(sink_, engine_.dueTime());
      }
    }
  }

  TemporaryDirectory folder_;
  DeviceCycles marked_{nullptr, 1};
  SilentSink sink_;
  Surroundings surroundings_;
  std::atomic<std::uint64_t> counter_{0};
  DeviceState state_ = virtualhardware::stateOf(described(), 1, 1);
  CycleEngine engine_{state_, surroundings_, counter_};
  Wiring wiring_{state_, engine_.plans()};
  std::shared_ptr<Waker> waker_ = std::make_shared<Waker>();
};

TEST_F(RealTimeRules, HoldForFilesCaptureLoopbackVolumeAndPlayThrough) {
  writeAudioFile(folder_ / "in.wav", 16, 2, 100000);
  FileFeedSetup setup;
  setup.files = {folder_ / "in.wav"};
  setup.channels = 2;
  setup.rate = 44100.0;
  setup.largestCycle = 4096;
  wiring_.setFeed(std::make_shared<FileFeed>(setup, FilePlace{}, waker_));
  std::string problem;
  wiring_.setCapture(OutputCapture::open(folder_ / "out.wav", 44100.0, 3, 4096, waker_, &problem));
  EXPECT_EQ(problem, "");
  wiring_.addCable(std::make_shared<LoopbackCable>("a", 2, 100000));
  state_.input.controls[0].scalar = 0.5F;
  state_.input.controls[0].decibels = -30.0F;
  state_.output.controls[1].isMuted = true;
  state_.playsThru = true;
  engine_.setGains(state_);
  engine_.setJitter(1000);
  engine_.begin();
  makeCycles(500);
  EXPECT_GT(counter_, 0U);
}

TEST_F(RealTimeRules, HoldForATakeOverOfNewBuffersAndForOverloads) {
  wiring_.setFeed(std::make_shared<ToneFeed>(2, 1000.0, 0.5));
  engine_.begin();
  for (std::uint32_t frames = 64; frames < 74; ++frames) {
    wiring_.setCycle({frames, 44100.0});
    engine_.overload();
    engine_.setDrift(frames);
    makeCycles(2);
  }
  engine_.plans().collect();
  EXPECT_EQ(counter_, 20U);
}

TEST_F(RealTimeRules, CountersAreReadWithoutALock) {
  CycleCounters counters;
  const CycleCounters::Claim claim(*counters.take(), 5);
  const HardwareCycleMark mark(marked_);
  EXPECT_EQ(counters.cycles(5), 0U);
}

}  // namespace
}  // namespace orv::test
