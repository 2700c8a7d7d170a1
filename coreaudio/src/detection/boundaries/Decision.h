#pragma once

#include "OrvCoreAudio/OrvTrackBoundaryDetector.h"

namespace orv::boundaries {

/// Fills everything of a result from its envelope, which is sound and has one block at least.
void decide(const OrvTrackBoundaryDetector::Options& options, OrvTrackBoundaryDetector::Result* result);

}  // namespace orv::boundaries
