#pragma once

#include <cstdint>

#include "vector/SampleKernels.h"

namespace orv::simd {

/// What a conversion loop needs to know of its two layouts, worked out once a call.
///
/// Integers meet in the middle as 32 bits, left-justified: full scale is always 2^31, and widening is exact by itself.
///
///   container ─► bytes to the top of a word ─► << loadShift ─► ^ loadFlip ─► left-justified
///   left-justified ─► >> dropBits, rounded ─► min maximum ─► + bias ─► << storeShift ─► low bytes to container
struct SamplePlan {
  bool fromSwapped = false;
  bool toSwapped = false;
  /// Moves a sample in the lower bits of its container to the top.
  int loadShift = 0;
  /// Turns offset binary into two's complement.
  std::int32_t loadFlip = 0;

  /// 32 less the destination's bits.
  int dropBits = 0;
  /// The highest dropped bit, moved to bit 0 and masked, is what rounding adds. Nothing is dropped where the mask is 0.
  int roundShift = 0;
  std::int32_t roundMask = 0;
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  std::int32_t bias = 0;
  int storeShift = 0;
  /// Full scale of the destination's integers.
  double scale = 1.0;

  /// Samples fill their containers, integers are signed, words of 4 and 8 bytes are in native order: most steps above
  /// change nothing, and a shorter loop does.
  bool isPlain = false;
};

inline bool fillsContainer(const SampleLayout& layout) {
  return layout.bits == 8 * bytesOf(layout.container);
}

/// Is nothing to be done for a layout but what its container asks for?
inline bool isPlain(const SampleLayout& layout, bool isFull) {
  return !layout.isUnsigned && isFull && (layout.order == SampleOrder::native || bytesOf(layout.container) < 4);
}

inline SamplePlan planOf(const SampleLayout& from, const SampleLayout& to) {
  SamplePlan plan;
  plan.fromSwapped = from.order == SampleOrder::swapped;
  plan.toSwapped = to.order == SampleOrder::swapped;
  if (!isFloat(from.container)) {
    const int containerBits = 8 * static_cast<int>(bytesOf(from.container));
    plan.loadShift = from.inUpperBits ? 0 : containerBits - from.bits;
    plan.loadFlip = from.isUnsigned ? INT32_MIN : 0;
  }
  if (!isFloat(to.container)) {
    const int containerBits = 8 * static_cast<int>(bytesOf(to.container));
    plan.dropBits = 32 - to.bits;
    plan.roundShift = plan.dropBits > 0 ? plan.dropBits - 1 : 0;
    plan.roundMask = plan.dropBits > 0 ? 1 : 0;
    plan.maximum = INT32_MAX >> plan.dropBits;
    plan.minimum = INT32_MIN >> plan.dropBits;
    plan.bias = to.isUnsigned ? static_cast<std::int32_t>(std::uint32_t{1} << (to.bits - 1)) : 0;
    plan.storeShift = to.inUpperBits ? containerBits - to.bits : 0;
    plan.scale = -static_cast<double>(plan.minimum);
  }
  plan.isPlain = isPlain(from, plan.loadShift == 0) && isPlain(to, isFloat(to.container) || fillsContainer(to));
  return plan;
}

}  // namespace orv::simd
