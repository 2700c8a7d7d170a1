#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "OrvPlatform/Vector.h"
#include "platform/vector/EachTarget.h"

namespace orv::test {
namespace {

using Samples = std::vector<std::int16_t>;
using simd::SampleOrder;

/// The state machine as it is described, sample by sample.
std::uint32_t countedOneByOne(const Samples& samples, std::size_t frames, std::uint32_t channels, std::int16_t level) {
  std::uint32_t most = 0;
  for (std::uint32_t c = 0; c < channels; ++c) {
    std::uint32_t count = 0;
    bool isAbove = true;
    for (std::size_t i = 0; i < frames; ++i) {
      const std::int16_t sample = samples[i * channels + c];
      if (isAbove && level > sample) {
        ++count;
        isAbove = false;
      } else if (!isAbove && level < sample) {
        ++count;
        isAbove = true;
      }
    }
    most = std::max(most, count);
  }
  return most;
}

Samples swapped(Samples samples) {
  for (std::int16_t& sample : samples) {
    sample = static_cast<std::int16_t>(__builtin_bswap16(static_cast<std::uint16_t>(sample)));
  }
  return samples;
}

/// The count of `frames` frames that lie `offset` bytes behind an aligned address.
std::uint32_t counted(const Samples& samples, std::size_t frames, std::uint32_t channels, std::int16_t level,
                      SampleOrder order, std::size_t offset) {
  const std::size_t bytes = frames * channels * sizeof(std::int16_t);
  std::vector<std::uint8_t> memory(bytes + offset);
  if (bytes > 0) {
    std::memcpy(memory.data() + offset, samples.data(), bytes);
  }
  return simd::countLevelCrossings16(reinterpret_cast<const std::int16_t*>(memory.data() + offset), frames, channels,
                                     level, order);
}

void expectCountedRight(const Samples& samples, std::uint32_t channels, std::int16_t level, std::size_t offset) {
  const std::size_t frames = samples.size() / channels;
  const std::uint32_t expected = countedOneByOne(samples, frames, channels, level);
  ASSERT_EQ(counted(samples, frames, channels, level, SampleOrder::native, offset), expected)
      << channels << " channels, " << frames << " frames, level " << level << ", offset " << offset;
  ASSERT_EQ(counted(swapped(samples), frames, channels, level, SampleOrder::swapped, offset), expected)
      << channels << " channels, " << frames << " frames, level " << level << ", offset " << offset << ", swapped";
}

/// Samples of a few values around `level` only, so that crossings, near misses and runs at the level are all common.
Samples nearLevel(std::mt19937& random, std::size_t count, std::int16_t level) {
  std::uniform_int_distribution<int> distance(-1, 1);
  Samples samples(count);
  for (std::int16_t& sample : samples) {
    sample = static_cast<std::int16_t>(std::clamp(level + distance(random), -32768, 32767));
  }
  return samples;
}

Samples anywhere(std::mt19937& random, std::size_t count) {
  std::uniform_int_distribution<int> value(-32768, 32767);
  Samples samples(count);
  for (std::int16_t& sample : samples) {
    sample = static_cast<std::int16_t>(value(random));
  }
  return samples;
}

TEST(LevelCrossings, AgreeWithTheStateMachineForAllLengthsAndChannels) {
  onEachTarget([] {
    std::mt19937 random(1);
    for (std::uint32_t channels = 1; channels <= 8; ++channels) {
      for (std::size_t frames = 0; frames <= 300; ++frames) {
        const auto level = static_cast<std::int16_t>(static_cast<int>(frames) - 150);
        ASSERT_NO_FATAL_FAILURE(
            expectCountedRight(nearLevel(random, frames * channels, level), channels, level, frames % 4));
      }
    }
  });
}

TEST(LevelCrossings, AgreeWithTheStateMachineForAllAlignments) {
  onEachTarget([] {
    std::mt19937 random(2);
    for (const std::uint32_t channels : {1U, 2U, 3U}) {
      for (std::size_t offset = 0; offset < 64; ++offset) {
        ASSERT_NO_FATAL_FAILURE(expectCountedRight(anywhere(random, 200 * channels), channels, 0, offset));
      }
    }
  });
}

TEST(LevelCrossings, AgreeWithTheStateMachineAtTheEndsOfTheScale) {
  onEachTarget([] {
    std::mt19937 random(3);
    for (const int value : {-32768, -32767, -1, 0, 1, 32766, 32767}) {
      const auto level = static_cast<std::int16_t>(value);
      for (std::uint32_t channels = 1; channels <= 8; ++channels) {
        ASSERT_NO_FATAL_FAILURE(expectCountedRight(nearLevel(random, 333 * channels, level), channels, level, 0));
        ASSERT_NO_FATAL_FAILURE(expectCountedRight(anywhere(random, 333 * channels), channels, level, 2));
      }
    }
  });
}

TEST(LevelCrossings, AgreeWithTheStateMachineForManyChannels) {
  onEachTarget([] {
    std::mt19937 random(4);
    for (const std::uint32_t channels : {9U, 31U, 32U, 33U, 63U, 64U, 65U, 100U, 1024U}) {
      ASSERT_NO_FATAL_FAILURE(expectCountedRight(nearLevel(random, 41 * channels, 5), channels, 5, 0));
    }
  });
}

TEST(LevelCrossings, StateIsKeptThroughLongRunsAtTheLevel) {
  onEachTarget([] {
    // Below once, then 10,000 samples at the level, then above: two crossings, however far apart.
    for (const std::uint32_t channels : {1U, 2U}) {
      Samples samples(10002 * channels, 7);
      std::fill_n(samples.begin(), channels, std::int16_t{6});
      std::fill_n(samples.end() - static_cast<std::ptrdiff_t>(channels), channels, std::int16_t{8});
      EXPECT_EQ(simd::countLevelCrossings16(samples.data(), 10002, channels, 7), 2U);
      ASSERT_NO_FATAL_FAILURE(expectCountedRight(samples, channels, 7, 0));
    }
  });
}

TEST(LevelCrossings, EverySampleOfAnAlternatingSignalCounts) {
  onEachTarget([] {
    Samples samples(4096);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = i % 2 == 0 ? -32768 : 32767;
    }
    EXPECT_EQ(simd::countLevelCrossings16(samples.data(), samples.size(), 1, 0), 4096U);
    EXPECT_EQ(simd::countLevelCrossings16(samples.data(), samples.size() / 2, 2, 0), 1U);
  });
}

TEST(LevelCrossings, OneChannelDoesNotDisturbTheOther) {
  onEachTarget([] {
    // Left swings at every frame, right only once, in the middle of a block.
    Samples samples(2 * 500);
    for (std::size_t i = 0; i < 500; ++i) {
      samples[2 * i] = i % 2 == 0 ? -5 : 5;
      samples[2 * i + 1] = i < 250 ? 5 : -5;
    }
    EXPECT_EQ(simd::countLevelCrossings16(samples.data(), 500, 2, 0), 500U);
    for (std::size_t i = 0; i < 500; ++i) {
      samples[2 * i] = 5;
    }
    EXPECT_EQ(simd::countLevelCrossings16(samples.data(), 500, 2, 0), 1U);
  });
}

TEST(LevelCrossings, NoChannelsOrNoFramesGiveZero) {
  onEachTarget([] {
    const std::int16_t sample = -1;
    EXPECT_EQ(simd::countLevelCrossings16(&sample, 1, 0, 0), 0U);
    EXPECT_EQ(simd::countLevelCrossings16(nullptr, 0, 2, 0), 0U);
  });
}

}  // namespace
}  // namespace orv::test
