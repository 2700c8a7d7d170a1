#pragma once

#include <cstddef>
#include <cstdint>

#include "vector/SampleKernels.h"

namespace orv::converter {

/// Maps interleaved frames from one number of channels to another: mono to stereo duplicates, stereo to mono averages;
/// otherwise channels map by position, what is too many is left out and what is missing is silent.
///
/// `container` (int32, float32 or float64) says what the samples are, in native order. The mean of integers is exact
/// where a bit is left for it, and rounds down where not. Real-time safe. `from` and `to` must not overlap.
void mapChannels(simd::SampleContainer container, const void* from, std::uint32_t fromChannels, void* to,
                 std::uint32_t toChannels, std::size_t frames);

}  // namespace orv::converter
