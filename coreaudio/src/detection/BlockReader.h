#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/Vector.h"

namespace orv {

/// Reads an open file from its begin in groups of whole blocks, as 16-bit samples of all its channels. Files of 16-bit
/// integers are handed on as they lie in the file.
class BlockReader {
 public:
  /// A group of samples, valid until the next one is read.
  struct Group {
    const std::int16_t* samples = nullptr;
    std::uint32_t frames = 0;
  };

  /// `file` must be open and outlive the reader; its cache should be off, since each byte is touched once.
  BlockReader(OrvAudioFile& file, std::uint32_t framesPerBlock);

  /// Whether the file's format can be read; `problem` says why not.
  bool isUsable() const { return problem_.empty(); }

  /// Reads the next group. An empty one at the end of the data, and on a failure, which `problem` tells.
  Group next();

  /// How the samples of every group lie in memory.
  simd::SampleOrder order() const { return order_; }
  std::uint32_t channels() const { return channels_; }
  const std::string& problem() const { return problem_; }

 private:
  OrvAudioFile& file_;
  const std::uint32_t channels_;
  const std::uint32_t framesPerGroup_;
  simd::SampleOrder order_ = simd::SampleOrder::native;
  std::int64_t offset_ = 0;
  std::vector<char> bytes_;
  std::shared_ptr<OrvAudioConverter> converter_;  // none where the file's samples are taken as they are
  std::vector<char> converted_;
  std::string problem_;
};

}  // namespace orv
