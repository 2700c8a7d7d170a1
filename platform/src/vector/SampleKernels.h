#pragma once

#include <cstddef>
#include <cstdint>

#include "OrvPlatform/Vector.h"

/// Conversion of sample formats with SIMD instructions, for the converter service. Every function here is real-time
/// safe and thread-safe, and takes pointers of any alignment.
namespace orv::simd {

/// What holds one sample.
enum class SampleContainer : std::uint8_t { int8, int16, int24, int32, float32, float64 };
inline constexpr std::size_t kSampleContainers = 6;

constexpr std::size_t bytesOf(SampleContainer container) {
  constexpr std::size_t kBytes[kSampleContainers] = {1, 2, 3, 4, 4, 8};
  return kBytes[static_cast<std::size_t>(container)];
}

constexpr bool isFloat(SampleContainer container) {
  return container == SampleContainer::float32 || container == SampleContainer::float64;
}

/// How one sample lies in memory. Samples that are the same must have equal layouts: `bits` of a float is 0,
/// `inUpperBits` is true where the sample fills its container, `order` of one byte is native.
struct SampleLayout {
  SampleContainer container = SampleContainer::float32;
  SampleOrder order = SampleOrder::native;
  /// Significant bits of an integer, 1 to those of the container.
  std::uint8_t bits = 0;
  /// Offset binary: silence is the midpoint.
  bool isUnsigned = false;
  /// An integer that does not fill its container lies in the upper bits of it, with zeros below; otherwise in the lower
  /// bits, with its sign (signed) or zeros (unsigned) above.
  bool inUpperBits = true;

  bool operator==(const SampleLayout&) const = default;
};

/// The native 16-bit and 32-bit integer, 32-bit and 64-bit float: what is calculated with.
inline constexpr SampleLayout kNativeInt16{SampleContainer::int16, SampleOrder::native, 16, false, true};
inline constexpr SampleLayout kNativeInt32{SampleContainer::int32, SampleOrder::native, 32, false, true};
inline constexpr SampleLayout kNativeFloat32{};
inline constexpr SampleLayout kNativeFloat64{SampleContainer::float64, SampleOrder::native, 0, false, true};

/// Converts `count` samples in one pass. `from` and `to` must not overlap.
///
/// Full scale is 1.0 in floats and 2^(bits-1) in integers. Between integers nothing goes through floats: widening adds
/// zero bits below; narrowing rounds to nearest, ties upward, and saturates. Integer from float rounds to nearest, ties
/// to even, and saturates; NaN becomes 0. Float from integer is the nearest float. An integer in the upper bits of its
/// container is read with whatever is in the bits below, so nothing that a file holds gets lost. Layouts that differ in
/// nothing or in their order only are copied as they are, NaNs and stray bits included.
void convertSamples(const SampleLayout& fromLayout, const void* from, const SampleLayout& toLayout, void* to,
                    std::size_t count);

/// Copies `count` words of 2, 3, 4 or 8 bytes with their bytes reversed. `from` and `to` are the same memory or do not
/// overlap.
void copySwapped(const void* from, void* to, std::size_t wordBytes, std::size_t count);

}  // namespace orv::simd
