#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "tracks/AIFFChunkReader.h"

/// A chunk of our signature, as every reader of AIFF files sees it.
struct OwnChunk {
  std::uint64_t offset = 0;
  std::uint64_t claimedEnd = 0;  ///< where the next chunk begins, by its size
  std::uint64_t end = 0;         ///< the same, inside the file
  std::uint32_t version = 0;

  std::uint64_t room() const { return end - offset; }
  /// Whether this program may replace it: a later version's is kept.
  bool isReplaceable() const;
};

/// The chunks of a file from the first to the last, by their big-endian sizes.
class ChunkChain {
 public:
  /// Walks over the file. `signature`: of our chunks, in the machine's byte order.
  ChunkChain(orv::FileHandle& file, std::uint32_t signature);

  std::uint64_t fileLength() const { return fileLength_; }
  bool isForm() const { return form_.isNamed("FORM"); }
  /// Whether it is a FORM of sound: AIFF or AIFC.
  bool isAIFF() const { return isForm() && isSound_; }

  /// Whether a recording program was ended before it filled in the size of the sound chunk: that claims to hold
  /// nothing, but what follows is no chunk. To readers all up to the end of the file is sound.
  bool isUnfinished() const { return isUnfinished_; }

  const std::vector<OwnChunk>& own() const { return own_; }
  /// Null when there is no replaceable one that is whole.
  const OwnChunk* ownAt(std::uint64_t offset) const;
  /// A replaceable chunk of ours at the end of the file that claims more than there is: its writer was ended. Null when
  /// there is none.
  const OwnChunk* cutShort() const;
  /// Bytes of the filler that such a chunk can become, and where the chunk behind that begins.
  static std::uint64_t fillerLength(const OwnChunk& cutShort);
  static std::uint64_t behindFiller(const OwnChunk& cutShort);

  /// Where another chunk has to begin so that the chain leads to it: the end of the file, or a few bytes behind where a
  /// pad byte or part of a header is missing. Nothing when the last chunk claims more than the file holds.
  std::optional<std::uint64_t> appendOffset() const;

 private:
  void note(AIFFChunkReader& reader, const AIFFChunkHeader& header, std::uint32_t signature);
  bool isWhole(const OwnChunk& chunk) const;

  std::uint64_t fileLength_ = 0;
  AIFFChunkHeader form_;
  bool isSound_ = false;
  bool isUnfinished_ = false;
  std::vector<OwnChunk> own_;
  std::uint64_t last_ = 0;  // offset of the last chunk
  std::uint32_t lastSize_ = 0;
  std::uint64_t end_ = 0;  // where the chunk behind the last one would begin
};
