#include <OrvCoreAudio/OrvAudioFileFrameIntervalCopier.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>
#include <vector>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "support/LogCapture.h"

using orv::test::InstalledFake;
using orv::test::noise;

namespace {

constexpr std::int64_t kFrames = 1000;

class Delegate final : public OrvObject, public OrvProgressDelegate {
 public:
  void progressUpdate(float progress) override { values.push_back(progress); }
  std::vector<float> values;
};

class Indifferent final : public OrvObject {};

/// Copies from a file of 1000 frames of 16-bit stereo.
class FrameIntervalCopier : public testing::Test {
 protected:
  FrameIntervalCopier() {
    fake->data = noise(kFrames * 4);
    file = OrvAudioFile::initWithPath_accessMode("/fake.aiff", OrvAudioFile::kModeRead);
    EXPECT_TRUE(file->open());
  }

  std::uint32_t count(std::uint32_t interval, std::int64_t from, std::int64_t to) {
    return copy(interval, nullptr, from, to);
  }

  std::uint32_t copy(std::uint32_t interval, void* buffer, std::int64_t from, std::int64_t to,
                     const std::shared_ptr<OrvObject>& subscriber = nullptr) {
    return OrvAudioFileFrameIntervalCopier::copyFramesWithInterval_fromFile_interval_toBuffer_fromFrame_toFrame(
        subscriber, file, interval, buffer, from, to);
  }

  /// A sample of the file as a float.
  float sample(std::int64_t frame, std::size_t channel) const {
    const auto at = static_cast<std::size_t>(frame) * 4 + channel * 2;
    const auto high = static_cast<std::uint8_t>(fake.file->data[at]);
    const auto low = static_cast<std::uint8_t>(fake.file->data[at + 1]);
    return static_cast<float>(static_cast<std::int16_t>(high << 8 | low)) / 32768.0F;
  }

  static float fromBigEndian(const float& stored) {
    std::uint32_t word = 0;
    std::memcpy(&word, &stored, sizeof word);
    return std::bit_cast<float>(__builtin_bswap32(word));
  }

  orv::test::LogCapture log;
  InstalledFake fake;
  std::shared_ptr<OrvAudioFile> file;
};

}  // namespace

TEST_F(FrameIntervalCopier, AnIntervalOf0OrAnEmptyRangeIs0) {
  EXPECT_EQ(count(0, 0, 100), 0U);
  EXPECT_EQ(count(10, 100, 100), 0U);
  EXPECT_EQ(count(10, 100, 50), 0U);
}

TEST_F(FrameIntervalCopier, WithoutABufferItCountsTheFramesToPick) {
  EXPECT_EQ(count(10, 0, 100), 10U);
  EXPECT_EQ(count(10, 0, 109), 10U);
  EXPECT_EQ(count(10, 95, 5000), 90U);
  EXPECT_EQ(count(5000, 0, 1000), 0U);
  EXPECT_EQ(count(10, 2000, 3000), 0U);
  EXPECT_TRUE(fake->readOffsets.empty());
}

TEST_F(FrameIntervalCopier, PickedFramesArriveAsBigEndianFloats) {
  std::vector<float> buffer(20 + 1, 77.0F);
  EXPECT_EQ(copy(10, buffer.data(), 5, 105), 100U);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(fromBigEndian(buffer[2 * i]), sample(static_cast<std::int64_t>(5 + 10 * i), 0)) << i;
    EXPECT_EQ(fromBigEndian(buffer[2 * i + 1]), sample(static_cast<std::int64_t>(5 + 10 * i), 1)) << i;
  }
  EXPECT_EQ(buffer[20], 77.0F);
}

TEST_F(FrameIntervalCopier, ARangeThatIsNoMultipleOfTheIntervalPicksNoMoreThanItCounted) {
  std::vector<float> buffer(6 + 1, 77.0F);
  EXPECT_EQ(copy(3, buffer.data(), 0, 10), 9U);
  EXPECT_EQ(fake->readOffsets, (std::vector<std::int64_t>{0, 12, 24}));
  EXPECT_EQ(buffer[6], 77.0F);
}

TEST_F(FrameIntervalCopier, ARangeShorterThanTheIntervalPicksNothing) {
  float untouched = 77.0F;
  EXPECT_EQ(copy(20, &untouched, 0, 10), 0U);
  EXPECT_EQ(untouched, 77.0F);
}

TEST_F(FrameIntervalCopier, ProgressEndsAtTheBytesOfAFrame) {
  std::vector<float> buffer(20);
  const auto delegate = std::make_shared<Delegate>();
  EXPECT_EQ(copy(10, buffer.data(), 0, 100, delegate), 100U);
  ASSERT_EQ(delegate->values.size(), 10U);
  EXPECT_FLOAT_EQ(delegate->values.front(), 0.4F);
  EXPECT_EQ(delegate->values.back(), 4.0F);
}

TEST_F(FrameIntervalCopier, ASubscriberThatDoesNotListenIsLeftAlone) {
  std::vector<float> buffer(20);
  EXPECT_EQ(copy(10, buffer.data(), 0, 100, std::make_shared<Indifferent>()), 100U);
}

TEST_F(FrameIntervalCopier, AReadThatFailsEndsThePickingAtOnce) {
  std::vector<float> buffer(20, 77.0F);
  fake->readStatus = kInputOutputErrorStatus;
  const auto delegate = std::make_shared<Delegate>();
  EXPECT_EQ(copy(10, buffer.data(), 0, 100, delegate), 0U);
  EXPECT_EQ(fake->readOffsets.size(), 1U);
  EXPECT_TRUE(delegate->values.empty());
  EXPECT_EQ(buffer, std::vector<float>(20, 0.0F));
}

TEST_F(FrameIntervalCopier, NumbersAtTheirLimitsAreHarmless) {
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  float untouched = 77.0F;
  EXPECT_EQ(copy(1, &untouched, kLeast, kMost), 0U);
  EXPECT_EQ(copy(0xFFFFFFFFU, &untouched, 0, kMost), 0U);
  EXPECT_EQ(copy(1, &untouched, kMost - 1, kMost), 0U);
  EXPECT_EQ(untouched, 77.0F);
}

TEST_F(FrameIntervalCopier, WithoutAFileOrAFormatItIs0) {
  float untouched = 77.0F;
  file = OrvAudioFile::initWithPath_accessMode("/closed.aiff", OrvAudioFile::kModeRead);
  EXPECT_EQ(copy(1, &untouched, 0, 10), 0U);
  file = nullptr;
  EXPECT_EQ(copy(1, &untouched, 0, 10), 0U);
  EXPECT_EQ(untouched, 77.0F);
}
