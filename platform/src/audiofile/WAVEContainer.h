#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audiofile/Container.h"
#include "audiofile/SoundSurroundings.h"

namespace orv::audiofile {

/// WAVE: a RIFF of little-endian chunks, of which "fmt " says the format and "data" holds the sound. Past 4 GiB the
/// RIFF is called RF64 and a ds64 chunk says the sizes; a file with a reserve for that chunk is made one in place.
class WAVEContainer final : public Container {
 public:
  static bool recognises(FourCharCode outer, FourCharCode inner);
  static OSStatus open(HeaderReader& reader, Walk walk, std::unique_ptr<Container>* container);

  AudioFileTypeID type() const override { return kAudioFileWAVEType; }
  ByteOrder chunkOrder() const override { return ByteOrder::little; }
  bool canSay(const Sizes& sizes) const override;
  std::vector<Patch> sizePatches(const Sizes& sizes) const override;

 private:
  /// Where the 64-bit sizes are kept.
  enum class Sizes64 {
    none,      ///< nowhere: the file ends at 4 GiB
    reserved,  ///< a JUNK chunk lies where a ds64 chunk can be made
    inUse,     ///< the file is an RF64
  };

  OSStatus parse(HeaderReader& reader, Walk walk);
  OSStatus readOther(HeaderReader& reader, const Chunk& chunk);
  OSStatus readSizes64(HeaderReader& reader, const Chunk& chunk);
  void noteSound(HeaderReader& reader, ChunkWalker& walker, SoundSurroundings& surroundings);
  Patch sizes64Patch(std::int64_t formSize, std::int64_t dataSize, std::int64_t frames) const;
  bool fits32(const Sizes& sizes) const;

  Sizes64 sizes64_ = Sizes64::none;
  std::uint64_t formSize64_ = 0;
  std::uint64_t dataSize64_ = 0;
  std::uint32_t tableEntries_ = 0;   // of the ds64 chunk, kept as they are
  std::uint32_t sizes64Bytes_ = 28;  // of the ds64 chunk's body, with the table that may follow
  bool hasFormat_ = false;
  std::int64_t factField_ = 0;  // offset of the fact chunk's frame count, 0 = none
};

/// Header of a new file; see `makeHeader`.
OSStatus makeWAVEHeader(const PCMFormat& format, std::vector<std::uint8_t>* header);

}  // namespace orv::audiofile
