#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "OrvCoreAudio/OrvLevelEnvelope.h"
#include "detection/boundaries/Loudness.h"
#include "detection/boundaries/NoiseFloor.h"

namespace orv::boundaries {

/// A recording second by second: what the surroundings of a quiet stretch are judged by.
class Overview {
 public:
  using Bands = NoiseFloor::Bands;

  Overview(const OrvLevelEnvelope& envelope, const Loudness& loudness, std::size_t blocksPerStep);

  std::size_t steps() const { return loudness_.size(); }
  std::size_t blocksPerStep() const { return blocksPerStep_; }
  std::size_t stepOf(std::size_t block) const { return block / blocksPerStep_; }

  /// The loudness above the floor, dB, that 7 of 10 of the steps do not reach; `begin` to `end` are cut to what there
  /// is. 0 where nothing is left.
  float upperLoudness(std::ptrdiff_t begin, std::ptrdiff_t end) const;
  /// Mean level of each band, dB, over the steps.
  Bands meanLevels(std::ptrdiff_t begin, std::ptrdiff_t end) const;

 private:
  std::size_t blocksPerStep_;
  std::vector<float> loudness_;
  std::vector<Bands> levels_;
};

}  // namespace orv::boundaries
