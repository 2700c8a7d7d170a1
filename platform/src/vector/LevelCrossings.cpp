#include <algorithm>
#include <bit>
#include <cstring>

#include "OrvPlatform/Vector.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/LevelCrossings.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// How the state machine runs on 64 samples at once.
//
// Sample i leaves a channel "below" if it is below the level, or if it was "below" before and sample i is not above:
//
//   state(i) = below(i) | (state(i-1) & ~above(i))
//
// That is how a carry runs through an adder whose bit i generates a carry where below(i) is set and propagates one
// where above(i) is not: the machine's 64 steps are one addition of the words `propagates` and `below`, and the states
// are its carries. A crossing is a bit whose carry out differs from its carry in. Interleaved channels share the words:
// for one channel, the bits of all others pass the carry on.

#ifndef ORV_VECTOR_LEVEL_CROSSINGS_ONCE_
#define ORV_VECTOR_LEVEL_CROSSINGS_ONCE_
namespace orv::simd {
namespace {

constexpr std::size_t kBlock = 64;

inline std::int16_t plainSample(const std::int16_t* from, bool swapped) {
  std::uint16_t word = 0;
  std::memcpy(&word, from, sizeof(word));
  return static_cast<std::int16_t>(swapped ? __builtin_bswap16(word) : word);
}

}  // namespace
}  // namespace orv::simd
#endif

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// One bit a sample, the first sample lowest.
struct BlockBits {
  std::uint64_t below = 0;
  std::uint64_t above = 0;
};

#if HWY_TARGET == HWY_SCALAR

template <bool kSwapped>
BlockBits blockBits(const std::int16_t* samples, std::int16_t level) {
  BlockBits bits;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const std::int16_t sample = plainSample(samples + i, kSwapped);
    bits.below |= static_cast<std::uint64_t>(sample < level) << i;
    bits.above |= static_cast<std::uint64_t>(sample > level) << i;
  }
  return bits;
}

#else

template <bool kSwapped, class D>
HWY_INLINE auto loadSamples(D d, const std::int16_t* from) {
  const auto samples = hn::LoadU(d, from);
  if constexpr (kSwapped) {
    const hn::RebindToUnsigned<D> bits;
    return hn::Or(hn::ShiftLeft<8>(samples), hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(bits, samples))));
  } else {
    return samples;
  }
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3

/// Bits of as many samples as fill two vectors. Comparisons give words of all ones or zeros; a saturating pack of pairs
/// of them to half their size keeps the sign of each in a byte of its own, in order.
template <class D, class V>
HWY_INLINE std::uint64_t bitsOf(D d, V first, V second) {
  const hn::RepartitionToWide<D> pairs;
  const hn::Repartition<std::int8_t, D> bytes;
  const auto packed =
      hn::BitCast(bytes, hn::ReorderDemote2To(d, hn::BitCast(pairs, first), hn::BitCast(pairs, second)));
  std::uint64_t bits = 0;
  hn::StoreMaskBits(bytes, hn::Lt(packed, hn::Zero(bytes)), reinterpret_cast<std::uint8_t*>(&bits));
  return bits;
}

template <bool kSwapped>
HWY_INLINE BlockBits blockBits(const std::int16_t* samples, std::int16_t level) {
  const hn::ScalableTag<std::int16_t> d;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  const auto threshold = hn::Set(d, level);
  BlockBits bits;
  for (std::size_t i = 0; i < kBlock; i += 2 * kLanes) {
    const std::int16_t* from = samples + i;
#if HWY_TARGET == HWY_AVX2
    // The pack works in each 16-byte half on its own: with the halves loaded crosswise, its result is in order.
    const hn::Half<decltype(d)> half;
    const auto first = hn::Combine(d, loadSamples<kSwapped>(half, from + 16), loadSamples<kSwapped>(half, from));
    const auto second = hn::Combine(d, loadSamples<kSwapped>(half, from + 24), loadSamples<kSwapped>(half, from + 8));
#else
    const auto first = loadSamples<kSwapped>(d, from);
    const auto second = loadSamples<kSwapped>(d, from + kLanes);
#endif
    bits.below |= bitsOf(d, hn::VecFromMask(d, hn::Lt(first, threshold)), hn::VecFromMask(d, hn::Lt(second, threshold)))
                  << i;
    bits.above |= bitsOf(d, hn::VecFromMask(d, hn::Gt(first, threshold)), hn::VecFromMask(d, hn::Gt(second, threshold)))
                  << i;
  }
  return bits;
}

#else

template <class D, class M>
HWY_INLINE std::uint64_t bitsOf(D d, M mask) {
  std::uint64_t bits = 0;
  std::uint8_t stored[8] = {};
  hn::StoreMaskBits(d, mask, stored);
  std::memcpy(&bits, stored, sizeof(bits));
  return bits;
}

template <bool kSwapped>
HWY_INLINE BlockBits blockBits(const std::int16_t* samples, std::int16_t level) {
  const hn::CappedTag<std::int16_t, kBlock> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto threshold = hn::Set(d, level);
  BlockBits bits;
  for (std::size_t i = 0; i < kBlock; i += lanes) {
    const auto block = loadSamples<kSwapped>(d, samples + i);
    bits.below |= bitsOf(d, hn::Lt(block, threshold)) << i;
    bits.above |= bitsOf(d, hn::Gt(block, threshold)) << i;
  }
  return bits;
}

#endif
#endif

/// The state machine of one channel.
class Channel {
 public:
  /// Runs over one block, where `own` has the channel's bits.
  HWY_INLINE void advance(const BlockBits& bits, std::uint64_t own) {
    const std::uint64_t propagates = ~(bits.above & own);
    const std::uint64_t below = bits.below & own;
    const std::uint64_t partial = propagates + below;
    const std::uint64_t sum = partial + below_;
    const std::uint64_t carriesIn = sum ^ propagates ^ below;
    below_ = static_cast<std::uint64_t>((partial < below) | (sum < partial));
    const std::uint64_t carriesOut = (carriesIn >> 1) | (below_ << 63);
    crossings_ += static_cast<std::uint32_t>(std::popcount(carriesIn ^ carriesOut));
  }

  std::uint32_t crossings() const { return crossings_; }

 private:
  std::uint64_t below_ = 0;  ///< 1 while below
  std::uint32_t crossings_ = 0;
};

/// Calls `step(bits)` for each block. What the last one has too many is made neither below
/// nor above, which changes nothing.
template <bool kSwapped, class Step>
HWY_INLINE void forEachBlock(const std::int16_t* samples, std::size_t count, std::int16_t level, Step step) {
  std::size_t i = 0;
  for (; i + kBlock <= count; i += kBlock) {
    step(blockBits<kSwapped>(samples + i, level));
  }
  if (i < count) {
    std::int16_t rest[kBlock] = {};
    std::memcpy(rest, samples + i, (count - i) * sizeof(std::int16_t));
    BlockBits bits = blockBits<kSwapped>(rest, level);
    const std::uint64_t valid = (std::uint64_t{1} << (count - i)) - 1;
    bits.below &= valid;
    bits.above &= valid;
    step(bits);
  }
}

template <bool kSwapped>
std::uint32_t countMono(const std::int16_t* samples, std::size_t count, std::int16_t level) {
  Channel channel;
  forEachBlock<kSwapped>(samples, count, level,
                         [&](const BlockBits& bits) { channel.advance(bits, ~std::uint64_t{0}); });
  return channel.crossings();
}

template <bool kSwapped>
std::uint32_t countStereo(const std::int16_t* samples, std::size_t count, std::int16_t level) {
  constexpr std::uint64_t kEven = 0x5555555555555555;
  Channel left;
  Channel right;
  forEachBlock<kSwapped>(samples, count, level, [&](const BlockBits& bits) {
    left.advance(bits, kEven);
    right.advance(bits, ~kEven);
  });
  return std::max(left.crossings(), right.crossings());
}

/// Any number of channels up to a block's size.
template <bool kSwapped>
std::uint32_t countInterleaved(const std::int16_t* samples, std::size_t count, std::uint32_t channels,
                               std::int16_t level) {
  std::uint64_t everyNth = 0;
  for (std::uint32_t bit = 0; bit < kBlock; bit += channels) {
    everyNth |= std::uint64_t{1} << bit;
  }
  Channel machines[kBlock];
  std::uint32_t first = 0;  // channel of the block's first sample
  forEachBlock<kSwapped>(samples, count, level, [&](const BlockBits& bits) {
    for (std::uint32_t offset = 0; offset < channels; ++offset) {
      machines[(first + offset) % channels].advance(bits, everyNth << offset);
    }
    first = (first + static_cast<std::uint32_t>(kBlock)) % channels;
  });
  std::uint32_t most = 0;
  for (std::uint32_t c = 0; c < channels; ++c) {
    most = std::max(most, machines[c].crossings());
  }
  return most;
}

template <bool kSwapped>
std::uint32_t countMasked(const std::int16_t* samples, std::size_t count, std::uint32_t channels, std::int16_t level) {
  switch (channels) {
    case 1:
      return countMono<kSwapped>(samples, count, level);
    case 2:
      return countStereo<kSwapped>(samples, count, level);
    default:
      return countInterleaved<kSwapped>(samples, count, channels, level);
  }
}

std::uint32_t countCrossings(const std::int16_t* samples, std::size_t count, std::uint32_t channels, std::int16_t level,
                             bool swapped) {
  return swapped ? countMasked<true>(samples, count, channels, level)
                 : countMasked<false>(samples, count, channels, level);
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {
namespace {

HWY_EXPORT(countCrossings);

/// Beyond as many channels as a block has samples there is nothing to do at once.
std::uint32_t countOneChannel(const std::int16_t* samples, std::size_t frames, std::uint32_t stride, std::int16_t level,
                              bool swapped) {
  std::uint32_t crossings = 0;
  bool below = false;
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const std::int16_t sample = plainSample(samples + frame * stride, swapped);
    if (below ? sample > level : sample < level) {
      below = !below;
      ++crossings;
    }
  }
  return crossings;
}

}  // namespace

std::uint32_t countLevelCrossings16(const std::int16_t* samples, std::size_t frames, std::uint32_t channels,
                                    std::int16_t level, SampleOrder order) {
  const bool swapped = order == SampleOrder::swapped;
  if (channels == 0 || frames == 0) {
    return 0;
  }
  if (channels <= kBlock) {
    return HWY_DYNAMIC_DISPATCH(countCrossings)(samples, frames * channels, channels, level, swapped);
  }
  std::uint32_t most = 0;
  for (std::uint32_t c = 0; c < channels; ++c) {
    most = std::max(most, countOneChannel(samples + c, frames, channels, level, swapped));
  }
  return most;
}

}  // namespace orv::simd
#endif
