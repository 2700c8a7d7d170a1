#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "platform/converter/ConverterTestSupport.h"
#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

using Ints = std::vector<std::int16_t>;

Ints decoded(std::uint32_t formatID, std::uint32_t channels, const Bytes& bytes) {
  const auto converter = converterBetween(compressed(formatID, 44100, channels), int16Format(44100, channels));
  return samplesOf<std::int16_t>(converted(*converter, bytes));
}

Bytes everyCode() {
  Bytes codes(256);
  for (std::size_t i = 0; i < codes.size(); ++i) {
    codes[i] = static_cast<std::uint8_t>(i);
  }
  return codes;
}

/// What ffmpeg makes of a raw file.
Ints decodedByFfmpeg(const std::string& format, const Bytes& bytes) {
  const TemporaryDirectory directory;
  writeWholeFile(directory / "in", std::string(bytes.begin(), bytes.end()));
  const ProcessResult result = run({"ffmpeg", "-v", "error", "-f", format, "-ar", "44100", "-ac", "1", "-i",
                                    directory / "in", "-f", "s16le", directory / "out"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const std::string output = readWholeFile(directory / "out");
  return samplesOf<std::int16_t>(Bytes(output.begin(), output.end()));
}

TEST(CompressedSource, MuLawDecodesAsFfmpegDoes) {
  EXPECT_EQ(decoded(kAudioFormatULaw, 1, everyCode()), decodedByFfmpeg("mulaw", everyCode()));
}

TEST(CompressedSource, ALawDecodesAsFfmpegDoes) {
  EXPECT_EQ(decoded(kAudioFormatALaw, 1, everyCode()), decodedByFfmpeg("alaw", everyCode()));
}

TEST(CompressedSource, LawsDecodeStraightToFloats) {
  const auto converter = converterBetween(compressed(kAudioFormatULaw, 8000, 1), floatFormat(8000, 1));
  EXPECT_EQ(samplesOf<float>(converted(*converter, {0xFF, 0x00, 0x80})),
            (std::vector<float>{0.0F, -32124.0F / 32768, 32124.0F / 32768}));
}

class ImaFile : public testing::Test {
 protected:
  /// Has ffmpeg encode noisy sines, and keeps the packets and what ffmpeg decodes them to.
  void encode(std::uint32_t channels) {
    std::mt19937 random(1);
    Ints samples;
    for (std::size_t i = 0; i < 64 * 200; ++i) {
      for (std::uint32_t c = 0; c < channels; ++c) {
        const double value =
            12000 * std::sin(static_cast<double>(i * (c + 1)) * 0.03) + static_cast<double>(random() % 3000);
        samples.push_back(static_cast<std::int16_t>(value));
      }
    }
    const Bytes bytes = bytesOf(samples);
    writeWholeFile(directory_ / "in", std::string(bytes.begin(), bytes.end()));
    runOrFail({"ffmpeg", "-v", "error", "-f", "s16le", "-ar", "44100", "-ac", std::to_string(channels), "-i",
               directory_ / "in", "-c:a", "adpcm_ima_qt", "-f", "caf", directory_ / "out.caf"});
    runOrFail({"ffmpeg", "-v", "error", "-i", directory_ / "out.caf", "-f", "s16le", directory_ / "out"});
    const std::string file = readWholeFile(directory_ / "out.caf");
    // The audio data chunk: its name, 8 bytes of size, 4 bytes of edit count, packets.
    const std::size_t data = file.find("data");
    ASSERT_NE(data, std::string::npos);
    packets_.assign(file.begin() + static_cast<std::ptrdiff_t>(data) + 16, file.end());
    packets_.resize(std::size_t{34} * channels * 200);
    const std::string output = readWholeFile(directory_ / "out");
    expected_ = samplesOf<std::int16_t>(Bytes(output.begin(), output.end()));
    expected_.resize(std::size_t{64} * channels * 200);
  }

  static void runOrFail(const std::vector<std::string>& arguments) {
    const ProcessResult result = run(arguments);
    ASSERT_EQ(result.status, 0) << result.errors;
  }

  const TemporaryDirectory directory_;
  Bytes packets_;
  Ints expected_;
};

TEST_F(ImaFile, MonoDecodesAsFfmpegDoes) {
  ASSERT_NO_FATAL_FAILURE(encode(1));
  EXPECT_TRUE(decoded(kAudioFormatIMA4, 1, packets_) == expected_);
}

TEST_F(ImaFile, PacketsOfStereoComeInTurn) {
  ASSERT_NO_FATAL_FAILURE(encode(2));
  EXPECT_TRUE(decoded(kAudioFormatIMA4, 2, packets_) == expected_);
}

TEST_F(ImaFile, StateIsKeptAcrossCallsUntilReset) {
  ASSERT_NO_FATAL_FAILURE(encode(1));
  const auto converter = converterBetween(compressed(kAudioFormatIMA4, 44100, 1), int16Format(44100, 1));
  Bytes output;
  for (std::size_t packet = 0; packet < 200; ++packet) {
    const auto begin = packets_.begin() + static_cast<std::ptrdiff_t>(packet * 34);
    output = std::move(output) + converted(*converter, Bytes(begin, begin + 34));
  }
  EXPECT_TRUE(samplesOf<std::int16_t>(output) == expected_);
  EXPECT_EQ(converter->reset(), noErr);
  EXPECT_TRUE(samplesOf<std::int16_t>(converted(*converter, packets_)) == expected_);
}

TEST_F(ImaFile, DecodesAsLibsndfileDoesButForTheBitsThatAPacketDoesNotStore) {
  // libsndfile begins each packet with what is stored, which has 9 bits: the rest is carried on here.
  ASSERT_NO_FATAL_FAILURE(encode(1));
  runOrFail(
      {"ffmpeg", "-v", "error", "-i", directory_ / "out.caf", "-c:a", "copy", "-f", "aiff", directory_ / "out.aifc"});
  const auto reading = readIndependently(directory_ / "out.aifc");
  ASSERT_TRUE(reading.has_value());
  const Ints ours = decoded(kAudioFormatIMA4, 1, packets_);
  ASSERT_GE(reading->ints.size(), ours.size());
  for (std::size_t i = 0; i < ours.size(); ++i) {
    ASSERT_NEAR(ours[i], reading->ints[i] >> 16, 128) << i;
  }
}

TEST(CompressedSource, ImaInputThatIsNotWholePacketsIsRefused) {
  const auto converter = converterBetween(compressed(kAudioFormatIMA4, 44100, 2), int16Format(44100, 2));
  const Bytes input(68);
  Bytes output(1000);
  auto size = static_cast<std::uint32_t>(output.size());
  EXPECT_EQ(converter->convert(input.data(), 34, output.data(), &size), kAudioConverterErr_InvalidInputSize);
  EXPECT_EQ(converter->convert(input.data(), 68, output.data(), &size), noErr);
  EXPECT_EQ(size, 256U);
}

TEST(CompressedSource, ImaStatesOutOfRangeAreBounded) {
  // A step index of 127 where 88 is the last, followed by the largest steps.
  Bytes packet(34, 0x77);
  packet[0] = 0x7F;
  packet[1] = 0xFF;
  const Ints samples = decoded(kAudioFormatIMA4, 1, packet);
  ASSERT_EQ(samples.size(), 64U);
  EXPECT_EQ(samples[0], 32767);
  EXPECT_EQ(samples[63], 32767);
}

TEST(CompressedSource, IsMappedAndResampledLikeAnyOther) {
  const auto converter = converterBetween(compressed(kAudioFormatIMA4, 22050, 1), floatFormat(44100, 2));
  const Bytes output = convertedToTheEnd(*converter, Bytes(34 * 100));
  EXPECT_NEAR(static_cast<double>(output.size() / 8), 12800, 1);
}

}  // namespace
}  // namespace orv::test
