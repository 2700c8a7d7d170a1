#pragma once

#include <cstddef>
#include <cstdint>

#include "OrvPlatform/Export.h"

/// Loops over samples with SIMD instructions, chosen for the machine at run time. Every function here is real-time safe
/// and thread-safe, and takes pointers of any alignment.
namespace orv::simd {

/// Byte order of 16-bit samples in memory.
enum class SampleOrder { native, swapped };

/// Reverses the bytes of each of `count` words in place.
ORV_API void swapBytes16(void* words, std::size_t count);
ORV_API void swapBytes32(void* words, std::size_t count);
ORV_API void swapBytes64(void* words, std::size_t count);
/// Reverses the bytes of each of `count` words of 3 bytes in place.
ORV_API void swapBytes24(void* words, std::size_t count);

/// Counts how often each channel of `frames` interleaved 16-bit frames crosses `level`, and returns the largest count.
///
/// A channel starts "above". Above, a sample less than the level is a crossing and makes it "below"; below, a sample
/// greater than the level is a crossing and makes it "above". A sample equal to the level changes nothing. Channels
/// of any number; 0 channels give 0. `order` says how the samples lie in memory; they are not changed.
ORV_API std::uint32_t countLevelCrossings16(const std::int16_t* samples, std::size_t frames, std::uint32_t channels,
                                            std::int16_t level, SampleOrder order = SampleOrder::native);

/// Smallest and largest sample of each channel of `frames` interleaved float frames. `minimum` and `maximum` hold
/// `channels` values each, which are only ever widened: the caller sets them to begin with. NaN is passed over.
ORV_API void widenRange(const float* samples, std::size_t frames, std::uint32_t channels, float* minimum,
                        float* maximum);

}  // namespace orv::simd

// Strides count samples. An output may be the very input it is made from; it must not overlap one otherwise. Samples
// that do not lie side by side (stride other than 1) need a float's alignment. Real-time safe; thread-safe.
extern "C" {

/// sum[i] = first[i] + second[i] for `count` samples.
ORV_API void vadd(const float* first, std::ptrdiff_t firstStride, const float* second, std::ptrdiff_t secondStride,
                  float* sum, std::ptrdiff_t sumStride, std::size_t count);
/// scaled[i] = samples[i] * *factor for `count` samples.
ORV_API void vsmul(const float* samples, std::ptrdiff_t samplesStride, const float* factor, float* scaled,
                   std::ptrdiff_t scaledStride, std::size_t count);

}  // extern "C"
