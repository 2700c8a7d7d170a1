#include "tracks/AIFFChunkSearch.h"

std::uint64_t findChunk(AIFFChunkReader& reader, const char* id, std::uint64_t start, std::uint64_t end) {
  std::uint64_t offset = start == 0 ? kFirstAIFFChunk : start;
  while (offset < end && reader.reaches(offset)) {
    const AIFFChunkHeader header = reader.header(offset);
    if (header.isNamed(id)) {
      return offset;
    }
    offset += header.stride();
  }
  return end;
}

std::uint64_t findApplicationChunk(AIFFChunkReader& reader, std::uint32_t signature, std::uint64_t start,
                                   std::uint64_t end) {
  for (std::uint64_t offset = start; offset < end;) {
    offset = findChunk(reader, "APPL", offset, end);
    if (offset >= end || reader.number(offset + AIFFChunkHeader::kBytes) == signature) {
      return offset;
    }
    offset += reader.header(offset).stride();
  }
  return end;
}
