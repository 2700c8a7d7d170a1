#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

/// How a time is written.
struct TimeStyle {
  bool hours = false;  ///< "0:03:28" also below an hour
  int decimals = 3;    ///< of the seconds, 0 to 3
};

/// "3:28.400", "1:03:28.400" from an hour on.
std::string timeText(double seconds, TimeStyle style = {});

/// Seconds from the length of something as the person gives it: "3:28.5", "1:02:03", "208", "208.5s" or "250ms".
/// Nothing for any other text.
std::optional<double> parseDuration(std::string_view text);

/// A place in a recording as the person gives it: a frame number, or a time.
class Position {
 public:
  /// "441000" is a frame. "10s", "10.5s", "250ms", "1:23.5" and "1:02:03" are times. Nothing for any other text.
  static std::optional<Position> parse(std::string_view text);

  /// The frame, a time being rounded to the nearest one.
  std::uint64_t frame(double sampleRate) const;

 private:
  std::optional<double> seconds_;
  std::uint64_t frame_ = 0;
};

}  // namespace orv::cli
