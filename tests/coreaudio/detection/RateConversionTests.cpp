#include "detection/RateConversion.h"

#include <OrvCoreAudio/OrvAudioConverter.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "coreaudio/support/Noise.h"
#include "coreaudio/support/Recording.h"

using orv::RateConversion;
using orv::test::noise;
using orv::test::pcm;

namespace {

constexpr std::uint32_t kNativeFloat = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;

/// All that comes of `input`, in chunks of so many bytes.
std::string converted(RateConversion& conversion, const std::string& input, std::size_t chunk) {
  std::string output;
  std::string buffer(conversion.convertedBytes(), '\0');
  std::uint32_t made = 0;
  for (std::size_t i = 0; i < input.size(); i += chunk) {
    const std::string part = input.substr(i, chunk);
    EXPECT_EQ(conversion.convert(part.data(), static_cast<std::uint32_t>(part.size()), buffer.data(), &made), noErr);
    output.append(buffer, 0, made);
  }
  do {
    EXPECT_EQ(conversion.drain(buffer.data(), &made), noErr);
    output.append(buffer, 0, made);
  } while (made > 0);
  return output;
}

/// One of `count` interleaved channels of 4-byte samples.
std::string channelOf(const std::string& samples, std::size_t channel, std::size_t count) {
  std::string result;
  for (std::size_t i = 4 * channel; i < samples.size(); i += 4 * count) {
    result += samples.substr(i, 4);
  }
  return result;
}

/// Noise as floats below full scale.
std::string floatNoise(std::size_t samples) {
  std::string bytes;
  const std::string raw = noise(2 * samples);
  for (std::size_t i = 0; i < samples; ++i) {
    std::int16_t value = 0;
    std::memcpy(&value, raw.data() + 2 * i, sizeof(value));
    const float sample = static_cast<float>(value) / 40'000.0F;
    bytes.append(reinterpret_cast<const char*>(&sample), sizeof(sample));
  }
  return bytes;
}

}  // namespace

TEST(RateConversion, EachChannelIsWhatItIsAlone) {
  for (const std::uint32_t channels : {2U, 5U}) {
    const std::string input = floatNoise(std::size_t{50'000} * channels);
    const auto all =
        RateConversion::make(pcm(44'100, channels, 32, kNativeFloat), pcm(48'000, channels, 32, kNativeFloat));
    ASSERT_TRUE(all);
    const std::string output = converted(*all, input, all->chunkBytes());
    for (std::size_t channel = 0; channel < channels; ++channel) {
      const auto one = RateConversion::make(pcm(44'100, 1, 32, kNativeFloat), pcm(48'000, 1, 32, kNativeFloat));
      EXPECT_EQ(channelOf(output, channel, channels),
                converted(*one, channelOf(input, channel, channels), one->chunkBytes()));
    }
  }
}

TEST(RateConversion, SizeOfTheChunksMakesNoDifference) {
  const std::string input = floatNoise(2 * 50'000);
  const auto make = [] {
    return RateConversion::make(pcm(44'100, 2, 32, kNativeFloat), pcm(32'000, 2, 32, kNativeFloat));
  };
  const std::string whole = converted(*make(), input, make()->chunkBytes());
  EXPECT_EQ(converted(*make(), input, 8 * 777), whole);
  EXPECT_NEAR(static_cast<double>(whole.size()) / 8, 50'000 * 32.0 / 44.1, 1);
}

TEST(RateConversion, FramesAreThoseOfTheWholeLengthToTheEnd) {
  for (const std::size_t frames : {0U, 1U, 100U, 32'768U, 32'769U}) {
    const auto conversion = RateConversion::make(pcm(44'100, 2, 16, 14), pcm(88'200, 2, 24, 14));
    const std::string output = converted(*conversion, noise(4 * frames), conversion->chunkBytes());
    EXPECT_NEAR(static_cast<double>(output.size()) / 6, 2.0 * static_cast<double>(frames), 1) << frames;
  }
}

TEST(RateConversion, RatesFarApartAndMissingChannelsAreRefused) {
  testing::internal::CaptureStderr();  // where the converter's graph tells of formats it does not know
  EXPECT_FALSE(RateConversion::make(pcm(8000, 2, 16, 14), pcm(8e6, 2, 16, 14)));
  EXPECT_FALSE(RateConversion::make(pcm(8000, 0, 16, 14), pcm(9000, 2, 16, 14)));
  testing::internal::GetCapturedStderr();
}
