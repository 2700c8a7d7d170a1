#pragma once

#include <cstdint>
#include <limits>

/// `value` without its fraction; 0 for what is below zero or no number, the largest value for what is beyond it.
inline std::uint32_t toFrameCount(double value) {
  constexpr double kBeyond = 4294967296.0;
  if (!(value > 0.0)) {
    return 0;
  }
  return value < kBeyond ? static_cast<std::uint32_t>(value) : std::numeric_limits<std::uint32_t>::max();
}

/// The frame at `toRate` that is as many seconds from the begin as `frame` is at `fromRate`. The seconds are rounded to
/// single precision: hosts keep positions that were made this way.
inline std::uint32_t frameBySeconds(std::uint32_t frame, double fromRate, double toRate) {
  const auto seconds = static_cast<float>(frame / fromRate);
  return toFrameCount(static_cast<double>(seconds) * toRate);
}

/// The frame at `toRate` that is nearest to `frame` at `fromRate`.
inline std::uint32_t frameAtRate(std::uint32_t frame, double fromRate, double toRate) {
  return fromRate == toRate ? frame : toFrameCount(frame * toRate / fromRate + 0.5);
}
