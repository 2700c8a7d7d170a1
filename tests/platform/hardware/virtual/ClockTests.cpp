#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

#include "VirtualHardwareTestSupport.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

std::shared_ptr<VirtualHardware> hardwareWith(VirtualClock clock, double acceleration = 1.0) {
  VirtualHardwareOptions options;
  options.clock = clock;
  options.acceleration = acceleration;
  return VirtualHardware::make(options);
}

/// Stops the device in its own cycle after so many, so that what was recorded can be looked at.
class StoppingSink : public RecordingSink {
 public:
  StoppingSink(AudioHardware& hardware, std::size_t count) : hardware_(hardware), count_(count) {}

  void cycle(const HardwareCycle& cycle) noexcept override {
    if (cycles().size() < count_) {
      RecordingSink::cycle(cycle);
    }
    if (cycles().size() == count_) {
      hardware_.stop(device);
      isDone_ = true;
      isDone_.notify_all();
    }
  }
  void wait() const { isDone_.wait(false); }

  AudioDeviceID device = 0;

 private:
  AudioHardware& hardware_;
  const std::size_t count_;
  std::atomic<bool> isDone_{false};
};

TEST(RealTimeClock, CyclesComeWhenTheyAreDueAndNotBefore) {
  const auto hardware = hardwareWith(VirtualClock::realTime);
  StoppingSink sink(*hardware, 20);
  sink.device = hardware->plug(simpleDevice("a", 2, 44100.0, 441));
  const std::uint64_t started = AudioGetCurrentHostTime();
  ASSERT_EQ(hardware->start(sink.device, &sink), noErr);
  sink.wait();
  hardware->stop(sink.device);
  for (const RecordedCycle& cycle : sink.cycles()) {
    // Sample time and host time say the same, whatever the machine was busy with.
    const double seconds = (cycle.now.mSampleTime - 441.0) / 44100.0;
    EXPECT_GE(cycle.now.mHostTime, started + static_cast<std::uint64_t>(seconds * 1e9));
    EXPECT_LE(cycle.now.mHostTime, AudioGetCurrentHostTime());
    EXPECT_EQ(std::fmod(cycle.inputTime.mSampleTime, 441.0), 0.0);
  }
}

TEST(RealTimeClock, AHiccupLeavesOutWholeCyclesAndTellsAnOverload) {
  const auto hardware = hardwareWith(VirtualClock::realTime);
  RecordedEvents events;
  hardware->setEvents(&events);
  StoppingSink* recorded = nullptr;
  class Slow : public StoppingSink {
   public:
    using StoppingSink::StoppingSink;
    void cycle(const HardwareCycle& cycle) noexcept override {
      if (cycles().empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
      StoppingSink::cycle(cycle);
    }
  } sink(*hardware, 3);
  recorded = &sink;
  sink.device = hardware->plug(simpleDevice("a", 2, 44100.0, 441));
  ASSERT_EQ(hardware->start(sink.device, &sink), noErr);
  sink.wait();
  hardware->stop(sink.device);
  EXPECT_GE(events.count(kAudioDeviceProcessorOverload), 1U);
  const double jump = recorded->cycles()[1].inputTime.mSampleTime - recorded->cycles()[0].inputTime.mSampleTime;
  EXPECT_GE(jump, 4 * 441.0);
  EXPECT_EQ(std::fmod(jump, 441.0), 0.0);
}

TEST(RealTimeClock, ALongCycleIsInterruptedByAStop) {
  const auto hardware = hardwareWith(VirtualClock::realTime);
  VirtualDevice device = simpleDevice("a", 1, 1.0, 65536);
  device.nominalSampleRates = {{1.0, 1.0}};
  device.bufferFrameSizes = {1.0, 65536.0};
  const AudioDeviceID id = hardware->plug(device);
  CountingSink sink;
  ASSERT_EQ(hardware->start(id, &sink), noErr);
  // The cycle would be due in eighteen hours.
  EXPECT_EQ(hardware->stop(id), noErr);
  EXPECT_EQ(sink.cycles(), 0U);
}

TEST(AcceleratedClock, HostTimeAdvancesAsIfInRealTime) {
  const auto hardware = hardwareWith(VirtualClock::accelerated, 1000.0);
  StoppingSink sink(*hardware, 1000);
  sink.device = hardware->plug(simpleDevice("a", 2, 48000.0, 480));
  ASSERT_EQ(hardware->start(sink.device, &sink), noErr);
  sink.wait();
  hardware->stop(sink.device);
  EXPECT_EQ(sink.cycles()[999].now.mHostTime - sink.cycles()[0].now.mHostTime, 9'990'000'000U);
  EXPECT_EQ(sink.cycles()[999].inputTime.mSampleTime, 999.0 * 480.0);
}

class FastClock : public testing::Test {
 protected:
  static std::vector<float> captured(const std::string& path) {
    const auto reading = readIndependently(path);
    EXPECT_TRUE(reading.has_value());
    return reading ? std::vector<float>(reading->doubles.begin(), reading->doubles.end()) : std::vector<float>();
  }

  TemporaryDirectory folder_;
  std::shared_ptr<VirtualHardware> hardware_ = hardwareWith(VirtualClock::asFastAsItGoes);
};

TEST_F(FastClock, WaitsForFilesAndLosesNothing) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 200000);
  VirtualDevice device = simpleDevice("a", 2, 44100.0, 500);
  device.source.kind = VirtualInput::Kind::files;
  device.source.files = {folder_ / "a.wav"};
  StoppingSink sink(*hardware_, 400);
  sink.device = hardware_->plug(device);
  ASSERT_EQ(hardware_->start(sink.device, &sink), noErr);
  sink.wait();
  hardware_->stop(sink.device);
  EXPECT_EQ(sink.input(), written);
}

TEST_F(FastClock, WaitsForTheDiskAndCapturesEverything) {
  VirtualDevice device = simpleDevice("a", 1, 44100.0, 4096);
  device.sink.file = folder_ / "out.wav";
  class Ramp : public HardwareCycleSink {
   public:
    void cycle(const HardwareCycle& cycle) noexcept override {
      auto* const samples = static_cast<float*>(cycle.output->mBuffers[0].mData);
      for (int i = 0; i < 4096; ++i) {
        samples[i] = static_cast<float>(next_++ % 65536) / 65536.0F;
      }
      ++count;
      count.notify_all();
    }
    std::atomic<std::uint64_t> count{0};

   private:
    std::uint64_t next_ = 0;
  } sink;
  const AudioDeviceID id = hardware_->plug(device);
  ASSERT_EQ(hardware_->start(id, &sink), noErr);
  for (std::uint64_t seen = sink.count; seen < 300; seen = sink.count) {
    sink.count.wait(seen);
  }
  hardware_->stop(id);
  const std::vector<float> samples = captured(folder_ / "out.wav");
  ASSERT_EQ(samples.size(), sink.count * 4096);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(samples[i], static_cast<float>(i % 65536) / 65536.0F) << i;
  }
}

TEST_F(FastClock, AnotherFileIsWrittenWhileTheDeviceRunsAndTheFirstIsComplete) {
  VirtualDevice device = simpleDevice("a", 1);
  device.sink.file = folder_ / "first.wav";
  const AudioDeviceID id = hardware_->plug(device);
  CountingSink sink;
  ASSERT_EQ(hardware_->start(id, &sink), noErr);
  sink.waitForCycles(10);
  std::string problem;
  EXPECT_TRUE(hardware_->setOutput(id, {folder_ / "second.wav"}, &problem)) << problem;
  const std::size_t first = captured(folder_ / "first.wav").size();
  EXPECT_GE(first, 640U);
  sink.waitForCycles(sink.cycles() + 10);
  hardware_->stop(id);
  EXPECT_EQ(captured(folder_ / "first.wav").size(), first);
  EXPECT_EQ(first + captured(folder_ / "second.wav").size(), sink.cycles() * 64);
}

TEST_F(FastClock, TheBufferSizeAndTheRateChangeWhileItRuns) {
  VirtualDevice device = simpleDevice("a", 2);
  device.source.kind = VirtualInput::Kind::tone;
  const AudioDeviceID id = hardware_->plug(device);
  CountingSink sink;
  ASSERT_EQ(hardware_->start(id, &sink), noErr);
  for (std::uint32_t i = 0; i < 50; ++i) {
    EXPECT_EQ(hardware_->setBufferFrameSize(id, 64 + i), noErr);
    EXPECT_EQ(hardware_->setNominalSampleRate(id, i % 2 == 0 ? 88200.0 : 44100.0), noErr);
    sink.waitForCycles(sink.cycles() + 1);
  }
  EXPECT_EQ(hardware_->stop(id), noErr);
}

}  // namespace
}  // namespace orv::test
