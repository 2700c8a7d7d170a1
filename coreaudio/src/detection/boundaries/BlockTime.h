#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "OrvCoreAudio/OrvLevelEnvelope.h"

namespace orv::boundaries {

/// Turns blocks of an envelope into seconds and back.
class BlockTime {
 public:
  explicit BlockTime(const OrvLevelEnvelope& envelope)
      : secondsPerBlock_(envelope.framesPerBlock / envelope.sampleRate) {}

  double secondsPerBlock() const { return secondsPerBlock_; }
  double seconds(std::size_t blocks) const { return static_cast<double>(blocks) * secondsPerBlock_; }

  /// Blocks of about a second: what changes slowly is kept once for each of these steps.
  std::size_t blocksPerStep() const { return blocks(1.0); }

  /// The nearest number of blocks: one at least, and never more than any recording has.
  std::size_t blocks(double seconds) const {
    constexpr double most = 1.0e9;
    return static_cast<std::size_t>(std::clamp(std::round(seconds / secondsPerBlock_), 1.0, most));
  }

 private:
  double secondsPerBlock_;
};

}  // namespace orv::boundaries
