#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "OrvPlatform/Vector.h"
#include "platform/vector/EachTarget.h"

namespace orv::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Range {
  std::vector<float> minimum;
  std::vector<float> maximum;

  Range(std::size_t channels, float low, float high) : minimum(channels, low), maximum(channels, high) {}
};

/// The range of `samples`, read from `offset` bytes behind an aligned address.
Range rangeOf(const std::vector<float>& samples, std::uint32_t channels, std::size_t offset = 0) {
  std::vector<std::uint8_t> memory(samples.size() * sizeof(float) + offset);
  if (!samples.empty()) {
    std::memcpy(memory.data() + offset, samples.data(), samples.size() * sizeof(float));
  }
  Range range(channels, kInfinity, -kInfinity);
  simd::widenRange(reinterpret_cast<const float*>(memory.data() + offset), samples.size() / channels, channels,
                   range.minimum.data(), range.maximum.data());
  return range;
}

TEST(WidenRange, FindsTheExtremesOfEachChannel) {
  onEachTarget([] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> value(-2.0F, 2.0F);
    for (const std::uint32_t channels : {1U, 2U, 3U, 4U, 5U, 6U, 8U, 16U, 100U}) {
      for (std::size_t frames = 1; frames <= 150; ++frames) {
        std::vector<float> samples(frames * channels);
        std::generate(samples.begin(), samples.end(), [&] { return value(random); });
        Range expected(channels, kInfinity, -kInfinity);
        for (std::size_t i = 0; i < samples.size(); ++i) {
          expected.minimum[i % channels] = std::min(expected.minimum[i % channels], samples[i]);
          expected.maximum[i % channels] = std::max(expected.maximum[i % channels], samples[i]);
        }
        const Range range = rangeOf(samples, channels, frames % 7);
        ASSERT_EQ(range.minimum, expected.minimum) << channels << " channels, " << frames << " frames";
        ASSERT_EQ(range.maximum, expected.maximum) << channels << " channels, " << frames << " frames";
      }
    }
  });
}

TEST(WidenRange, OnlyWidensWhatWasThereBefore) {
  onEachTarget([] {
    const std::vector<float> samples(64, 0.25F);
    Range range(2, -0.5F, 0.5F);
    simd::widenRange(samples.data(), 32, 2, range.minimum.data(), range.maximum.data());
    EXPECT_EQ(range.minimum, std::vector<float>(2, -0.5F));
    EXPECT_EQ(range.maximum, std::vector<float>(2, 0.5F));
  });
}

TEST(WidenRange, PassesOverNaN) {
  onEachTarget([] {
    for (std::size_t place = 0; place < 101; ++place) {
      std::vector<float> samples(101, kNaN);
      samples[place] = 0.5F;
      const Range range = rangeOf(samples, 1);
      ASSERT_EQ(range.minimum[0], 0.5F) << place;
      ASSERT_EQ(range.maximum[0], 0.5F) << place;
    }
  });
}

TEST(WidenRange, InfinityIsAnExtreme) {
  onEachTarget([] {
    std::vector<float> samples(50, 0.0F);
    samples[30] = kInfinity;
    samples[31] = -kInfinity;
    const Range range = rangeOf(samples, 2);
    EXPECT_EQ(range.maximum, (std::vector<float>{kInfinity, 0.0F}));
    EXPECT_EQ(range.minimum, (std::vector<float>{0.0F, -kInfinity}));
  });
}

TEST(WidenRange, NoFramesOrNoChannelsChangeNothing) {
  onEachTarget([] {
    Range range(1, 1.0F, -1.0F);
    const float sample = 5.0F;
    simd::widenRange(&sample, 0, 1, range.minimum.data(), range.maximum.data());
    simd::widenRange(&sample, 1, 0, range.minimum.data(), range.maximum.data());
    EXPECT_EQ(range.minimum[0], 1.0F);
    EXPECT_EQ(range.maximum[0], -1.0F);
  });
}

}  // namespace
}  // namespace orv::test
