#include <algorithm>

#include "OrvPlatform/Log.h"
#include "SvgElements.h"
#include "SvgPlot.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

using Boundary = Detection::Boundary;

constexpr double kConfidenceBaseline = 268;  // between the lanes
constexpr double kConfidenceOffset = 3;      // from its line
constexpr double kLeastQuietWidth = 1.5;

class Marks {
 public:
  explicit Marks(const SvgPlot& plot) : plot_(plot), picture_(plot.picture()) {}

  std::string text() {
    std::string result;
    for (const Boundary& boundary : picture_.doubtful) {
      result += quietStretch(boundary, "doubtfulQuiet") + lineAt(boundary.frame, "doubtful");
    }
    for (const Boundary& boundary : picture_.cuts) {
      result += quietStretch(boundary, "cutQuiet");
    }
    result += cuts();
    for (const Boundary& boundary : picture_.cuts) {
      result += confidence(boundary, "cutConfidence");
    }
    for (const Boundary& boundary : mostLikely(picture_.doubtful)) {
      result += confidence(boundary, "doubtfulConfidence");
    }
    return result;
  }

 private:
  struct Span {
    double left;
    double right;
  };

  static std::vector<Boundary> mostLikely(std::vector<Boundary> boundaries) {
    std::ranges::stable_sort(boundaries, std::ranges::greater(), &Boundary::confidence);
    return boundaries;
  }

  std::string lineAt(std::uint64_t frame, const char* kind) const {
    return lineFrom(plot_.x(frame), SvgLayout::kBandTop, plot_.x(frame), SvgLayout::kBandBottom, kind);
  }

  // What was heard there shows when the pointer rests on it.
  std::string quietStretch(const Boundary& boundary, const char* kind) const {
    const double left = plot_.x(boundary.quietBegin);
    const double width = std::max(plot_.x(boundary.quietEnd) - left, kLeastQuietWidth);
    const std::string title = timeText(plot_.secondsAt(boundary.frame)) + ", confidence " +
                              formatText("%.2f", boundary.confidence) + ": " + printable(boundary.reason);
    return rectangle(left, SvgLayout::kLevelTop, width, SvgLayout::kLevelBottom - SvgLayout::kLevelTop, kind, title);
  }

  // Stretches that belong to no track have a cut on both sides.
  std::string cuts() const {
    const std::vector<Track>& tracks = picture_.tracks;
    std::string result;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
      if (tracks[i].begin > 0) {
        result += lineAt(tracks[i].begin, "cut");
      }
      const bool meetsNext = i + 1 < tracks.size() && tracks[i + 1].begin == tracks[i].end;
      if (tracks[i].end < picture_.lengthInFrames && !meetsNext) {
        result += lineAt(tracks[i].end, "cut");
      }
    }
    return result;
  }

  // Those that come first take the room.
  std::string confidence(const Boundary& boundary, const char* kind) {
    const std::string number = formatText("%.2f", boundary.confidence);
    const double left = plot_.x(boundary.frame) + kConfidenceOffset;
    const Span span{left, left + smallTextWidth(number)};
    const bool isTaken = std::ranges::any_of(
        taken_, [&](const Span& other) { return span.left < other.right && other.left < span.right; });
    if (isTaken || span.right > SvgLayout::kWidth) {
      return "";
    }
    taken_.push_back(span);
    return textAt(left, kConfidenceBaseline, kind, number);
  }

  const SvgPlot& plot_;
  const Picture& picture_;
  std::vector<Span> taken_;
};

}  // namespace

std::string drawMarks(const SvgPlot& plot) {
  return Marks(plot).text();
}

}  // namespace orv::cli
