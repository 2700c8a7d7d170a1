#include <gtest/gtest.h>

#include <numeric>

#include "platform/converter/ConverterTestSupport.h"

namespace orv::test {
namespace {

std::vector<std::int16_t> every16BitSample() {
  std::vector<std::int16_t> samples(65536);
  std::iota(samples.begin(), samples.end(), std::int16_t{-32768});
  return samples;
}

TEST(Conversion, SameFormatsCopyByteByByte) {
  // Bits below a 20-bit sample's are kept too.
  const AudioStreamBasicDescription format = linear(44100, 2, 20, 3, kSigned | kPacked | kBigEndian);
  Bytes bytes(6 * 100);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  EXPECT_EQ(converted(*converterBetween(format, format), bytes), bytes);
}

TEST(Conversion, BigEndian16BitBecomesNative) {
  const auto converter =
      converterBetween(linear(44100, 1, 16, 2, kSigned | kPacked | kBigEndian), int16Format(44100, 1));
  EXPECT_EQ(samplesOf<std::int16_t>(converted(*converter, {0x12, 0x34, 0xFF, 0xFE})),
            (std::vector<std::int16_t>{0x1234, -2}));
}

TEST(Conversion, PackedSamplesLieInTheUpperBitsOfTheirContainer) {
  const auto converter =
      converterBetween(linear(44100, 1, 20, 3, kSigned | kPacked | kBigEndian), int32Format(44100, 1));
  EXPECT_EQ(samplesOf<std::int32_t>(converted(*converter, {0x12, 0x34, 0x50})),
            (std::vector<std::int32_t>{0x12345000}));
}

TEST(Conversion, AlignedHighSamplesLieInTheUpperBitsOfTheirContainer) {
  const auto converter = converterBetween(linear(44100, 1, 24, 4, kSigned | kHigh), int32Format(44100, 1));
  EXPECT_EQ(samplesOf<std::int32_t>(converted(*converter, {0x00, 0x56, 0x34, 0x12})),
            (std::vector<std::int32_t>{0x12345600}));
}

TEST(Conversion, OtherSamplesLieInTheLowerBitsOfTheirContainer) {
  const auto converter = converterBetween(linear(44100, 1, 24, 4, kSigned), int32Format(44100, 1));
  EXPECT_EQ(samplesOf<std::int32_t>(converted(*converter, {0x56, 0x34, 0x12, 0x00, 0xFF, 0xFF, 0xFF, 0xFF})),
            (std::vector<std::int32_t>{0x12345600, -256}));
  const auto back = converterBetween(int32Format(44100, 1), linear(44100, 1, 24, 4, kSigned));
  EXPECT_EQ(converted(*back, bytesOf(std::vector<std::int32_t>{-256})), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(Conversion, UnsignedSamplesAreOffsetBinary) {
  const auto converter = converterBetween(linear(44100, 1, 8, 1, kPacked), int16Format(44100, 1));
  EXPECT_EQ(samplesOf<std::int16_t>(converted(*converter, {0, 0x80, 0xFF})),
            (std::vector<std::int16_t>{-32768, 0, 0x7F00}));
}

TEST(Conversion, SixteenBitsSurviveEveryWiderFormat) {
  const Bytes source = bytesOf(every16BitSample());
  const AudioStreamBasicDescription wider[] = {linear(44100, 1, 24, 3, kSigned | kPacked | kBigEndian),
                                               linear(44100, 1, 20, 3, kSigned | kPacked),
                                               linear(44100, 1, 17, 4, 0),
                                               int32Format(44100, 1),
                                               floatFormat(44100, 1),
                                               doubleFormat(44100, 1)};
  for (const AudioStreamBasicDescription& format : wider) {
    const Bytes there = converted(*converterBetween(int16Format(44100, 1), format), source);
    EXPECT_TRUE(converted(*converterBetween(format, int16Format(44100, 1)), there) == source) << format.mBitsPerChannel;
  }
}

TEST(Conversion, InputThatIsNotWholeFramesIsRefused) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  const Bytes input(6);
  Bytes output(64);
  std::uint32_t size = 64;
  EXPECT_EQ(converter->convert(input.data(), 6, output.data(), &size), kAudioConverterErr_InvalidInputSize);
  EXPECT_EQ(converter->convert(nullptr, 4, output.data(), &size), kAudioConverterErr_InvalidInputSize);
}

TEST(Conversion, OutputWithoutRoomIsRefusedAndNotTouched) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  const Bytes input(40);
  Bytes output(80, 0xEE);
  std::uint32_t size = 79;
  EXPECT_EQ(converter->convert(input.data(), 40, output.data(), &size), kAudioConverterErr_InvalidOutputSize);
  EXPECT_EQ(output, Bytes(80, 0xEE));
  EXPECT_EQ(size, 79U);
  size = 80;
  EXPECT_EQ(converter->convert(input.data(), 40, nullptr, &size), kAudioConverterErr_InvalidOutputSize);
}

TEST(Conversion, RoomToSpareIsLeftAlone) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  const Bytes input(40);
  Bytes output(100, 0xEE);
  std::uint32_t size = 100;
  EXPECT_EQ(converter->convert(input.data(), 40, output.data(), &size), noErr);
  EXPECT_EQ(size, 80U);
  EXPECT_EQ(output, Bytes(80, 0) + Bytes(20, 0xEE));
}

TEST(Conversion, NoInputGivesNoOutput) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  std::uint32_t size = 0;
  EXPECT_EQ(converter->convert(nullptr, 0, nullptr, &size), noErr);
  EXPECT_EQ(size, 0U);
}

TEST(Conversion, NothingIsLeftToDrainWithoutResampling) {
  const auto converter = converterBetween(int16Format(44100, 2), floatFormat(44100, 2));
  converted(*converter, Bytes(4000));
  EXPECT_EQ(drained(*converter), Bytes());
}

}  // namespace
}  // namespace orv::test
