#include <gtest/gtest.h>

#include "platform/converter/ConverterTestSupport.h"

namespace orv::test {
namespace {

using Ints = std::vector<std::int16_t>;
using Longs = std::vector<std::int32_t>;
using Floats = std::vector<float>;

Ints mapped16(const Ints& samples, std::uint32_t from, std::uint32_t to) {
  return samplesOf<std::int16_t>(
      converted(*converterBetween(int16Format(44100, from), int16Format(44100, to)), bytesOf(samples)));
}

Longs mapped32(const Longs& samples, std::uint32_t from, std::uint32_t to) {
  return samplesOf<std::int32_t>(
      converted(*converterBetween(int32Format(44100, from), int32Format(44100, to)), bytesOf(samples)));
}

TEST(ChannelMapping, MonoToStereoDuplicates) {
  EXPECT_EQ(mapped16({1, -2}, 1, 2), (Ints{1, 1, -2, -2}));
}

TEST(ChannelMapping, StereoToMonoAverages) {
  EXPECT_EQ(mapped16({100, 200, -100, -300, 32767, 32767, -32768, -32768}, 2, 1), (Ints{150, -200, 32767, -32768}));
}

TEST(ChannelMapping, TheMeanOf16BitSamplesRoundsToNearestTiesUpward) {
  EXPECT_EQ(mapped16({1, 2, -1, -2, 0, -1}, 2, 1), (Ints{2, -1, 0}));
}

TEST(ChannelMapping, TheMeanOf16BitSamplesIsExactWhereThereAreBitsForIt) {
  const auto converter = converterBetween(int16Format(44100, 2), linear(44100, 1, 24, 4, kSigned));
  EXPECT_EQ(samplesOf<std::int32_t>(converted(*converter, bytesOf(Ints{1, 2}))), (Longs{0x180}));
  const auto toFloat = converterBetween(int16Format(44100, 2), floatFormat(44100, 1));
  EXPECT_EQ(samplesOf<float>(converted(*toFloat, bytesOf(Ints{1, 2}))), (Floats{1.5F / 32768}));
}

TEST(ChannelMapping, TheMeanOf32BitSamplesDoesNotOverflowAndRoundsDown) {
  EXPECT_EQ(mapped32({INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MIN, 3, 4}, 2, 1),
            (Longs{INT32_MAX, INT32_MIN, -1, 3}));
}

TEST(ChannelMapping, MonoSurvivesStereo) {
  const Ints samples{-32768, -1, 0, 1, 12345, 32767};
  EXPECT_EQ(mapped16(mapped16(samples, 1, 2), 2, 1), samples);
}

TEST(ChannelMapping, MoreChannelsGoByPositionAndTheRestIsSilent) {
  EXPECT_EQ(mapped16({1, 2, 3, 4}, 2, 4), (Ints{1, 2, 0, 0, 3, 4, 0, 0}));
  EXPECT_EQ(mapped16({7, 8}, 1, 3), (Ints{7, 0, 0, 8, 0, 0}));
}

TEST(ChannelMapping, FewerChannelsGoByPositionAndTheRestIsLeftOut) {
  EXPECT_EQ(mapped16({1, 2, 3, 4, 5, 6}, 3, 2), (Ints{1, 2, 4, 5}));
  EXPECT_EQ(mapped16({1, 2, 3, 4, 5, 6}, 3, 1), (Ints{1, 4}));
}

TEST(ChannelMapping, SilenceOfUnsignedSamplesIsTheirMidpoint) {
  const auto converter = converterBetween(linear(44100, 1, 8, 1, 0), linear(44100, 3, 8, 1, 0));
  EXPECT_EQ(converted(*converter, {0xFF}), (Bytes{0xFF, 0x80, 0x80}));
}

TEST(ChannelMapping, FloatsAndDoublesMapWithoutLoss) {
  const auto floats = converterBetween(floatFormat(44100, 2), floatFormat(44100, 1));
  EXPECT_EQ(samplesOf<float>(converted(*floats, bytesOf(Floats{0.25F, 0.75F, 3.0F, -3.0F}))), (Floats{0.5F, 0.0F}));
  const auto doubles = converterBetween(doubleFormat(44100, 1), doubleFormat(44100, 2));
  const std::vector<double> samples{0.1, -0.3};
  EXPECT_EQ(samplesOf<double>(converted(*doubles, bytesOf(samples))), (std::vector<double>{0.1, 0.1, -0.3, -0.3}));
}

TEST(ChannelMapping, ThirtyTwoBitIntegersMapToDoublesWithoutLoss) {
  const auto converter = converterBetween(int32Format(44100, 1), doubleFormat(44100, 2));
  const double expected = 2147483647.0 / 2147483648.0;
  EXPECT_EQ(samplesOf<double>(converted(*converter, bytesOf(Longs{INT32_MAX}))),
            (std::vector<double>{expected, expected}));
}

TEST(ChannelMapping, LongBuffersAreMappedToTheEnd) {
  Ints mono(10001);
  for (std::size_t i = 0; i < mono.size(); ++i) {
    mono[i] = static_cast<std::int16_t>(i * 3);
  }
  const Ints stereo = mapped16(mono, 1, 2);
  ASSERT_EQ(stereo.size(), 2 * mono.size());
  for (std::size_t i = 0; i < mono.size(); ++i) {
    ASSERT_EQ(stereo[2 * i], mono[i]);
    ASSERT_EQ(stereo[2 * i + 1], mono[i]);
  }
}

TEST(ChannelMapping, AThousandChannelsMap) {
  const Ints frame(1024, 5);
  EXPECT_EQ(mapped16(frame, 1024, 1), (Ints{5}));
  EXPECT_EQ(mapped16({5}, 1, 1024)[1], 0);
}

}  // namespace
}  // namespace orv::test
