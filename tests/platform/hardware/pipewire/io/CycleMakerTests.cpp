#include "hardware/pipewire/io/CycleMaker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "hardware/DeviceCycles.h"
#include "hardware/HardwareCycleMark.h"

namespace {

using orv::HardwareCycle;
using orv::pipewire::CycleGate;
using orv::pipewire::CycleMaker;
using orv::pipewire::HeardPorts;
using orv::pipewire::PlayedPorts;
using orv::pipewire::Quantum;

constexpr std::uint32_t kRate = 48000;
constexpr std::uint64_t kSecond = 1'000'000'000;

/// Keeps what the cycles said, and copies their input to their output.
class Sink final : public orv::HardwareCycleSink {
 public:
  Sink() { cycles.reserve(1000); }
  struct Cycle {
    AudioTimeStamp now;
    AudioTimeStamp inputTime;
    AudioTimeStamp outputTime;
    std::uint32_t inputs;
    std::uint32_t outputs;
    std::uint32_t frames;
    float first;
  };
  std::vector<Cycle> cycles;
  std::function<void()> inCycle;

  void cycle(const HardwareCycle& cycle) noexcept override {
    const AudioBuffer& heard = cycle.input->mBuffers[0];
    const AudioBuffer& played = cycle.output->mBuffers[0];
    const AudioBuffer& some = cycle.input->mNumberBuffers > 0 ? heard : played;
    const std::uint32_t frames = some.mDataByteSize / 4 / some.mNumberChannels;
    cycles.push_back({cycle.now, cycle.inputTime, cycle.outputTime, cycle.input->mNumberBuffers,
                      cycle.output->mNumberBuffers, frames,
                      cycle.input->mNumberBuffers > 0 ? static_cast<const float*>(heard.mData)[0] : 0.0F});
    for (std::uint32_t i = 0; cycle.output->mNumberBuffers > 0 && i < frames * played.mNumberChannels; ++i) {
      static_cast<float*>(played.mData)[i] =
          cycle.input->mNumberBuffers > 0 ? static_cast<const float*>(heard.mData)[i] : 1.0F;
    }
    if (inCycle) {
      inCycle();
    }
  }
};

/// A device of one channel on each side, and a server whose quanta a test makes one by one.
class Server {
 public:
  Server(CycleMaker& maker, std::uint32_t frames) : maker_(maker), heard_(20000), played_(20000) {
    quantum.host = AudioGetCurrentHostTime() + 1000 * kSecond;  // no cycle is late
    quantum.frames = frames;
    quantum.rate = kRate;
    quantum.position = 12345;
  }
  Quantum quantum;  ///< the next
  CycleGate gate;
  std::vector<float> output;

  /// False when the maker tells an overload.
  bool pass() {
    for (std::uint32_t i = 0; i < quantum.frames; ++i) {
      heard_[i] = static_cast<float>(++sent_);
      played_[i] = 9.0F;
    }
    ports_[0] = {heard_.data(), quantum.frames};
    outputs_[0] = {played_.data(), quantum.frames};
    bool isWhole = false;
    {
      const orv::HardwareCycleMark mark(cycles_);  // what is not real-time safe becomes a failure
      isWhole = maker_.make(quantum, ports_, outputs_, gate);
    }
    output.insert(output.end(), played_.begin(), played_.begin() + quantum.frames);
    quantum.position += quantum.frames;
    quantum.host = quantum.deadline();
    return isWhole;
  }

 private:
  CycleMaker& maker_;
  orv::DeviceCycles cycles_{nullptr, 1};
  std::vector<float> heard_;
  std::vector<float> played_;
  HeardPorts ports_{1};
  PlayedPorts outputs_{1};
  std::uint32_t sent_ = 0;
};

std::uint64_t hostOf(double frames) {
  return static_cast<std::uint64_t>(std::llround(frames * kSecond / kRate));
}

}  // namespace

TEST(CycleMaker, MakesNoCycleAndPlaysSilenceWhileTheGateIsClosed) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  EXPECT_TRUE(server.pass());
  EXPECT_EQ(server.output, std::vector<float>(256));
}

TEST(CycleMaker, PassesAQuantumOfACyclesLengthStraightThrough) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  EXPECT_TRUE(server.pass());
  EXPECT_TRUE(server.pass());
  ASSERT_EQ(sink.cycles.size(), 2U);
  EXPECT_EQ(sink.cycles[1].first, 257.0F);
  EXPECT_EQ(server.output[511], 512.0F);
  EXPECT_EQ(maker.latencyFrames(true) + maker.latencyFrames(false), 0U);
}

TEST(CycleMaker, StampsInputOutputAndNow) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.quantum.scalar = 1.0;
  const std::uint64_t begin = server.quantum.host;
  server.pass();
  server.pass();
  const auto& cycle = sink.cycles[1];
  EXPECT_EQ(cycle.inputTime.mSampleTime, 256.0);
  EXPECT_EQ(cycle.now.mSampleTime, 512.0);
  EXPECT_EQ(cycle.outputTime.mSampleTime, 512.0);
  EXPECT_EQ(cycle.now.mHostTime, begin + hostOf(256));
  EXPECT_EQ(cycle.inputTime.mHostTime, begin);
  EXPECT_EQ(cycle.outputTime.mHostTime, begin + hostOf(256));
  EXPECT_EQ(cycle.now.mRateScalar, 1.0);
  EXPECT_EQ(cycle.now.mFlags,
            kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid | kAudioTimeStampRateScalarValid);
}

TEST(CycleMaker, CountsADevicesLatencyIntoItsStamps) {
  CycleMaker maker(1, 1, 256);
  maker.setDeviceLatency(true, 300);  // 44 more than the quantum, which is there in any case
  maker.setDeviceLatency(false, 100);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  const auto& cycle = sink.cycles[0];
  EXPECT_EQ(cycle.now.mSampleTime - cycle.inputTime.mSampleTime, 300.0);
  EXPECT_EQ(cycle.outputTime.mSampleTime - cycle.now.mSampleTime, 100.0);
  EXPECT_EQ(cycle.now.mHostTime - cycle.inputTime.mHostTime, hostOf(300));
  EXPECT_EQ(cycle.outputTime.mHostTime - cycle.now.mHostTime, hostOf(100));
}

TEST(CycleMaker, StampsHostTimesByTheRealRate) {
  CycleMaker maker(1, 1, 480);
  Server server(maker, 480);
  server.quantum.scalar = 1.01;
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  EXPECT_EQ(sink.cycles[0].now.mRateScalar, 1.01);
  EXPECT_NEAR(static_cast<double>(sink.cycles[0].now.mHostTime - sink.cycles[0].inputTime.mHostTime), 1e7 / 1.01, 1.0);
}

TEST(CycleMaker, KeepsCyclesConstantAndTheirSampleTimesContinuousWhateverTheQuantum) {
  CycleMaker maker(1, 1, 100);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  for (const std::uint32_t quantum : {256U, 1024U, 64U, 1000U, 1U, 8192U}) {
    server.quantum.frames = quantum;
    EXPECT_TRUE(server.pass());
  }
  ASSERT_EQ(sink.cycles.size(), 105U);
  for (std::size_t i = 0; i < sink.cycles.size(); ++i) {
    EXPECT_EQ(sink.cycles[i].frames, 100U);
    EXPECT_EQ(sink.cycles[i].inputTime.mSampleTime, static_cast<double>(i) * 100);
    EXPECT_EQ(sink.cycles[i].first, static_cast<float>(i * 100 + 1));
    EXPECT_LE(sink.cycles[i].now.mHostTime - sink.cycles[i].inputTime.mHostTime, hostOf(8192 + 100));
    EXPECT_GE(sink.cycles[i].outputTime.mSampleTime, sink.cycles[i].now.mSampleTime);
  }
}

TEST(CycleMaker, SplitsAQuantumThatIsLongerThanItsBuffers) {
  CycleMaker maker(1, 1, 1000);
  Server server(maker, 20000);
  Sink sink;
  server.gate.open(&sink);
  EXPECT_TRUE(server.pass());
  EXPECT_TRUE(server.pass());
  ASSERT_EQ(sink.cycles.size(), 40U);
  float last = 0.0F;
  for (const float sample : server.output) {
    if (sample != 0.0F) {
      ASSERT_EQ(sample, last + 1.0F);
      last = sample;
    }
  }
  EXPECT_GT(last, 39000.0F);
}

TEST(CycleMaker, TellsFramesThatWereLeftOutAndLeavesThemOutOfTheSampleTimes) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  EXPECT_TRUE(server.pass());
  server.quantum.position += 512;
  EXPECT_FALSE(server.pass());
  EXPECT_TRUE(server.pass());
  EXPECT_EQ(sink.cycles[1].inputTime.mSampleTime, 256.0 + 512.0);
  EXPECT_EQ(sink.cycles[2].inputTime.mSampleTime, 512.0 + 512.0);
}

TEST(CycleMaker, TakesAnotherDriversCountForNoGap) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  EXPECT_TRUE(server.pass());
  server.quantum.driver = 7;
  server.quantum.position = 99;
  EXPECT_TRUE(server.pass());
  EXPECT_EQ(sink.cycles[1].inputTime.mSampleTime, 256.0);
}

TEST(CycleMaker, TakesACountThatGoesBackForNoGap) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  EXPECT_TRUE(server.pass());
  server.quantum.position = 0;
  EXPECT_TRUE(server.pass());
  EXPECT_EQ(sink.cycles[1].inputTime.mSampleTime, 256.0);
}

TEST(CycleMaker, TellsAQuantumThatWasOverBeforeItWasDone) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.quantum.host = AudioGetCurrentHostTime() - kSecond;
  EXPECT_FALSE(server.pass());
}

TEST(CycleMaker, BeginsAnewWhenTheGateIsOpenedAnew) {
  CycleMaker maker(1, 1, 1000);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  server.gate.close();
  server.pass();
  Sink second;
  maker.setFrames(256, 256);
  server.gate.open(&second);
  server.pass();
  EXPECT_TRUE(sink.cycles.empty());
  ASSERT_EQ(second.cycles.size(), 1U);
  EXPECT_EQ(second.cycles[0].inputTime.mSampleTime, 0.0);
  EXPECT_EQ(second.cycles[0].first, 513.0F);
}

TEST(CycleMaker, MakesNoFurtherCycleOfAQuantumOnceTheGateIsClosedInOne) {
  CycleMaker maker(1, 1, 64);
  Server server(maker, 256);
  Sink sink;
  sink.inCycle = [&] { server.gate.close(); };
  server.gate.open(&sink);
  server.pass();
  EXPECT_EQ(sink.cycles.size(), 1U);
  EXPECT_EQ(server.output[63], 64.0F);
  EXPECT_EQ(server.output[64], 0.0F);
}

TEST(CycleMaker, ServesAGateThatIsClosedAndOpenedInACycleFromTheNextQuantumOn) {
  CycleMaker maker(1, 1, 64);
  Server server(maker, 256);
  Sink first;
  Sink second;
  first.inCycle = [&] {
    server.gate.close();
    server.gate.open(&second);
  };
  server.gate.open(&first);
  server.pass();
  EXPECT_EQ(first.cycles.size(), 1U);
  EXPECT_EQ(second.cycles.size(), 0U);
  server.pass();
  ASSERT_EQ(second.cycles.size(), 4U);
  EXPECT_EQ(second.cycles[0].first, 257.0F);
}

TEST(CycleMaker, WaitsWithOtherFramesForTheServersQuantum) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  maker.setFrames(512, 512);
  server.pass();
  EXPECT_EQ(sink.cycles.back().frames, 256U);
  server.quantum.frames = 512;
  server.pass();
  EXPECT_EQ(sink.cycles.back().frames, 512U);
  EXPECT_EQ(maker.latencyFrames(true) + maker.latencyFrames(false), 0U);
}

TEST(CycleMaker, TakesOtherFramesAllTheSameWhenTheServersQuantumDoesNotCome) {
  CycleMaker maker(1, 1, 256);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  maker.setFrames(512, 512);
  for (int i = 0; i < 25; ++i) {  // 133 ms
    server.pass();
  }
  EXPECT_EQ(sink.cycles.back().frames, 512U);
}

TEST(CycleMaker, BeginsOnceTheServerHasTheQuantumThatItWasAskedFor) {
  CycleMaker maker(1, 1, 512, 512);
  Server server(maker, 128);
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  EXPECT_EQ(server.output, std::vector<float>(128));
  EXPECT_TRUE(sink.cycles.empty());
  server.quantum.frames = 512;
  server.pass();
  ASSERT_EQ(sink.cycles.size(), 1U);
  EXPECT_EQ(sink.cycles[0].first, 129.0F);
  EXPECT_EQ(sink.cycles[0].inputTime.mSampleTime, 0.0);
}

TEST(CycleMaker, BeginsAllTheSameWhenTheQuantumThatItWasAskedForDoesNotCome) {
  CycleMaker maker(1, 1, 512, 512);
  Server server(maker, 256);
  Sink sink;
  server.gate.open(&sink);
  for (int i = 0; i < 25; ++i) {  // 133 ms
    server.pass();
  }
  EXPECT_FALSE(sink.cycles.empty());
}

TEST(CycleMaker, DoesNotWaitAgainForAQuantumThatTheServerHasRefused) {
  CycleMaker maker(1, 1, 512, 512);
  Server server(maker, 256);
  for (int i = 0; i < 25; ++i) {
    server.pass();
  }
  Sink sink;
  server.gate.open(&sink);
  server.pass();
  server.pass();
  EXPECT_EQ(sink.cycles.size(), 1U);
}

TEST(CycleMaker, HasEmptyListsForSidesWithoutChannels) {
  for (const bool isInput : {true, false}) {
    CycleMaker maker(isInput ? 1 : 0, isInput ? 0 : 1, 256);
    CycleGate gate;
    Sink sink;
    gate.open(&sink);
    std::vector<float> samples(256, 3.0F);
    HeardPorts heard;
    PlayedPorts played;
    isInput ? heard.push_back({samples.data(), 256}) : played.push_back({samples.data(), 256});
    Quantum quantum;
    quantum.host = AudioGetCurrentHostTime() + kSecond;
    quantum.frames = 256;
    quantum.rate = kRate;
    EXPECT_TRUE(maker.make(quantum, heard, played, gate));
    ASSERT_EQ(sink.cycles.size(), 1U);
    EXPECT_EQ(sink.cycles[0].inputs, isInput ? 1U : 0U);
    EXPECT_EQ(sink.cycles[0].outputs, isInput ? 0U : 1U);
    EXPECT_EQ(sink.cycles[0].frames, 256U);
    EXPECT_EQ(samples[100], isInput ? 3.0F : 1.0F);
  }
}
