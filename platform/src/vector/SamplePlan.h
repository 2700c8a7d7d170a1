#pragma once

#include <cstdint>

#include "vector/SampleKernels.h"

/// Does the instruction set that is being compiled for have vectors to convert samples with? Highway's emulation of
/// them rounds differently at the ends of the scale, and plain C++ is faster than it.
#define ORV_SAMPLES_HAVE_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

namespace orv::simd {

/// Which of the steps of a conversion change anything. Shorter loops do without the others.
enum class Steps : std::uint8_t {
  /// Integers that fill their containers, signed unless they have 8 bits, or floats; words in native
  /// order as far as it matters.
  fewest,
  /// The same in any order.
  withOrder,
  /// Offset binary, or fewer bits than the container has.
  all
};

/// What a conversion loop needs to know of its two layouts, worked out once a call.
///
/// Integers meet in the middle as 32 bits, left-justified: full scale is always 2^31, and widening is exact by itself.
///
///   container ─► bytes to the top of a word ─► << loadShift ─► ^ loadFlip ─► left-justified
///   left-justified ─► min highest ─► + half ─► >> dropBits ─► + bias ─► << storeShift ─► low bytes to container
struct SamplePlan {
  bool fromSwapped = false;
  bool toSwapped = false;
  /// Moves a sample in the lower bits of its container to the top.
  int loadShift = 0;
  /// Turns offset binary into two's complement.
  std::int32_t loadFlip = 0;

  /// 32 less the destination's bits.
  int dropBits = 0;
  /// Half of the destination's lowest bit: what rounding adds before bits are dropped. 0 where none are.
  std::int32_t half = 0;
  /// The most that `half` can be added to.
  std::int32_t highest = 0;
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  std::int32_t bias = 0;
  int storeShift = 0;
  /// Full scale of the destination's integers.
  double scale = 1.0;

  Steps steps = Steps::all;
};

/// Is the order of a source's bytes a step of its own? Smaller words are put in order as they move to their lanes.
constexpr bool ordersApartAsSource(SampleContainer from) {
  return bytesOf(from) >= 4;
}

/// The same of a destination, whose 16-bit words are packed in native order.
constexpr bool ordersApartAsDestination(SampleContainer to) {
  return bytesOf(to) >= 4 || to == SampleContainer::int16;
}

inline Steps stepsBetween(const SampleLayout& from, const SampleLayout& to) {
  // Of the source it is enough that nothing lies above the sample; what lies below is read with it.
  const auto isPlain = [](const SampleLayout& layout, bool fills) {
    return isFloat(layout.container) || (fills && (!layout.isUnsigned || layout.container == SampleContainer::int8));
  };
  if (!isPlain(from, from.inUpperBits) || !isPlain(to, to.bits == 8 * bytesOf(to.container))) {
    return Steps::all;
  }
  const bool isSwapped = (ordersApartAsSource(from.container) && from.order == SampleOrder::swapped) ||
                         (ordersApartAsDestination(to.container) && to.order == SampleOrder::swapped);
  return isSwapped ? Steps::withOrder : Steps::fewest;
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
    plan.half = plan.dropBits > 0 ? std::int32_t{1} << (plan.dropBits - 1) : 0;
    plan.highest = INT32_MAX - plan.half;
    plan.maximum = INT32_MAX >> plan.dropBits;
    plan.minimum = INT32_MIN >> plan.dropBits;
    plan.bias = to.isUnsigned ? static_cast<std::int32_t>(std::uint32_t{1} << (to.bits - 1)) : 0;
    plan.storeShift = to.inUpperBits ? containerBits - to.bits : 0;
    plan.scale = -static_cast<double>(plan.minimum);
  }
  plan.steps = stepsBetween(from, to);
  return plan;
}

}  // namespace orv::simd
