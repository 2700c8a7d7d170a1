#include <algorithm>
#include <cstring>

#include "OrvPlatform/Vector.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/Range.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// `from` may have any alignment. Comparisons with NaN are false, so NaN never replaces anything.
HWY_INLINE void widen(const float* from, float* minimum, float* maximum) {
  float sample = 0;
  std::memcpy(&sample, from, sizeof(sample));
  *minimum = sample < *minimum ? sample : *minimum;
  *maximum = sample > *maximum ? sample : *maximum;
}

void widenPlainly(const float* samples, std::size_t frames, std::size_t channels, float* minimum, float* maximum) {
  for (std::size_t i = 0; i < frames; ++i, samples += channels) {
    for (std::size_t c = 0; c < channels; ++c) {
      widen(samples + c, minimum + c, maximum + c);
    }
  }
}

/// Smallest and largest of each lane so far.
template <class D>
struct LaneRange {
  hn::Vec<D> minimum;
  hn::Vec<D> maximum;

  HWY_INLINE void widen(hn::Vec<D> samples) {
    minimum = hn::IfThenElse(hn::Lt(samples, minimum), samples, minimum);
    maximum = hn::IfThenElse(hn::Gt(samples, maximum), samples, maximum);
  }

  HWY_INLINE void widen(const LaneRange& other) {
    minimum = hn::IfThenElse(hn::Lt(other.minimum, minimum), other.minimum, minimum);
    maximum = hn::IfThenElse(hn::Gt(other.maximum, maximum), other.maximum, maximum);
  }
};

/// Requires: the lanes of a vector are a multiple of `channels`, so that a lane always holds the same channel.
void widenByLanes(const float* samples, std::size_t frames, std::size_t channels, float* minimum, float* maximum) {
  const hn::ScalableTag<float> d;
  constexpr std::size_t kMostLanes = hn::MaxLanes(d);
  const std::size_t lanes = hn::Lanes(d);
  float lowest[kMostLanes];
  float highest[kMostLanes];
  for (std::size_t i = 0; i < lanes; ++i) {
    lowest[i] = minimum[i % channels];
    highest[i] = maximum[i % channels];
  }
  const LaneRange<decltype(d)> start{hn::LoadU(d, lowest), hn::LoadU(d, highest)};
  // Four ranges side by side, so that no step waits for the one before.
  LaneRange<decltype(d)> first = start;
  LaneRange<decltype(d)> second = start;
  LaneRange<decltype(d)> third = start;
  LaneRange<decltype(d)> fourth = start;
  const std::size_t count = frames * channels;
  std::size_t i = 0;
  for (; i + 4 * lanes <= count; i += 4 * lanes) {
    first.widen(hn::LoadU(d, samples + i));
    second.widen(hn::LoadU(d, samples + i + lanes));
    third.widen(hn::LoadU(d, samples + i + 2 * lanes));
    fourth.widen(hn::LoadU(d, samples + i + 3 * lanes));
  }
  first.widen(second);
  third.widen(fourth);
  first.widen(third);
  hn::StoreU(first.minimum, d, lowest);
  hn::StoreU(first.maximum, d, highest);
  for (std::size_t lane = 0; lane < lanes; ++lane) {
    const std::size_t c = lane % channels;
    minimum[c] = std::min(minimum[c], lowest[lane]);
    maximum[c] = std::max(maximum[c], highest[lane]);
  }
  widenPlainly(samples + i, (count - i) / channels, channels, minimum, maximum);
}

void widenAll(const float* samples, std::size_t frames, std::size_t channels, float* minimum, float* maximum) {
  if (hn::Lanes(hn::ScalableTag<float>()) % channels == 0) {
    widenByLanes(samples, frames, channels, minimum, maximum);
  } else {
    widenPlainly(samples, frames, channels, minimum, maximum);
  }
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {

HWY_EXPORT(widenAll);

void widenRange(const float* samples, std::size_t frames, std::uint32_t channels, float* minimum, float* maximum) {
  if (channels > 0 && frames > 0) {
    HWY_DYNAMIC_DISPATCH(widenAll)(samples, frames, channels, minimum, maximum);
  }
}

}  // namespace orv::simd
#endif
