#include "OrvPlatform/Log.h"
#include "SplitReport.h"
#include "Text.h"

namespace orv::cli {
namespace {

std::string write(const SplitReport& report) {
  const auto seconds = [&](std::uint64_t frame) { return static_cast<double>(frame) / report.sampleRate; };
  std::string text;
  for (const Track& track : report.detection.tracks) {
    text += formatText("%.6f\t%.6f\t", seconds(track.begin), seconds(track.end)) + printable(track.name) + "\n";
  }
  return text;
}

}  // namespace

const ReportFormat kLabelsFormat{"labels", write, nullptr};

}  // namespace orv::cli
