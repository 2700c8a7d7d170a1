#include "TrackArgument.h"

#include <gtest/gtest.h>

#include <tuple>

namespace orv::cli {
namespace {

constexpr double kRate = 1000;

// The track that a text names: its name, its begin and its end at 1000 frames a second.
using Parts = std::tuple<std::string, std::uint64_t, std::uint64_t>;

Parts partsOf(const std::string& text) {
  const auto argument = TrackArgument::parse(text);
  EXPECT_TRUE(argument) << text;
  return argument ? Parts{argument->name, argument->begin.frame(kRate), argument->end.frame(kRate)} : Parts{};
}

TEST(TrackArgument, IsANameAndTwoFrames) {
  EXPECT_EQ(partsOf("Intro:0:441000"), Parts("Intro", 0, 441'000));
}

TEST(TrackArgument, TakesTimesOfEveryForm) {
  EXPECT_EQ(partsOf("Intro:500ms:10.5s"), Parts("Intro", 500, 10'500));
  EXPECT_EQ(partsOf("Intro:0:05:1:23.5"), Parts("Intro", 5'000, 83'500));
  EXPECT_EQ(partsOf("Intro:59:59:1:00:01"), Parts("Intro", 3'599'000, 3'601'000));
  EXPECT_EQ(partsOf("Intro:7:1:00"), Parts("Intro", 7, 60'000));
}

TEST(TrackArgument, NameMayHoldColons) {
  EXPECT_EQ(partsOf("Suite: Prelude:0:100"), Parts("Suite: Prelude", 0, 100));
  EXPECT_EQ(partsOf("a::b:::5:6"), Parts("a::b::", 5, 6));
  EXPECT_EQ(partsOf("Op. 2:5:0s:100s"), Parts("Op. 2:5", 0, 100'000));
  EXPECT_EQ(partsOf("8:30 to 9:0:10"), Parts("8:30 to 9", 0, 10));
}

TEST(TrackArgument, PlacesOfOneFormAreMeantMoreOften) {
  EXPECT_EQ(partsOf("Applause:17:40:17:45"), Parts("Applause", 1'060'000, 1'065'000));
  EXPECT_EQ(partsOf("Op. 2:5:1:30:4:05"), Parts("Op. 2:5", 90'000, 245'000));
  EXPECT_EQ(partsOf("Part 12:30:01:45:03:00"), Parts("Part 12:30", 105'000, 180'000));
  EXPECT_EQ(partsOf("Take:10:20:441000"), Parts("Take:10", 20, 441'000));
  EXPECT_EQ(partsOf("Intro:0:1:23"), Parts("Intro", 0, 83'000));
}

TEST(TrackArgument, BeginLiesBeforeTheEndWhereThatCanBe) {
  EXPECT_EQ(partsOf("Late:59:59:10:00:01"), Parts("Late", 3'599'000, 36'001'000));
  EXPECT_EQ(partsOf("Reversed:1:30:1:20"), Parts("Reversed", 90'000, 80'000));
}

TEST(TrackArgument, NameMayBeEmptyOrLookLikeATime) {
  EXPECT_EQ(partsOf(":0:100"), Parts("", 0, 100));
  EXPECT_EQ(partsOf("1:2:3"), Parts("1", 2, 3));
  EXPECT_EQ(partsOf("4:05:6:07"), Parts("4", 5, 367'000));
}

TEST(TrackArgument, TextWithoutTwoPlacesIsNone) {
  for (const char* text : {"", ":", "::", "Intro", "Intro:5", "5:6", "Intro:a:b", "Intro:5:", "Intro:-5:6",
                           "Intro:5:6m", "Intro:5 :6", "Intro:1.5:2.5"}) {
    EXPECT_FALSE(TrackArgument::parse(text)) << text;
  }
}

}  // namespace
}  // namespace orv::cli
