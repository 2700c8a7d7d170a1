#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"

namespace orv::boundaries {

/// Reads an open file as interleaved native floats, whatever its format.
class FloatReader {
 public:
  /// `file` must be open and outlive the reader; its cache should be off, since each byte is touched once.
  explicit FloatReader(OrvAudioFile& file);

  /// What forbids reading, or what ended it; empty if nothing did.
  const std::string& problem() const { return problem_; }
  std::uint64_t lengthInFrames() const { return lengthInFrames_; }
  std::uint32_t channels() const { return channels_; }

  /// Reads `count` frames from `firstFrame` on, fewer at the end of the file and on a failure. `frames` has room for
  /// `count * channels()` samples. Small counts one behind the other are served from one larger read.
  std::uint32_t read(std::uint64_t firstFrame, std::uint32_t count, float* frames);

 private:
  bool fill(std::uint64_t firstFrame, std::uint32_t count);

  OrvAudioFile& file_;
  const std::uint32_t channels_;
  const std::uint32_t bytesPerFrame_;
  std::uint64_t lengthInFrames_ = 0;
  std::shared_ptr<OrvAudioConverter> converter_;
  std::vector<char> bytes_;
  std::uint64_t firstHeld_ = 0;
  std::uint32_t held_ = 0;  // frames
  std::string problem_;
};

}  // namespace orv::boundaries
