#include "hardware/virtual/Timeline.h"

#include <algorithm>
#include <cmath>

namespace orv::virtualhardware {
namespace {

/// Nanoseconds; more than a century, and added to any time of the machine still a number of 64 bits.
constexpr double kForEver = 4e18;

}  // namespace

void Timeline::begin(std::uint64_t host, double rate) noexcept {
  baseHost_ = host;
  baseFrame_ = 0.0;
  rate_ = rate;
}

void Timeline::setRate(double frame, double rate) noexcept {
  if (rate != rate_) {
    baseHost_ = hostAt(frame);
    baseFrame_ = frame;
    rate_ = rate;
  }
}

std::uint64_t Timeline::hostAt(double frame) const noexcept {
  // Counted from the base, so that nothing is added up and rounded again and again.
  const double offset = std::clamp(nanosecondsOf(frame - baseFrame_), -kForEver, kForEver);
  if (offset >= 0.0) {
    return baseHost_ + static_cast<std::uint64_t>(std::llround(offset));
  }
  const auto back = static_cast<std::uint64_t>(std::llround(-offset));
  return back < baseHost_ ? baseHost_ - back : 0;
}

double Timeline::framesIn(std::uint64_t nanoseconds) const noexcept {
  return static_cast<double>(nanoseconds) * rate_ / 1e9;
}

}  // namespace orv::virtualhardware
