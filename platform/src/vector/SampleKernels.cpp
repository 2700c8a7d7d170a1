#include "vector/SampleKernels.h"

#include <cstring>

#include "vector/PlainSamples.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/SampleKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "vector/ByteVectors-inl.h"
#include "vector/SampleLoader-inl.h"
#include "vector/SampleStorers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orv::simd::HWY_NAMESPACE {
namespace {

#if ORV_SAMPLES_HAVE_VECTORS

/// Converts as many whole vectors as there are, two at a time, and says how many samples that is.
template <SampleContainer kFrom, SampleContainer kTo, Steps kSteps>
std::size_t convertVectors(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  using T = Tags<kFrom, kTo, kSteps>;
  constexpr std::size_t kAtOnce = 2 * T::kLanes;
  // Vectors of 3-byte samples reach a third of their size beyond the last sample.
  constexpr bool kReachesBeyond = kFrom == SampleContainer::int24 || kTo == SampleContainer::int24;
  constexpr std::size_t kNeeded = kAtOnce + (kReachesBeyond ? (T::kLanes + 2) / 3 : 0);
  const Loader<T, kFrom> loader(plan);
  const Storer<T, kTo> storer(plan);
  std::size_t done = 0;
  const auto step = [&](std::size_t i) HWY_ATTR {
    const std::uint8_t* const source = from + i * bytesOf(kFrom);
    storer.store(loader.load(source), loader.load(source + T::kLanes * bytesOf(kFrom)), to + i * bytesOf(kTo));
  };
  if constexpr (T::kPlain) {
    // Loops this short run at a speed that hangs on where they come to lie, unless they are unrolled.
    for (; count - done >= kNeeded + kAtOnce; done += 2 * kAtOnce) {
      step(done);
      step(done + kAtOnce);
    }
  }
  for (; count - done >= kNeeded; done += kAtOnce) {
    step(done);
  }
  return done;
}

template <SampleContainer kFrom, SampleContainer kTo>
std::size_t convertVectors(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  if constexpr (kFrom == SampleContainer::int8 && kTo == SampleContainer::int16) {
    if (coversWholeContainers(plan, 2)) {
      return widenBytes(plan, from, to, count);
    }
  }
  if constexpr (kFrom == SampleContainer::int16 && kTo == SampleContainer::int8) {
    if (coversWholeContainers(plan, 1)) {
      return narrowWords(plan, from, to, count);
    }
  }
  constexpr bool kOrderMatters = ordersApartAsSource(kFrom) || ordersApartAsDestination(kTo);
  switch (plan.steps) {
    case Steps::fewest:
      return convertVectors<kFrom, kTo, Steps::fewest>(plan, from, to, count);
    case Steps::withOrder:
      return convertVectors < kFrom, kTo, kOrderMatters ? Steps::withOrder : Steps::fewest > (plan, from, to, count);
    case Steps::all:
      return convertVectors<kFrom, kTo, Steps::all>(plan, from, to, count);
  }
  return 0;
}

#endif

template <SampleContainer kFrom, SampleContainer kTo>
void convert(const SamplePlan& plan, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  std::size_t done = 0;
#if ORV_SAMPLES_HAVE_VECTORS
  done = convertVectors<kFrom, kTo>(plan, from, to, count);
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
