#pragma once

#include <cstdint>
#include <span>

#include "OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h"

/// Finds the application chunks of a signature the way that track chunks have always been looked for: the walk to the
/// next one goes by big-endian sizes, the step across one that was found by its size read unconverted.
///
/// Fills the table from its first row on and clears the rest. Returns how many were found, which may be more than the
/// table has rows.
std::uint32_t scanApplicationChunks(orv::FileHandle& file, std::uint32_t signature,
                                    std::span<OrvApplicationChunk> table);

/// A chunk whose archive is read, and whose place is written to again.
inline bool isUsable(const OrvApplicationChunk& chunk) {
  return chunk.seemsValid && chunk.isCompatible;
}
