#include "platform/converter/ConverterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace orv::test {

AudioStreamBasicDescription linear(double rate, std::uint32_t channels, std::uint32_t bits,
                                   std::uint32_t bytesPerSample, std::uint32_t flags) {
  const std::uint32_t frameBytes = bytesPerSample * channels;
  return {rate, kAudioFormatLinearPCM, flags, frameBytes, 1, frameBytes, channels, bits, 0};
}

AudioStreamBasicDescription int16Format(double rate, std::uint32_t channels) {
  return linear(rate, channels, 16, 2, kSigned | kPacked);
}

AudioStreamBasicDescription int32Format(double rate, std::uint32_t channels) {
  return linear(rate, channels, 32, 4, kSigned | kPacked);
}

AudioStreamBasicDescription floatFormat(double rate, std::uint32_t channels) {
  return linear(rate, channels, 32, 4, kAudioFormatFlagIsFloat | kPacked);
}

AudioStreamBasicDescription doubleFormat(double rate, std::uint32_t channels) {
  return linear(rate, channels, 64, 8, kAudioFormatFlagIsFloat | kPacked);
}

AudioStreamBasicDescription compressed(std::uint32_t formatID, double rate, std::uint32_t channels) {
  if (formatID == kAudioFormatIMA4) {
    return {rate, formatID, 0, 34 * channels, 64, 0, channels, 0, 0};
  }
  return {rate, formatID, 0, channels, 1, channels, channels, 8, 0};
}

std::unique_ptr<Converter> converterBetween(const AudioStreamBasicDescription& source,
                                            const AudioStreamBasicDescription& destination) {
  std::unique_ptr<Converter> converter;
  EXPECT_EQ(converterService()->make(source, destination, &converter), noErr);
  return converter;
}

OSStatus statusOfMaking(const AudioStreamBasicDescription& source, const AudioStreamBasicDescription& destination) {
  std::unique_ptr<Converter> converter;
  const OSStatus status = converterService()->make(source, destination, &converter);
  EXPECT_EQ(status == noErr, converter != nullptr);
  return status;
}

std::uint32_t property(Converter& converter, AudioConverterPropertyID id, std::uint32_t value) {
  std::uint32_t size = sizeof(value);
  EXPECT_EQ(converter.property(id, &size, &value), noErr);
  EXPECT_EQ(size, sizeof(value));
  return value;
}

void setQuality(Converter& converter, std::uint32_t quality) {
  EXPECT_EQ(converter.setProperty(kAudioConverterSampleRateConverterQuality, sizeof(quality), &quality), noErr);
}

Bytes converted(Converter& converter, const Bytes& input) {
  const auto inputSize = static_cast<std::uint32_t>(input.size());
  const std::uint32_t most = property(converter, kAudioConverterPropertyCalculateOutputBufferSize, inputSize);
  Bytes output(most);
  std::uint32_t size = most;
  EXPECT_EQ(converter.convert(input.data(), inputSize, output.data(), &size), noErr);
  EXPECT_LE(size, most);
  output.resize(size);
  return output;
}

Bytes drained(Converter& converter, std::uint32_t pieceFrames) {
  const std::uint32_t frameBytes = property(converter, kAudioConverterPropertyMinimumOutputBufferSize);
  Bytes output;
  for (;;) {
    Bytes piece(std::size_t{pieceFrames} * frameBytes);
    auto size = static_cast<std::uint32_t>(piece.size());
    EXPECT_EQ(converter.drain(piece.data(), &size), noErr);
    EXPECT_LE(size, piece.size());
    EXPECT_EQ(size % frameBytes, 0U);
    if (size == 0) {
      return output;
    }
    piece.resize(size);
    output = std::move(output) + piece;
  }
}

Bytes convertedToTheEnd(Converter& converter, const Bytes& input, std::uint32_t pieceFrames) {
  Bytes output = converted(converter, input);
  return std::move(output) + drained(converter, pieceFrames);
}

std::vector<float> sine(double frequency, double rate, std::size_t frames, std::uint32_t channels) {
  std::vector<float> samples;
  samples.reserve(frames * channels);
  for (std::size_t i = 0; i < frames; ++i) {
    const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
    samples.insert(samples.end(), channels, static_cast<float>(0.9 * std::sin(phase)));
  }
  return samples;
}

}  // namespace orv::test
