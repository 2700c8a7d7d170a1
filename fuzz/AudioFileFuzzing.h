#pragma once

#include <cstdint>

#include "MemoryFiles.h"

namespace orv::fuzz {

/// Puts a file through all that the audio file service does with it: reading, updating, growing, being killed on the
/// way, and opening again. Aborts when a promise is broken: what was there is still there, and nothing else is made up.
/// `script`: decides how much is appended, and where the process is killed.
void exerciseAudioFile(const test::Bytes& file, std::uint8_t script);

}  // namespace orv::fuzz
