#include "hardware/virtual/FrameRing.h"

#include <algorithm>

namespace orv::virtualhardware {

FrameRing::FrameRing(std::uint32_t channels, std::size_t capacity)
    : channels_(channels), capacity_(std::max<std::size_t>(capacity, 1)), samples_(capacity_ * channels) {}

std::size_t FrameRing::room() const noexcept {
  return capacity_ - static_cast<std::size_t>(written_ - consumed_.load(std::memory_order_acquire));
}

std::size_t FrameRing::write(const float* frames, std::size_t count) noexcept {
  const std::size_t total = std::min(count, room());
  for (std::size_t done = 0; done < total;) {
    const auto at = static_cast<std::size_t>(written_ % capacity_);
    const std::size_t part = std::min(total - done, capacity_ - at);
    float* const target = samples_.data() + at * channels_;
    if (frames == nullptr) {
      std::fill_n(target, part * channels_, 0.0F);
    } else {
      std::copy_n(frames + done * channels_, part * channels_, target);
    }
    written_ += part;
    done += part;
  }
  return total;
}

std::size_t FrameRing::available() const noexcept {
  return static_cast<std::size_t>(committed_.load(std::memory_order_acquire) -
                                  consumed_.load(std::memory_order_relaxed));
}

std::size_t FrameRing::read(float* frames, std::size_t count) noexcept {
  const std::size_t total = std::min(count, available());
  std::uint64_t position = consumed_.load(std::memory_order_relaxed);
  for (std::size_t done = 0; done < total;) {
    const auto at = static_cast<std::size_t>(position % capacity_);
    const std::size_t part = std::min(total - done, capacity_ - at);
    if (frames != nullptr) {
      std::copy_n(samples_.data() + at * channels_, part * channels_, frames + done * channels_);
    }
    position += part;
    done += part;
  }
  consumed_.store(position, std::memory_order_release);
  return total;
}

}  // namespace orv::virtualhardware
