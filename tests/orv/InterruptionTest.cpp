#include <gtest/gtest.h>
#include <sched.h>

#include <csignal>
#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

class OrvInterruption : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { writeLongSilence(source_, 150'000'000); }

  static void expectCancelled(const ProcessResult& result) {
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.errors, "orv: cancelled\n");
    EXPECT_EQ(result.output, "");
  }

  // Waits until `directory` has an entry.
  static void awaitEntry(const RunningOrv& orv, const std::string& directory) {
    while (orv.isRunning() && (!std::filesystem::exists(directory) || std::filesystem::is_empty(directory))) {
      sched_yield();
    }
  }

  TemporaryDirectory scratch_;
  const std::string source_ = scratch_ / "long.wav";
};

TEST_P(OrvInterruption, EndsTheAnalysisAndWritesNothing) {
  RunningOrv orv({"split", source_, "--export", scratch_ / "tracks", "--picture", scratch_ / "p.svg"});
  orv.awaitHandlerOf(GetParam());
  orv.send(GetParam());
  expectCancelled(orv.wait());
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"long.wav"});
}

TEST_P(OrvInterruption, TakesBackTracksThatAreHalfWritten) {
  const std::string directory = scratch_ / "tracks";
  RunningOrv orv({"split", source_, "--method", "crossings", "--export", directory});
  awaitEntry(orv, directory);
  orv.send(GetParam());
  expectCancelled(orv.wait());
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"long.wav"});
}

TEST_P(OrvInterruption, TakesBackARangeThatIsHalfWritten) {
  const std::string directory = scratch_ / "out";
  std::filesystem::create_directory(directory);
  RunningOrv orv({"export", source_, "--from", "0", "--to", "150000000", "--output", directory + "/long.wav"});
  awaitEntry(orv, directory);
  orv.send(GetParam());
  expectCancelled(orv.wait());
  EXPECT_TRUE(entriesOf(directory).empty());
}

INSTANTIATE_TEST_SUITE_P(By, OrvInterruption, testing::Values(SIGINT, SIGTERM),
                         [](const auto& each) { return std::string(each.param == SIGINT ? "CtrlC" : "SIGTERM"); });

}  // namespace
}  // namespace orv::test
