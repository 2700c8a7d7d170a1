#include "tracks/AIFFChunkReader.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "tracks/BigEndian.h"

bool AIFFChunkHeader::isNamed(const char* name) const {
  return std::memcmp(id.data(), name, id.size()) == 0;
}

AIFFChunkHeader AIFFChunkReader::header(std::uint64_t offset) {
  std::array<std::uint8_t, AIFFChunkHeader::kBytes> bytes{};
  copy(offset, bytes.data(), bytes.size());
  AIFFChunkHeader header;
  std::memcpy(header.id.data(), bytes.data(), header.id.size());
  header.size = loadBigEndian32(bytes.data() + 4);
  return header;
}

std::uint32_t AIFFChunkReader::number(std::uint64_t offset) {
  std::uint32_t number = 0;
  copy(offset, &number, sizeof number);
  return number;
}

std::uint32_t AIFFChunkReader::bigEndianNumber(std::uint64_t offset) {
  std::array<std::uint8_t, 4> bytes{};
  copy(offset, bytes.data(), bytes.size());
  return loadBigEndian32(bytes.data());
}

bool AIFFChunkReader::reaches(std::uint64_t offset) {
  std::uint8_t byte = 0;
  return copy(offset, &byte, 1) == 1;
}

std::size_t AIFFChunkReader::copy(std::uint64_t offset, void* to, std::size_t length) {
  length = std::min(length, kLongestPiece);
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return 0;
  }
  if (offset < start_ || offset + length > start_ + filled_) {
    start_ = offset;
    if (file_.readAt(static_cast<std::int64_t>(offset), window_.data(), window_.size(), &filled_) != noErr) {
      filled_ = 0;
    }
  }
  const auto skipped = static_cast<std::size_t>(offset - start_);
  const std::size_t there = std::min(length, filled_ - std::min(filled_, skipped));
  std::memcpy(to, window_.data() + skipped, there);
  return there;
}
