#include "SvgWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "OrvPlatform/Log.h"
#include "SvgElements.h"
#include "SvgPlot.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

using Layout = SvgLayout;

constexpr double kNumberCharacter = 9;  // a generous width, as of small text
constexpr double kTickSpacing = 90;

constexpr std::string_view kStyle =
    "text{font-family:'DejaVu Sans',Verdana,Arial,sans-serif;font-size:11px;fill:#5b6875}"
    ".name{font-size:15px;font-weight:bold;fill:#26323f}"
    ".summary{font-size:12px;text-anchor:end}"
    ".number{font-size:13px;font-weight:bold;fill:#a8323e;stroke:#fff;stroke-width:3;paint-order:stroke}"
    ".scale{text-anchor:end}"
    ".tick{text-anchor:middle}"
    ".wave{fill:#2a6f97;stroke:#2a6f97;stroke-width:1;stroke-linejoin:round}"
    ".level{fill:#8fb8d4;stroke:#5f93b6;stroke-width:.7;stroke-linejoin:round}"
    ".floor{fill:none;stroke:#c2700c;stroke-width:1.6;stroke-linejoin:round}"
    ".centre{stroke:#b9c6d2;stroke-width:1}"
    ".grid{stroke:#d3dce4;stroke-width:1}"
    ".axis{stroke:#8794a1;stroke-width:1}"
    ".cut{stroke:#d1495b;stroke-width:1.4}"
    ".cutQuiet{fill:#d1495b;fill-opacity:.22}"
    ".cutConfidence{fill:#a8323e}"
    ".doubtful{stroke:#6d5a9c;stroke-width:1.2;stroke-dasharray:5 4}"
    ".doubtfulQuiet{fill:#6d5a9c;fill-opacity:.15}"
    ".doubtfulConfidence{fill:#6d5a9c}"
    ".odd{fill:#e6eff7}.even{fill:#f4f7fa}";

// Rounded to what is shown, so that no "-0.0" is.
double decibels(double peak) {
  return std::round(200 * std::log10(peak)) / 10 + 0.0;
}

class Drawing {
 public:
  explicit Drawing(const Picture& picture) : picture_(picture), plot_(picture) {}

  std::string text() const {
    std::string svg = formatText(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\">\n",
        Layout::kWidth, Layout::kHeight, Layout::kWidth, Layout::kHeight);
    svg += "<title>" + escaped(name()) + "</title>\n<style>" + std::string(kStyle) + "</style>\n";
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    svg += bands() + header() + drawWaveform(plot_) + drawLevels(plot_) + drawMarks(plot_) + labels() + axis();
    return svg + legend() + "</svg>\n";
  }

 private:
  std::string name() const { return printable(picture_.name); }

  std::string header() const {
    return textAt(Layout::kPlotLeft, Layout::kHeaderBaseline, "name", shortened(name(), 70)) +
           textAt(Layout::kPlotRight, Layout::kHeaderBaseline, "summary", summary());
  }

  std::string summary() const {
    const double seconds = plot_.seconds();
    std::string text = picture_.description + " · " + timeText(seconds, {.decimals = seconds < 60 ? 3 : 0}) + " · ";
    text += formatText(picture_.tracks.size() == 1 ? "%zu track" : "%zu tracks", picture_.tracks.size());
    text += picture_.peak > 0 ? formatText(" · peak %.1f dBFS", decibels(double{picture_.peak})) : " · silent";
    return text + (plot_.gain() > 1 ? formatText(", drawn ×%.0f", plot_.gain()) : "");
  }

  // What each band is called shows when the pointer rests on it.
  std::string bands() const {
    std::string text;
    for (std::size_t i = 0; i < picture_.tracks.size(); ++i) {
      const Track& track = picture_.tracks[i];
      const std::string title = formatText("%zu ", i + 1) + printable(track.name) + ", " +
                                timeText(plot_.secondsAt(track.begin)) + " to " + timeText(plot_.secondsAt(track.end));
      text += rectangle(plot_.x(track.begin), Layout::kBandTop, plot_.x(track.end) - plot_.x(track.begin),
                        Layout::kBandBottom - Layout::kBandTop, i % 2 == 0 ? "odd" : "even", title);
    }
    return text;
  }

  // Numbers that have room in their band are always there. Of the others those are that run into no neighbour.
  std::string labels() const {
    std::string text;
    double takenUpTo = 0;
    for (std::size_t i = 0; i < picture_.tracks.size(); ++i) {
      const double left = labelLeft(i);
      const double right = left + numberWidth(i);
      if (numberHasRoom(i) || (left >= takenUpTo && right <= nextNumberWithRoom(i))) {
        text += textAt(left, Layout::kNumberBaseline, "number", std::to_string(i + 1));
        takenUpTo = right;
      }
      const std::string time =
          timeText(plot_.secondsAt(picture_.tracks[i].begin), {.decimals = plot_.seconds() < 10 ? 1 : 0});
      if (left + smallTextWidth(time) <= plot_.x(picture_.tracks[i].end)) {
        text += textAt(left, Layout::kTimeBaseline, "time", time);
      }
    }
    return text;
  }

  double labelLeft(std::size_t track) const { return plot_.x(picture_.tracks[track].begin) + 4; }
  static double numberWidth(std::size_t track) {
    return kNumberCharacter * static_cast<double>(std::to_string(track + 1).size()) + 3;
  }
  bool numberHasRoom(std::size_t track) const {
    return labelLeft(track) + numberWidth(track) <= plot_.x(picture_.tracks[track].end) + 4;
  }
  double nextNumberWithRoom(std::size_t track) const {
    for (std::size_t i = track + 1; i < picture_.tracks.size(); ++i) {
      if (numberHasRoom(i)) {
        return labelLeft(i);
      }
    }
    return Layout::kWidth;
  }

  std::string axis() const {
    std::string text =
        lineFrom(Layout::kPlotLeft, Layout::kBandBottom, Layout::kPlotRight, Layout::kBandBottom, "axis");
    const double step = tickStep();
    const TimeStyle style{.hours = plot_.seconds() >= 3600,
                          .decimals = step >= 1      ? 0
                                      : step >= 0.1  ? 1
                                      : step >= 0.01 ? 2
                                                     : 3};
    for (int i = 0; step * i <= plot_.seconds(); ++i) {
      const double at = Layout::kPlotLeft + step * i * plot_.pixelsPerSecond();
      text += lineFrom(at, Layout::kBandBottom, at, Layout::kBandBottom + 5, "axis");
      text += textAt(at, Layout::kAxisBaseline, "tick", timeText(step * i, style));
    }
    return text;
  }

  // The smallest round time whose ticks have room for their text.
  double tickStep() const {
    constexpr std::array steps{0.001, 0.002, 0.005, 0.01,   0.02,   0.05,   0.1,     0.2,    0.5,
                               1.0,   2.0,   5.0,   10.0,   15.0,   30.0,   60.0,    120.,   300.,
                               600.0, 900.0, 1800., 3600.0, 7200.0, 10800., 21600.0, 43200.0};
    for (const double step : steps) {
      if (step * plot_.pixelsPerSecond() >= kTickSpacing) {
        return step;
      }
    }
    double step = steps.back();
    while (step * plot_.pixelsPerSecond() < kTickSpacing) {
      step *= 2;
    }
    return step;
  }

  // Explains what there is.
  std::string legend() const {
    constexpr double middle = Layout::kLegendBaseline - 4;
    std::string text;
    double left = Layout::kPlotLeft;
    const auto entry = [&](const std::string& sample, const std::string& meaning) {
      text += sample + textAt(left + 30, Layout::kLegendBaseline, "legend", meaning);
      left += 30 + smallTextWidth(meaning) + 20;
    };
    entry(rectangle(left, middle - 5, 24, 10, "wave"), "waveform of all channels");
    entry(rectangle(left, middle - 5, 24, 10, "level"), "level, from the quietest to the loudest moment");
    if (!picture_.floor.empty()) {
      entry(lineFrom(left, middle, left + 24, middle, "floor"), "noise floor");
    }
    if (picture_.tracks.size() > 1) {
      entry(lineFrom(left, middle, left + 24, middle, "cut"),
            picture_.cuts.empty() ? "cut" : "cut, with its confidence from 0 to 1");
    }
    if (!picture_.doubtful.empty()) {
      entry(lineFrom(left, middle, left + 24, middle, "doubtful"), "doubtful, not cut");
    }
    return text;
  }

  const Picture& picture_;
  const SvgPlot plot_;
};

}  // namespace

std::string drawSvg(const Picture& picture) {
  return Drawing(picture).text();
}

}  // namespace orv::cli
