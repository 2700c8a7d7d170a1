#pragma once

#include <cstdint>

#include "tracks/AIFFChunkReader.h"

/// Searches for chunks, with offsets of 64 bits so that no size can make a walk turn back.

/// Offset of the file's first chunk, behind FORM, size and type.
inline constexpr std::uint64_t kFirstAIFFChunk = 12;

/// Offset of the first chunk named `id` from `start` (0: the first chunk) on; `end` when there is none before it.
std::uint64_t findChunk(AIFFChunkReader& reader, const char* id, std::uint64_t start, std::uint64_t end);

/// The same for an application chunk of that signature, in the machine's byte order.
std::uint64_t findApplicationChunk(AIFFChunkReader& reader, std::uint32_t signature, std::uint64_t start,
                                   std::uint64_t end);
