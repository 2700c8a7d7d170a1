#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ProgressBar.h"
#include "SourceFile.h"
#include "Track.h"

namespace orv::cli {

/// What a picture of a recording shows. Its size is bounded, however long the recording is and however many channels it
/// has.
struct Picture {
  static constexpr std::size_t kMostColumns = 1500;
  static constexpr std::size_t kMostChannels = 8;

  /// The smallest and the largest sample of each column, full scale at 1.
  struct Channel {
    std::vector<float> minimum;
    std::vector<float> maximum;
  };

  std::string name;         ///< of the recording
  std::string description;  ///< of its format
  double sampleRate = 0;    ///< Hz
  std::uint64_t lengthInFrames = 0;
  std::uint32_t channelsInFile = 0;
  float peak = 0;                 ///< of the channels shown
  std::vector<Channel> channels;  ///< the first ones, each with the same number of columns
  std::vector<Track> tracks;
};

/// Reads the whole recording, in blocks. Throws `Failure` or `Cancelled`.
Picture gatherPicture(const SourceFile& source, const std::vector<Track>& tracks, ProgressBar& progress);

}  // namespace orv::cli
