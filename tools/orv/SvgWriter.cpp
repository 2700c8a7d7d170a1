#include "SvgWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "OrvPlatform/Log.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

// The layout, in pixels.
constexpr double kWidth = 1600;
constexpr double kHeight = 400;
constexpr double kPlotLeft = 50;
constexpr double kPlotRight = 1550;
constexpr double kHeaderBaseline = 25;
constexpr double kBandTop = 38;
constexpr double kNumberBaseline = 53;
constexpr double kTimeBaseline = 67;
constexpr double kLanesTop = 74;
constexpr double kLanesBottom = 368;
constexpr double kAxisBaseline = 386;
constexpr double kLaneFill = 0.94;  // of its height that full scale takes

// Generous widths of text, to know beforehand what has room.
constexpr double kNumberCharacter = 9;
constexpr double kTimeDigit = 7.2;
constexpr double kTimeMark = 4;
constexpr double kTickSpacing = 90;

constexpr std::string_view kStyle =
    "text{font-family:'DejaVu Sans',Verdana,Arial,sans-serif;fill:#26323f}"
    ".name{font-size:15px;font-weight:bold}"
    ".summary{font-size:12px;fill:#5b6875;text-anchor:end}"
    ".number{font-size:13px;font-weight:bold;fill:#a8323e;stroke:#fff;stroke-width:3;paint-order:stroke}"
    ".time{font-size:11px;fill:#5b6875}"
    ".lane{font-size:12px;fill:#5b6875;text-anchor:end}"
    ".tick{font-size:11px;fill:#5b6875;text-anchor:middle}"
    ".wave{fill:#2a6f97;stroke:#2a6f97;stroke-width:1;stroke-linejoin:round}"
    ".centre{stroke:#b9c6d2;stroke-width:1}"
    ".axis{stroke:#8794a1;stroke-width:1}"
    ".cut{stroke:#d1495b;stroke-width:1.4}"
    ".odd{fill:#e6eff7}.even{fill:#f4f7fa}";

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string textAt(double x, double y, const char* kind, const std::string& text) {
  return formatText(R"(<text class="%s" x="%.1f" y="%.1f">)", kind, x, y) + escaped(text) + "</text>\n";
}

std::string lineFrom(double x1, double y1, double x2, double y2, const char* kind) {
  return formatText("<line class=\"%s\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>\n", kind, x1, y1, x2, y2);
}

double timeWidth(const std::string& time) {
  double width = 0;
  for (const char c : time) {
    width += c == ':' || c == '.' ? kTimeMark : kTimeDigit;
  }
  return width;
}

// Rounded to what is shown, so that no "-0.0" is.
double decibels(double peak) {
  return std::round(200 * std::log10(peak)) / 10 + 0.0;
}

// How much larger than life the waveform is drawn: powers of two for what is quiet, less than 1 for float samples past
// full scale.
double gainFor(double peak) {
  if (peak > 1) {
    return 1 / peak;
  }
  double gain = 1;
  while (gain < 32 && peak * gain * 2 <= 1) {
    gain *= 2;
  }
  return peak > 0 ? gain : 1;
}

class Drawing {
 public:
  explicit Drawing(const Picture& picture)
      : picture_(picture),
        seconds_(static_cast<double>(picture.lengthInFrames) / picture.sampleRate),
        gain_(gainFor(double{picture.peak})) {}

  std::string text() const {
    std::string svg = formatText(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\">\n", kWidth,
        kHeight, kWidth, kHeight);
    svg += "<title>" + escaped(name()) + "</title>\n<style>" + std::string(kStyle) + "</style>\n";
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    svg += bands() + header() + lanes() + cuts() + labels() + axis();
    return svg + "</svg>\n";
  }

 private:
  double x(std::uint64_t frame) const {
    const double share =
        picture_.lengthInFrames == 0 ? 0 : static_cast<double>(frame) / static_cast<double>(picture_.lengthInFrames);
    return kPlotLeft + std::min(share, 1.0) * (kPlotRight - kPlotLeft);
  }
  double secondsAt(std::uint64_t frame) const { return static_cast<double>(frame) / picture_.sampleRate; }
  std::string name() const { return printable(picture_.name); }

  std::string header() const {
    return textAt(kPlotLeft, kHeaderBaseline, "name", shortened(name(), 70)) +
           textAt(kPlotRight, kHeaderBaseline, "summary", summary());
  }

  std::string summary() const {
    std::string text = picture_.description + " · " + timeText(seconds_, {.decimals = seconds_ < 60 ? 3 : 0}) + " · ";
    text += formatText(picture_.tracks.size() == 1 ? "%zu track" : "%zu tracks", picture_.tracks.size());
    if (picture_.channels.size() < picture_.channelsInFile) {
      text += formatText(" · channels 1 to %zu of %u", picture_.channels.size(), picture_.channelsInFile);
    }
    text += picture_.peak > 0 ? formatText(" · peak %.1f dBFS", decibels(double{picture_.peak})) : " · silent";
    if (gain_ > 1) {
      text += formatText(", drawn ×%.0f", gain_);
    } else if (gain_ < 1) {
      text += ", scaled to the peak";
    }
    return text;
  }

  // What each band is called shows when the pointer rests on it.
  std::string bands() const {
    std::string text;
    for (std::size_t i = 0; i < picture_.tracks.size(); ++i) {
      const Track& track = picture_.tracks[i];
      text += formatText(R"(<rect class="%s" x="%.1f" y="%.1f" width="%.1f" height="%.1f"><title>)",
                         i % 2 == 0 ? "odd" : "even", x(track.begin), kBandTop, x(track.end) - x(track.begin),
                         kLanesBottom - kBandTop);
      text += escaped(formatText("%zu ", i + 1) + printable(track.name) + ", " + timeText(secondsAt(track.begin)) +
                      " to " + timeText(secondsAt(track.end)));
      text += "</title></rect>\n";
    }
    return text;
  }

  std::string lanes() const {
    std::string text;
    const double height = (kLanesBottom - kLanesTop) / static_cast<double>(std::max<std::size_t>(channelCount(), 1));
    for (std::size_t i = 0; i < channelCount(); ++i) {
      const double centre = kLanesTop + height * (static_cast<double>(i) + 0.5);
      text += lineFrom(kPlotLeft, centre, kPlotRight, centre, "centre");
      text += waveform(picture_.channels[i], centre, height / 2 * kLaneFill);
      text += textAt(kPlotLeft - 10, centre + 4, "lane", laneName(i));
    }
    return text;
  }

  std::size_t channelCount() const { return picture_.channels.size(); }

  std::string laneName(std::size_t channel) const {
    if (picture_.channelsInFile == 1) {
      return "";
    }
    return picture_.channelsInFile == 2 ? (channel == 0 ? "L" : "R") : std::to_string(channel + 1);
  }

  // One outline: along the largest samples from left to right, back along the smallest.
  std::string waveform(const Picture::Channel& channel, double centre, double amplitude) const {
    const std::size_t columns = channel.maximum.size();
    if (columns == 0) {
      return "";
    }
    const double step = (kPlotRight - kPlotLeft) / static_cast<double>(columns);
    const auto y = [&](float sample) { return centre - double{sample} * gain_ * amplitude; };
    const auto edge = [&](std::size_t column) { return kPlotLeft + step * static_cast<double>(column); };
    std::string text = formatText(R"(<path class="wave" d="M%.1f %.1f)", kPlotLeft, y(channel.maximum[0]));
    for (std::size_t i = 0; i < columns; ++i) {
      text += formatText("V%.1fH%.1f", y(channel.maximum[i]), edge(i + 1));
    }
    for (std::size_t i = columns; i > 0; --i) {
      text += formatText("V%.1fH%.1f", y(channel.minimum[i - 1]), edge(i - 1));
    }
    return text + "Z\"/>\n";
  }

  std::string cuts() const {
    std::string text;
    for (std::size_t i = 0; i < picture_.tracks.size(); ++i) {
      const Track& track = picture_.tracks[i];
      if (track.begin > 0) {
        text += cutAt(track.begin);
      }
      const bool meetsNext = i + 1 < picture_.tracks.size() && picture_.tracks[i + 1].begin == track.end;
      if (track.end < picture_.lengthInFrames && !meetsNext) {
        text += cutAt(track.end);
      }
    }
    return text;
  }

  std::string cutAt(std::uint64_t frame) const { return lineFrom(x(frame), kBandTop, x(frame), kLanesBottom, "cut"); }

  // Numbers that have room in their band are always there. Of the others those are that run into no neighbour.
  std::string labels() const {
    std::string text;
    double takenUpTo = 0;
    for (std::size_t i = 0; i < picture_.tracks.size(); ++i) {
      const double left = labelLeft(i);
      const double right = left + numberWidth(i);
      if (numberHasRoom(i) || (left >= takenUpTo && right <= nextNumberWithRoom(i))) {
        text += textAt(left, kNumberBaseline, "number", std::to_string(i + 1));
        takenUpTo = right;
      }
      const std::string time = timeText(secondsAt(picture_.tracks[i].begin), {.decimals = seconds_ < 10 ? 1 : 0});
      if (left + timeWidth(time) <= x(picture_.tracks[i].end)) {
        text += textAt(left, kTimeBaseline, "time", time);
      }
    }
    return text;
  }

  double labelLeft(std::size_t track) const { return x(picture_.tracks[track].begin) + 4; }
  static double numberWidth(std::size_t track) {
    return kNumberCharacter * static_cast<double>(std::to_string(track + 1).size()) + 3;
  }
  bool numberHasRoom(std::size_t track) const {
    return labelLeft(track) + numberWidth(track) <= x(picture_.tracks[track].end) + 4;
  }
  double nextNumberWithRoom(std::size_t track) const {
    for (std::size_t i = track + 1; i < picture_.tracks.size(); ++i) {
      if (numberHasRoom(i)) {
        return labelLeft(i);
      }
    }
    return kWidth;
  }

  std::string axis() const {
    std::string text = lineFrom(kPlotLeft, kLanesBottom, kPlotRight, kLanesBottom, "axis");
    const double step = tickStep();
    const TimeStyle style{.hours = seconds_ >= 3600,
                          .decimals = step >= 1      ? 0
                                      : step >= 0.1  ? 1
                                      : step >= 0.01 ? 2
                                                     : 3};
    for (int i = 0; step * i <= seconds_; ++i) {
      const double at = kPlotLeft + step * i * pixelsPerSecond();
      text += lineFrom(at, kLanesBottom, at, kLanesBottom + 5, "axis");
      text += textAt(at, kAxisBaseline, "tick", timeText(step * i, style));
    }
    return text;
  }

  double pixelsPerSecond() const { return (kPlotRight - kPlotLeft) / std::max(seconds_, 1e-9); }

  // The smallest round time whose ticks have room for their text.
  double tickStep() const {
    constexpr std::array steps{0.001, 0.002, 0.005, 0.01,   0.02,   0.05,   0.1,     0.2,    0.5,
                               1.0,   2.0,   5.0,   10.0,   15.0,   30.0,   60.0,    120.,   300.,
                               600.0, 900.0, 1800., 3600.0, 7200.0, 10800., 21600.0, 43200.0};
    for (const double step : steps) {
      if (step * pixelsPerSecond() >= kTickSpacing) {
        return step;
      }
    }
    double step = steps.back();
    while (step * pixelsPerSecond() < kTickSpacing) {
      step *= 2;
    }
    return step;
  }

  const Picture& picture_;
  const double seconds_;
  const double gain_;
};

}  // namespace

std::string drawSvg(const Picture& picture) {
  return Drawing(picture).text();
}

}  // namespace orv::cli
