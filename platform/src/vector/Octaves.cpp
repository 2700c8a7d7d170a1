#include "OrvPlatform/Octaves.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/Octaves.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE float load(const float* from) {
  float sample = 0;
  std::memcpy(&sample, from, sizeof(sample));
  return sample;
}

HWY_INLINE void store(float sample, float* to) {
  std::memcpy(to, &sample, sizeof(sample));
}

HWY_INLINE float takenPlainly(float sample) {
  return std::isfinite(sample) ? std::clamp(sample, -kLargestTaken, kLargestTaken) : 0.0F;
}

template <class D>
HWY_INLINE hn::Vec<D> taken(D d, hn::Vec<D> samples) {
  const auto limited = hn::Min(hn::Max(samples, hn::Set(d, -kLargestTaken)), hn::Set(d, kLargestTaken));
  return hn::IfThenElseZero(hn::IsFinite(samples), limited);
}

void takeOneOfTwo(const float* frames, std::size_t count, std::uint32_t channel, float* samples) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    hn::Vec<decltype(d)> left;
    hn::Vec<decltype(d)> right;
    hn::LoadInterleaved2(d, frames + 2 * i, left, right);
    hn::StoreU(taken(d, channel == 0 ? left : right), d, samples + i);
  }
  for (; i < count; ++i) {
    store(takenPlainly(load(frames + 2 * i + channel)), samples + i);
  }
}

void take(const float* frames, std::size_t count, std::uint32_t channels, std::uint32_t channel, float* samples) {
  if (channels == 2) {
    takeOneOfTwo(frames, count, channel, samples);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    store(takenPlainly(load(frames + i * channels + channel)), samples + i);
  }
}

HWY_INLINE void splitPlainly(const float* samples, std::size_t pair, float* low, float* high) {
  const float* const at = samples + 2 * pair;
  const float outer = load(at - 2) + 3 * load(at);
  const float inner = 3 * load(at - 1) + load(at + 1);
  store((outer + inner) * 0.125F, low + pair);
  if (high != nullptr) {
    store((inner - outer) * 0.125F, high + pair);
  }
}

template <bool kWithHigh>
void split(const float* samples, std::size_t pairs, float* low, float* high) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto three = hn::Set(d, 3.0F);
  const auto eighth = hn::Set(d, 0.125F);
  std::size_t i = 0;
  for (; i + lanes <= pairs; i += lanes) {
    hn::Vec<decltype(d)> a;
    hn::Vec<decltype(d)> b;
    hn::Vec<decltype(d)> c;
    hn::Vec<decltype(d)> e;
    hn::LoadInterleaved2(d, samples + 2 * i - 2, a, b);
    hn::LoadInterleaved2(d, samples + 2 * i, c, e);
    const auto outer = hn::MulAdd(three, c, a);
    const auto inner = hn::MulAdd(three, b, e);
    hn::StoreU(hn::Mul(hn::Add(outer, inner), eighth), d, low + i);
    if constexpr (kWithHigh) {
      hn::StoreU(hn::Mul(hn::Sub(inner, outer), eighth), d, high + i);
    }
  }
  for (; i < pairs; ++i) {
    splitPlainly(samples, i, low, kWithHigh ? high : nullptr);
  }
}

void splitEither(const float* samples, std::size_t pairs, float* low, float* high) {
  if (high == nullptr) {
    split<false>(samples, pairs, low, nullptr);
  } else {
    split<true>(samples, pairs, low, high);
  }
}

/// The sum is taken in the order of the lanes, so that it differs between instruction sets by rounding only.
void addSquares(const float* samples, std::size_t length, std::size_t runs, float* sums, std::size_t stride) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  for (std::size_t run = 0; run < runs; ++run, samples += length, sums += stride) {
    auto vectorSum = hn::Zero(d);
    std::size_t i = 0;
    for (; i + lanes <= length; i += lanes) {
      const auto values = hn::LoadU(d, samples + i);
      vectorSum = hn::MulAdd(values, values, vectorSum);
    }
    float sum = i == 0 ? 0.0F : hn::GetLane(hn::SumOfLanes(d, vectorSum));
    for (; i < length; ++i) {
      const float value = load(samples + i);
      sum += value * value;
    }
    store(load(sums) + sum, sums);
  }
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {

HWY_EXPORT(take);
HWY_EXPORT(splitEither);
HWY_EXPORT(addSquares);

void takeChannel(const float* frames, std::size_t count, std::uint32_t channels, std::uint32_t channel,
                 float* samples) {
  if (channel < channels) {
    HWY_DYNAMIC_DISPATCH(take)(frames, count, channels, channel, samples);
  }
}

void splitOctave(const float* samples, std::size_t pairs, float* low, float* high) {
  HWY_DYNAMIC_DISPATCH(splitEither)(samples, pairs, low, high);
}

void addSquaresOfRuns(const float* samples, std::size_t length, std::size_t runs, float* sums, std::size_t stride) {
  HWY_DYNAMIC_DISPATCH(addSquares)(samples, length, runs, sums, stride);
}

}  // namespace orv::simd
#endif
