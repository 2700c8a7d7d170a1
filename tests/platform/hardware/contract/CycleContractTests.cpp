#include <cmath>
#include <thread>

#include "HardwareContract.h"

namespace orv::test {
namespace {

/// Counts cycles and checks what each of them brings.
struct Cycles {
  std::atomic<int> count{0};
  std::atomic<int> faults{0};
  std::atomic<int> gaps{0};  ///< of whole cycles, which a device that was too late leaves out
  std::atomic<std::uint32_t> frames{0};
  std::atomic<bool> stopsItself{false};
  double lastSampleTime = 0;
  std::uint64_t lastHostTime = 0;

  void check(const AudioTimeStamp& now, const AudioBufferList& input, const AudioTimeStamp& inputTime,
             const AudioBufferList& output, const AudioTimeStamp& outputTime) {
    const AudioBuffer& heard = input.mBuffers[0];
    const std::uint32_t here =
        input.mNumberBuffers > 0 && heard.mNumberChannels > 0 ? heard.mDataByteSize / (4 * heard.mNumberChannels) : 0;
    require(here > 0 && heard.mData != nullptr);
    require(output.mNumberBuffers > 0 && output.mBuffers[0].mData != nullptr);
    require(output.mBuffers[0].mDataByteSize == here * 4 * output.mBuffers[0].mNumberChannels);
    require(now.mHostTime >= lastHostTime && inputTime.mSampleTime <= now.mSampleTime);
    require(outputTime.mSampleTime >= now.mSampleTime);
    if (count > 0) {
      require(here == frames);
      const double step = (inputTime.mSampleTime - lastSampleTime) / here;
      require(step > 0.5 && std::fabs(step - std::round(step)) * here < 0.5);
      gaps += step > 1.5 ? 1 : 0;
    }
    frames = here;
    lastSampleTime = inputTime.mSampleTime;
    lastHostTime = now.mHostTime;
    ++count;
  }
  void require(bool isTrue) { faults += isTrue ? 0 : 1; }
};

OSStatus proc(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* input,
              const AudioTimeStamp* inputTime, AudioBufferList* output, const AudioTimeStamp* outputTime,
              void* clientData) {
  auto& cycles = *static_cast<Cycles*>(clientData);
  cycles.check(*now, *input, *inputTime, *output, *outputTime);
  if (cycles.stopsItself) {
    AudioDeviceStop(device, &proc, clientData);
  }
  return noErr;
}

/// Whether a proc may still be called, and how often it was when it may not.
struct Guard {
  std::atomic<bool> mayBeCalled{true};
  std::atomic<int> late{0};
};

OSStatus guardedProc(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
                     const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*output*/,
                     const AudioTimeStamp* /*outputTime*/, void* clientData) {
  auto& guard = *static_cast<Guard*>(clientData);
  guard.late += guard.mayBeCalled ? 0 : 1;
  return noErr;
}

}  // namespace

TEST_P(HardwareContract, ARunningDeviceMakesCyclesOfItsBufferFrameSizeWithoutAGapThatIsNotTold) {
  const AudioDeviceID device = backend->duplexDevice();
  hear(device);
  Cycles cycles;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
  EXPECT_TRUE(backend->runUntil([&] { return cycles.count >= 20; }));
  EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &cycles), noErr);
  EXPECT_EQ(cycles.faults, 0);
  EXPECT_TRUE(cycles.gaps == 0 || wasTold(device, kAudioDeviceProcessorOverload));
  EXPECT_EQ(cycles.frames, value<std::uint32_t>(device, true, kAudioDevicePropertyBufferFrameSize));
}

TEST_P(HardwareContract, ADeviceTellsWhetherItRuns) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles cycles;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsRunning), 0U);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsRunning), 1U);
  ASSERT_EQ(AudioDeviceStop(device, &proc, &cycles), noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsRunning), 0U);
  AudioDeviceRemoveIOProc(device, &proc, &cycles);
}

TEST_P(HardwareContract, AfterTheStopThereIsNoCycle) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles cycles;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
  EXPECT_TRUE(backend->runUntil([&] { return cycles.count >= 3; }));
  ASSERT_EQ(AudioDeviceStop(device, &proc, &cycles), noErr);
  const int before = cycles.count;
  backend->runUntil([asked = 0]() mutable { return ++asked > 3; });
  EXPECT_EQ(cycles.count, before);
  AudioDeviceRemoveIOProc(device, &proc, &cycles);
}

TEST_P(HardwareContract, ADeviceRunsAgainAfterAStop) {
  const AudioDeviceID device = backend->duplexDevice();
  for (int run = 0; run < 3; ++run) {
    Cycles cycles;
    ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
    ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
    EXPECT_TRUE(backend->runUntil([&] { return cycles.count >= 3; }));
    EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &cycles), noErr);
    EXPECT_EQ(cycles.faults, 0);
  }
}

TEST_P(HardwareContract, AProcMayStopItselfInItsCycle) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles cycles;
  cycles.stopsItself = true;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
  EXPECT_TRUE(backend->runUntil([&] { return cycles.count >= 1; }));
  waitForHardwareNotifications();
  EXPECT_EQ(cycles.count, 1);
  EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &cycles), noErr);
}

TEST_P(HardwareContract, TwoProcsRunBesideEachOtherAndTheDeviceStopsWithTheLast) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles first;
  Cycles second;
  for (Cycles* const each : {&first, &second}) {
    ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, each), noErr);
    ASSERT_EQ(AudioDeviceStart(device, &proc, each), noErr);
  }
  EXPECT_TRUE(backend->runUntil([&] { return first.count >= 3 && second.count >= 3; }));
  EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &first), noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsRunning), 1U);
  const int before = second.count;
  EXPECT_TRUE(backend->runUntil([&] { return second.count > before; }));
  EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &second), noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsRunning), 0U);
}

TEST_P(HardwareContract, ADeviceThatIsPluggedInIsToldAndListed) {
  const std::size_t before = devices().size();
  const AudioDeviceID device = backend->plugIn();
  EXPECT_TRUE(wasTold(kAudioDeviceUnknown, kAudioHardwarePropertyDevices));
  EXPECT_EQ(devices().size(), before + 1);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsAlive), 1U);
  backend->pullOut(device);
}

TEST_P(HardwareContract, ADeviceThatIsPulledOutIsToldAndAnswersThatItIsGone) {
  const AudioDeviceID device = backend->plugIn();
  const std::size_t before = devices().size();
  backend->pullOut(device);
  EXPECT_TRUE(wasTold(kAudioDeviceUnknown, kAudioHardwarePropertyDevices));
  EXPECT_EQ(devices().size(), before - 1);
  std::uint32_t number = 0;
  std::uint32_t size = sizeof number;
  EXPECT_EQ(AudioDeviceGetProperty(device, 0, true, kAudioDevicePropertyDeviceIsAlive, &size, &number),
            kAudioHardwareBadDeviceError);
}

TEST_P(HardwareContract, ADeviceThatIsPulledOutWhileItRunsMakesNoMoreCyclesAndCanBeLetGo) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles cycles;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &cycles), noErr);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &cycles), noErr);
  EXPECT_TRUE(backend->runUntil([&] { return cycles.count >= 3; }));
  backend->pullOut(device);
  const int before = cycles.count;
  backend->runUntil([asked = 0]() mutable { return ++asked > 3; });
  EXPECT_EQ(cycles.count, before);
  EXPECT_EQ(AudioDeviceStop(device, &proc, &cycles), noErr);
  EXPECT_EQ(AudioDeviceRemoveIOProc(device, &proc, &cycles), noErr);
}

TEST_P(HardwareContract, AProcThatIsRemovedWhileItsDeviceIsPulledOutIsNotCalledAgain) {
  for (int round = 0; round < 30; ++round) {
    const AudioDeviceID device = backend->plugIn();
    Guard guard;
    ASSERT_EQ(AudioDeviceAddIOProc(device, &guardedProc, &guard), noErr);
    ASSERT_EQ(AudioDeviceStart(device, &guardedProc, &guard), noErr);
    std::thread pull([&] { backend->pullOut(device); });
    EXPECT_EQ(AudioDeviceRemoveIOProc(device, &guardedProc, &guard), noErr);
    guard.mayBeCalled = false;
    pull.join();
    EXPECT_EQ(guard.late, 0);
  }
}

TEST_P(HardwareContract, ABufferFrameSizeThatIsSetWhileRunningTakesEffect) {
  const AudioDeviceID device = backend->duplexDevice();
  Cycles before;
  ASSERT_EQ(AudioDeviceAddIOProc(device, &proc, &before), noErr);
  ASSERT_EQ(AudioDeviceStart(device, &proc, &before), noErr);
  EXPECT_TRUE(backend->runUntil([&] { return before.count >= 2; }));
  const std::uint32_t wanted = before.frames == 256U ? 128 : 256;
  EXPECT_EQ(
      AudioDeviceSetProperty(device, nullptr, 0, true, kAudioDevicePropertyBufferFrameSize, sizeof wanted, &wanted),
      noErr);
  EXPECT_TRUE(backend->runUntil([&] { return before.frames == wanted; }));
  AudioDeviceRemoveIOProc(device, &proc, &before);
}

}  // namespace orv::test
