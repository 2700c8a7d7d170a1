#include "OrvPlatform/Vector.h"
#include "vector/SampleKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/ByteSwap.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// One word at a time; `from` and `to` are the same memory or do not overlap.
template <std::size_t kBytes>
void swapPlainly(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, from += kBytes, to += kBytes) {
    std::uint8_t word[kBytes];
    for (std::size_t k = 0; k < kBytes; ++k) {
      word[k] = from[kBytes - 1 - k];
    }
    for (std::size_t k = 0; k < kBytes; ++k) {
      to[k] = word[k];
    }
  }
}

#if HWY_TARGET == HWY_SCALAR

template <std::size_t kBytes>
void swapWords(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  swapPlainly<kBytes>(from, to, count);
}

#else

/// For each byte of a 16-byte block, where in the block it comes from.
template <std::size_t kBytes>
struct ReversedWords {
  alignas(16) std::uint8_t index[16];
  constexpr ReversedWords() : index{} {
    for (std::size_t i = 0; i < 16; ++i) {
      index[i] = static_cast<std::uint8_t>(i / kBytes * kBytes + (kBytes - 1 - i % kBytes));
    }
  }
};

template <std::size_t kBytes>
void swapWords(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  static constexpr ReversedWords<kBytes> kTable;
  const hn::ScalableTag<std::uint8_t> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto table = hn::LoadDup128(d, kTable.index);
  const std::size_t bytes = count * kBytes;
  std::size_t i = 0;
  for (; i + 2 * lanes <= bytes; i += 2 * lanes) {
    const auto first = hn::LoadU(d, from + i);
    const auto second = hn::LoadU(d, from + i + lanes);
    hn::StoreU(hn::TableLookupBytes(first, table), d, to + i);
    hn::StoreU(hn::TableLookupBytes(second, table), d, to + i + lanes);
  }
  swapPlainly<kBytes>(from + i, to + i, (bytes - i) / kBytes);
}

/// A word of 3 bytes may straddle two blocks, so 16 words in 3 blocks are swapped at a time: each block is shuffled in
/// itself, and the bytes that cross a border are shuffled in from the neighbour.
template <>
void swapWords<3>(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  constexpr std::uint8_t kNone = 0x80;
  alignas(16) static constexpr std::uint8_t kOwn[3][16] = {
      {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, kNone},
      {0, kNone, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, kNone, 15},
      {kNone, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13}};
  alignas(16) static constexpr std::uint8_t kFromNext[2][16] = {
      {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 1},
      {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 0, kNone}};
  alignas(16) static constexpr std::uint8_t kFromPrevious[2][16] = {
      {kNone, 15, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone},
      {14, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone}};
  const hn::CappedTag<std::uint8_t, 16> d;
  const auto own0 = hn::Load(d, kOwn[0]);
  const auto own1 = hn::Load(d, kOwn[1]);
  const auto own2 = hn::Load(d, kOwn[2]);
  const auto next0 = hn::Load(d, kFromNext[0]);
  const auto next1 = hn::Load(d, kFromNext[1]);
  const auto previous1 = hn::Load(d, kFromPrevious[0]);
  const auto previous2 = hn::Load(d, kFromPrevious[1]);
  std::size_t i = 0;
  for (; i + 16 <= count; i += 16, from += 48, to += 48) {
    const auto block0 = hn::LoadU(d, from);
    const auto block1 = hn::LoadU(d, from + 16);
    const auto block2 = hn::LoadU(d, from + 32);
    const auto swapped0 = hn::Or(hn::TableLookupBytesOr0(block0, own0), hn::TableLookupBytesOr0(block1, next0));
    const auto swapped1 =
        hn::Or(hn::TableLookupBytesOr0(block1, own1),
               hn::Or(hn::TableLookupBytesOr0(block0, previous1), hn::TableLookupBytesOr0(block2, next1)));
    const auto swapped2 = hn::Or(hn::TableLookupBytesOr0(block2, own2), hn::TableLookupBytesOr0(block1, previous2));
    hn::StoreU(swapped0, d, to);
    hn::StoreU(swapped1, d, to + 16);
    hn::StoreU(swapped2, d, to + 32);
  }
  swapPlainly<3>(from, to, count - i);
}

#endif

void swap2(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  swapWords<2>(from, to, count);
}
void swap3(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  swapWords<3>(from, to, count);
}
void swap4(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  swapWords<4>(from, to, count);
}
void swap8(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  swapWords<8>(from, to, count);
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {

HWY_EXPORT(swap2);
HWY_EXPORT(swap3);
HWY_EXPORT(swap4);
HWY_EXPORT(swap8);

void copySwapped(const void* from, void* to, std::size_t wordBytes, std::size_t count) {
  const auto* source = static_cast<const std::uint8_t*>(from);
  auto* destination = static_cast<std::uint8_t*>(to);
  switch (wordBytes) {
    case 2:
      return HWY_DYNAMIC_DISPATCH(swap2)(source, destination, count);
    case 3:
      return HWY_DYNAMIC_DISPATCH(swap3)(source, destination, count);
    case 4:
      return HWY_DYNAMIC_DISPATCH(swap4)(source, destination, count);
    case 8:
      return HWY_DYNAMIC_DISPATCH(swap8)(source, destination, count);
    default:
      break;
  }
}

void swapBytes16(void* words, std::size_t count) {
  copySwapped(words, words, 2, count);
}

void swapBytes24(void* words, std::size_t count) {
  copySwapped(words, words, 3, count);
}

void swapBytes32(void* words, std::size_t count) {
  copySwapped(words, words, 4, count);
}

void swapBytes64(void* words, std::size_t count) {
  copySwapped(words, words, 8, count);
}

}  // namespace orv::simd
#endif
