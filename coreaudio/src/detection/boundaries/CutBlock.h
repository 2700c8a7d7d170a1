#pragma once

#include <cstddef>

#include "OrvCoreAudio/OrvTrackBoundaryDetector.h"
#include "detection/boundaries/BlockTime.h"
#include "detection/boundaries/Loudness.h"
#include "detection/boundaries/QuietStretch.h"

namespace orv::boundaries {

/// The block of a quiet stretch that is cut in. Before the next track that is the last quiet one; where the music comes
/// up slowly it has begun below the noise already, and the cut is as much earlier, though never in the first half.
std::size_t cutBlockOf(const QuietStretch& stretch, const Loudness& loudness, const BlockTime& time,
                       OrvTrackBoundaryDetector::CutPosition position);

}  // namespace orv::boundaries
