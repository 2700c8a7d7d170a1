// A process that is killed while it writes leaves a file that every reader opens with all but the last second.
#include <OrvCoreAudio/OrvAudioFile.h>
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
#include <vector>

#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

using namespace std::chrono_literals;
using orv::test::TemporaryDirectory;

namespace {

struct Case {
  const char* name;
  AudioFileTypeID type;
  std::uint32_t flags;
  bool useCache;
};

constexpr std::uint32_t kFramesPerWrite = 441;
constexpr std::uint32_t kBytesPerFrame = 4;

/// Memory that the child shares with the test.
struct Shared {
  std::atomic<std::uint64_t> framesAccepted{0};
};

/// Writes numbered frames at about the pace of a recording until it is killed.
[[noreturn]] void writeForEver(const std::string& path, const Case& recipe, Shared& shared) {
  const auto format = OrvAudioStreamBasicDescription::defaultStandardFileFormat();
  format->setFormatFlags(recipe.flags);
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(format);
  file->setFileType(recipe.type);
  file->setUseCache(recipe.useCache);
  if (!file->open()) {
    _exit(1);
  }
  std::uint32_t frames[kFramesPerWrite];
  for (std::uint32_t frame = 0;; frame += kFramesPerWrite) {
    for (std::uint32_t i = 0; i < kFramesPerWrite; ++i) {
      frames[i] = frame + i;
    }
    std::uint32_t length = sizeof frames;
    if (!file->write_length(frames, &length)) {
      _exit(2);
    }
    shared.framesAccepted.store(frame + kFramesPerWrite);
    std::this_thread::sleep_for(10ms);
  }
}

class KilledWriter : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(KilledWriter, LeavesAllButTheLastSecond) {
  const TemporaryDirectory folder;
  const std::string path = folder / "take";
  void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const shared = new (memory) Shared;
  const pid_t child = fork();
  if (child == 0) {
    writeForEver(path, GetParam(), *shared);
  }
  std::this_thread::sleep_for(1500ms);
  const std::uint64_t framesASecondAgo = shared->framesAccepted.load();
  std::this_thread::sleep_for(1000ms);
  kill(child, SIGKILL);
  int state = 0;
  waitpid(child, &state, 0);
  ASSERT_TRUE(WIFSIGNALED(state)) << "the writer ended by itself: " << WEXITSTATUS(state);
  ASSERT_GT(framesASecondAgo, 0U);

  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  ASSERT_TRUE(file->open());
  const std::uint32_t frames = file->lengthInFrames();
  EXPECT_GE(frames, framesASecondAgo);
  std::vector<std::uint32_t> numbers(frames);
  std::uint32_t length = frames * kBytesPerFrame;
  ASSERT_TRUE(file->read_length(numbers.data(), &length));
  for (std::uint32_t i = 0; i < frames; ++i) {
    ASSERT_EQ(numbers[i], i);
  }
  const auto reading = orv::test::readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, frames);
  const auto decoded = orv::test::run({"ffmpeg", "-nostdin", "-v", "error", "-i", path, "-f", "s16le", "-"});
  EXPECT_EQ(decoded.status, 0) << decoded.errors;
  EXPECT_EQ(decoded.output.size(), std::size_t{frames} * kBytesPerFrame);
  munmap(memory, sizeof(Shared));
}

INSTANTIATE_TEST_SUITE_P(AllContainers, KilledWriter,
                         testing::Values(Case{"AIFF", kAudioFileAIFFType, 14, false},
                                         Case{"AIFFCached", kAudioFileAIFFType, 14, true},
                                         Case{"AIFC", kAudioFileAIFCType, 12, false},
                                         Case{"WAVE", kAudioFileWAVEType, 12, false},
                                         Case{"WAVECached", kAudioFileWAVEType, 12, true}),
                         [](const auto& tested) { return std::string(tested.param.name); });
