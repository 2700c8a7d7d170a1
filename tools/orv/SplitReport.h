#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "DetectionMethod.h"
#include "OrvPlatform/AudioFile.h"

namespace orv::cli {

/// What a run of `orv split` has found and written.
struct SplitReport {
  std::string path;  ///< of the recording
  AudioFileTypeID fileType = 0;
  double sampleRate = 0;  ///< Hz
  std::uint64_t lengthInFrames = 0;
  std::string method;
  Detection detection;
  std::optional<std::string> exportDirectory;
  std::vector<std::string> exported;  ///< paths
  std::optional<std::string> picturePath;
  std::string storedIn;      ///< "internal", "external", or empty: the tracks were not stored
  bool withDoubtful = true;  ///< also places that were not cut, where the form is for people
};

/// A form that the report can be given.
struct ReportFormat {
  const char* name;  ///< what --format calls it
  /// Throws `Failure` where the form has no way to say it.
  std::string (*write)(const SplitReport& report);
  /// What the form leaves out of this report, lines for the person; null: it leaves nothing out.
  std::vector<std::string> (*losses)(const SplitReport& report);
};

/// For people: a table of the tracks, each with the confidence and the reason of the cut before it where the method
/// gives them, and the doubtful places.
extern const ReportFormat kTableFormat;
/// For programs, everything.
extern const ReportFormat kJsonFormat;
/// A cue sheet.
extern const ReportFormat kCueFormat;
/// A label file: a line for each track, its begin, its end (seconds with six decimals) and its name, tabs between.
extern const ReportFormat kLabelsFormat;

}  // namespace orv::cli
