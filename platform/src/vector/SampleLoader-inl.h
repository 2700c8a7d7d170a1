// Loading vectors of samples. Included once for every instruction set, hence the guard that Highway toggles.
#if defined(ORV_VECTOR_SAMPLE_LOADER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORV_VECTOR_SAMPLE_LOADER_INL_H_
#undef ORV_VECTOR_SAMPLE_LOADER_INL_H_
#else
#define ORV_VECTOR_SAMPLE_LOADER_INL_H_
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
      if constexpr (!T::kPlain) {
        return hn::Xor(hn::ShiftLeftSame(word, shift_), flip_);
      } else if constexpr (kBytes == 1) {
        return hn::Xor(word, flip_);
      } else {
        return word;
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
    if constexpr (!T::kOrders && kBytes >= 4) {
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
    } else if constexpr (kBytes == 3) {
      static constexpr auto kSpread = spreadTable<T::kLanes>();
      return movedLanes(hn::LoadU(bytes, from), kSpread);
    } else {
      return hn::LoadU(TableBytes(), from);
    }
  }

  hn::Vec<TableBytes> table_;
  int shift_;
  hn::Vec<typename T::I32> flip_;
};

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
#endif
