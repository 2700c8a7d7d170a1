#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DetectionMethod.h"
#include "ProgressBar.h"
#include "SourceFile.h"
#include "Track.h"

namespace orv::cli {

/// What a picture of a recording shows. Its size is bounded by the number of tracks, however long the recording is.
struct Picture {
  static constexpr std::size_t kMostColumns = 1500;

  /// A stretch of the recording: some blocks of its envelope.
  struct Column {
    std::uint64_t begin = 0;  ///< frame
    float minimum = 0;        ///< the smallest and the largest sample, full scale at 1
    float maximum = 0;
    float quietest = 0;  ///< the levels of its quietest and its loudest block, dB
    float loudest = 0;
  };

  std::string name;         ///< of the recording
  std::string description;  ///< of its format
  double sampleRate = 0;    ///< Hz
  std::uint64_t lengthInFrames = 0;
  float peak = 0;  ///< full scale at 1
  std::vector<Column> columns;
  std::vector<OrvTrackBoundaryDetector::FloorPoint> floor;  ///< one for each column at most
  std::vector<Track> tracks;
  std::vector<Detection::Boundary> cuts;  ///< what is known about cuts; tracks may be cut elsewhere too
  std::vector<Detection::Boundary> doubtful;
};

/// A picture of what was found. Measures the envelope of the recording where the method did not. Throws `Failure` or
/// `Cancelled`.
Picture makePicture(const SourceFile& source, const Detection& detection, ProgressBar& progress);

/// The columns of an envelope.
std::vector<Picture::Column> columnsOf(const OrvLevelEnvelope& envelope);

}  // namespace orv::cli
