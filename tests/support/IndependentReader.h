#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// An audio file as libsndfile, which shares no code with ours, reads it.
struct IndependentReading {
  double sampleRate = 0;
  int channels = 0;
  std::int64_t frames = 0;
  int majorFormat = 0;             ///< SF_FORMAT_AIFF, SF_FORMAT_WAV, …
  int subFormat = 0;               ///< SF_FORMAT_PCM_16, …
  std::vector<std::int32_t> ints;  ///< interleaved, full scale at 2^31
  std::vector<double> doubles;     ///< interleaved, full scale at 1.0 (float files: as stored)
};

/// Nothing when libsndfile refuses the file.
std::optional<IndependentReading> readIndependently(const std::string& path);

}  // namespace orv::test
