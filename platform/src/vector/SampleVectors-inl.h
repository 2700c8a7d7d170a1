// Loading, calculating and storing whole vectors of samples. Included once for every instruction set, hence the guard
// that Highway toggles.
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

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Vectors of as many lanes as the widest of the two sample types leaves room for.
template <SampleContainer kFrom, SampleContainer kTo, bool kIsPlain>
struct Tags {
  /// Are the steps left out that a plain layout (see `SamplePlan`) does not need?
  static constexpr bool kPlain = kIsPlain;
  /// May an integer have to be rounded to fewer bits?
  static constexpr bool kNarrows = !kPlain || bytesOf(kFrom) > bytesOf(kTo);
  static constexpr bool kDouble = kFrom == SampleContainer::float64 || kTo == SampleContainer::float64;
  using Wide = hn::ScalableTag<std::conditional_t<kDouble, double, float>>;
  using I32 = hn::Rebind<std::int32_t, Wide>;
  using F32 = hn::Rebind<float, Wide>;
  using Bytes = hn::Repartition<std::uint8_t, I32>;
  static constexpr std::size_t kLanes = hn::MaxLanes(I32());
};

/// For each byte of a 16-byte block, where in the block it comes from; 0x80 makes it zero.
struct alignas(16) ByteTable {
  std::uint8_t index[16];
};

/// Brings the bytes of each sample to the top of its 32-bit lane. Samples of 1 and 2 bytes lie in the bottom of their
/// lanes before, those of 3 bytes one behind the other from the block's begin on.
template <std::size_t kBytes>
constexpr ByteTable loadTable(bool swapped) {
  constexpr std::size_t kPitch = kBytes == 3 ? 3 : 4;
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t lane = i / 4;
    const std::size_t place = i % 4;
    const std::size_t byte = place + kBytes - 4;  // wraps below the sample's bytes
    table.index[i] =
        static_cast<std::uint8_t>(byte >= kBytes ? 0x80 : lane * kPitch + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Brings the low bytes of each 32-bit lane together at the block's begin.
template <std::size_t kBytes>
constexpr ByteTable storeTable(bool swapped) {
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t lane = i / kBytes;
    const std::size_t byte = i % kBytes;
    table.index[i] = static_cast<std::uint8_t>(lane >= 4 ? 0x80 : lane * 4 + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Reverses the bytes of each word, or leaves them.
template <std::size_t kBytes>
constexpr ByteTable wordTable(bool swapped) {
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t byte = i % kBytes;
    table.index[i] = static_cast<std::uint8_t>(i - byte + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Which 32-bit lane each lane comes from where blocks of 4 samples of 3 bytes are spread from 12 to 16 bytes.
template <std::size_t kLanes>
struct alignas(64) SpreadLanes {
  std::int32_t index[kLanes];
  constexpr SpreadLanes() : index{} {
    for (std::size_t i = 0; i < kLanes; ++i) {
      index[i] = static_cast<std::int32_t>(i / 4 * 3 + i % 4);
    }
  }
};

/// The way back, for blocks that hold `kBytes` 32-bit lanes each.
template <std::size_t kLanes, std::size_t kBytes>
struct alignas(64) GatherLanes {
  std::int32_t index[kLanes];
  constexpr GatherLanes() : index{} {
    for (std::size_t i = 0; i < kLanes; ++i) {
      const std::size_t lane = i / kBytes * 4 + i % kBytes;
      index[i] = static_cast<std::int32_t>(lane < kLanes ? lane : 0);
    }
  }
};

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

/// Source side of a loop for samples of one container. `load` gives left-justified integers, or floats.
template <class T, SampleContainer kContainer>
class Loader {
 public:
  static constexpr std::size_t kBytes = bytesOf(kContainer);

  explicit Loader(const SamplePlan& plan)
      : table_(hn::LoadDup128(TableBytes(), tableFor(plan.fromSwapped).index)),
        shift_(plan.loadShift),
        flip_(hn::Set(typename T::I32(), plan.loadFlip)) {}

  HWY_INLINE auto load(const std::uint8_t* from) const {
    if constexpr (kContainer == SampleContainer::float64) {
      return hn::BitCast(typename T::Wide(), ordered(laneBytes(from)));
    } else if constexpr (kContainer == SampleContainer::float32) {
      return hn::BitCast(typename T::F32(), ordered(laneBytes(from)));
    } else {
      const auto word = hn::BitCast(typename T::I32(), ordered(laneBytes(from)));
      if constexpr (T::kPlain) {
        return word;
      } else {
        return hn::Xor(hn::ShiftLeftSame(word, shift_), flip_);
      }
    }
  }

 private:
  using TableBytes = std::conditional_t<kContainer == SampleContainer::float64,
                                        hn::Repartition<std::uint8_t, typename T::Wide>, typename T::Bytes>;

  static constexpr ByteTable tableFor(bool swapped) {
    if constexpr (isFloat(kContainer)) {
      return wordTable<kBytes>(swapped);
    } else {
      return loadTable<kBytes>(swapped);
    }
  }

  template <class V>
  HWY_INLINE V ordered(V bytes) const {
    if constexpr (T::kPlain && kBytes >= 4) {
      return bytes;
    } else {
      return hn::TableLookupBytesOr0(bytes, table_);
    }
  }

  /// The bytes of each sample in its own lane, as the table expects them.
  HWY_INLINE auto laneBytes(const std::uint8_t* from) const {
    const typename T::I32 i32;
    const typename T::Bytes bytes;
    if constexpr (kBytes == 1) {
      const hn::Rebind<std::uint8_t, typename T::I32> narrow;
      return hn::BitCast(bytes, hn::PromoteTo(i32, hn::LoadU(narrow, from)));
    } else if constexpr (kBytes == 2) {
      const hn::Rebind<std::uint16_t, typename T::I32> narrow;
      const hn::Repartition<std::uint8_t, hn::Rebind<std::uint16_t, typename T::I32>> narrowBytes;
      return hn::BitCast(bytes, hn::PromoteTo(i32, hn::BitCast(narrow, hn::LoadU(narrowBytes, from))));
    } else if constexpr (kBytes == 3 && T::kLanes > 4) {
      static constexpr SpreadLanes<T::kLanes> kOrder;
      const auto words = hn::BitCast(i32, hn::LoadU(bytes, from));
      return hn::BitCast(bytes, hn::TableLookupLanes(words, hn::SetTableIndices(i32, kOrder.index)));
    } else {
      return hn::LoadU(TableBytes(), from);
    }
  }

  hn::Vec<TableBytes> table_;
  int shift_;
  hn::Vec<typename T::I32> flip_;
};

/// Destination side of a loop for samples of one container. `store` takes left-justified integers, or floats.
template <class T, SampleContainer kContainer>
class Storer {
 public:
  static constexpr std::size_t kBytes = bytesOf(kContainer);

  explicit Storer(const SamplePlan& plan)
      : table_(hn::LoadDup128(TableBytes(), tableFor(plan.toSwapped).index)),
        dropBits_(plan.dropBits),
        roundShift_(plan.roundShift),
        storeShift_(plan.storeShift),
        roundMask_(hn::Set(typename T::I32(), plan.roundMask)),
        minimum_(hn::Set(typename T::I32(), plan.minimum)),
        maximum_(hn::Set(typename T::I32(), plan.maximum)),
        bias_(hn::Set(typename T::I32(), plan.bias)),
        scale_(hn::Set(typename T::Wide(), static_cast<WideSample>(plan.scale))),
        wideMinimum_(hn::Set(typename T::Wide(), static_cast<WideSample>(plan.minimum))),
        wideMaximum_(hn::Set(typename T::Wide(), static_cast<WideSample>(plan.maximum))) {}

  template <class V>
  HWY_INLINE void store(V sample, std::uint8_t* to) const {
    if constexpr (isFloat(kContainer)) {
      hn::StoreU(ordered(hn::BitCast(TableBytes(), floating(sample))), TableBytes(), to);
    } else if constexpr (T::kPlain) {
      storeLow(integer(sample), to);
    } else {
      storeLow(hn::ShiftLeftSame(hn::Add(integer(sample), bias_), storeShift_), to);
    }
  }

 private:
  using WideSample = hn::TFromD<typename T::Wide>;
  using I32Vector = hn::Vec<typename T::I32>;
  using F32Vector = hn::Vec<typename T::F32>;
  using WideVector = hn::Vec<typename T::Wide>;
  using TableBytes = std::conditional_t<kContainer == SampleContainer::float64,
                                        hn::Repartition<std::uint8_t, typename T::Wide>, typename T::Bytes>;

  static constexpr ByteTable tableFor(bool swapped) {
    if constexpr (isFloat(kContainer)) {
      return wordTable<kBytes>(swapped);
    } else {
      return storeTable<kBytes>(swapped);
    }
  }

  template <class V>
  HWY_INLINE auto floating(V sample) const {
    constexpr bool kToDouble = kContainer == SampleContainer::float64;
    if constexpr (std::is_same_v<V, I32Vector>) {
      if constexpr (kToDouble) {
        return hn::Mul(hn::PromoteTo(typename T::Wide(), sample), hn::Set(typename T::Wide(), WideSample{0x1p-31F}));
      } else {
        return hn::Mul(hn::ConvertTo(typename T::F32(), sample), hn::Set(typename T::F32(), 0x1p-31F));
      }
    } else if constexpr (kToDouble && std::is_same_v<V, F32Vector>) {
      return hn::PromoteTo(typename T::Wide(), sample);
    } else if constexpr (!kToDouble && !std::is_same_v<V, F32Vector>) {
      return hn::DemoteTo(typename T::F32(), sample);
    } else {
      return sample;
    }
  }

  /// The destination's integer that is nearest to the sample.
  template <class V>
  HWY_INLINE I32Vector integer(V sample) const {
    if constexpr (!std::is_same_v<V, I32Vector>) {
      return integerOfFloat(hn::IfThenElseZero(hn::Eq(sample, sample), hn::Mul(sample, scale_)));
    } else if constexpr (T::kNarrows) {
      const auto carry = hn::And(hn::ShiftRightSame(sample, roundShift_), roundMask_);
      return hn::Min(hn::Add(hn::ShiftRightSame(sample, dropBits_), carry), maximum_);
    } else {
      return hn::ShiftRightSame(sample, dropBits_);
    }
  }

  /// The integer nearest to what is scaled already, and no NaN.
  template <class V>
  HWY_INLINE I32Vector integerOfFloat(V scaled) const {
    constexpr bool kLimitsAreExact = kContainer != SampleContainer::int32 || !std::is_same_v<V, F32Vector>;
    if constexpr (kLimitsAreExact) {
      return nearest(hn::Min(hn::Max(scaled, wideMinimum_), wideMaximum_));
    } else if constexpr (T::kPlain) {
      return nearestSaturated(scaled);
    } else {
      return hn::Min(hn::Max(nearestSaturated(scaled), minimum_), maximum_);
    }
  }

  template <class V>
  HWY_INLINE V ordered(V bytes) const {
    if constexpr (T::kPlain && kBytes >= 4) {
      return bytes;
    } else {
      return hn::TableLookupBytesOr0(bytes, table_);
    }
  }

  /// Stores the low bytes of each lane; for samples of 3 bytes, a third as much again behind them.
  HWY_INLINE void storeLow(I32Vector words, std::uint8_t* to) const {
    const typename T::Bytes bytes;
    const auto packed = gathered(ordered(hn::BitCast(bytes, words)));
    if constexpr (kBytes == 1) {
      const hn::Half<hn::Half<typename T::Bytes>> quarter;
      hn::StoreU(hn::LowerHalf(quarter, hn::LowerHalf(hn::Half<typename T::Bytes>(), packed)), quarter, to);
    } else if constexpr (kBytes == 2) {
      const hn::Half<typename T::Bytes> half;
      hn::StoreU(hn::LowerHalf(half, packed), half, to);
    } else {
      hn::StoreU(packed, bytes, to);
    }
  }

  /// What `storeTable` left at the begin of each block, one behind the other.
  template <class V>
  HWY_INLINE V gathered(V packed) const {
    if constexpr (kBytes < 4 && T::kLanes > 4) {
      static constexpr GatherLanes<T::kLanes, kBytes> kOrder;
      const typename T::I32 i32;
      const auto words = hn::BitCast(i32, packed);
      return hn::BitCast(typename T::Bytes(), hn::TableLookupLanes(words, hn::SetTableIndices(i32, kOrder.index)));
    } else {
      return packed;
    }
  }

  hn::Vec<TableBytes> table_;
  int dropBits_;
  int roundShift_;
  int storeShift_;
  I32Vector roundMask_;
  I32Vector minimum_;
  I32Vector maximum_;
  I32Vector bias_;
  WideVector scale_;
  WideVector wideMinimum_;
  WideVector wideMaximum_;
};

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
#endif
