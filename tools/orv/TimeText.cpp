#include "TimeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "OrvPlatform/Log.h"

namespace orv::cli {
namespace {

// Longer than any recording, and far from where the arithmetic below would overflow.
constexpr double kLongestSeconds = 1e13;

constexpr std::array<std::uint64_t, 4> kUnitsPerSecond{1, 10, 100, 1000};

// A number without sign or exponent; nothing for any other text.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos) {
    return std::nullopt;
  }
  Number number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
    return std::nullopt;
  }
  return number;
}

std::optional<double> parseWithUnit(std::string_view text) {
  const bool milliseconds = text.ends_with("ms");
  text.remove_suffix(milliseconds ? 2 : 1);
  const std::optional<double> number = parseNumber<double>(text);
  return number ? std::optional(milliseconds ? *number / 1000 : *number) : std::nullopt;
}

// "m:ss", "h:mm:ss", the seconds with decimals.
std::optional<double> parseClock(std::string_view text) {
  const std::size_t lastColon = text.rfind(':');
  const std::optional<double> seconds = parseNumber<double>(text.substr(lastColon + 1));
  std::string_view upper = text.substr(0, lastColon);
  double minutes = 0;
  if (const std::size_t colon = upper.find(':'); colon != std::string_view::npos) {
    const auto hours = parseNumber<std::uint32_t>(upper.substr(0, colon));
    if (!hours) {
      return std::nullopt;
    }
    minutes = 60.0 * *hours;
    upper.remove_prefix(colon + 1);
  }
  const auto minutesGiven = parseNumber<std::uint32_t>(upper);
  if (!seconds || !minutesGiven) {
    return std::nullopt;
  }
  return 60.0 * (minutes + *minutesGiven) + *seconds;
}

// A time rather than a bare number.
bool isTime(std::string_view text) {
  return text.find(':') != std::string_view::npos || text.ends_with('s');
}

std::optional<double> parseTime(std::string_view text) {
  return text.find(':') != std::string_view::npos ? parseClock(text) : parseWithUnit(text);
}

}  // namespace

std::string timeText(double seconds, TimeStyle style) {
  if (!(seconds <= kLongestSeconds)) {
    return "very long";
  }
  const std::uint64_t perSecond = kUnitsPerSecond[static_cast<std::size_t>(style.decimals)];
  const auto units = static_cast<std::uint64_t>(std::llround(std::max(seconds, 0.0) * static_cast<double>(perSecond)));
  const std::uint64_t wholeSeconds = units / perSecond;
  const std::uint64_t hours = wholeSeconds / 3600;

  using Count = unsigned long long;
  std::string result = hours > 0 || style.hours ? formatText("%llu:%02llu", Count{hours}, Count{wholeSeconds / 60 % 60})
                                                : formatText("%llu", Count{wholeSeconds / 60});
  result += formatText(":%02llu", Count{wholeSeconds % 60});
  if (style.decimals > 0) {
    result += formatText(".%0*llu", style.decimals, Count{units % perSecond});
  }
  return result;
}

std::optional<double> parseDuration(std::string_view text) {
  const std::optional<double> seconds = isTime(text) ? parseTime(text) : parseNumber<double>(text);
  return seconds && *seconds <= kLongestSeconds ? seconds : std::nullopt;
}

std::optional<Position> Position::parse(std::string_view text) {
  Position position;
  if (isTime(text)) {
    position.seconds_ = parseTime(text);
    return position.seconds_ ? std::optional(position) : std::nullopt;
  }
  const auto frame = parseNumber<std::uint64_t>(text);
  position.frame_ = frame.value_or(0);
  return frame ? std::optional(position) : std::nullopt;
}

std::uint64_t Position::frame(double sampleRate) const {
  if (!seconds_) {
    return frame_;
  }
  const double frames = std::round(*seconds_ * sampleRate);
  constexpr double most = 9e18;  // no recording is as long; above it the cast would not hold
  return frames < most ? static_cast<std::uint64_t>(frames) : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace orv::cli
