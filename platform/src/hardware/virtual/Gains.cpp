#include "hardware/virtual/Gains.h"

namespace orv::virtualhardware {

void Gains::set(const SectionState& section) {
  for (std::size_t i = 0; i < factors_.size(); ++i) {
    factors_[i].store(section.gain(static_cast<std::uint32_t>(i + 1)), std::memory_order_relaxed);
  }
}

void Gains::apply(StreamBuffers& buffers) const noexcept {
  std::size_t first = 0;
  for (std::size_t stream = 0; stream < buffers.streams(); ++stream) {
    const std::uint32_t channels = buffers.channels(stream);
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
      const float factor = factors_[first + channel].load(std::memory_order_relaxed);
      if (factor == 1.0F) {
        continue;
      }
      float* sample = buffers.samples(stream) + channel;
      for (std::uint32_t frame = 0; frame < buffers.frames(); ++frame, sample += channels) {
        // Not a product: silence is silence even where a proc left something that is no number.
        *sample = factor == 0.0F ? 0.0F : *sample * factor;
      }
    }
    first += channels;
  }
}

}  // namespace orv::virtualhardware
