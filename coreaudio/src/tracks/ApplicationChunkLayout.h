#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "OrvPlatform/Archiver.h"

/// The bytes of the chunk that holds an archive, and how a scan gets across it.
///
/// A scan reads the chunk's big-endian size as a little-endian number and goes on that much further, inside the chunk.
/// A size of a multiple of 65,536 becomes a number of at most 16 bits, so that every file is long enough for it and the
/// place lies near the chunk's begin. There the archive has filler: a header, written for the scan alone, whose size
/// leads it to the end of the chunk. What comes behind, texts that look like chunks included, is not looked at.
namespace applicationchunk {

/// Bytes before the archive: "APPL", size, signature, version, length of the archive.
inline constexpr std::uint32_t kHeaderBytes = 20;
/// Bytes of those that the chunk's size counts.
inline constexpr std::uint32_t kCountedHeaderBytes = 12;
/// Sizes that a scan finds its way across are multiples of this.
inline constexpr std::uint32_t kSizeUnit = 65536;
/// The one version that is written, and the highest that is read.
inline constexpr std::uint32_t kVersion = 2;

struct Chunk {
  std::uint32_t size = 0;                 ///< what its size field says
  std::uint32_t signature = 0;            ///< in the machine's byte order
  std::span<const std::uint8_t> archive;  ///< at most `size` − 12 bytes
  bool hasPadByte = false;                ///< one more zero than the size says
};

/// The whole chunk: header, archive, zeros up to its size.
std::vector<std::uint8_t> bytesOf(const Chunk& chunk);

/// Whether a scan finds its way across a chunk of that size once the archive is laid out for it.
bool isCrossable(std::uint32_t chunkSize);

/// The least crossable size of a chunk with that archive. Nothing when it is no archive, or too long for a file.
std::optional<std::uint32_t> leastCrossableSize(std::span<const std::uint8_t> archive);

/// The archive with filler such that it fills a chunk of that size, and a scan gets across. Nothing when it doesn't fit
/// or the size is not crossable.
std::optional<orv::ArchiveBytes> layOut(std::span<const std::uint8_t> archive, std::uint32_t chunkSize);

}  // namespace applicationchunk
