#include "hardware/virtual/InputFeed.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace orv::virtualhardware {

InputFeed::~InputFeed() = default;

bool SilenceFeed::read(float* target, std::uint32_t frames, double /*rate*/) noexcept {
  std::fill_n(target, std::size_t{frames} * channels_, 0.0F);
  return true;
}

bool ToneFeed::read(float* target, std::uint32_t frames, double rate) noexcept {
  for (std::uint32_t i = 0; i < frames; ++i) {
    const auto sample = static_cast<float>(level_ * std::sin(2.0 * std::numbers::pi * turns_));
    target = std::fill_n(target, channels_, sample);
    turns_ += hertz_ / rate;
    turns_ -= std::floor(turns_);
  }
  return true;
}

}  // namespace orv::virtualhardware
