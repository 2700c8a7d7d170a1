// The guard itself: a guard that never barks guards nothing.
#include "support/RealTimeInterposer.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/RunLoop.h"
#include "support/ScriptedHardware.h"

namespace {

using orv::test::ScriptedHardware;

constexpr AudioDeviceID kDevice = ScriptedHardware::kDevice;

using Work = void (*)();

OSStatus proc(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
              const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*output*/, const AudioTimeStamp* /*outputTime*/,
              void* clientData) {
  (*static_cast<Work*>(clientData))();
  return noErr;
}

/// Forbidden calls that a cycle makes in which `work` is done.
std::size_t violationsOf(Work work) {
  const auto hardware = std::make_shared<ScriptedHardware>();
  orv::installAudioHardware(hardware);
  AudioDeviceAddIOProc(kDevice, &proc, &work);
  AudioDeviceStart(kDevice, &proc, &work);
  hardware->cycle();
  AudioDeviceRemoveIOProc(kDevice, &proc, &work);
  orv::installAudioHardware(nullptr);
  return orv::test::forgiveRealTimeViolations();
}

volatile int number = 0;
std::mutex mutex;

}  // namespace

TEST(RealTimeInterposer, NoticesAnAllocation) {
#ifdef ORV_IS_SANITIZED
  GTEST_SKIP() << "the sanitizer stands where the guard would";
#endif
  EXPECT_EQ(violationsOf([] { std::make_unique<std::vector<int>>(1000).reset(); }), 4U);
}

TEST(RealTimeInterposer, NoticesALock) {
#ifdef ORV_IS_SANITIZED
  GTEST_SKIP() << "the sanitizer stands where the guard would";
#endif
  EXPECT_EQ(violationsOf([] { const std::lock_guard guard(mutex); }), 1U);
}

TEST(RealTimeInterposer, LetsArithmeticAndPostsPass) {
  EXPECT_EQ(violationsOf([] {
              number = number + 1;
              orv::RunLoop::main().post(orv::LoopPriority::state, orv::LoopCall());
            }),
            0U);
}

TEST(RealTimeInterposer, LetsPassWhatATestAllows) {
  EXPECT_EQ(violationsOf([] {
              const orv::test::AllowInCycle allowed;
              std::make_unique<int>(1).reset();
            }),
            0U);
}
