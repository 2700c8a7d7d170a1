#include <gtest/gtest.h>

#include "ForeignRecipes.h"
#include "OrvPlatform/Status.h"
#include "support/TemporaryDirectory.h"

/// What other programs wrote is presented as what they put in.
namespace orv::test {
namespace {

class ForeignDecoding : public testing::TestWithParam<ForeignFile> {
 protected:
  static constexpr std::int64_t kFrames = 50'000;

  TemporaryDirectory scratch_;
  Source source_ = sourceFor(GetParam(), kFrames);
  std::string path_ = make(GetParam(), source_, scratch_.path());
};

TEST_P(ForeignDecoding, GivesEveryByteOfASequentialDecode) {
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  const std::string expected = sequentialBytes(path_, opened.session->format());
  EXPECT_EQ(opened.session->dataByteCount(), static_cast<std::int64_t>(expected.size()));
  EXPECT_TRUE(allBytes(*opened.session) == expected);
}

TEST_P(ForeignDecoding, IsDescribedAsPackedLinearPCMOfItsDepthInHostOrder) {
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  const AudioStreamBasicDescription& format = opened.session->format();
  const std::uint32_t sampleBytes = (GetParam().bits + 7) / 8;
  EXPECT_EQ(fourCCText(opened.session->fileType()), GetParam().type);
  EXPECT_EQ(format.mFormatID, kAudioFormatLinearPCM);
  EXPECT_EQ(format.mFormatFlags, (GetParam().isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) |
                                     kAudioFormatFlagIsPacked);
  EXPECT_EQ(format.mBitsPerChannel, GetParam().bits);
  EXPECT_EQ(format.mFramesPerPacket, 1U);
  EXPECT_EQ(format.mBytesPerFrame, sampleBytes * format.mChannelsPerFrame);
  EXPECT_EQ(format.mBytesPerPacket, format.mBytesPerFrame);
  EXPECT_GT(format.mSampleRate, 0);
}

TEST_P(ForeignDecoding, GivesTheSamplesThatWentInWhereTheCodingLosesNothing) {
  if (!GetParam().isLossless) {
    return;
  }
  const OpenedForeign opened = openFile(path_);
  ASSERT_EQ(opened.status, noErr) << opened.problem;
  const AudioStreamBasicDescription& format = opened.session->format();
  EXPECT_EQ(format.mSampleRate, source_.sampleRate);
  ASSERT_EQ(format.mChannelsPerFrame, static_cast<std::uint32_t>(source_.channels));
  const std::string bytes = allBytes(*opened.session);
  const std::size_t sampleBytes = format.mBytesPerFrame / format.mChannelsPerFrame;
  ASSERT_EQ(bytes.size(), source_.samples.size() * sampleBytes);
  std::size_t different = 0;
  for (std::size_t i = 0; i < source_.samples.size(); ++i) {
    double value = 0;
    if (GetParam().isFloat && sampleBytes == 4) {
      value = double{*reinterpret_cast<const float*>(bytes.data() + i * 4)} * 2147483648.0;
    } else if (GetParam().isFloat) {
      value = *reinterpret_cast<const double*>(bytes.data() + i * 8) * 2147483648.0;
    } else {
      std::uint32_t bits = 0;
      for (std::size_t byte = 0; byte < sampleBytes; ++byte) {
        bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i * sampleBytes + byte]))
                << (8 * (4 - sampleBytes + byte));
      }
      value = static_cast<std::int32_t>(bits);
    }
    different += value == source_.samples[i] ? 0 : 1;
  }
  EXPECT_EQ(different, 0U);
}

INSTANTIATE_TEST_SUITE_P(EveryKind, ForeignDecoding, testing::ValuesIn(foreignFiles()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace orv::test
