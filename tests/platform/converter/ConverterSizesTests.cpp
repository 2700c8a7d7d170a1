#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "platform/converter/ConverterTestSupport.h"

namespace orv::test {
namespace {

constexpr auto kLeastInput = kAudioConverterPropertyMinimumInputBufferSize;
constexpr auto kLeastOutput = kAudioConverterPropertyMinimumOutputBufferSize;
constexpr auto kInputFor = kAudioConverterPropertyCalculateInputBufferSize;
constexpr auto kOutputFor = kAudioConverterPropertyCalculateOutputBufferSize;
constexpr auto kQuality = kAudioConverterSampleRateConverterQuality;
constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();

TEST(ConverterSizes, LeastInputAndOutputAreOnePacketEach) {
  const auto linearSource = converterBetween(int16Format(44100, 2), floatFormat(48000, 2));
  EXPECT_EQ(property(*linearSource, kLeastInput), 4U);
  EXPECT_EQ(property(*linearSource, kLeastOutput), 8U);
  const auto ima = converterBetween(compressed(kAudioFormatIMA4, 44100, 2), int16Format(44100, 2));
  EXPECT_EQ(property(*ima, kLeastInput), 68U);
}

TEST(ConverterSizes, AreExactWithoutResampling) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  EXPECT_EQ(property(*converter, kInputFor, 8000), 4000U);
  EXPECT_EQ(property(*converter, kInputFor, 8007), 4000U);
  EXPECT_EQ(property(*converter, kInputFor, 7), 0U);
  EXPECT_EQ(property(*converter, kOutputFor, 4000), 8000U);
  EXPECT_EQ(property(*converter, kOutputFor, 4003), 8000U);
}

TEST(ConverterSizes, AreWholePacketsOfACompressedSource) {
  const auto converter = converterBetween(compressed(kAudioFormatIMA4, 44100, 1), int16Format(44100, 1));
  EXPECT_EQ(property(*converter, kOutputFor, 34), 128U);
  EXPECT_EQ(property(*converter, kOutputFor, 67), 128U);
  EXPECT_EQ(property(*converter, kInputFor, 127), 0U);
  EXPECT_EQ(property(*converter, kInputFor, 256), 68U);
}

TEST(ConverterSizes, StopAtTheLargestWholePacketsThat32BitsCanTell) {
  const auto narrowing = converterBetween(doubleFormat(44100, 3), linear(44100, 3, 8, 1, kSigned));
  EXPECT_EQ(property(*narrowing, kInputFor, kMost), kMost / 24 * 24);
  const auto widening = converterBetween(linear(44100, 3, 8, 1, kSigned), doubleFormat(44100, 3));
  EXPECT_EQ(property(*widening, kOutputFor, kMost), kMost / 24 * 24);
  const auto faster = converterBetween(linear(8000, 3, 8, 1, kSigned), doubleFormat(192000, 3));
  EXPECT_EQ(property(*faster, kOutputFor, kMost), kMost / 24 * 24);
  const auto slower = converterBetween(doubleFormat(192000, 3), linear(8000, 3, 8, 1, kSigned));
  EXPECT_EQ(property(*slower, kInputFor, kMost), kMost / 24 * 24);
}

TEST(ConverterSizes, InputForAnOutputAlwaysFitsIt) {
  // The buffers of a host that asks for the input to fill its output, block after block.
  std::mt19937 random(1);
  for (const double rate : {8000.0, 44100.0, 48000.0, 96000.0}) {
    const auto converter = converterBetween(int16Format(rate, 2), floatFormat(44100, 2));
    Bytes output(8 * 3000);
    for (int block = 0; block < 300; ++block) {
      const auto capacity = static_cast<std::uint32_t>(8 * (random() % 3000));
      const Bytes input(property(*converter, kInputFor, capacity));
      std::uint32_t size = capacity;
      ASSERT_EQ(converter->convert(input.data(), static_cast<std::uint32_t>(input.size()), output.data(), &size),
                noErr);
      ASSERT_LE(size, capacity);
    }
  }
}

TEST(ConverterSizes, OutputForAnInputIsNeverExceeded) {
  std::mt19937 random(2);
  for (const double rate : {8000.0, 48000.0, 192000.0}) {
    const auto converter = converterBetween(floatFormat(rate, 1), floatFormat(44100, 1));
    for (int block = 0; block < 200; ++block) {
      const auto inputSize = static_cast<std::uint32_t>(4 * (random() % 5000));
      const std::uint32_t most = property(*converter, kOutputFor, inputSize);
      const Bytes input(inputSize);
      Bytes output(most + 400000);
      auto size = static_cast<std::uint32_t>(output.size());
      ASSERT_EQ(converter->convert(input.data(), inputSize, output.data(), &size), noErr);
      ASSERT_LE(size, most);
    }
  }
}

TEST(ConverterProperties, QualityIsHighUntilItIsSet) {
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  EXPECT_EQ(property(*converter, kQuality), kAudioConverterQuality_High);
  for (const std::uint32_t quality : {0U, 1U, 32U, 64U, 100U, 127U, 1000U}) {
    setQuality(*converter, quality);
    EXPECT_EQ(property(*converter, kQuality), quality);
  }
}

TEST(ConverterProperties, QualityCanBeSetWhereNothingIsResampled) {
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(44100, 1));
  setQuality(*converter, 0);
  EXPECT_EQ(property(*converter, kQuality), 0U);
}

TEST(ConverterProperties, AValueOfAnotherSizeIsRefused) {
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  std::uint32_t value = 7;
  std::uint32_t size = 3;
  EXPECT_EQ(converter->property(kQuality, &size, &value), kAudioConverterErr_BadPropertySize);
  size = 4;
  EXPECT_EQ(converter->property(kQuality, &size, nullptr), kAudioConverterErr_BadPropertySize);
  EXPECT_EQ(converter->setProperty(kQuality, 2, &value), kAudioConverterErr_BadPropertySize);
  EXPECT_EQ(converter->setProperty(kQuality, 8, &value), kAudioConverterErr_BadPropertySize);
  EXPECT_EQ(converter->setProperty(kQuality, 4, nullptr), kAudioConverterErr_BadPropertySize);
  EXPECT_EQ(value, 7U);
  EXPECT_EQ(property(*converter, kQuality), kAudioConverterQuality_High);
}

TEST(ConverterProperties, UnknownAndReadOnlyPropertiesAreRefused) {
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  std::uint32_t value = 7;
  std::uint32_t size = sizeof(value);
  EXPECT_EQ(converter->property(fourCC("cmgc"), &size, &value), kAudioConverterErr_PropertyNotSupported);
  EXPECT_EQ(converter->property(fourCC("cmgc"), &size, nullptr), kAudioConverterErr_PropertyNotSupported);
  EXPECT_EQ(converter->setProperty(fourCC("cmgc"), size, &value), kAudioConverterErr_PropertyNotSupported);
  EXPECT_EQ(converter->setProperty(kLeastInput, size, &value), kAudioConverterErr_PropertyNotSupported);
  EXPECT_EQ(value, 7U);
}

}  // namespace
}  // namespace orv::test
