#include "audiofile/ChunkWalker.h"

#include <algorithm>

namespace orv::audiofile {
namespace {

/// Longer is only sound. The bound must not be what the file holds: where chunks lie can't depend on how far it grew.
constexpr std::uint32_t kLongestUsualChunk = std::uint32_t{1} << 28;

/// The chunks that a file can't do without.
bool isEssential(FourCharCode id) {
  switch (id) {
    case fourCC("COMM"):
    case fourCC("SSND"):
    case fourCC("fmt "):
    case fourCC("fact"):
    case fourCC("data"):
    case kFillerChunk:
      return true;
    default:
      return false;
  }
}

bool isPrintable(FourCharCode id) {
  for (int shift = 0; shift < 32; shift += 8) {
    const FourCharCode character = (id >> shift) & 0xFF;
    if (character < 0x20 || character > 0x7E) {
      return false;
    }
  }
  return true;
}

}  // namespace

ChunkWalker::ChunkWalker(HeaderReader& reader, ByteOrder order, std::int64_t first)
    : reader_(reader), order_(order), first_(first) {}

bool ChunkWalker::next() {
  const std::int64_t offset = count_ == 0 ? first_ : following();
  Chunk chunk;
  if (count_ >= kMostChunks || !readHeader(offset, &chunk)) {
    return false;
  }
  // A code of unprintable bytes is more likely the begin of something else, unless its size makes sense.
  if (!isPrintable(chunk.id) && (chunk.id == 0 || chunk.size < chunk.declaredSize)) {
    return false;
  }
  chunk_ = chunk;
  ++count_;
  return true;
}

void ChunkWalker::setSize(std::uint64_t size) {
  const std::int64_t available = reader_.fileSize() - chunk_.body;
  chunk_.size = static_cast<std::int64_t>(std::min(size, static_cast<std::uint64_t>(available)));
}

std::int64_t ChunkWalker::following() {
  const std::int64_t end = chunk_.end();
  if ((chunk_.size & 1) == 0 || end >= reader_.fileSize()) {
    return end;
  }
  return likeness(end) > likeness(end + 1) ? end : end + 1;
}

ChunkWalker::Likeness ChunkWalker::likeness(std::int64_t offset) {
  Chunk chunk;
  if (!readHeader(offset, &chunk) || !isPrintable(chunk.id)) {
    return Likeness::none;
  }
  if (isEssential(chunk.id)) {
    return Likeness::certain;
  }
  return chunk.declaredSize <= kLongestUsualChunk ? Likeness::possible : Likeness::none;
}

bool ChunkWalker::readHeader(std::int64_t offset, Chunk* chunk) {
  const auto bytes = reader_.bytes(offset, kChunkHeaderBytes);
  if (bytes.empty()) {
    return false;
  }
  chunk->id = loadCode(bytes.data());
  chunk->header = offset;
  chunk->body = offset + kChunkHeaderBytes;
  chunk->declaredSize = load32(bytes.data() + 4, order_);
  chunk->size = std::min<std::int64_t>(chunk->declaredSize, reader_.fileSize() - chunk->body);
  return true;
}

void storeChunkHeader(std::uint8_t* to, ByteOrder order, FourCharCode id, std::uint32_t size) {
  storeCode(to, id);
  storeNumber(to + 4, 4, order, size);
}

}  // namespace orv::audiofile
