#include <OrvCoreAudio/OrvTrackBoundaryDetector.h>
#include <gtest/gtest.h>

#include <thread>

#include "coreaudio/boundaries/Side.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

TEST(TrackBoundaryDetectorConcurrency, ManyFilesAtOnceEachWithItsOwnProgressAndCancelSwitch) {
  constexpr std::size_t kRuns = 4;
  const TemporaryDirectory folder;
  Side side;
  side.silence(1).music(80).silence(2).music(80).silence(2).noise(-60);
  side.write(folder / "side.aiff");
  std::vector<OrvTrackBoundaryDetector::Result> results(kRuns);
  std::vector<double> progress(kRuns);
  const std::atomic<bool> cancel{true};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kRuns; ++i) {
    threads.emplace_back([&, i] {
      OrvTrackBoundaryDetector::Options options;
      options.progress = [&progress, i](double fraction) { progress[i] = fraction; };
      options.cancel = i == 0 ? &cancel : nullptr;
      results[i] = OrvTrackBoundaryDetector::detectInFile(folder / "side.aiff", options);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(results[0].cancelled);
  EXPECT_LT(progress[0], 1.0);
  for (std::size_t i = 1; i < kRuns; ++i) {
    ASSERT_TRUE(results[i].done) << results[i].problem;
    EXPECT_EQ(progress[i], 1.0);
    ASSERT_EQ(results[i].boundaries.size(), 1U);
    EXPECT_EQ(results[i].boundaries[0].frame, results[1].boundaries[0].frame);
  }
}

}  // namespace
}  // namespace orv::test
