#pragma once

#include <cstddef>
#include <cstdint>

/// Raises the first `targets` of the `channels` peaks to the largest sample of each in `bytes` bytes of interleaved
/// floats, incomplete last frame included. The peaks begin at 0 or above: this is the largest sample, not the largest
/// magnitude. Real-time safe.
void raisePeaks(const float* samples, std::uint32_t channels, std::size_t bytes, float* peaks, std::uint32_t targets);
