#include <algorithm>
#include <filesystem>

#include "CueSheet.h"
#include "Failure.h"
#include "OrvPlatform/Log.h"
#include "SplitReport.h"

namespace orv::cli {
namespace {

std::string fileNameOf(const SplitReport& report) {
  return std::filesystem::path(report.path).filename().string();
}

std::string write(const SplitReport& report) {
  const std::vector<Track>& tracks = report.detection.tracks;
  if (tracks.size() > kMostCueTracks) {
    throw Failure(report.path,
                  formatText("%zu tracks don't go into a cue sheet, which holds %zu", tracks.size(), kMostCueTracks));
  }
  return writeCueSheet({fileNameOf(report), report.fileType, report.sampleRate}, tracks);
}

std::vector<std::string> losses(const SplitReport& report) {
  const std::vector<Track>& tracks = report.detection.tracks;
  std::vector<std::string> lines;
  if (!tracks.empty() && tracks.back().end < report.lengthInFrames) {
    lines.emplace_back("a cue sheet does not say where its last track ends; here that is the end of the recording");
  }
  const std::string name = fileNameOf(report);
  if (std::ranges::count(name, '"') > 0) {
    lines.emplace_back("a cue sheet can't hold the quotation marks in the recording's name; they became apostrophes");
  }
  return lines;
}

}  // namespace

const ReportFormat kCueFormat{"cue", write, losses};

}  // namespace orv::cli
