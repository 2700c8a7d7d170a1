#include <cstdint>
#include <cstring>
#include <vector>

#include "OrvPlatform/Vector.h"
#include "platform/vector/EachTarget.h"

namespace orv::test {
namespace {

constexpr std::size_t kMostSamples = 150;

std::vector<float> ramp(std::size_t count, float first, float step) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = first + step * static_cast<float>(i);
  }
  return samples;
}

TEST(VectorAdd, AddsEachPairOfSamples) {
  onEachTarget([] {
    for (std::size_t count = 0; count <= kMostSamples; ++count) {
      const std::vector<float> first = ramp(count, -3.25F, 0.5F);
      const std::vector<float> second = ramp(count, 7.0F, -0.125F);
      std::vector<float> sum(count + 1, 99.0F);
      vadd(first.data(), 1, second.data(), 1, sum.data(), 1, count);
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(sum[i], first[i] + second[i]) << i << " of " << count;
      }
      ASSERT_EQ(sum[count], 99.0F) << count;
    }
  });
}

TEST(VectorAdd, TakesStridesOfItsOwnForEachSide) {
  const std::vector<float> first = {1, -1, 2, -1, 3, -1};
  const std::vector<float> second = {10, -1, -1, 20, -1, -1, 30, -1, -1};
  std::vector<float> sum(3, 0.0F);
  vadd(first.data(), 2, second.data(), 3, sum.data(), 1, 3);
  EXPECT_EQ(sum, (std::vector<float>{11, 22, 33}));
}

TEST(VectorAdd, MayWriteOverOneOfItsInputs) {
  onEachTarget([] {
    std::vector<float> first = ramp(kMostSamples, 0.0F, 1.0F);
    const std::vector<float> second = ramp(kMostSamples, 0.5F, 0.0F);
    vadd(first.data(), 1, second.data(), 1, first.data(), 1, first.size());
    EXPECT_EQ(first, ramp(kMostSamples, 0.5F, 1.0F));
  });
}

TEST(VectorScale, MultipliesEachSample) {
  onEachTarget([] {
    const float factor = -0.3F;
    for (std::size_t count = 0; count <= kMostSamples; ++count) {
      const std::vector<float> samples = ramp(count, -3.25F, 0.5F);
      std::vector<float> scaled(count + 1, 99.0F);
      vsmul(samples.data(), 1, &factor, scaled.data(), 1, count);
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(scaled[i], samples[i] * factor) << i << " of " << count;
      }
      ASSERT_EQ(scaled[count], 99.0F) << count;
    }
  });
}

TEST(VectorScale, TakesStridesOfItsOwnForEachSide) {
  const float factor = 2.0F;
  const std::vector<float> samples = {1, -1, 2, -1, 3, -1};
  std::vector<float> scaled(7, 0.0F);
  vsmul(samples.data(), 2, &factor, scaled.data(), 3, 3);
  EXPECT_EQ(scaled, (std::vector<float>{2, 0, 0, 4, 0, 0, 6}));
}

TEST(VectorScale, AStrideOf0RepeatsASample) {
  const float factor = 2.0F;
  const float sample = 4.0F;
  std::vector<float> scaled(3, 0.0F);
  vsmul(&sample, 0, &factor, scaled.data(), 1, 3);
  EXPECT_EQ(scaled, (std::vector<float>{8, 8, 8}));
}

TEST(VectorScale, MayWriteOverItsInput) {
  onEachTarget([] {
    const float factor = 3.0F;
    std::vector<float> samples = ramp(kMostSamples, 1.0F, 1.0F);
    vsmul(samples.data(), 1, &factor, samples.data(), 1, samples.size());
    EXPECT_EQ(samples, ramp(kMostSamples, 3.0F, 3.0F));
  });
}

TEST(VectorScale, TakesSamplesOfAnyAlignment) {
  onEachTarget([] {
    const float factor = 0.5F;
    const std::vector<float> samples = ramp(33, 1.0F, 1.0F);
    std::vector<std::uint8_t> memory(33 * sizeof(float) + 1);
    std::memcpy(memory.data() + 1, samples.data(), 33 * sizeof(float));
    auto* const unaligned = reinterpret_cast<float*>(memory.data() + 1);
    vsmul(unaligned, 1, &factor, unaligned, 1, 33);
    std::vector<float> scaled(33);
    std::memcpy(scaled.data(), memory.data() + 1, 33 * sizeof(float));
    EXPECT_EQ(scaled, ramp(33, 0.5F, 0.5F));
  });
}

}  // namespace
}  // namespace orv::test
