#include "audiofile/ExtendedFloat80.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace orv::audiofile {
namespace {

using Limits = std::numeric_limits<double>;

bool survives(double value) {
  const double back = doubleFromExtended(extendedFromDouble(value));
  return std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(value);
}

TEST(ExtendedFloat80, TheUsualRatesHaveTheBytesOfTheFormat) {
  EXPECT_EQ(extendedFromDouble(44100), (ExtendedFloat80{0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extendedFromDouble(48000), (ExtendedFloat80{0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extendedFromDouble(96000), (ExtendedFloat80{0x40, 0x0F, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(extendedFromDouble(1), (ExtendedFloat80{0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ExtendedFloat80, ZeroKeepsItsSign) {
  EXPECT_TRUE(survives(0.0));
  EXPECT_TRUE(survives(-0.0));
}

TEST(ExtendedFloat80, EveryKindOfDoubleSurvives) {
  for (const double value :
       {44055.944055944056, 11025.0 / 3, -8000.5, Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(),
        -3 * Limits::denorm_min(), Limits::min() - Limits::denorm_min(), Limits::infinity(), -Limits::infinity()}) {
    EXPECT_TRUE(survives(value)) << value;
  }
}

TEST(ExtendedFloat80, RandomDoublesSurvive) {
  std::mt19937_64 random(80);
  for (int i = 0; i < 100000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isnan(value)) {
      ASSERT_TRUE(survives(value)) << value;
    }
  }
}

TEST(ExtendedFloat80, NaNStaysNaN) {
  EXPECT_TRUE(std::isnan(doubleFromExtended(extendedFromDouble(Limits::quiet_NaN()))));
  EXPECT_TRUE(std::isnan(doubleFromExtended({0x7F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 1})));
}

TEST(ExtendedFloat80, WhatIsTooLargeForADoubleBecomesInfinite) {
  EXPECT_EQ(doubleFromExtended({0x7F, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), Limits::infinity());
  EXPECT_EQ(doubleFromExtended({0xC4, 0, 0x80, 0, 0, 0, 0, 0, 0, 0}), -Limits::infinity());
}

TEST(ExtendedFloat80, WhatIsTooSmallForADoubleBecomesZero) {
  EXPECT_EQ(doubleFromExtended({0x00, 0x01, 0x80, 0, 0, 0, 0, 0, 0, 0}), 0.0);
  EXPECT_EQ(doubleFromExtended({0x00, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 1}), 0.0);
}

TEST(ExtendedFloat80, RoundsToTheNearestDoubleAndTiesToEven) {
  // 1 + 2^-53: half way between 1 and the next double.
  EXPECT_EQ(doubleFromExtended({0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0x04, 0x00}), 1.0);
  EXPECT_EQ(doubleFromExtended({0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0x04, 0x01}), 1.0 + Limits::epsilon());
  EXPECT_EQ(doubleFromExtended({0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0x0C, 0x00}), 1.0 + 2 * Limits::epsilon());
  EXPECT_EQ(doubleFromExtended({0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), 2.0);
}

#if defined(__x86_64__)
TEST(ExtendedFloat80, AgreesWithTheProcessorsOwnExtendedFloats) {
  static_assert(std::numeric_limits<long double>::digits == 64);
  std::mt19937_64 random(387);
  for (int i = 0; i < 100000; ++i) {
    // Around the range of doubles, with the integer bit set as the processor demands.
    const auto exponent = static_cast<std::uint16_t>(16383 - 1100 + random() % 2200);
    const std::uint64_t significand = random() | (std::uint64_t{1} << 63);
    unsigned char memory[sizeof(long double)] = {};
    std::memcpy(memory, &significand, 8);
    std::memcpy(memory + 8, &exponent, 2);
    long double native = 0;
    std::memcpy(&native, memory, sizeof native);

    ExtendedFloat80 extended{};
    for (std::size_t byte = 0; byte < extended.size(); ++byte) {
      extended[byte] = memory[9 - byte];
    }
    ASSERT_EQ(doubleFromExtended(extended), static_cast<double>(native)) << exponent << " " << significand;
  }
}
#endif

}  // namespace
}  // namespace orv::audiofile
