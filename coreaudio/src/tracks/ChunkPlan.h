#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "OrvPlatform/Archiver.h"
#include "tracks/ChunkChain.h"

/// Where a chunk with tracks goes, and what goes into it.
struct ChunkPlan {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;  ///< of the whole chunk
  std::uint64_t room = 0;    ///< bytes of the chunk that is overwritten, 0 for none
  orv::ArchiveBytes archive;
};

/// What is to be written.
struct ChunkRequest {
  std::span<const std::uint8_t> archive;
  std::optional<std::uint32_t> blockSize;      ///< of a chunk of fixed size
  std::optional<std::uint64_t> foundAtOffset;  ///< of the chunk that a scan would have overwritten
};

/// A chunk is overwritten only where the chain of chunks really has one of ours, and only when what comes behind stays
/// where it is; otherwise a new one goes to the end of the file. `*problem` says why neither can be.
std::optional<ChunkPlan> planChunk(const ChunkChain& chain, const ChunkRequest& request, std::string* problem);
