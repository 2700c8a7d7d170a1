#include "TimeText.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv::cli {
namespace {

TEST(OrvTimeText, HoursShowWhereThereAreAnyOrWhereAskedFor) {
  EXPECT_EQ(timeText(0), "0:00.000");
  EXPECT_EQ(timeText(208.4), "3:28.400");
  EXPECT_EQ(timeText(3599.9996), "1:00:00.000");
  EXPECT_EQ(timeText(86'400), "24:00:00.000");
  EXPECT_EQ(timeText(61, {.hours = true}), "0:01:01.000");
  EXPECT_EQ(timeText(61.26, {.decimals = 1}), "1:01.3");
  EXPECT_EQ(timeText(59.6, {.decimals = 0}), "1:00");
  EXPECT_EQ(timeText(1e300), "very long");
}

TEST(OrvTimeText, DurationsAreTimesOrSeconds) {
  EXPECT_EQ(parseDuration("3:28.5"), 208.5);
  EXPECT_EQ(parseDuration("1:02:03"), 3723);
  EXPECT_EQ(parseDuration("208"), 208);
  EXPECT_EQ(parseDuration("0.5"), 0.5);
  EXPECT_EQ(parseDuration("250ms"), 0.25);
  for (const char* text : {"", "x", "-1", "s", "1:", ":1", "1e3", "nan", "1..2", "99999999999999", "5m"}) {
    EXPECT_EQ(parseDuration(text), std::nullopt) << text;
  }
}

TEST(OrvTimeText, PositionsAreFramesOrTimes) {
  const auto frame = [](const char* text) { return Position::parse(text).value().frame(44'100); };
  EXPECT_EQ(frame("0"), 0U);
  EXPECT_EQ(frame("007"), 7U);
  EXPECT_EQ(frame("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(frame("2s"), 88'200U);
  EXPECT_EQ(frame("0.5s"), 22'050U);
  EXPECT_EQ(frame("10ms"), 441U);
  EXPECT_EQ(frame("1:23.5"), 3'682'350U);
  EXPECT_EQ(frame("1:02:03"), 3723U * 44'100);
  EXPECT_EQ(frame("99999999999999999999s"), std::numeric_limits<std::uint64_t>::max());
}

}  // namespace
}  // namespace orv::cli
