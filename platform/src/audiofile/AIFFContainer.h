#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audiofile/Container.h"
#include "audiofile/SoundSurroundings.h"

namespace orv::audiofile {

/// AIFF and AIFC: a FORM of big-endian chunks, of which COMM says the format and SSND holds the sound.
class AIFFContainer final : public Container {
 public:
  static bool recognises(FourCharCode outer, FourCharCode inner);
  static OSStatus open(HeaderReader& reader, Walk walk, std::unique_ptr<Container>* container);

  AudioFileTypeID type() const override { return type_; }
  ByteOrder chunkOrder() const override { return ByteOrder::big; }
  bool canSay(const Sizes& sizes) const override;
  std::vector<Patch> sizePatches(const Sizes& sizes) const override;

 private:
  explicit AIFFContainer(AudioFileTypeID type) : type_(type) {}

  OSStatus parse(HeaderReader& reader, Walk walk);
  OSStatus readCommon(HeaderReader& reader, const Chunk& chunk);
  OSStatus noteSound(HeaderReader& reader, ChunkWalker& walker, SoundSurroundings& surroundings);
  std::int64_t usedBytes(std::int64_t room) const;

  const AudioFileTypeID type_;
  bool hasCommon_ = false;
  std::int64_t frameCountField_ = 0;  // offset in the file
  std::uint32_t frameCount_ = 0;
  std::uint32_t blockSize_ = 0;  // of the sound chunk; 0 = not in blocks
};

/// Header of a new file of `type` 'AIFF' or 'AIFC'; see `makeHeader`.
OSStatus makeAIFFHeader(AudioFileTypeID type, const PCMFormat& format, std::vector<std::uint8_t>* header);

}  // namespace orv::audiofile
