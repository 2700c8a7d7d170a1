#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "vector/SamplePlan.h"

/// Sample conversion in plain C++, one sample at a time: for what is left behind the last whole vector, and for
/// machines without SIMD instructions. Gives the very bits that the vector loops give.
namespace orv::simd {

/// What a container's samples are in a register.
template <SampleContainer kContainer>
using PlainSample = std::conditional_t<kContainer == SampleContainer::float64, double,
                                       std::conditional_t<kContainer == SampleContainer::float32, float, std::int32_t>>;

/// The word whose bytes lie at `from`; without `swapped`, lowest byte first.
template <class Word, std::size_t kBytes>
Word plainWordAt(const std::uint8_t* from, bool swapped) {
  Word word = 0;
  for (std::size_t k = 0; k < kBytes; ++k) {
    word |= static_cast<Word>(static_cast<Word>(from[swapped ? kBytes - 1 - k : k]) << (8 * k));
  }
  return word;
}

template <class Word, std::size_t kBytes>
void storePlainWord(Word word, std::uint8_t* to, bool swapped) {
  for (std::size_t k = 0; k < kBytes; ++k) {
    to[swapped ? kBytes - 1 - k : k] = static_cast<std::uint8_t>(word >> (8 * k));
  }
}

template <SampleContainer kContainer>
PlainSample<kContainer> loadPlainly(const std::uint8_t* from, const SamplePlan& plan) {
  if constexpr (kContainer == SampleContainer::float64) {
    return std::bit_cast<double>(plainWordAt<std::uint64_t, 8>(from, plan.fromSwapped));
  } else if constexpr (kContainer == SampleContainer::float32) {
    return std::bit_cast<float>(plainWordAt<std::uint32_t, 4>(from, plan.fromSwapped));
  } else {
    constexpr std::size_t kBytes = bytesOf(kContainer);
    std::uint32_t word = plainWordAt<std::uint32_t, kBytes>(from, plan.fromSwapped);
    word <<= 32 - 8 * static_cast<int>(kBytes) + plan.loadShift;
    return static_cast<std::int32_t>(word) ^ plan.loadFlip;
  }
}

/// The destination's integer that is nearest to a left-justified one.
inline std::int32_t plainInteger(std::int32_t sample, const SamplePlan& plan) {
  return (std::min(sample, plan.highest) + plan.half) >> plan.dropBits;
}

/// The destination's integer that is nearest to a float.
inline std::int32_t plainInteger(double sample, const SamplePlan& plan) {
  if (!(sample == sample)) {
    return 0;
  }
  // Added to a number this large, whatever is below 1 is rounded away, ties to even.
  constexpr double kRounder = 0x1.8p52;
  const double limited =
      std::clamp(sample * plan.scale, static_cast<double>(plan.minimum), static_cast<double>(plan.maximum));
  return static_cast<std::int32_t>((limited + kRounder) - kRounder);
}

template <SampleContainer kContainer, class Sample>
void storePlainly(Sample sample, std::uint8_t* to, const SamplePlan& plan) {
  constexpr bool kFromInteger = std::is_same_v<Sample, std::int32_t>;
  if constexpr (kContainer == SampleContainer::float64) {
    const double value = static_cast<double>(sample) * (kFromInteger ? 0x1p-31 : 1.0);
    storePlainWord<std::uint64_t, 8>(std::bit_cast<std::uint64_t>(value), to, plan.toSwapped);
  } else if constexpr (kContainer == SampleContainer::float32) {
    const float value = static_cast<float>(sample) * (kFromInteger ? 0x1p-31F : 1.0F);
    storePlainWord<std::uint32_t, 4>(std::bit_cast<std::uint32_t>(value), to, plan.toSwapped);
  } else {
    const auto integer = static_cast<std::uint32_t>(plainInteger(sample, plan));
    const std::uint32_t word = (integer + static_cast<std::uint32_t>(plan.bias)) << plan.storeShift;
    storePlainWord<std::uint32_t, bytesOf(kContainer)>(word, to, plan.toSwapped);
  }
}

template <SampleContainer kFrom, SampleContainer kTo>
void convertPlainly(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, from += bytesOf(kFrom), to += bytesOf(kTo)) {
    storePlainly<kTo>(loadPlainly<kFrom>(from, plan), to, plan);
  }
}

}  // namespace orv::simd
