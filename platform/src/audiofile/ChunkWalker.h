#pragma once

#include <cstdint>

#include "OrvPlatform/Status.h"
#include "audiofile/ByteOrder.h"
#include "audiofile/HeaderReader.h"

namespace orv::audiofile {

/// Bytes of a chunk's header: its code and its size.
inline constexpr std::int64_t kChunkHeaderBytes = 8;

/// Our own chunk, which keeps room behind the sound data while a file with other chunks behind them grows. It is gone
/// after a regular close; a killed process leaves it behind, and whoever updates the file next takes it up again.
inline constexpr FourCharCode kFillerChunk = fourCC("Orvf");

/// One chunk of a file.
struct Chunk {
  FourCharCode id = 0;
  std::int64_t header = 0;         ///< offset of its header in the file
  std::int64_t body = 0;           ///< offset of its first byte behind the header
  std::uint32_t declaredSize = 0;  ///< bytes of the body, by the header
  std::int64_t size = 0;           ///< bytes of the body that are in the file
  std::int64_t end() const { return body + size; }
};

/// Walks over the chunks of an IFF or RIFF file, whatever their sizes claim.
///
/// Every step is forward and inside the file, and there are at most `kMostChunks` of them. A chunk that claims more
/// than the file holds is cut to what is there. A chunk of odd size is followed by a pad byte; where a writer forgot
/// it, the next chunk is found at the odd place. What can't be the begin of a chunk ends the walk.
class ChunkWalker {
 public:
  static constexpr int kMostChunks = 10000;

  /// `first`: offset of the first chunk's header.
  ChunkWalker(HeaderReader& reader, ByteOrder order, std::int64_t first);

  /// Steps to the next chunk. False at the end.
  bool next();
  const Chunk& chunk() const { return chunk_; }

  /// Overrules the size that the current chunk's header declares. Cut to what is in the file.
  void setSize(std::uint64_t size);

  /// Where the chunk behind the current one begins, or would begin: at most the end of the file.
  std::int64_t following();

  /// Whether what lies at `offset` looks like the begin of a chunk.
  bool isChunkAt(std::int64_t offset) { return likeness(offset) != Likeness::none; }

 private:
  /// How much something looks like the begin of a chunk.
  enum class Likeness {
    none,
    possible,  ///< a printable code and a size that is not absurd
    certain,   ///< a code that this service knows
  };
  Likeness likeness(std::int64_t offset);
  bool readHeader(std::int64_t offset, Chunk* chunk);

  HeaderReader& reader_;
  ByteOrder order_;
  std::int64_t first_;
  int count_ = 0;
  Chunk chunk_;
};

/// Writes a chunk header to the 8 bytes at `to`.
void storeChunkHeader(std::uint8_t* to, ByteOrder order, FourCharCode id, std::uint32_t size);

}  // namespace orv::audiofile
