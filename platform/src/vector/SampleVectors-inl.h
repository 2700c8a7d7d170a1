// Vectors of samples and what all loops do with them. Included once for every instruction set, hence the guard that
// Highway toggles.
#if defined(ORV_VECTOR_SAMPLE_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORV_VECTOR_SAMPLE_VECTORS_INL_H_
#undef ORV_VECTOR_SAMPLE_VECTORS_INL_H_
#else
#define ORV_VECTOR_SAMPLE_VECTORS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "vector/SamplePlan.h"
#include "vector/SampleTables.h"

#if ORV_SAMPLES_HAVE_VECTORS

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Vectors of as many lanes as the widest of the two sample types leaves room for.
template <SampleContainer kFrom, SampleContainer kTo, Steps kSteps>
struct Tags {
  static constexpr bool kPlain = kSteps != Steps::all;
  static constexpr bool kOrders = kSteps != Steps::fewest;
  /// May an integer have to be rounded to fewer bits?
  static constexpr bool kNarrows = !kPlain || bytesOf(kFrom) > bytesOf(kTo);
  static constexpr bool kDouble = kFrom == SampleContainer::float64 || kTo == SampleContainer::float64;
  using Wide = hn::ScalableTag<std::conditional_t<kDouble, double, float>>;
  using I32 = hn::Rebind<std::int32_t, Wide>;
  using F32 = hn::Rebind<float, Wide>;
  using Bytes = hn::Repartition<std::uint8_t, I32>;
  static constexpr std::size_t kLanes = hn::MaxLanes(I32());
};

/// The 32-bit lanes of a vector in the order of a table. Where a vector is one block there is nothing to move.
template <class V, std::size_t kLanes>
HWY_INLINE V movedLanes(V vector, const LaneTable<kLanes>& table) {
  if constexpr (kLanes > 4) {
    const hn::Repartition<std::int32_t, hn::DFromV<V>> i32;
    const auto lanes = hn::TableLookupLanes(hn::BitCast(i32, vector), hn::SetTableIndices(i32, table.index));
    return hn::BitCast(hn::DFromV<V>(), lanes);
  } else {
    return vector;
  }
}

// Nearest integers. Highway's own function repairs what is out of range, which costs more than the conversion itself;
// these leave that to the caller. All give the lowest integer for what is too large, as the x86 instruction does.
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3

template <std::size_t kLanes>
HWY_INLINE hn::Vec128<std::int32_t, kLanes> nearest(hn::Vec128<float, kLanes> v) {
  return hn::Vec128<std::int32_t, kLanes>{_mm_cvtps_epi32(v.raw)};
}

HWY_INLINE hn::Vec128<std::int32_t, 2> nearest(hn::Vec128<double> v) {
  return hn::Vec128<std::int32_t, 2>{_mm_cvtpd_epi32(v.raw)};
}

#if HWY_TARGET <= HWY_AVX2

HWY_INLINE hn::Vec256<std::int32_t> nearest(hn::Vec256<float> v) {
  return hn::Vec256<std::int32_t>{_mm256_cvtps_epi32(v.raw)};
}

HWY_INLINE hn::Vec128<std::int32_t> nearest(hn::Vec256<double> v) {
  return hn::Vec128<std::int32_t>{_mm256_cvtpd_epi32(v.raw)};
}

#endif
#if HWY_TARGET <= HWY_AVX3

HWY_INLINE hn::Vec512<std::int32_t> nearest(hn::Vec512<float> v) {
  return hn::Vec512<std::int32_t>{_mm512_cvtps_epi32(v.raw)};
}

HWY_INLINE hn::Vec256<std::int32_t> nearest(hn::Vec512<double> v) {
  return hn::Vec256<std::int32_t>{_mm512_cvtpd_epi32(v.raw)};
}

#endif

/// As `nearest`, with the highest integer for what is too large.
template <class V>
HWY_INLINE auto nearestSaturated(V v) {
  const hn::DFromV<V> floats;
  const hn::RebindToSigned<hn::DFromV<V>> integers;
  const auto tooLarge = hn::RebindMask(integers, hn::Ge(v, hn::Set(floats, 0x1p31F)));
  return hn::Xor(nearest(v), hn::VecFromMask(integers, tooLarge));
}

#else

template <class V>
HWY_INLINE auto nearest(V v) {
  const hn::Rebind<std::int32_t, hn::DFromV<V>> integers;
  if constexpr (sizeof(hn::TFromD<hn::DFromV<V>>) == 8) {
    return hn::DemoteTo(integers, hn::Round(v));
  } else {
    return hn::NearestInt(v);
  }
}

template <class V>
HWY_INLINE auto nearestSaturated(V v) {
  return hn::NearestInt(v);
}

#endif

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
#endif
