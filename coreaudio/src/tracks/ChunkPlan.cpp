#include "tracks/ChunkPlan.h"

#include <limits>

#include "tracks/ApplicationChunkLayout.h"

namespace {

using applicationchunk::isCrossable;
using applicationchunk::kCountedHeaderBytes;
using applicationchunk::layOut;
using applicationchunk::leastCrossableSize;

constexpr std::uint64_t kHeader = AIFFChunkHeader::kBytes;

/// The chunk's size field, and the archive laid out for it.
struct Content {
  std::uint32_t chunkSize = 0;
  orv::ArchiveBytes archive;
};

orv::ArchiveBytes copyOf(std::span<const std::uint8_t> archive) {
  return {archive.begin(), archive.end()};
}

/// A block that happens to be crossable is made so, if the archive leaves room for that.
Content contentOfBlock(std::span<const std::uint8_t> archive, std::uint32_t blockSize) {
  auto laidOut = layOut(archive, blockSize);
  return {blockSize, laidOut ? std::move(*laidOut) : copyOf(archive)};
}

/// As long as the chunk that is there, where the archive fits into that.
Content contentOfVariableSize(std::span<const std::uint8_t> archive, const OwnChunk* present) {
  const auto least = leastCrossableSize(archive);
  if (!least) {  // bytes of a host's own
    return {static_cast<std::uint32_t>(archive.size() + kCountedHeaderBytes), copyOf(archive)};
  }
  std::uint32_t size = *least;
  if (present != nullptr && present->room() > kHeader + size) {
    const auto presentSize = static_cast<std::uint32_t>(present->room() - kHeader);
    size = isCrossable(presentSize) ? presentSize : size;
  }
  auto laidOut = layOut(archive, size);
  return {size, laidOut ? std::move(*laidOut) : orv::ArchiveBytes()};
}

/// Whether what is behind the chunk stays in its place: nothing is left over, or enough for a filler; or there is
/// nothing behind.
bool fits(std::uint64_t length, const OwnChunk& present, const ChunkChain& chain) {
  const bool isLast = present.end == chain.fileLength();
  return length == present.room() || length + kHeader <= present.room() || (isLast && length > present.room());
}

}  // namespace

std::optional<ChunkPlan> planChunk(const ChunkChain& chain, const ChunkRequest& request, std::string* problem) {
  const OwnChunk* const present = request.foundAtOffset ? chain.ownAt(*request.foundAtOffset) : nullptr;
  if (request.blockSize && request.archive.size() + kCountedHeaderBytes > *request.blockSize) {
    *problem = "the tracks don't fit into a block of " + std::to_string(*request.blockSize) + " bytes";
    return std::nullopt;
  }
  if (request.archive.size() > orv::kLongestArchive) {
    *problem = "the tracks are too long for a file";
    return std::nullopt;
  }
  if (chain.isForm() && chain.isUnfinished()) {
    *problem = "the recording was never finished: its sound chunk claims to be empty";
    return std::nullopt;
  }
  Content content = request.blockSize ? contentOfBlock(request.archive, *request.blockSize)
                                      : contentOfVariableSize(request.archive, present);
  ChunkPlan plan;
  plan.length = kHeader + content.chunkSize + (request.blockSize ? 0 : content.chunkSize & 1);
  plan.archive = std::move(content.archive);
  if (present != nullptr && fits(plan.length, *present, chain)) {
    plan.offset = present->offset;
    plan.room = present->room();
  } else if (const OwnChunk* const cutShort = chain.isForm() ? chain.cutShort() : nullptr; cutShort != nullptr) {
    plan.offset = ChunkChain::behindFiller(*cutShort);
  } else if (const auto end = chain.isForm() ? chain.appendOffset() : chain.fileLength()) {
    plan.offset = *end;
  } else {
    *problem = "the file's last chunk claims more bytes than the file holds";
    return std::nullopt;
  }
  if (plan.offset + plan.length > std::numeric_limits<std::uint32_t>::max()) {
    *problem = "this type of file ends at 4 GiB";
    return std::nullopt;
  }
  return plan;
}
