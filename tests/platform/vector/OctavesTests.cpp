#include "OrvPlatform/Octaves.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "platform/vector/EachTarget.h"

namespace orv::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::vector<float> noise(std::size_t count, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-1.0F, 1.0F);
  std::vector<float> samples(count);
  std::generate(samples.begin(), samples.end(), [&] { return value(random); });
  return samples;
}

/// The two octaves of samples that have `kOctaveHistory` others before them.
struct Octaves {
  std::vector<float> low;
  std::vector<float> high;

  explicit Octaves(const std::vector<float>& samples)
      : low((samples.size() - simd::kOctaveHistory) / 2), high(low.size()) {
    simd::splitOctave(samples.data() + simd::kOctaveHistory, low.size(), low.data(), high.data());
  }
};

TEST(TakeChannel, CopiesOneChannelOfAnyNumber) {
  onEachTarget([] {
    for (const std::uint32_t channels : {1U, 2U, 3U, 6U, 8U}) {
      for (const std::size_t count : {0U, 1U, 7U, 33U, 100U}) {
        const std::vector<float> frames = noise(count * channels, 1);
        for (std::uint32_t channel = 0; channel < channels; ++channel) {
          std::vector<float> taken(count);
          simd::takeChannel(frames.data(), count, channels, channel, taken.data());
          for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(taken[i], frames[i * channels + channel]) << channels << " channels, frame " << i;
          }
        }
      }
    }
  });
}

TEST(TakeChannel, TakesWhatIsNotANumberForSilenceAndLimitsTheRest) {
  onEachTarget([] {
    for (const std::size_t channels : {1U, 2U}) {
      std::vector<float> frames(64 * channels, 0.5F);
      frames[5 * channels] = kNaN;
      frames[6 * channels] = kInfinity;
      frames[7 * channels] = -kInfinity;
      frames[8 * channels] = 1.0e30F;
      frames[9 * channels] = -1.0e30F;
      std::vector<float> taken(64);
      simd::takeChannel(frames.data(), 64, static_cast<std::uint32_t>(channels), 0, taken.data());
      EXPECT_EQ(taken[4], 0.5F);
      EXPECT_EQ(taken[5], 0.0F);
      EXPECT_EQ(taken[6], 0.0F);
      EXPECT_EQ(taken[7], 0.0F);
      EXPECT_EQ(taken[8], simd::kLargestTaken);
      EXPECT_EQ(taken[9], -simd::kLargestTaken);
    }
  });
}

TEST(TakeChannel, DoesNothingForAChannelThatIsNotThere) {
  float taken = 7;
  const float frame = 1;
  simd::takeChannel(&frame, 1, 1, 1, &taken);
  EXPECT_EQ(taken, 7);
}

TEST(SplitOctave, FiltersAsItsTapsSay) {
  onEachTarget([] {
    for (std::size_t pairs = 0; pairs <= 70; ++pairs) {
      const std::vector<float> samples = noise(2 * pairs + simd::kOctaveHistory, 2);
      const Octaves octaves(samples);
      for (std::size_t i = 0; i < pairs; ++i) {
        const auto a = double{samples[2 * i]};
        const auto b = double{samples[2 * i + 1]};
        const auto c = double{samples[2 * i + 2]};
        const auto d = double{samples[2 * i + 3]};
        ASSERT_NEAR(octaves.low[i], (a + 3 * b + 3 * c + d) / 8, 1e-6) << pairs << " pairs, pair " << i;
        ASSERT_NEAR(octaves.high[i], (-a + 3 * b - 3 * c + d) / 8, 1e-6) << pairs << " pairs, pair " << i;
      }
    }
  });
}

TEST(SplitOctave, LeavesNothingOfAConstantInTheUpperOctave) {
  onEachTarget([] {
    const Octaves octaves(std::vector<float>(100, 0.75F));
    for (std::size_t i = 0; i < octaves.low.size(); ++i) {
      EXPECT_NEAR(octaves.low[i], 0.75F, 1e-6);
      EXPECT_NEAR(octaves.high[i], 0.0F, 1e-6);
    }
  });
}

TEST(SplitOctave, PassesHalfOfTheRateToTheUpperOctaveOnly) {
  onEachTarget([] {
    std::vector<float> samples(100);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = i % 2 == 0 ? 1.0F : -1.0F;
    }
    const Octaves octaves(samples);
    for (std::size_t i = 0; i < octaves.low.size(); ++i) {
      EXPECT_NEAR(octaves.low[i], 0.0F, 1e-6);
      EXPECT_NEAR(std::abs(octaves.high[i]), 1.0F, 1e-6);
    }
  });
}

TEST(SplitOctave, MakesTheLowerOctaveAlone) {
  onEachTarget([] {
    const std::vector<float> samples = noise(86, 3);
    std::vector<float> low(42);
    simd::splitOctave(samples.data() + simd::kOctaveHistory, low.size(), low.data(), nullptr);
    EXPECT_EQ(low, Octaves(samples).low);
  });
}

TEST(AddSquaresOfRuns, AddsToWhatIsThere) {
  onEachTarget([] {
    for (const std::size_t length : {1U, 2U, 4U, 8U, 16U, 32U, 33U}) {
      const std::size_t runs = 5;
      const std::vector<float> samples = noise(length * runs, 4);
      std::vector<float> sums(3 * runs, 10.0F);
      simd::addSquaresOfRuns(samples.data(), length, runs, sums.data() + 1, 3);
      for (std::size_t run = 0; run < runs; ++run) {
        double expected = 10;
        for (std::size_t i = 0; i < length; ++i) {
          expected += double{samples[run * length + i]} * double{samples[run * length + i]};
        }
        EXPECT_NEAR(sums[3 * run + 1], expected, 1e-5) << length;
        EXPECT_EQ(sums[3 * run], 10.0F);
        EXPECT_EQ(sums[3 * run + 2], 10.0F);
      }
    }
  });
}

}  // namespace
}  // namespace orv::test
