#pragma once

#include <cstdint>

namespace orv::virtualhardware {

/// Which host time belongs to which frame, while the device's clock runs at a rate. One thread at a time. Real-time
/// safe.
class Timeline {
 public:
  /// Frame 0 is at `host`.
  void begin(std::uint64_t host, double rate) noexcept;
  /// From `frame` on the clock runs at another rate. The same one changes nothing.
  void setRate(double frame, double rate) noexcept;

  std::uint64_t hostAt(double frame) const noexcept;
  /// Frames in so many nanoseconds.
  double framesIn(std::uint64_t nanoseconds) const noexcept;
  /// Nanoseconds of so many frames.
  double nanosecondsOf(double frames) const noexcept { return frames * 1e9 / rate_; }

 private:
  std::uint64_t baseHost_ = 0;
  double baseFrame_ = 0.0;
  double rate_ = 1.0;
};

}  // namespace orv::virtualhardware
