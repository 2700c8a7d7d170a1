#include "accuracy/Truth.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/TemporaryDirectory.h"

namespace orv::accuracy {
namespace {

class TruthFile : public testing::Test {
 protected:
  Truth read(const std::string& text) const {
    test::writeWholeFile(folder_ / "truth.txt", text);
    return readTruth(folder_ / "truth.txt");
  }

  const test::TemporaryDirectory folder_;
};

TEST_F(TruthFile, IsReadAsItWasWritten) {
  writeTruth({"hum", {{10, 12.5}}, {{1, 10}, {12.5, 20}}, {"one.ogg", "two.ogg"}}, folder_ / "made.txt");
  const Truth truth = readTruth(folder_ / "made.txt");
  EXPECT_EQ(truth.kind, "hum");
  ASSERT_EQ(truth.gaps.size(), 1U);
  EXPECT_EQ(truth.gaps[0].begin, 10);
  EXPECT_EQ(truth.gaps[0].end, 12.5);
  ASSERT_EQ(truth.tracks.size(), 2U);
  EXPECT_EQ(truth.tracks[1].begin, 12.5);
  EXPECT_EQ(truth.tracks[1].end, 20);
}

TEST_F(TruthFile, MayBeALabelFile) {
  const Truth truth = read("200.5\t201.25\tsecond gap\n100.0\t101.0\n");
  ASSERT_EQ(truth.gaps.size(), 2U);
  EXPECT_EQ(truth.gaps[0].begin, 100);
  EXPECT_EQ(truth.gaps[1].end, 201.25);
}

TEST_F(TruthFile, TakesALoneNumberForAGapWithoutLength) {
  const Truth truth = read("# a comment\n\n60.5\n");
  ASSERT_EQ(truth.gaps.size(), 1U);
  EXPECT_EQ(truth.gaps[0].begin, 60.5);
  EXPECT_EQ(truth.gaps[0].end, 60.5);
}

TEST_F(TruthFile, RefusesWhatItDoesNotUnderstand) {
  EXPECT_THROW(read("gap soon\n"), std::runtime_error);
  EXPECT_THROW(read("gap 12 10\n"), std::runtime_error);
  EXPECT_THROW(read("-3 4\n"), std::runtime_error);
  EXPECT_THROW(readTruth(folder_ / "absent.txt"), std::runtime_error);
}

}  // namespace
}  // namespace orv::accuracy
