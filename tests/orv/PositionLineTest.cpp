#include "PositionLine.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv::cli {
namespace {

TEST(PositionLine, TellsTimeLengthAndLevel) {
  EXPECT_EQ(positionLine({.seconds = 50, .length = 100, .peak = 0.5F}, 60),
            "0:50.0 of 1:40.0 [#############-------------]    -6.02 dBFS");
}

TEST(PositionLine, TellsThatItIsPaused) {
  EXPECT_EQ(positionLine({.seconds = 0, .length = 8, .isPaused = true, .peak = 0.5F}, 40),
            "0:00.0 of 0:08.0 [------------]  paused");
}

TEST(PositionLine, OfALongRecordingBothTimesHaveHours) {
  EXPECT_EQ(positionLine({.seconds = 61, .length = 3600}, 31), "0:01:01.0 of 1:00:00.0 [-----]");
}

TEST(PositionLine, IsShorterThanTheTerminalHoweverNarrowThatIs) {
  for (int columns = 0; columns < 200; ++columns) {
    const auto line = positionLine({.seconds = 50, .length = 100, .peak = 0.5F}, columns);
    EXPECT_LE(line.size(), static_cast<std::size_t>(columns > 0 ? columns - 1 : 0));
  }
}

TEST(PositionLine, ABarIsNeverLongerThanItsRoom) {
  for (const double seconds : {-1.0, 0.0, 100.0, 101.0, 1e300}) {
    EXPECT_EQ(positionLine({.seconds = seconds, .length = 100}, 60).back(), ']');
  }
  EXPECT_EQ(positionLine({.seconds = 1, .length = 0}, 60).back(), ']');
}

}  // namespace
}  // namespace orv::cli
