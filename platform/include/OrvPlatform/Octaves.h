#pragma once

#include <cstddef>
#include <cstdint>

#include "OrvPlatform/Export.h"

/// A filter bank of octaves with SIMD instructions, chosen for the machine at run time. Each step halves the rate: one
/// pass over the samples costs about as much as the first two steps. Everything here is real-time safe and thread-safe,
/// and takes pointers of any alignment.
namespace orv::simd {

/// Copies one channel out of interleaved float frames. NaN and infinite samples become 0, and all others are limited to
/// ±`kLargestTaken`, so that their squares can be summed without care.
ORV_API void takeChannel(const float* frames, std::size_t count, std::uint32_t channels, std::uint32_t channel,
                         float* samples);
inline constexpr float kLargestTaken = 1.0e6F;

/// Samples before the first one that `splitOctave` looks at.
inline constexpr std::size_t kOctaveHistory = 2;

/// Splits `2 * pairs` samples into their lower and their upper octave, each at half the rate.
///
/// The filters have four taps: (1 3 3 1) / 8 and (-1 3 -3 1) / 8. The upper one has a triple zero at 0 Hz, which keeps
/// DC, rumble and hum out of every octave above theirs. `samples[-kOctaveHistory]` to `samples[-1]` are those before.
/// `low` and `high` hold `pairs` values; `high` may be null where nobody wants it. `low` may not overlap `samples`.
ORV_API void splitOctave(const float* samples, std::size_t pairs, float* low, float* high);

/// Adds the sum of the squares of each run of `length` samples to `sums[0]`, `sums[stride]`, …
ORV_API void addSquaresOfRuns(const float* samples, std::size_t length, std::size_t runs, float* sums,
                              std::size_t stride);

}  // namespace orv::simd
