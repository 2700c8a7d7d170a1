#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "ForeignRecipes.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class ForeignConcurrency : public testing::TestWithParam<const char*> {
 protected:
  TemporaryDirectory scratch_;
  const ForeignFile& file_ = foreignFile(GetParam());
  std::string path_ = make(file_, sourceFor(file_, 100'000), scratch_.path());
};

TEST_P(ForeignConcurrency, ThreadsThatReadTheSameFileGetTheirOwnBytes) {
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  const std::string whole = allBytes(*opened.session);
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (unsigned seed = 1; seed <= 2; ++seed) {
    readers.emplace_back([&, seed] {
      std::mt19937 random(seed);
      for (int i = 0; i < 15; ++i) {
        const std::size_t start = random() % whole.size();
        const auto count = static_cast<std::uint32_t>(random() % 30'000);
        if (readBytes(*opened.session, static_cast<std::int64_t>(start), count) != whole.substr(start, count)) {
          ++wrong;
        }
      }
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_EQ(wrong.load(), 0);
}

TEST_P(ForeignConcurrency, ThreadsOpenFilesOfTheirOwnAtTheSameTime) {
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  const std::string whole = allBytes(*opened.session);
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (int thread = 0; thread < 2; ++thread) {
    readers.emplace_back([&] {
      for (int i = 0; i < 4; ++i) {
        const OpenedForeign mine = openFile(path_);
        if (mine.status != noErr || allBytes(*mine.session) != whole) {
          ++wrong;
        }
      }
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_EQ(wrong.load(), 0);
}

INSTANTIATE_TEST_SUITE_P(Some, ForeignConcurrency, testing::Values("Flac16", "Vorbis", "Mp3", "Caf24"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace orv::test
