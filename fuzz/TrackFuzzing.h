#pragma once

#include <cstdint>

#include "MemoryFiles.h"

namespace orv::fuzz {

/// Reads bytes as an archive. What comes out is archived again, in both forms, and must come out the same. Aborts when
/// a promise is broken.
void exerciseArchive(const test::Bytes& bytes);

/// Checks, repairs and searches a file for chunks from every place that the script asks for.
void exerciseChunks(const test::Bytes& file, std::uint8_t script);

/// Reads the tracks of a file, writes others, reads them back, and lets the process be killed on the way. The audio
/// that the audio file service finds before must be there after. `script`: how long the new tracks are, and when the
/// process is killed.
void exerciseTracks(const test::Bytes& file, std::uint8_t script);

}  // namespace orv::fuzz
