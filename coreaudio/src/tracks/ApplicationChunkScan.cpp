#include "tracks/ApplicationChunkScan.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

#include "OrvCoreAudio/ByteUtility.h"
#include "tracks/AIFFChunkReader.h"
#include "tracks/AIFFChunkSearch.h"

namespace {

constexpr std::uint64_t kFormSizeField = 4;

/// Bytes of a chunk that go into a record as they are; the last four are then overwritten with its offset.
constexpr std::size_t kRecordBytes = 24;
static_assert(offsetof(OrvApplicationChunk, dataSize) == 16 && offsetof(OrvApplicationChunk, fileOffset) == 20);

OrvApplicationChunk recordAt(AIFFChunkReader& reader, std::uint64_t offset, std::uint64_t fileLength) {
  OrvApplicationChunk chunk{};
  reader.copy(offset, &chunk, kRecordBytes);
  chunk.fileOffset = static_cast<std::uint32_t>(offset);
  ByteUtility::swapBytes32bit(&chunk.dataSize);
  OrvAudioFileTrackInfoReaderWriter::validateVornApplicationChunk_fileLength(chunk, fileLength);
  return chunk;
}

}  // namespace

std::uint32_t scanApplicationChunks(orv::FileHandle& file, std::uint32_t signature,
                                    std::span<OrvApplicationChunk> table) {
  std::fill(table.begin(), table.end(), OrvApplicationChunk{});
  AIFFChunkReader reader(file);
  const std::int64_t size = file.size();
  // Records have offsets of 32 bits.
  const auto length =
      static_cast<std::uint64_t>(std::clamp<std::int64_t>(size, 0, std::numeric_limits<std::uint32_t>::max()));
  const std::uint64_t formSize = reader.bigEndianNumber(kFormSizeField);
  std::uint32_t count = 0;
  for (std::uint64_t offset = 0; offset < formSize && offset < length;) {
    offset = findApplicationChunk(reader, signature, offset, length);
    if (offset >= length) {
      break;
    }
    const OrvApplicationChunk chunk = recordAt(reader, offset, length);
    if (count < table.size()) {
      table[count] = chunk;
    }
    ++count;
    offset += AIFFChunkHeader::kBytes + chunk.chunkSize + (chunk.chunkSize & 1);
  }
  return count;
}
