#pragma once

#include <string>

namespace orv::fuzz {

/// Writes the seeds of the targets for archives, chunks and tracks into the folders "archive", "chunks" and "tracks".
void makeTrackSeeds(const std::string& directory);

}  // namespace orv::fuzz
