#include "tracks/ApplicationChunkLayout.h"

#include <algorithm>
#include <cstring>

#include "tracks/AIFFChunkReader.h"
#include "tracks/BigEndian.h"

namespace applicationchunk {
namespace {

/// Where an archive's filler begins, from the chunk's first byte.
constexpr std::uint32_t kFillerOffset = kHeaderBytes + orv::kArchiveFillerOffset;

constexpr std::uint32_t byteSwapped(std::uint32_t value) {
  return value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
}

/// Where a scan goes on, from the chunk's first byte.
constexpr std::uint32_t landingOffset(std::uint32_t chunkSize) {
  const std::uint32_t swapped = byteSwapped(chunkSize);
  return static_cast<std::uint32_t>(AIFFChunkHeader::kBytes) + swapped + (swapped & 1);
}

constexpr std::uint32_t fillerLength(std::uint32_t chunkSize) {
  return landingOffset(chunkSize) + static_cast<std::uint32_t>(AIFFChunkHeader::kBytes) - kFillerOffset;
}

/// Zeros up to where the scan goes on, then a header that leads to the end of the chunk.
std::vector<std::uint8_t> filler(std::uint32_t chunkSize) {
  std::vector<std::uint8_t> bytes(fillerLength(chunkSize));
  storeBigEndian32(bytes.data() + bytes.size() - 4, chunkSize - landingOffset(chunkSize));
  return bytes;
}

}  // namespace

std::vector<std::uint8_t> bytesOf(const Chunk& chunk) {
  std::vector<std::uint8_t> bytes(AIFFChunkHeader::kBytes + chunk.size + (chunk.hasPadByte ? 1 : 0));
  std::memcpy(bytes.data(), "APPL", 4);
  storeBigEndian32(bytes.data() + 4, chunk.size);
  std::memcpy(bytes.data() + 8, &chunk.signature, 4);
  std::memcpy(bytes.data() + 12, &kVersion, 4);
  storeBigEndian32(bytes.data() + 16, static_cast<std::uint32_t>(chunk.archive.size()));
  std::copy(chunk.archive.begin(), chunk.archive.end(), bytes.begin() + kHeaderBytes);
  return bytes;
}

bool isCrossable(std::uint32_t chunkSize) {
  // Multiples of 256 units become so small a number that the scan would go on inside the chunk's header.
  return chunkSize % kSizeUnit == 0 && chunkSize / kSizeUnit % 256 != 0;
}

std::optional<std::uint32_t> leastCrossableSize(std::span<const std::uint8_t> archive) {
  const auto length = orv::archiveLength(archive, 0);
  if (!length) {
    return std::nullopt;
  }
  for (std::uint64_t size = kSizeUnit; size <= orv::kLongestArchive; size += kSizeUnit) {
    const auto chunkSize = static_cast<std::uint32_t>(size);
    if (isCrossable(chunkSize) && kCountedHeaderBytes + *length + fillerLength(chunkSize) <= size) {
      return chunkSize;
    }
  }
  return std::nullopt;
}

std::optional<orv::ArchiveBytes> layOut(std::span<const std::uint8_t> archive, std::uint32_t chunkSize) {
  return isCrossable(chunkSize) ? orv::archiveWithFiller(archive, filler(chunkSize), chunkSize - kCountedHeaderBytes)
                                : std::nullopt;
}

}  // namespace applicationchunk
