#include "tracks/ChunkChain.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "tracks/AIFFChunkSearch.h"
#include "tracks/ApplicationChunkLayout.h"

namespace {

/// More of our own chunks than this only a file that means harm has.
constexpr std::size_t kMostOwnChunks = 1000;

constexpr std::uint64_t kFormTypeOffset = 8;
constexpr std::uint64_t kSignatureOffset = 8;  // from the chunk's first byte
constexpr std::uint64_t kVersionOffset = 12;

/// Offset and block size at the begin of a sound chunk's body.
constexpr std::uint32_t kSoundFieldsBytes = 8;

/// Longer is only sound.
constexpr std::uint32_t kLongestUsualChunk = std::uint32_t{1} << 28;

bool looksLikeChunk(const AIFFChunkHeader& header) {
  const bool isPrintable = std::all_of(header.id.begin(), header.id.end(),
                                       [](char character) { return character >= ' ' && character <= '~'; });
  return isPrintable && header.size <= kLongestUsualChunk;
}

}  // namespace

bool OwnChunk::isReplaceable() const {
  return version <= applicationchunk::kVersion;
}

ChunkChain::ChunkChain(orv::FileHandle& file, std::uint32_t signature)
    : fileLength_(static_cast<std::uint64_t>(std::max<std::int64_t>(file.size(), 0))), end_(kFirstAIFFChunk) {
  AIFFChunkReader reader(file);
  form_ = reader.header(0);
  std::array<char, 4> type{};
  reader.copy(kFormTypeOffset, type.data(), type.size());
  isSound_ = std::memcmp(type.data(), "AIFF", 4) == 0 || std::memcmp(type.data(), "AIFC", 4) == 0;
  while (end_ < fileLength_ && reader.reaches(end_)) {
    const AIFFChunkHeader header = reader.header(end_);
    last_ = end_;
    lastSize_ = header.size;
    end_ += header.stride();
    note(reader, header, signature);
  }
}

void ChunkChain::note(AIFFChunkReader& reader, const AIFFChunkHeader& header, std::uint32_t signature) {
  if (header.isNamed("SSND") && header.size <= kSoundFieldsBytes && end_ < fileLength_) {
    isUnfinished_ = isUnfinished_ || !looksLikeChunk(reader.header(end_));
  }
  // A chunk that ends before its signature is nobody's, and as good as one of ours.
  const bool isSigned = last_ + kVersionOffset <= fileLength_;
  const bool isOwn = header.isNamed("APPL") && (!isSigned || reader.number(last_ + kSignatureOffset) == signature);
  if (isOwn && own_.size() < kMostOwnChunks) {
    own_.push_back({last_, end_, std::min(end_, fileLength_), reader.number(last_ + kVersionOffset)});
  }
}

bool ChunkChain::isWhole(const OwnChunk& chunk) const {
  // The last chunk's pad byte may be missing.
  return chunk.claimedEnd <= fileLength_ || (chunk.claimedEnd == fileLength_ + 1 && (lastSize_ & 1) != 0);
}

const OwnChunk* ChunkChain::ownAt(std::uint64_t offset) const {
  const auto found = std::find_if(own_.begin(), own_.end(), [&](const OwnChunk& chunk) {
    return chunk.offset == offset && chunk.isReplaceable() && isWhole(chunk);
  });
  return found == own_.end() ? nullptr : &*found;
}

const OwnChunk* ChunkChain::cutShort() const {
  const bool isThere = !own_.empty() && own_.back().isReplaceable() && !isWhole(own_.back());
  return isThere ? &own_.back() : nullptr;
}

std::uint64_t ChunkChain::fillerLength(const OwnChunk& cutShort) {
  return std::max(cutShort.room(), AIFFChunkHeader::kBytes);
}

std::uint64_t ChunkChain::behindFiller(const OwnChunk& cutShort) {
  const std::uint64_t length = fillerLength(cutShort);
  return cutShort.offset + length + (length & 1);
}

std::optional<std::uint64_t> ChunkChain::appendOffset() const {
  if (end_ <= fileLength_) {
    return fileLength_;
  }
  const bool lacksPadByte = end_ == fileLength_ + 1 && (lastSize_ & 1) != 0;
  const bool lacksHeader = fileLength_ - last_ < AIFFChunkHeader::kBytes && end_ - last_ <= 2 * AIFFChunkHeader::kBytes;
  const bool lacksFormType = last_ == 0;
  return lacksPadByte || lacksHeader || lacksFormType ? std::optional(end_) : std::nullopt;
}
