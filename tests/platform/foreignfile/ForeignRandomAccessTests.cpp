#include <gtest/gtest.h>

#include <random>

#include "ForeignRecipes.h"
#include "support/TemporaryDirectory.h"

/// The bytes at an offset are the same whatever was read before.
namespace orv::test {
namespace {

class ForeignRandomAccess : public testing::TestWithParam<ForeignFile> {
 protected:
  void SetUp() override {
    const std::string path = make(GetParam(), sourceFor(GetParam(), 300'000), scratch_.path());
    opened_ = openFile(path);
    ASSERT_EQ(opened_.status, noErr) << opened_.problem;
    whole_ = sequentialBytes(path, opened_.session->format());
    ASSERT_EQ(opened_.session->dataByteCount(), static_cast<std::int64_t>(whole_.size()));
  }

  void expectBytesAt(std::int64_t start, std::uint32_t count) {
    ASSERT_TRUE(readBytes(*opened_.session, start, count) == whole_.substr(static_cast<std::size_t>(start), count))
        << count << " bytes at " << start;
  }

  TemporaryDirectory scratch_;
  OpenedForeign opened_;
  std::string whole_;
};

TEST_P(ForeignRandomAccess, AnyOffsetAndLengthGiveTheSameBytesAsReadingOn) {
  std::mt19937 random(3);
  for (int i = 0; i < 25; ++i) {
    expectBytesAt(static_cast<std::int64_t>(random() % whole_.size()),
                  1 + static_cast<std::uint32_t>(random() % 40'000));
  }
}

TEST_P(ForeignRandomAccess, TheLastFramesCanBeReadFirst) {
  const auto end = static_cast<std::int64_t>(whole_.size());
  expectBytesAt(end - 1, 1);
  expectBytesAt(end - 7, 100);
  expectBytesAt(0, 5);
}

TEST_P(ForeignRandomAccess, ReadingBackwardsInSmallStepsGivesTheSameBytes) {
  const auto end = static_cast<std::int64_t>(whole_.size());
  for (std::int64_t start = end - 1000; start > end - 40'000; start -= 997) {
    expectBytesAt(start, 1000);
  }
}

TEST_P(ForeignRandomAccess, SingleBytesInOrderGiveTheSameBytes) {
  const auto middle = static_cast<std::int64_t>(whole_.size() / 2);
  for (std::int64_t start = middle; start < middle + 200; ++start) {
    expectBytesAt(start, 1);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, ForeignRandomAccess, testing::ValuesIn(foreignFiles()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace orv::test
