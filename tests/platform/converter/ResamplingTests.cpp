#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "platform/converter/ConverterTestSupport.h"

namespace orv::test {
namespace {

constexpr double kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000};

/// Converts a stream in blocks of random sizes, each into a buffer as large as the converter asks for, and drains it.
Bytes convertedInBlocks(Converter& converter, const Bytes& input, std::uint32_t frameBytes, std::uint32_t seed) {
  std::mt19937 random(seed);
  Bytes output;
  for (std::size_t position = 0; position < input.size();) {
    const std::size_t size = std::min<std::size_t>((1 + random() % 4000) * frameBytes, input.size() - position);
    const auto begin = input.begin() + static_cast<std::ptrdiff_t>(position);
    output = std::move(output) + converted(converter, Bytes(begin, begin + static_cast<std::ptrdiff_t>(size)));
    position += size;
  }
  return output + drained(converter);
}

/// The power of all that is not the sine of `frequency` in the middle of the samples, relative to it, in dB.
double noiseBeside(double frequency, double rate, const std::vector<double>& samples) {
  const std::size_t begin = samples.size() / 8;
  const std::size_t end = samples.size() - begin;
  double ss = 0, cc = 0, sc = 0, xs = 0, xc = 0;
  const auto phaseAt = [&](std::size_t i) { return 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate; };
  for (std::size_t i = begin; i < end; ++i) {
    const double s = std::sin(phaseAt(i));
    const double c = std::cos(phaseAt(i));
    ss += s * s;
    cc += c * c;
    sc += s * c;
    xs += samples[i] * s;
    xc += samples[i] * c;
  }
  // Least squares: the sine's two amplitudes.
  const double determinant = ss * cc - sc * sc;
  const double a = (xs * cc - xc * sc) / determinant;
  const double b = (xc * ss - xs * sc) / determinant;
  double noise = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const double rest = samples[i] - a * std::sin(phaseAt(i)) - b * std::cos(phaseAt(i));
    noise += rest * rest;
  }
  const double power = (a * a + b * b) / 2 * static_cast<double>(end - begin);
  return 10 * std::log10(noise / power);
}

std::vector<double> resampledSine(double frequency, double from, double to, std::uint32_t quality) {
  const auto converter = converterBetween(floatFormat(from, 1), doubleFormat(to, 1));
  setQuality(*converter, quality);
  const Bytes input = bytesOf(sine(frequency, from, static_cast<std::size_t>(from), 1));
  return samplesOf<double>(convertedToTheEnd(*converter, input));
}

class ResamplingFrom : public testing::TestWithParam<double> {};

TEST_P(ResamplingFrom, StreamAndDrainHaveAsManyFramesAsTheRatioSays) {
  const double from = GetParam();
  for (const double to : kRates) {
    if (to == from) {
      continue;
    }
    const auto converter = converterBetween(int16Format(from, 1), int16Format(to, 1));
    const std::size_t frames = static_cast<std::size_t>(from) + 4321;
    const Bytes output = convertedInBlocks(*converter, Bytes(2 * frames), 2, 1);
    const double expected = std::round(static_cast<double>(frames) * to / from);
    EXPECT_NEAR(static_cast<double>(output.size() / 2), expected, 1) << from << " to " << to;
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, ResamplingFrom, testing::ValuesIn(kRates),
                         [](const testing::TestParamInfo<double>& rate) {
                           return std::to_string(static_cast<int>(rate.param));
                         });

TEST(Resampling, LongStreamsKeepTheirLength) {
  for (const std::uint32_t quality : {0U, 32U, 64U, 96U, 127U}) {
    const auto converter = converterBetween(int16Format(44100, 1), int16Format(48000, 1));
    setQuality(*converter, quality);
    constexpr std::size_t kFrames = 44100 * 120 + 7;
    const Bytes output = convertedInBlocks(*converter, Bytes(2 * kFrames), 2, 2);
    EXPECT_NEAR(static_cast<double>(output.size() / 2), std::round(kFrames * 48000.0 / 44100.0), 1) << quality;
  }
}

TEST(Resampling, OddRatiosKeepTheirLength) {
  const auto converter = converterBetween(int16Format(44100, 1), int16Format(44056.43 * std::numbers::sqrt2, 1));
  constexpr std::size_t kFrames = 44100 * 60;
  const Bytes output = convertedInBlocks(*converter, Bytes(2 * kFrames), 2, 3);
  EXPECT_NEAR(static_cast<double>(output.size() / 2), std::round(kFrames * 44056.43 * std::numbers::sqrt2 / 44100), 1);
}

TEST(Resampling, StreamsShorterThanTheFilterComeOutWhole) {
  for (std::size_t frames = 1; frames <= 40; ++frames) {
    const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
    const Bytes output = convertedToTheEnd(*converter, Bytes(4 * frames));
    EXPECT_NEAR(static_cast<double>(output.size() / 4), std::round(static_cast<double>(frames) * 48000 / 44100), 1);
  }
}

TEST(Resampling, BlockSizesDoNotMatter) {
  const Bytes input = bytesOf(sine(997, 44100, 50000, 2));
  const auto whole = converterBetween(floatFormat(44100, 2), floatFormat(48000, 2));
  const Bytes expected = convertedToTheEnd(*whole, input);
  for (std::uint32_t seed = 1; seed <= 3; ++seed) {
    const auto converter = converterBetween(floatFormat(44100, 2), floatFormat(48000, 2));
    EXPECT_TRUE(convertedInBlocks(*converter, input, 8, seed) == expected);
  }
}

TEST(Resampling, DrainingInPiecesOfAnySizeGivesTheSame) {
  const Bytes input = bytesOf(sine(997, 48000, 10000, 1));
  const auto first = converterBetween(floatFormat(48000, 1), floatFormat(44100, 1));
  const auto second = converterBetween(floatFormat(48000, 1), floatFormat(44100, 1));
  const Bytes expected = convertedToTheEnd(*first, input, 100000);
  EXPECT_TRUE(convertedToTheEnd(*second, input, 1) == expected);
}

TEST(Resampling, NoiseIsBelow120DecibelsAtHighQuality) {
  for (const double frequency : {997.0, 5000.0, 15000.0}) {
    EXPECT_LT(noiseBeside(frequency, 48000, resampledSine(frequency, 44100, 48000, 96)), -120) << frequency;
    EXPECT_LT(noiseBeside(frequency, 44100, resampledSine(frequency, 48000, 44100, 96)), -120) << frequency;
  }
}

TEST(Resampling, BestQualityKeepsDoublesBelow160Decibels) {
  const auto converter = converterBetween(doubleFormat(44100, 1), doubleFormat(48000, 1));
  setQuality(*converter, 127);
  std::vector<double> input(44100);
  for (std::size_t i = 0; i < input.size(); ++i) {
    input[i] = 0.9 * std::sin(2 * std::numbers::pi * 997 * static_cast<double>(i) / 44100);
  }
  const auto output = samplesOf<double>(convertedToTheEnd(*converter, bytesOf(input)));
  EXPECT_LT(noiseBeside(997, 48000, output), -160);
}

TEST(Resampling, MoreQualityMeansLessNoise) {
  const double quick = noiseBeside(5000, 48000, resampledSine(5000, 44100, 48000, 0));
  const double low = noiseBeside(5000, 48000, resampledSine(5000, 44100, 48000, 32));
  const double high = noiseBeside(5000, 48000, resampledSine(5000, 44100, 48000, 96));
  EXPECT_LT(low, quick - 10);
  EXPECT_LT(high, low - 10);
}

TEST(Resampling, MonoToStereoIsTheSameOnBothChannels) {
  const Bytes input = bytesOf(sine(440, 44100, 20000, 1));
  const auto mono = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const auto stereo = converterBetween(floatFormat(44100, 1), floatFormat(48000, 2));
  const auto expected = samplesOf<float>(convertedToTheEnd(*mono, input));
  const auto output = samplesOf<float>(convertedToTheEnd(*stereo, input));
  ASSERT_EQ(output.size(), 2 * expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(output[2 * i], expected[i]);
    ASSERT_EQ(output[2 * i + 1], expected[i]);
  }
}

TEST(Resampling, StereoToMonoIsTheAverageResampled) {
  std::vector<float> stereo;
  const std::vector<float> mono = sine(440, 44100, 20000, 1);
  for (const float sample : mono) {
    stereo.insert(stereo.end(), {sample * 2, 0.0F});
  }
  const auto expected = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const auto converter = converterBetween(floatFormat(44100, 2), floatFormat(48000, 1));
  EXPECT_TRUE(convertedToTheEnd(*converter, bytesOf(stereo)) == convertedToTheEnd(*expected, bytesOf(mono)));
}

TEST(Resampling, ResetForgetsWhatWasConverted) {
  const Bytes input = bytesOf(sine(997, 44100, 30000, 2));
  const auto converter = converterBetween(floatFormat(44100, 2), int16Format(48000, 2));
  const Bytes expected = convertedToTheEnd(*converter, input);
  converted(*converter, bytesOf(sine(3000, 44100, 12345, 2)));
  EXPECT_EQ(converter->reset(), noErr);
  EXPECT_TRUE(convertedToTheEnd(*converter, input) == expected);
}

TEST(Resampling, TheStateAfterDrainingIsThatAfterReset) {
  const Bytes input = bytesOf(sine(997, 44100, 30000, 1));
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const Bytes expected = convertedToTheEnd(*converter, input);
  EXPECT_EQ(drained(*converter), Bytes());
  EXPECT_TRUE(convertedToTheEnd(*converter, input) == expected);
}

TEST(Resampling, ConvertingAmidADrainStartsAfresh) {
  const Bytes input = bytesOf(sine(997, 44100, 30000, 1));
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const Bytes expected = converted(*converter, input);
  Bytes piece(40);
  auto size = static_cast<std::uint32_t>(piece.size());
  EXPECT_EQ(converter->drain(piece.data(), &size), noErr);
  EXPECT_EQ(size, 40U);
  EXPECT_TRUE(converted(*converter, input) == expected);
}

TEST(Resampling, SettingTheQualityStartsAfresh) {
  const Bytes input = bytesOf(sine(997, 44100, 30000, 1));
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const Bytes expected = converted(*converter, input);
  setQuality(*converter, 96);
  EXPECT_TRUE(converted(*converter, input) == expected);
}

TEST(Resampling, OutputWithoutRoomForTheShareIsRefusedAndLeavesTheStateAlone) {
  const Bytes input = bytesOf(sine(997, 44100, 44100, 1));
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const auto other = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  EXPECT_TRUE(converted(*converter, input) == converted(*other, input));
  Bytes output(4 * 48000);
  const auto inputSize = static_cast<std::uint32_t>(input.size());
  std::uint32_t size = 4 * 47999;
  EXPECT_EQ(converter->convert(input.data(), inputSize, output.data(), &size), kAudioConverterErr_InvalidOutputSize);
  size = 4 * 48000;
  EXPECT_EQ(converter->convert(input.data(), inputSize - 1, output.data(), &size), kAudioConverterErr_InvalidInputSize);
  EXPECT_TRUE(convertedToTheEnd(*converter, input) == convertedToTheEnd(*other, input));
}

TEST(Resampling, OutputThatDoesNotFitComesLaterAndNothingGetsLost) {
  const Bytes input = bytesOf(sine(997, 44100, 44100, 1));
  const auto whole = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const Bytes expected = convertedToTheEnd(*whole, input);
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  Bytes output;
  for (std::size_t i = 0; i < 300; ++i) {
    // 147 frames in give 160 frames out on average, and there is room for no more.
    Bytes piece(4 * 160);
    auto size = static_cast<std::uint32_t>(piece.size());
    ASSERT_EQ(converter->convert(input.data() + i * 147 * 4, 147 * 4, piece.data(), &size), noErr);
    piece.resize(size);
    output = std::move(output) + piece;
  }
  EXPECT_TRUE(std::move(output) + drained(*converter) == expected);
}

TEST(Resampling, AShareIsRefusedRoomOnlyWhenAFrameIsDue) {
  const auto converter = converterBetween(floatFormat(48000, 1), floatFormat(24000, 1));
  const float sample = 0;
  float output = 0;
  std::uint32_t size = 0;
  EXPECT_EQ(converter->convert(&sample, 4, nullptr, &size), noErr);
  EXPECT_EQ(converter->convert(&sample, 4, nullptr, &size), kAudioConverterErr_InvalidOutputSize);
  size = 4;
  EXPECT_EQ(converter->convert(&sample, 4, &output, &size), noErr);
}

TEST(Resampling, DrainingNeedsRoomForAFrameWhileSomethingIsLeft) {
  const auto converter = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const std::size_t before = converted(*converter, Bytes(4000)).size() / 4;
  float output = 0;
  std::uint32_t size = 3;
  EXPECT_EQ(converter->drain(&output, &size), kAudioConverterErr_InvalidOutputSize);
  size = 4;
  EXPECT_EQ(converter->drain(nullptr, &size), kAudioConverterErr_InvalidOutputSize);
  EXPECT_EQ(size, 4U);
  EXPECT_NEAR(static_cast<double>(before + drained(*converter).size() / 4), 1088, 1);
}

TEST(Resampling, ManyChannelsAreResampledSideBySide) {
  constexpr std::uint32_t kChannels = 24;
  const auto converter = converterBetween(floatFormat(44100, kChannels), floatFormat(48000, kChannels));
  const auto mono = converterBetween(floatFormat(44100, 1), floatFormat(48000, 1));
  const auto output = samplesOf<float>(convertedToTheEnd(*converter, bytesOf(sine(440, 44100, 3000, kChannels))));
  const auto expected = samplesOf<float>(convertedToTheEnd(*mono, bytesOf(sine(440, 44100, 3000, 1))));
  ASSERT_EQ(output.size(), expected.size() * kChannels);
  for (std::size_t i = 0; i < output.size(); ++i) {
    ASSERT_EQ(output[i], expected[i / kChannels]);
  }
}

}  // namespace
}  // namespace orv::test
