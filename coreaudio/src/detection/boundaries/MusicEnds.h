#pragma once

#include <cstddef>

#include "detection/boundaries/BlockTime.h"
#include "detection/boundaries/Loudness.h"

namespace orv::boundaries {

/// A loudness above this is music, dB over the noise floor.
inline constexpr float kMusicLoudness = 4.0F;

/// Blocks from the first music of a recording to behind the last. Where there is none: all of it.
struct MusicEnds {
  std::size_t begin = 0;
  std::size_t end = 0;
  bool hasMusic = false;
};

/// A thump of the needle or a crackle in the groove is too short to be music.
MusicEnds findMusicEnds(const Loudness& loudness, const BlockTime& time);

}  // namespace orv::boundaries
