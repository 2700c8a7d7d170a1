#include <algorithm>
#include <cstdint>
#include <cstring>

#include "OrvPlatform/Vector.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/Arithmetic.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

const hn::ScalableTag<float> kVector;

/// Samples before the first one that a whole vector can be stored at without crossing a cache line; 0 where the samples
/// are not even aligned as floats.
std::size_t countToAligned(const float* output, std::size_t count) {
  const std::size_t vectorBytes = hn::Lanes(kVector) * sizeof(float);
  const std::size_t past = reinterpret_cast<std::uintptr_t>(output) % vectorBytes;
  return past % sizeof(float) != 0 || past == 0 ? 0 : std::min((vectorBytes - past) / sizeof(float), count);
}

/// Of any alignment, which a float in C++ does not have.
HWY_INLINE float loadSample(const float* from) {
  float sample = 0;
  std::memcpy(&sample, from, sizeof sample);
  return sample;
}

HWY_INLINE void storeSample(float sample, float* to) {
  std::memcpy(to, &sample, sizeof sample);
}

void addPlainly(const float* first, const float* second, float* sum, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) {
    storeSample(loadSample(first + i) + loadSample(second + i), sum + i);
  }
}

void add(const float* first, const float* second, float* sum, std::size_t count) {
  const std::size_t lanes = hn::Lanes(kVector);
  std::size_t i = countToAligned(sum, count);
  addPlainly(first, second, sum, 0, i);
  for (; i + lanes <= count; i += lanes) {
    hn::StoreU(hn::Add(hn::LoadU(kVector, first + i), hn::LoadU(kVector, second + i)), kVector, sum + i);
  }
  addPlainly(first, second, sum, i, count);
}

void scalePlainly(const float* samples, float factor, float* scaled, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) {
    storeSample(loadSample(samples + i) * factor, scaled + i);
  }
}

void scale(const float* samples, float factor, float* scaled, std::size_t count) {
  const std::size_t lanes = hn::Lanes(kVector);
  const auto factors = hn::Set(kVector, factor);
  std::size_t i = countToAligned(scaled, count);
  scalePlainly(samples, factor, scaled, 0, i);
  // Four vectors a step, all loaded before one is stored: the input may be the output.
  for (; i + 4 * lanes <= count; i += 4 * lanes) {
    const auto first = hn::LoadU(kVector, samples + i);
    const auto second = hn::LoadU(kVector, samples + i + lanes);
    const auto third = hn::LoadU(kVector, samples + i + 2 * lanes);
    const auto fourth = hn::LoadU(kVector, samples + i + 3 * lanes);
    hn::StoreU(hn::Mul(first, factors), kVector, scaled + i);
    hn::StoreU(hn::Mul(second, factors), kVector, scaled + i + lanes);
    hn::StoreU(hn::Mul(third, factors), kVector, scaled + i + 2 * lanes);
    hn::StoreU(hn::Mul(fourth, factors), kVector, scaled + i + 3 * lanes);
  }
  scalePlainly(samples, factor, scaled, i, count);
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {
namespace {

HWY_EXPORT(add);
HWY_EXPORT(scale);

}  // namespace
}  // namespace orv::simd

void vadd(const float* first, std::ptrdiff_t firstStride, const float* second, std::ptrdiff_t secondStride, float* sum,
          std::ptrdiff_t sumStride, std::size_t count) {
  if (firstStride == 1 && secondStride == 1 && sumStride == 1) {
    using namespace orv::simd;
    return HWY_DYNAMIC_DISPATCH(add)(first, second, sum, count);
  }
  for (; count > 0; --count, first += firstStride, second += secondStride, sum += sumStride) {
    *sum = *first + *second;
  }
}

void vsmul(const float* samples, std::ptrdiff_t samplesStride, const float* factor, float* scaled,
           std::ptrdiff_t scaledStride, std::size_t count) {
  const float theFactor = *factor;
  if (samplesStride == 1 && scaledStride == 1) {
    using namespace orv::simd;
    return HWY_DYNAMIC_DISPATCH(scale)(samples, theFactor, scaled, count);
  }
  for (; count > 0; --count, samples += samplesStride, scaled += scaledStride) {
    *scaled = *samples * theFactor;
  }
}
#endif
