#pragma once

#include <string>

#include "StoredTracks.h"

namespace orv::cli {

/// What `orv split --store` does with the recording at `path`: finds its tracks, stores them and prints the table.
/// Throws `Failure` or `Cancelled`.
void splitAndStore(const std::string& path, TrackStore store, bool quiet);

}  // namespace orv::cli
