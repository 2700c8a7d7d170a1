#include "vector/SampleKernels.h"

#include <cstring>

#include "vector/PlainSamples.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/SampleKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "vector/SampleVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// Converts as many whole vectors as there are and says how many samples that is.
template <SampleContainer kFrom, SampleContainer kTo, bool kPlain>
std::size_t convertVectors(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  using T = Tags<kFrom, kTo, kPlain>;
  // Vectors of 3-byte samples reach a third of their size beyond the last sample.
  constexpr bool kReachesBeyond = kFrom == SampleContainer::int24 || kTo == SampleContainer::int24;
  constexpr std::size_t kNeeded = T::kLanes + (kReachesBeyond ? (T::kLanes + 2) / 3 : 0);
  const Loader<T, kFrom> loader(plan);
  const Storer<T, kTo> storer(plan);
  std::size_t done = 0;
  for (; count - done >= kNeeded; done += T::kLanes) {
    storer.store(loader.load(from + done * bytesOf(kFrom)), to + done * bytesOf(kTo));
  }
  return done;
}

#endif

template <SampleContainer kFrom, SampleContainer kTo>
void convert(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  std::size_t done = 0;
#if HWY_TARGET != HWY_SCALAR
  done = plan.isPlain ? convertVectors<kFrom, kTo, true>(plan, from, to, count)
                      : convertVectors<kFrom, kTo, false>(plan, from, to, count);
#endif
  convertPlainly<kFrom, kTo>(plan, from + done * bytesOf(kFrom), to + done * bytesOf(kTo), count - done);
}

using Kernel = void (*)(const SamplePlan&, const std::uint8_t*, std::uint8_t*, std::size_t);

template <SampleContainer kFrom>
Kernel kernelFrom(SampleContainer to) {
  switch (to) {
    case SampleContainer::int8:
      return convert<kFrom, SampleContainer::int8>;
    case SampleContainer::int16:
      return convert<kFrom, SampleContainer::int16>;
    case SampleContainer::int24:
      return convert<kFrom, SampleContainer::int24>;
    case SampleContainer::int32:
      return convert<kFrom, SampleContainer::int32>;
    case SampleContainer::float32:
      return convert<kFrom, SampleContainer::float32>;
    case SampleContainer::float64:
      return convert<kFrom, SampleContainer::float64>;
  }
  return nullptr;
}

Kernel kernelFor(SampleContainer from, SampleContainer to) {
  switch (from) {
    case SampleContainer::int8:
      return kernelFrom<SampleContainer::int8>(to);
    case SampleContainer::int16:
      return kernelFrom<SampleContainer::int16>(to);
    case SampleContainer::int24:
      return kernelFrom<SampleContainer::int24>(to);
    case SampleContainer::int32:
      return kernelFrom<SampleContainer::int32>(to);
    case SampleContainer::float32:
      return kernelFrom<SampleContainer::float32>(to);
    case SampleContainer::float64:
      return kernelFrom<SampleContainer::float64>(to);
  }
  return nullptr;
}

void convertBetween(SampleContainer fromContainer, SampleContainer toContainer, const SamplePlan& plan,
                    const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  kernelFor(fromContainer, toContainer)(plan, from, to, count);
}

}  // namespace
}  // namespace orv::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv::simd {
namespace {

HWY_EXPORT(convertBetween);

bool differInOrderOnly(SampleLayout from, const SampleLayout& to) {
  from.order = to.order;
  return from == to;
}

}  // namespace

void convertSamples(const SampleLayout& fromLayout, const void* from, const SampleLayout& toLayout, void* to,
                    std::size_t count) {
  const std::size_t bytes = bytesOf(fromLayout.container);
  if (fromLayout == toLayout) {
    if (count > 0) {
      std::memcpy(to, from, count * bytes);
    }
    return;
  }
  if (differInOrderOnly(fromLayout, toLayout)) {
    copySwapped(from, to, bytes, count);
    return;
  }
  HWY_DYNAMIC_DISPATCH(convertBetween)
  (fromLayout.container, toLayout.container, planOf(fromLayout, toLayout), static_cast<const std::uint8_t*>(from),
   static_cast<std::uint8_t*>(to), count);
}

}  // namespace orv::simd
#endif
