#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/converter/ConverterTestSupport.h"

namespace orv::test {
namespace {

constexpr OSStatus kRefused = kAudioConverterErr_FormatNotSupported;

void expectRefusedAsSourceAndDestination(const AudioStreamBasicDescription& format) {
  AudioStreamBasicDescription good = floatFormat(44100, format.mChannelsPerFrame == 0 ? 2 : format.mChannelsPerFrame);
  EXPECT_EQ(statusOfMaking(format, good), kRefused);
  EXPECT_EQ(statusOfMaking(good, format), kRefused);
}

TEST(ConverterFormats, IntegersOf8To32BitsInContainersOf1To4BytesAreTaken) {
  for (std::uint32_t bytes = 1; bytes <= 4; ++bytes) {
    for (std::uint32_t bits = 8; bits <= 8 * bytes; ++bits) {
      for (const std::uint32_t flags :
           {0U, kSigned, kSigned | kBigEndian, kPacked, kSigned | kHigh, kHigh | kBigEndian}) {
        const AudioStreamBasicDescription format = linear(44100, 2, bits, bytes, flags);
        EXPECT_EQ(statusOfMaking(format, floatFormat(44100, 2)), noErr) << bits << " in " << bytes;
        EXPECT_EQ(statusOfMaking(floatFormat(44100, 2), format), noErr) << bits << " in " << bytes;
      }
    }
  }
}

TEST(ConverterFormats, IntegersOfOtherSizesAreRefused) {
  expectRefusedAsSourceAndDestination(linear(44100, 1, 7, 1, kSigned));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 0, 2, kSigned));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 17, 2, kSigned));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 32, 5, kSigned));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 64, 8, kSigned));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 16, 0, kSigned));
}

TEST(ConverterFormats, FloatsOtherThan32And64BitsAreRefused) {
  constexpr std::uint32_t kFloat = kAudioFormatFlagIsFloat;
  expectRefusedAsSourceAndDestination(linear(44100, 1, 16, 2, kFloat));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 32, 8, kFloat));
  expectRefusedAsSourceAndDestination(linear(44100, 1, 80, 10, kFloat));
}

TEST(ConverterFormats, AFrameThatDoesNotDivideByItsChannelsIsRefused) {
  AudioStreamBasicDescription format = int16Format(44100, 2);
  format.mBytesPerFrame = format.mBytesPerPacket = 5;
  expectRefusedAsSourceAndDestination(format);
}

TEST(ConverterFormats, NonInterleavedSamplesAreRefused) {
  expectRefusedAsSourceAndDestination(linear(44100, 2, 16, 2, kSigned | kAudioFormatFlagIsNonInterleaved));
}

TEST(ConverterFormats, RatesThatAreNoPositiveNumberAreRefused) {
  for (const double rate : {0.0, -44100.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    expectRefusedAsSourceAndDestination(int16Format(rate, 2));
  }
}

TEST(ConverterFormats, RatesThatAreTooFarApartAreRefused) {
  EXPECT_EQ(statusOfMaking(floatFormat(8000, 1), floatFormat(768000, 1)), noErr);
  EXPECT_EQ(statusOfMaking(floatFormat(768000, 1), floatFormat(8000, 1)), noErr);
  EXPECT_EQ(statusOfMaking(floatFormat(1, 1), floatFormat(44100, 1)), kRefused);
  EXPECT_EQ(statusOfMaking(floatFormat(1e-300, 1), floatFormat(1e300, 1)), kRefused);
  EXPECT_EQ(statusOfMaking(floatFormat(1e300, 1), floatFormat(1e-300, 1)), kRefused);
}

TEST(ConverterFormats, NoChannelsOrMoreThan1024AreRefused) {
  expectRefusedAsSourceAndDestination(int16Format(44100, 0));
  expectRefusedAsSourceAndDestination(int16Format(44100, 1025));
  EXPECT_EQ(statusOfMaking(int16Format(44100, 1024), floatFormat(44100, 1024)), noErr);
}

TEST(ConverterFormats, UnknownCodingsAreRefused) {
  AudioStreamBasicDescription format = int16Format(44100, 2);
  format.mFormatID = fourCC("aac ");
  expectRefusedAsSourceAndDestination(format);
}

TEST(ConverterFormats, PacketsThatContradictTheCodingAreRefused) {
  AudioStreamBasicDescription format = int16Format(44100, 2);
  format.mFramesPerPacket = 64;
  expectRefusedAsSourceAndDestination(format);
  format = int16Format(44100, 2);
  format.mBytesPerPacket = 8;
  expectRefusedAsSourceAndDestination(format);
  format = compressed(kAudioFormatIMA4, 44100, 2);
  format.mBytesPerPacket = 34;
  expectRefusedAsSourceAndDestination(format);
}

TEST(ConverterFormats, PacketFieldsLeftAtZeroAreFilledIn) {
  AudioStreamBasicDescription format = int16Format(44100, 2);
  format.mFramesPerPacket = 0;
  format.mBytesPerPacket = 0;
  const auto converter = converterBetween(format, floatFormat(44100, 2));
  EXPECT_EQ(property(*converter, kAudioConverterPropertyMinimumInputBufferSize), 4U);
}

TEST(ConverterFormats, CompressedFormatsAreTakenAsSourceOnly) {
  for (const std::uint32_t formatID : {kAudioFormatULaw, kAudioFormatALaw, kAudioFormatIMA4}) {
    const AudioStreamBasicDescription format = compressed(formatID, 22050, 2);
    EXPECT_EQ(statusOfMaking(format, int16Format(44100, 2)), noErr);
    EXPECT_EQ(statusOfMaking(int16Format(44100, 2), format), kRefused);
  }
}

}  // namespace
}  // namespace orv::test
