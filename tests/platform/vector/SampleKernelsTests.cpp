#include "vector/SampleKernels.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/vector/EachTarget.h"
#include "platform/vector/ReferenceSamples.h"

namespace orv::test {
namespace {

using simd::SampleContainer;
using simd::SampleLayout;
using simd::SampleOrder;

using Bytes = std::vector<std::uint8_t>;

/// Converts from and to odd addresses and checks that nothing beyond the output is written.
Bytes converted(const SampleLayout& from, const Bytes& bytes, const SampleLayout& to, std::size_t offset) {
  constexpr std::size_t kMargin = 8;
  const std::size_t count = bytes.size() / bytesOf(from.container);
  const std::size_t outputBytes = count * bytesOf(to.container);
  Bytes input(offset, 0);
  input.insert(input.end(), bytes.begin(), bytes.end());
  Bytes output(offset + outputBytes + kMargin, 0xEE);
  simd::convertSamples(from, input.data() + offset, to, output.data() + offset, count);
  EXPECT_EQ(Bytes(output.end() - kMargin, output.end()), Bytes(kMargin, 0xEE)) << "wrote beyond the end";
  const auto begin = output.begin() + static_cast<std::ptrdiff_t>(offset);
  return Bytes(begin, begin + static_cast<std::ptrdiff_t>(outputBytes));
}

template <class Sample>
Bytes bytesOfSamples(const std::vector<Sample>& samples) {
  Bytes bytes(samples.size() * sizeof(Sample));
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

template <class Sample>
std::vector<Sample> samplesOfBytes(const Bytes& bytes) {
  std::vector<Sample> samples(bytes.size() / sizeof(Sample));
  std::memcpy(samples.data(), bytes.data(), bytes.size());
  return samples;
}

constexpr SampleLayout kInt24{SampleContainer::int24, SampleOrder::native, 24, false, true};

/// Layouts that are the same but for their order are copied to the bit.
bool areCopied(SampleLayout from, const SampleLayout& to) {
  from.order = to.order;
  return from == to;
}

Bytes expectedOf(const SampleLayout& from, const Bytes& source, const SampleLayout& to) {
  if (!areCopied(from, to)) {
    return withOneKindOfNaN(to, convertedForReference(from, source, to));
  }
  Bytes copy = source;
  if (from.order != to.order) {
    const auto size = static_cast<std::ptrdiff_t>(bytesOf(from.container));
    for (auto word = copy.begin(); word != copy.end(); word += size) {
      std::reverse(word, word + size);
    }
  }
  return copy;
}

class SampleKernels : public testing::TestWithParam<SampleLayout> {};

TEST_P(SampleKernels, ConvertToEveryLayoutAsTheReferenceDoes) {
  const SampleLayout from = GetParam();
  constexpr std::size_t kMost = 83;
  const Bytes source = randomSamples(from, kMost, 1);
  for (const SampleLayout& to : allLayouts()) {
    SCOPED_TRACE(nameOf(from) + " to " + nameOf(to));
    const Bytes expected = expectedOf(from, source, to);
    onEachTarget([&] {
      for (const std::size_t count : {0U, 1U, 3U, 16U, 21U, 83U}) {
        const Bytes some(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(count * bytesOf(from.container)));
        Bytes result = converted(from, some, to, count % 4);
        if (!areCopied(from, to)) {
          result = withOneKindOfNaN(to, result);
        }
        const auto expectedSize = static_cast<std::ptrdiff_t>(count * bytesOf(to.container));
        ASSERT_EQ(result, Bytes(expected.begin(), expected.begin() + expectedSize)) << count;
      }
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, SampleKernels, testing::ValuesIn(allLayouts()),
                         [](const testing::TestParamInfo<SampleLayout>& layout) {
                           std::string name = nameOf(layout.param);
                           std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
                           return name;
                         });

TEST(SampleKernelsExact, Every16BitSampleComesBackFromAnyWiderLayout) {
  std::vector<std::int16_t> samples;
  for (int value = -32768; value <= 32767; ++value) {
    samples.push_back(static_cast<std::int16_t>(value));
  }
  const Bytes source = bytesOfSamples(samples);
  onEachTarget([&] {
    for (const SampleLayout& to : allLayouts()) {
      if (isFloat(to.container) || to.bits >= 16) {
        const Bytes there = converted(simd::kNativeInt16, source, to, 0);
        ASSERT_EQ(converted(to, there, simd::kNativeInt16, 0), source) << nameOf(to);
      }
    }
  });
}

TEST(SampleKernelsExact, Every24BitSampleComesBackFromFloat) {
  Bytes source;
  for (std::uint32_t value = 0; value < (1U << 24); value += 5) {
    source.insert(source.end(), {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                 static_cast<std::uint8_t>(value >> 16)});
  }
  const Bytes there = converted(kInt24, source, simd::kNativeFloat32, 0);
  EXPECT_TRUE(converted(simd::kNativeFloat32, there, kInt24, 0) == source);
}

TEST(SampleKernelsExact, Every32BitSampleComesBackFromDouble) {
  onEachTarget([] {
    std::vector<std::int32_t> samples;
    for (std::int64_t value = INT32_MIN; value <= INT32_MAX; value += 65521) {
      samples.push_back(static_cast<std::int32_t>(value));
    }
    samples.insert(samples.end(), {INT32_MAX, INT32_MAX - 1, INT32_MIN, INT32_MIN + 1, 0, -1, 1});
    const Bytes source = bytesOfSamples(samples);
    const Bytes there = converted(simd::kNativeInt32, source, simd::kNativeFloat64, 0);
    ASSERT_TRUE(converted(simd::kNativeFloat64, there, simd::kNativeInt32, 0) == source);
  });
}

TEST(SampleKernelsRounding, FloatsRoundToNearestAndTiesToEven) {
  const std::vector<float> ties = {0.5F / 32768,  1.5F / 32768,  2.5F / 32768,
                                   -0.5F / 32768, -1.5F / 32768, 0.7F / 32768};
  const std::vector<std::int16_t> expected = {0, 2, 2, 0, -2, 1};
  onEachTarget([&] {
    EXPECT_EQ(
        samplesOfBytes<std::int16_t>(converted(simd::kNativeFloat32, bytesOfSamples(ties), simd::kNativeInt16, 0)),
        expected);
  });
}

TEST(SampleKernelsRounding, FloatsBeyondFullScaleSaturateAndNaNIsSilent) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> samples = {1.0F, -1.0F, 3e38F, -3e38F, kInfinity, -kInfinity, kNaN, -kNaN};
  const std::vector<std::int16_t> expected16 = {32767, -32768, 32767, -32768, 32767, -32768, 0, 0};
  const std::vector<std::int32_t> expected32 = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, 0, 0};
  const std::vector<std::uint8_t> expectedUnsigned8 = {255, 0, 255, 0, 255, 0, 128, 128};
  const SampleLayout unsigned8{SampleContainer::int8, SampleOrder::native, 8, true, true};
  onEachTarget([&] {
    const Bytes source = bytesOfSamples(samples);
    EXPECT_EQ(samplesOfBytes<std::int16_t>(converted(simd::kNativeFloat32, source, simd::kNativeInt16, 0)), expected16);
    EXPECT_EQ(samplesOfBytes<std::int32_t>(converted(simd::kNativeFloat32, source, simd::kNativeInt32, 0)), expected32);
    EXPECT_EQ(converted(simd::kNativeFloat32, source, unsigned8, 0), expectedUnsigned8);
  });
}

TEST(SampleKernelsRounding, NarrowerIntegersRoundToNearestTiesUpwardAndSaturate) {
  const std::vector<std::int32_t> samples = {0x7FFF,  0x8000,     0x18000,    -0x8000,  -0x8001,
                                             -0x7FFF, 0x7FFFFFFF, 0x7FFF7FFF, INT32_MIN};
  const std::vector<std::int16_t> expected = {0, 1, 2, 0, -1, 0, 32767, 32767, -32768};
  onEachTarget([&] {
    EXPECT_EQ(
        samplesOfBytes<std::int16_t>(converted(simd::kNativeInt32, bytesOfSamples(samples), simd::kNativeInt16, 0)),
        expected);
  });
}

TEST(SampleKernelsLayout, TwentyBitsPackedInThreeBytesLieInTheUpperOnes) {
  const SampleLayout packed20{SampleContainer::int24, SampleOrder::swapped, 20, false, true};
  const std::vector<float> samples = {0.5F, -1.0F, 1.0F, 0x1p-19F};
  const Bytes expected = {0x40, 0, 0, 0x80, 0, 0, 0x7F, 0xFF, 0xF0, 0, 0, 0x10};
  onEachTarget([&] { EXPECT_EQ(converted(simd::kNativeFloat32, bytesOfSamples(samples), packed20, 0), expected); });
}

TEST(SampleKernelsLayout, SilenceOfUnsignedSamplesIsTheMidpoint) {
  const SampleLayout unsigned16{SampleContainer::int16, SampleOrder::swapped, 16, true, true};
  const SampleLayout unsigned20{SampleContainer::int32, SampleOrder::swapped, 20, true, false};
  onEachTarget([&] {
    const Bytes silence = bytesOfSamples(std::vector<float>{0.0F});
    EXPECT_EQ(converted(simd::kNativeFloat32, silence, unsigned16, 0), (Bytes{0x80, 0}));
    EXPECT_EQ(converted(simd::kNativeFloat32, silence, unsigned20, 0), (Bytes{0, 0x08, 0, 0}));
  });
}

}  // namespace
}  // namespace orv::test
