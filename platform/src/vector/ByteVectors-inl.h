// Conversion between samples of 8 and of 16 bits, in vectors of 16-bit lanes: half as many steps as by way of 32 bits.
// Included once for every instruction set, hence the guard that Highway toggles.
#if defined(ORV_VECTOR_BYTE_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORV_VECTOR_BYTE_VECTORS_INL_H_
#undef ORV_VECTOR_BYTE_VECTORS_INL_H_
#else
#define ORV_VECTOR_BYTE_VECTORS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "vector/SampleVectors-inl.h"

#if ORV_SAMPLES_HAVE_VECTORS

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

/// Does a plan between 8 and 16 bits have all of both?
inline bool coversWholeContainers(const SamplePlan& plan, std::size_t toBytes) {
  return plan.loadShift == 0 && plan.dropBits == 32 - 8 * static_cast<int>(toBytes);
}

/// Converts whole vectors of 8-bit samples to 16 bits and says how many samples that is.
inline std::size_t widenBytes(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  const hn::ScalableTag<std::uint16_t> words;
  const hn::Rebind<std::uint8_t, decltype(words)> narrow;
  const hn::Repartition<std::uint8_t, decltype(words)> bytes;
  const std::size_t lanes = hn::Lanes(words);
  const auto table = hn::LoadDup128(bytes, raisingTable(plan.toSwapped).index);
  const bool flips = (plan.loadFlip != 0) != (plan.bias != 0);
  const std::uint16_t topBit = plan.toSwapped ? 0x0080 : 0x8000;
  const auto flip = hn::BitCast(bytes, hn::Set(words, flips ? topBit : std::uint16_t{0}));
  std::size_t done = 0;
  for (; count - done >= lanes; done += lanes) {
    const auto samples = hn::BitCast(bytes, hn::PromoteTo(words, hn::LoadU(narrow, from + done)));
    hn::StoreU(hn::Xor(hn::TableLookupBytesOr0(samples, table), flip), bytes, to + 2 * done);
  }
  return done;
}

/// Converts whole vectors of 16-bit samples to 8 bits and says how many samples that is.
inline std::size_t narrowWords(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  const hn::ScalableTag<std::int16_t> words;
  const hn::Rebind<std::int8_t, decltype(words)> narrow;
  const hn::Rebind<std::uint8_t, decltype(words)> narrowBytes;
  const hn::Repartition<std::uint8_t, decltype(words)> bytes;
  const std::size_t lanes = hn::Lanes(words);
  const auto table = hn::LoadDup128(bytes, wordTable<2>(plan.fromSwapped).index);
  const auto flip = hn::Set(words, static_cast<std::int16_t>(plan.loadFlip >> 16));
  const auto half = hn::Set(words, std::int16_t{0x80});
  const auto highest = hn::Set(words, std::int16_t{0x7FFF - 0x80});
  const auto bias = hn::Set(narrowBytes, static_cast<std::uint8_t>(plan.bias));
  std::size_t done = 0;
  for (; count - done >= lanes; done += lanes) {
    const auto ordered = hn::TableLookupBytes(hn::LoadU(bytes, from + 2 * done), table);
    const auto samples = hn::Xor(hn::BitCast(words, ordered), flip);
    const auto rounded = hn::ShiftRight<8>(hn::Add(hn::Min(samples, highest), half));
    const auto result = hn::BitCast(narrowBytes, hn::DemoteTo(narrow, rounded));
    hn::StoreU(hn::Xor(result, bias), narrowBytes, to + done);
  }
  return done;
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
#endif
