// A process that is killed while it records leaves a file that every reader opens with all but the last second.
#include <OrvCoreAudio/OrvAudioRecorder.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <thread>

#include "RecorderFixture.h"
#include "support/Process.h"

using namespace orv::test;
using namespace std::chrono_literals;

namespace {

struct Case {
  const char* name;
  std::uint32_t channels;
  double rate;
};

/// Memory that the child shares with the test.
struct Shared {
  std::atomic<std::uint64_t> framesDelivered{0};
};

/// Delivers frames at the pace of the device's rate until it is killed.
[[noreturn]] void recordForEver(const std::string& path, const Case& recipe, Shared& shared) {
  const auto hardware = std::make_shared<LineInput>();
  hardware->channels = recipe.channels;
  hardware->rate = recipe.rate;
  orv::installAudioHardware(hardware);
  const auto device = OrvAudioDevice::initWithDeviceID(LineInput::kDevice);
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  if (!recorder->startRecording()) {
    _exit(1);
  }
  const auto block = static_cast<std::uint32_t>(recipe.rate / 100);
  const auto begin = std::chrono::steady_clock::now();
  for (int cycle = 0;; ++cycle) {
    std::this_thread::sleep_until(begin + cycle * 10ms);
    hardware->deliver(block);
    shared.framesDelivered.store(recorder->recordedFrames());
    orv::RunLoop::main().pump();
  }
}

class KilledRecorder : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(KilledRecorder, LeavesAllButTheLastSecond) {
  const TemporaryDirectory folder;
  const std::string path = folder / "take.aif";
  void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const shared = new (memory) Shared;
  const pid_t child = fork();
  if (child == 0) {
    recordForEver(path, GetParam(), *shared);
  }
  std::this_thread::sleep_for(1300ms);
  const std::uint64_t framesASecondAgo = shared->framesDelivered.load();
  std::this_thread::sleep_for(1000ms);
  kill(child, SIGKILL);
  int state = 0;
  waitpid(child, &state, 0);
  ASSERT_TRUE(WIFSIGNALED(state)) << "the recorder ended by itself: " << WEXITSTATUS(state);
  ASSERT_GT(framesASecondAgo, 0U);

  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_GE(reading->frames, static_cast<std::int64_t>(framesASecondAgo));
  const std::uint32_t channels = GetParam().channels;
  for (std::size_t i = 0; i < reading->ints.size(); ++i) {
    ASSERT_EQ(reading->ints[i] >> 16, lineSample(i / channels, static_cast<std::uint32_t>(i % channels)));
  }
  const auto decoded = run({"ffmpeg", "-nostdin", "-v", "error", "-i", path, "-f", "s16le", "-"});
  EXPECT_EQ(decoded.status, 0) << decoded.errors;
  munmap(memory, sizeof(Shared));
}

INSTANTIATE_TEST_SUITE_P(Rates, KilledRecorder,
                         testing::Values(Case{"SpeechInMono", 1, 8000}, Case{"MusicInStereo", 2, 44100},
                                         Case{"EightChannels", 8, 96000}),
                         [](const auto& tested) { return std::string(tested.param.name); });
