#pragma once

#include <cstddef>
#include <vector>

#include "OrvCoreAudio/OrvLevelEnvelope.h"
#include "detection/boundaries/BlockTime.h"
#include "detection/boundaries/NoiseFloor.h"

namespace orv::boundaries {

/// How far a recording lies above its noise floor, in dB, block after block; about 0 on the floor. Every octave is
/// measured against its own floor: quiet music that a broadband level would not tell from groove noise shows in one of
/// them.
class Loudness {
 public:
  Loudness(const OrvLevelEnvelope& envelope, const NoiseFloor& floor, const BlockTime& time);

  const std::vector<float>& blocks() const { return blocks_; }
  /// The same over a fifth of a second around each block.
  const std::vector<float>& smooth() const { return smooth_; }

 private:
  std::vector<float> blocks_;
  std::vector<float> smooth_;
};

}  // namespace orv::boundaries
