#include "accuracy/Arguments.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace orv::accuracy {
namespace {

TEST(AccuracyArguments, AreTakenInAnyOrderAndTheLastOneWins) {
  const Arguments arguments =
      parseArguments({"--half", "tuning", "folder", "--quick", "--only", "hum", "--half", "report", "--threads", "1"});
  EXPECT_EQ(arguments.selection.half, Half::report);
  EXPECT_EQ(arguments.selection.mostOfAKind, 1);
  EXPECT_EQ(arguments.selection.only, "hum");
  EXPECT_EQ(arguments.threads, 1U);
  EXPECT_EQ(arguments.positional, std::vector<std::string>{"folder"});
}

TEST(AccuracyArguments, AreRefusedWhereTheyMakeNoSense) {
  EXPECT_THROW(parseArguments({"--half", "left"}), std::runtime_error);
  EXPECT_THROW(parseArguments({"--threads", "0"}), std::runtime_error);
  EXPECT_THROW(parseArguments({"--seed-offset", "3x"}), std::runtime_error);
  EXPECT_THROW(parseArguments({"--only"}), std::runtime_error);
  EXPECT_THROW(parseArguments({"--slow"}), std::runtime_error);
}

}  // namespace
}  // namespace orv::accuracy
