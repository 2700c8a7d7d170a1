#pragma once

#include <string>

#include "SourceFile.h"
#include "StoredTracks.h"

namespace orv::cli {

/// What is stored with a recording, for people and for programs.
std::string tracksAsText(const SourceFile& recording, const StoredTracks& stored);
std::string tracksAsJson(const SourceFile& recording, const StoredTracks& stored);

}  // namespace orv::cli
