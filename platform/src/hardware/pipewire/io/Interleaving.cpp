#include "hardware/pipewire/io/Interleaving.h"

#include <algorithm>
#include <cstddef>

namespace orv::pipewire {
namespace {

/// So many frames at a time, so that those of many channels stay in the processor's cache.
constexpr std::uint32_t kBlock = 64;

/// Of `frames` frames from `first` on, those that the port has.
template <typename Sample>
std::uint32_t here(const PortSamples<Sample>& port, std::uint32_t first, std::uint32_t frames) {
  return port.samples == nullptr || port.frames <= first ? 0 : std::min(frames, port.frames - first);
}

template <typename Sample>
bool isStereo(const std::vector<PortSamples<Sample>>& ports, std::uint32_t first, std::uint32_t frames) {
  return ports.size() == 2 && here(ports[0], first, frames) == frames && here(ports[1], first, frames) == frames;
}

}  // namespace

void interleave(const HeardPorts& ports, std::uint32_t first, std::uint32_t frames, float* interleaved) noexcept {
  if (isStereo(ports, first, frames)) {
    const float* const left = ports[0].samples + first;
    const float* const right = ports[1].samples + first;
    for (std::size_t i = 0; i < frames; ++i) {
      interleaved[2 * i] = left[i];
      interleaved[2 * i + 1] = right[i];
    }
    return;
  }
  const std::size_t channels = ports.size();
  for (std::uint32_t begin = 0; begin < frames; begin += kBlock) {
    const std::uint32_t block = std::min(kBlock, frames - begin);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      float* target = interleaved + begin * channels + channel;
      const float* const source = ports[channel].samples + first + begin;
      const std::uint32_t present = here(ports[channel], first + begin, block);
      for (std::uint32_t i = 0; i < block; ++i, target += channels) {
        *target = i < present ? source[i] : 0.0F;
      }
    }
  }
}

void deinterleave(const float* interleaved, std::uint32_t first, std::uint32_t frames,
                  const PlayedPorts& ports) noexcept {
  if (interleaved != nullptr && isStereo(ports, first, frames)) {
    float* const left = ports[0].samples + first;
    float* const right = ports[1].samples + first;
    for (std::size_t i = 0; i < frames; ++i) {
      left[i] = interleaved[2 * i];
      right[i] = interleaved[2 * i + 1];
    }
    return;
  }
  const std::size_t channels = ports.size();
  for (std::uint32_t begin = 0; begin < frames; begin += kBlock) {
    const std::uint32_t block = std::min(kBlock, frames - begin);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      const std::uint32_t present = here(ports[channel], first + begin, block);
      if (present == 0) {
        continue;
      }
      float* const target = ports[channel].samples + first + begin;
      if (interleaved == nullptr) {
        std::fill_n(target, present, 0.0F);
        continue;
      }
      const float* source = interleaved + begin * channels + channel;
      for (std::uint32_t i = 0; i < present; ++i, source += channels) {
        target[i] = *source;
      }
    }
  }
}

}  // namespace orv::pipewire
