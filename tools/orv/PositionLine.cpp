#include "PositionLine.h"

#include <algorithm>

#include "LevelDisplay.h"
#include "OrvPlatform/Log.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

constexpr int kWidestBar = 50;
constexpr int kLeastBar = 5;

std::string bar(double fraction, int width) {
  const int filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * width);
  return " [" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(width - filled), '-') + "]";
}

}  // namespace

std::string positionLine(const PlayPosition& position, int columns) {
  const TimeStyle style{.hours = position.length >= 3600, .decimals = 1};
  const std::string time = timeText(position.seconds, style) + " of " + timeText(position.length, style);
  std::string state;
  if (position.isPaused) {
    state = "  paused";
  } else if (position.peak) {
    state = formatText("  %7s dBFS", decibelText(*position.peak).c_str());
  }
  // The last column stays free: some terminals wrap when it is written.
  const int room = columns - 1 - static_cast<int>(time.size() + state.size()) - 3;
  const double fraction = position.length > 0 ? position.seconds / position.length : 0;
  const std::string line = time + (room >= kLeastBar ? bar(fraction, std::min(room, kWidestBar)) : "") + state;
  return line.substr(0, static_cast<std::size_t>(std::max(columns - 1, 0)));
}

}  // namespace orv::cli
