#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "OrvCoreAudio/OrvLevelEnvelope.h"
#include "detection/boundaries/BlockTime.h"

namespace orv::boundaries {

/// What a recording does not fall below, octave by octave, learned from the recording itself. The floor at a moment is
/// the quietest third of a second around there; what lies further away counts the less the further away it is, so that
/// the floor follows a drift.
class NoiseFloor {
 public:
  using Bands = std::array<float, OrvLevelEnvelope::kBands>;

  /// `envelope` has one block at least.
  NoiseFloor(const OrvLevelEnvelope& envelope, const BlockTime& time);

  /// dB of each band around a block.
  const Bands& at(std::size_t block) const { return steps_[stepOf(block)]; }
  /// dB of all bands together.
  float levelAt(std::size_t block) const;

  /// Steps over which the floor is the same.
  std::size_t steps() const { return steps_.size(); }

 private:
  std::size_t stepOf(std::size_t block) const { return std::min(block / blocksPerStep_, steps_.size() - 1); }
  void findQuietest(const OrvLevelEnvelope& envelope, std::size_t window);
  void spread(double secondsPerStep);

  const std::size_t blocksPerStep_;
  std::vector<Bands> steps_;
};

}  // namespace orv::boundaries
