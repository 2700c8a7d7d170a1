// Storing vectors of samples. Included once for every instruction set, hence the guard that Highway toggles.
#if defined(ORV_VECTOR_SAMPLE_STORERS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORV_VECTOR_SAMPLE_STORERS_INL_H_
#undef ORV_VECTOR_SAMPLE_STORERS_INL_H_
#else
#define ORV_VECTOR_SAMPLE_STORERS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "vector/SampleVectors-inl.h"

#if ORV_SAMPLES_HAVE_VECTORS

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

/// Destination side of a loop for floats and doubles. `store` takes left-justified integers, or floats.
template <class T, SampleContainer kContainer>
class FloatStorer {
 public:
  explicit FloatStorer(const SamplePlan& plan)
      : table_(hn::LoadDup128(Bytes(), wordTable<bytesOf(kContainer)>(plan.toSwapped).index)) {}

  template <class V>
  HWY_INLINE void store(V first, V second, std::uint8_t* to) const {
    storeOne(first, to);
    storeOne(second, to + T::kLanes * bytesOf(kContainer));
  }

 private:
  using I32Vector = hn::Vec<typename T::I32>;
  using F32Vector = hn::Vec<typename T::F32>;
  static constexpr bool kToDouble = kContainer == SampleContainer::float64;
  using Floats = std::conditional_t<kToDouble, typename T::Wide, typename T::F32>;
  using Bytes = hn::Repartition<std::uint8_t, Floats>;

  template <class V>
  HWY_INLINE void storeOne(V sample, std::uint8_t* to) const {
    const auto bytes = hn::BitCast(Bytes(), floating(sample));
    if constexpr (T::kOrders) {
      hn::StoreU(hn::TableLookupBytes(bytes, table_), Bytes(), to);
    } else {
      hn::StoreU(bytes, Bytes(), to);
    }
  }

  template <class V>
  HWY_INLINE hn::Vec<Floats> floating(V sample) const {
    if constexpr (std::is_same_v<V, hn::Vec<Floats>>) {
      return sample;
    } else if constexpr (std::is_same_v<V, I32Vector>) {
      const auto scale = hn::Set(Floats(), hn::TFromD<Floats>{0x1p-31F});
      if constexpr (kToDouble) {
        return hn::Mul(hn::PromoteTo(Floats(), sample), scale);
      } else {
        return hn::Mul(hn::ConvertTo(Floats(), sample), scale);
      }
    } else if constexpr (kToDouble) {
      return hn::PromoteTo(Floats(), sample);
    } else {
      return hn::DemoteTo(Floats(), sample);
    }
  }

  hn::Vec<Bytes> table_;
};

/// Destination side of a loop for integers. `store` takes left-justified integers, or floats.
template <class T, SampleContainer kContainer>
class IntegerStorer {
 public:
  explicit IntegerStorer(const SamplePlan& plan)
      : table_(hn::LoadDup128(Bytes(), storeTable<kBytes>(plan.toSwapped).index)),
        pairTable_(hn::LoadDup128(Bytes(), wordTable<2>(plan.toSwapped).index)),
        dropBits_(plan.dropBits),
        storeShift_(plan.storeShift),
        half_(hn::Set(I32(), plan.half)),
        highest_(hn::Set(I32(), plan.highest)),
        minimum_(hn::Set(I32(), plan.minimum)),
        maximum_(hn::Set(I32(), plan.maximum)),
        bias_(hn::Set(I32(), plan.bias)),
        byteBias_(static_cast<std::uint8_t>(plan.bias)),
        scale_(hn::Set(Wide(), static_cast<WideSample>(plan.scale))),
        wideMinimum_(hn::Set(Wide(), static_cast<WideSample>(plan.minimum))),
        wideMaximum_(hn::Set(Wide(), static_cast<WideSample>(plan.maximum))) {}

  template <class V>
  HWY_INLINE void store(V first, V second, std::uint8_t* to) const {
    if constexpr (std::is_same_v<V, I32Vector>) {
      storeIntegers(rounded(first), rounded(second), to);
    } else if constexpr (T::kDouble) {
      storeIntegers(integerOfDouble(first), integerOfDouble(second), to);
    } else {
      storeFloats(first, second, to);
    }
  }

 private:
  static constexpr std::size_t kBytes = bytesOf(kContainer);
  /// Are two vectors packed, which saturates, and stored at once?
  static constexpr bool kPairs = kBytes <= 2 && T::kPlain && !T::kDouble;

  using I32 = typename T::I32;
  using Wide = typename T::Wide;
  using Bytes = typename T::Bytes;
  using WideSample = hn::TFromD<Wide>;
  using I32Vector = hn::Vec<I32>;

  /// A left-justified integer with as many bits as the destination's.
  HWY_INLINE I32Vector rounded(I32Vector sample) const {
    if constexpr (T::kNarrows) {
      sample = hn::Add(hn::Min(sample, highest_), half_);
    }
    return hn::ShiftRightSame(sample, dropBits_);
  }

  template <class V>
  HWY_INLINE V scaledWithoutNaN(V sample) const {
    return hn::IfThenElseZero(hn::Eq(sample, sample), hn::Mul(sample, scale_));
  }

  template <class V>
  HWY_INLINE I32Vector integerOfDouble(V sample) const {
    return nearest(hn::Min(hn::Max(scaledWithoutNaN(sample), wideMinimum_), wideMaximum_));
  }

  /// What `nearest` can't tell, NaN included, becomes the lowest integer. Hardly any block of audio has one; where it
  /// turns up, the two vectors are done again with care.
  template <class V>
  HWY_INLINE void storeFloats(V first, V second, std::uint8_t* to) const {
    const I32Vector integer = nearest(hn::Mul(first, scale_));
    const I32Vector next = nearest(hn::Mul(second, scale_));
    if (HWY_LIKELY(hn::AllFalse(I32(), hn::Eq(hn::Min(integer, next), hn::Set(I32(), INT32_MIN))))) {
      storeIntegers(limited(integer), limited(next), to);
    } else {
      storeIntegers(limited(nearestSaturated(scaledWithoutNaN(first))),
                    limited(nearestSaturated(scaledWithoutNaN(second))), to);
    }
  }

  HWY_INLINE I32Vector limited(I32Vector integer) const {
    constexpr bool kHasAllBits = T::kPlain && kBytes == 4;
    if constexpr (kPairs || kHasAllBits) {
      return integer;
    } else {
      return hn::Min(hn::Max(integer, minimum_), maximum_);
    }
  }

  HWY_INLINE void storeIntegers(I32Vector first, I32Vector second, std::uint8_t* to) const {
    if constexpr (kPairs) {
      static constexpr auto kOrder = packedTable<T::kLanes>();
      const hn::Repartition<std::int16_t, I32> words;
      storeWords(movedLanes(hn::ReorderDemote2To(words, first, second), kOrder), to);
    } else {
      storeInteger(first, to);
      storeInteger(second, to + T::kLanes * kBytes);
    }
  }

  template <class V>
  HWY_INLINE void storeWords(V words, std::uint8_t* to) const {
    if constexpr (kBytes == 2 && T::kOrders) {
      hn::StoreU(hn::TableLookupBytes(hn::BitCast(Bytes(), words), pairTable_), Bytes(), to);
    } else if constexpr (kBytes == 2) {
      hn::StoreU(hn::BitCast(Bytes(), words), Bytes(), to);
    } else {
      const hn::Rebind<std::int8_t, hn::DFromV<V>> narrow;
      const hn::RebindToUnsigned<decltype(narrow)> narrowBytes;
      const auto samples = hn::BitCast(narrowBytes, hn::DemoteTo(narrow, words));
      hn::StoreU(hn::Xor(samples, hn::Set(narrowBytes, byteBias_)), narrowBytes, to);
    }
  }

  /// Stores the low bytes of each lane; for samples of 3 bytes, a third as much again behind them.
  HWY_INLINE void storeInteger(I32Vector integer, std::uint8_t* to) const {
    if constexpr (!T::kPlain || kBytes == 1) {
      integer = hn::ShiftLeftSame(hn::Add(integer, bias_), storeShift_);
    }
    const auto packed = lowBytes(hn::BitCast(Bytes(), integer));
    if constexpr (kBytes == 1) {
      const hn::Half<hn::Half<Bytes>> quarter;
      hn::StoreU(hn::LowerHalf(quarter, hn::LowerHalf(hn::Half<Bytes>(), packed)), quarter, to);
    } else if constexpr (kBytes == 2) {
      const hn::Half<Bytes> half;
      hn::StoreU(hn::LowerHalf(half, packed), half, to);
    } else {
      hn::StoreU(packed, Bytes(), to);
    }
  }

  /// The bytes of the samples one behind the other, in the destination's order.
  template <class V>
  HWY_INLINE V lowBytes(V lanes) const {
    if constexpr (kBytes < 4) {
      static constexpr auto kOrder = gatherTable<T::kLanes, kBytes>();
      return movedLanes(hn::TableLookupBytesOr0(lanes, table_), kOrder);
    } else if constexpr (T::kOrders) {
      return hn::TableLookupBytes(lanes, table_);
    } else {
      return lanes;
    }
  }

  hn::Vec<Bytes> table_;
  hn::Vec<Bytes> pairTable_;
  int dropBits_;
  int storeShift_;
  I32Vector half_;
  I32Vector highest_;
  I32Vector minimum_;
  I32Vector maximum_;
  I32Vector bias_;
  std::uint8_t byteBias_;
  hn::Vec<Wide> scale_;
  hn::Vec<Wide> wideMinimum_;
  hn::Vec<Wide> wideMaximum_;
};

template <class T, SampleContainer kContainer>
using Storer = std::conditional_t<isFloat(kContainer), FloatStorer<T, kContainer>, IntegerStorer<T, kContainer>>;

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
#endif
