#include "LevelDisplay.h"

#include <algorithm>
#include <cmath>

#include "OrvPlatform/Log.h"

namespace orv::cli {
namespace {

constexpr double kQuietest = -60.0;  // dBFS at the left end
constexpr int kNumberColumns = 16;   // channel number in front, level behind
constexpr int kLeastBar = 10;

double decibels(float amplitude) {
  return 20.0 * std::log10(static_cast<double>(amplitude));
}

/// How many of `width` places stand for an amplitude.
int placesFor(float amplitude, int width) {
  if (!(amplitude > 0)) {
    return 0;
  }
  const double share = (decibels(amplitude) - kQuietest) / -kQuietest;
  return static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width));
}

std::string scaleLine(int width) {
  std::string line(static_cast<std::size_t>(width) + 5, ' ');
  for (int level = -60; level <= 0; level += 10) {
    const std::string number = std::to_string(level);
    const auto place = static_cast<std::size_t>(std::lround((level - kQuietest) / -kQuietest * width));
    line.replace(std::min(place, line.size() - number.size()), number.size(), number);
  }
  return "   " + line;
}

}  // namespace

std::string levelBar(float amplitude, float held, int width) {
  std::string text;
  const int filled = placesFor(amplitude, width);
  const int mark = placesFor(held, width) - 1;
  for (int place = 0; place < width; ++place) {
    text += place == mark ? "│" : place < filled ? "█" : "·";
  }
  return text;
}

void Levels::add(const LevelTap::Cycle& cycle) {
  channels = std::max(channels, cycle.channels);
  to += cycle.frames;
  for (std::size_t i = 0; i < LevelTap::kChannels; ++i) {
    peaks[i] = std::max(peaks[i], cycle.peaks[i]);
    magnitudes[i] = std::max(magnitudes[i], cycle.magnitudes[i]);
  }
}

void Levels::restart() {
  from = to;
  peaks.fill(0);
  magnitudes.fill(0);
}

float Levels::loudest() const {
  return *std::max_element(magnitudes.begin(), magnitudes.end());
}

std::string decibelText(float amplitude) {
  return amplitude > 0 ? formatText("%.2f", decibels(amplitude)) : "-inf";
}

const std::array<float, LevelTap::kChannels>& PeakHold::add(const Levels& levels, Clock::time_point now) {
  for (std::size_t i = 0; i < LevelTap::kChannels; ++i) {
    if (levels.magnitudes[i] >= held_[i] || now - since_[i] > kTime) {
      held_[i] = levels.magnitudes[i];
      since_[i] = now;
    }
  }
  return held_;
}

float PeakHold::loudestAfter(const Levels& levels, Clock::time_point now) {
  const auto& held = add(levels, now);
  return *std::max_element(held.begin(), held.end());
}

std::string levelBars(const Levels& levels, const std::array<float, LevelTap::kChannels>& held, int columns) {
  const int width = std::max(columns - kNumberColumns, kLeastBar);
  std::string text;
  for (std::uint32_t i = 0; i < levels.channels; ++i) {
    const char* const full = held[i] >= 1.0F ? " CLIP" : "";
    text += formatText("%2u ", i + 1) + levelBar(levels.magnitudes[i], held[i], width) +
            formatText(" %7s", decibelText(held[i]).c_str()) + full + "\n";
  }
  return text + scaleLine(width) + " dBFS\n";
}

}  // namespace orv::cli
