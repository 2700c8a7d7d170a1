#include "SvgPlot.h"

#include <algorithm>
#include <cmath>

#include "OrvPlatform/Log.h"
#include "SvgElements.h"

namespace orv::cli {
namespace {

constexpr double kWaveFill = 0.94;  // of its lane that full scale takes

// Digital silence lies below every scale.
constexpr double kDeepestScale = -100;
constexpr double kShallowestScale = -40;

double gainFor(double peak) {
  double gain = 1;
  while (gain < 32 && peak * gain * 2 <= 1) {
    gain *= 2;
  }
  return peak > 0 ? gain : 1;
}

// A round level below everything that is not silence.
double lowestLevelOf(const Picture& picture) {
  double lowest = kShallowestScale;
  for (const Picture::Column& column : picture.columns) {
    lowest = std::min(lowest, double{column.quietest});
  }
  return std::max(std::floor((lowest - 1) / 10) * 10, kDeepestScale);
}

double columnEnd(const SvgPlot& plot, std::size_t column) {
  const std::vector<Picture::Column>& columns = plot.picture().columns;
  return column + 1 < columns.size() ? plot.x(columns[column + 1].begin) : SvgLayout::kPlotRight;
}

// The outline of a stripe: along its upper edge from left to right, back along the lower one.
template <typename Upper, typename Lower>
std::string stripe(const SvgPlot& plot, const char* kind, Upper upper, Lower lower) {
  const std::vector<Picture::Column>& columns = plot.picture().columns;
  if (columns.empty()) {
    return "";
  }
  std::string text = formatText(R"(<path class="%s" d="M%.1f %.1f)", kind, SvgLayout::kPlotLeft, upper(columns[0]));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    text += formatText("V%.1fH%.1f", upper(columns[i]), columnEnd(plot, i));
  }
  for (std::size_t i = columns.size(); i > 0; --i) {
    text += formatText("V%.1fH%.1f", lower(columns[i - 1]), plot.x(columns[i - 1].begin));
  }
  return text + "Z\"/>\n";
}

std::string levelScale(const SvgPlot& plot) {
  constexpr int step = 20;
  std::string text;
  for (int level = 0; level >= plot.lowestLevel(); level -= step) {
    const double y = plot.levelY(level);
    text += lineFrom(SvgLayout::kPlotLeft, y, SvgLayout::kPlotRight, y, "grid");
    text += textAt(SvgLayout::kPlotLeft - 8, y + 4, "scale", level == 0 ? "0 dB" : "−" + std::to_string(-level));
  }
  return text;
}

std::string floorLine(const SvgPlot& plot) {
  std::string points;
  for (const auto& point : plot.picture().floor) {
    points +=
        formatText("%s%.1f,%.1f", points.empty() ? "" : " ", plot.x(point.frame), plot.levelY(double{point.level}));
  }
  return points.empty() ? "" : "<polyline class=\"floor\" points=\"" + points + "\"/>\n";
}

}  // namespace

SvgPlot::SvgPlot(const Picture& picture)
    : picture_(picture),
      seconds_(static_cast<double>(picture.lengthInFrames) / picture.sampleRate),
      gain_(gainFor(double{picture.peak})),
      lowestLevel_(lowestLevelOf(picture)) {}

double SvgPlot::pixelsPerSecond() const {
  return (SvgLayout::kPlotRight - SvgLayout::kPlotLeft) / std::max(seconds_, 1e-9);
}

double SvgPlot::x(std::uint64_t frame) const {
  const double share =
      picture_.lengthInFrames == 0 ? 0 : static_cast<double>(frame) / static_cast<double>(picture_.lengthInFrames);
  return SvgLayout::kPlotLeft + std::min(share, 1.0) * (SvgLayout::kPlotRight - SvgLayout::kPlotLeft);
}

double SvgPlot::waveY(double sample) const {
  constexpr double centre = (SvgLayout::kWaveTop + SvgLayout::kWaveBottom) / 2;
  constexpr double amplitude = (SvgLayout::kWaveBottom - SvgLayout::kWaveTop) / 2 * kWaveFill;
  return centre - std::clamp(sample * gain_, -1.0, 1.0) * amplitude;
}

double SvgPlot::levelY(double level) const {
  const double share = std::clamp(level / lowestLevel_, 0.0, 1.0);
  return SvgLayout::kLevelTop + share * (SvgLayout::kLevelBottom - SvgLayout::kLevelTop);
}

std::string drawWaveform(const SvgPlot& plot) {
  const double centre = plot.waveY(0);
  return lineFrom(SvgLayout::kPlotLeft, centre, SvgLayout::kPlotRight, centre, "centre") +
         stripe(
             plot, "wave", [&](const Picture::Column& column) { return plot.waveY(double{column.maximum}); },
             [&](const Picture::Column& column) { return plot.waveY(double{column.minimum}); });
}

std::string drawLevels(const SvgPlot& plot) {
  return levelScale(plot) +
         stripe(
             plot, "level", [&](const Picture::Column& column) { return plot.levelY(double{column.loudest}); },
             [&](const Picture::Column& column) { return plot.levelY(double{column.quietest}); }) +
         floorLine(plot);
}

}  // namespace orv::cli
