#pragma once

#include <cstdint>
#include <string>

#include "MemoryFiles.h"

namespace orv::fuzz {

/// Lets bytes be the companion of a file of sound, and puts the file through all that is done with such files: reading,
/// growing, emptying, moving, copying, replacing, removing. Aborts when a promise is broken. `script`: decides the
/// length of the sound and what is appended.
void exerciseCompanion(const test::Bytes& companion, std::uint8_t script);

/// Writes the seeds into a folder of their own below `directory`.
void makeCompanionSeeds(const std::string& directory);

}  // namespace orv::fuzz
