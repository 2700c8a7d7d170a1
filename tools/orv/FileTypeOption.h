#pragma once

#include <string>

#include "OrvPlatform/AudioFile.h"

namespace CLI {
class App;
}

namespace orv::cli {

/// Adds --type, the type of a new file. `*target` stays 0 where it is not given.
void addFileType(CLI::App& command, AudioFileTypeID* target, const std::string& help);

}  // namespace orv::cli
