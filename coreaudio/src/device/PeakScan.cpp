#include "device/PeakScan.h"

#include <algorithm>

#include "OrvPlatform/Vector.h"

namespace {

/// Channels for which the kernel's second output, which nobody wants here, has room on the stack.
constexpr std::uint32_t kMostChannels = 64;

void raiseOne(float sample, float* peak) {
  *peak = sample > *peak ? sample : *peak;
}

}  // namespace

void raisePeaks(const float* samples, std::uint32_t channels, std::size_t bytes, float* peaks, std::uint32_t targets) {
  const std::size_t count = bytes / sizeof(float);
  if (channels == 0 || count == 0) {
    return;
  }
  std::size_t done = 0;
  if (channels <= targets && channels <= kMostChannels) {
    float minima[kMostChannels] = {};
    const std::size_t frames = count / channels;
    orv::simd::widenRange(samples, frames, channels, minima, peaks);
    done = frames * channels;
  }
  for (std::size_t frame = done; frame < count; frame += channels) {
    const std::size_t last = std::min<std::size_t>(count - frame, std::min(channels, targets));
    for (std::size_t channel = 0; channel < last; ++channel) {
      raiseOne(samples[frame + channel], peaks + channel);
    }
  }
}
