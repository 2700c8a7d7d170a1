#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/AudioFile.h"
#include "audiofile/ChunkWalker.h"
#include "audiofile/HeaderReader.h"
#include "audiofile/PCMFormat.h"

namespace orv::audiofile {

/// Where a file keeps its sound and what lies behind it. Offsets count from the begin of the file.
///
///   header … [sound chunk: soundBody … dataStart | audio | ] gapStart [filler] tailStart … formEnd … tailEnd
///
/// The tail is everything behind the sound chunk that must be kept: further chunks and bytes behind the form's end.
struct Layout {
  std::int64_t soundBody = 0;  ///< first byte of the sound chunk behind its header
  std::int64_t dataStart = 0;  ///< first byte of audio
  std::int64_t dataBytes = 0;  ///< bytes of audio that are there, whole frames
  std::int64_t soundEnd = 0;   ///< end of the sound chunk's body; what is left of a frame or block may lie before it
  std::int64_t gapStart = 0;  ///< where the chunk behind the sound chunk begins; `tailStart` unless a filler lies there
  std::int64_t tailStart = 0;  ///< first byte that is kept
  std::int64_t tailEnd = 0;    ///< `tailStart` when nothing is kept
  std::int64_t formEnd = 0;    ///< end of the outermost chunk, from `tailStart` to `tailEnd`
  std::int64_t fileEnd = 0;    ///< length of the file; beyond `tailEnd` where an abandoned filler ends it
  bool isChunk = true;         ///< false where the file is nothing but audio: nothing can follow, not even a pad byte

  /// Where the chunk behind a sound chunk begins that ends at `end`: behind the pad byte that makes its size even.
  std::int64_t nextChunk(std::int64_t end) const { return isChunk ? end + ((end - soundBody) & 1) : end; }
};

/// What a header says about the sizes in its file. Offsets as in `Layout`.
struct Sizes {
  std::int64_t dataBytes = 0;  ///< audio
  std::int64_t soundEnd = 0;
  std::int64_t formEnd = 0;
};

/// A few bytes of the header that are to be replaced.
struct Patch {
  std::int64_t offset = 0;
  std::uint32_t length = 0;
  std::array<std::uint8_t, 36> bytes{};  ///< the longest: a whole ds64 chunk

  static Patch number(std::int64_t offset, std::uint32_t length, ByteOrder order, std::uint64_t value);
  std::int64_t end() const { return offset + length; }
};

/// What the header of an open file says, and how it is made to say something else. Constant once made.
class Container {
 public:
  Container() = default;
  Container(const Container&) = delete;
  Container& operator=(const Container&) = delete;
  virtual ~Container() = default;

  virtual AudioFileTypeID type() const = 0;
  virtual ByteOrder chunkOrder() const = 0;
  /// Whether the header can say these sizes.
  virtual bool canSay(const Sizes& sizes) const = 0;
  /// What makes the header say these sizes, in an order that leaves a readable file wherever it is interrupted. Offsets
  /// are those of the file when it was opened. Empty where nothing in the file says its sizes.
  virtual std::vector<Patch> sizePatches(const Sizes& sizes) const = 0;

  const AudioStreamBasicDescription& format() const { return format_; }
  const Layout& layout() const { return layout_; }

 protected:
  AudioStreamBasicDescription format_{};
  Layout layout_;
};

/// How much of a file is looked at when it is opened.
enum class Walk {
  toTheSound,  ///< up to where format and audio are known: enough for reading
  wholeFile,   ///< all chunks: what updating needs to keep them
};

/// Finds out the container of the file at `path` by its first bytes, then by its companion and its name, and reads its
/// header. A refusal sets the problem line.
OSStatus openContainer(HeaderReader& reader, const std::string& path, Walk walk, std::unique_ptr<Container>* container);

/// What a new file without audio consists of.
struct NewFile {
  std::vector<std::uint8_t> header;
  std::vector<std::uint8_t> companion;  ///< empty where the container has none
};

/// `kAudioFileUnsupportedDataFormatError` when the container can't hold the format,
/// `kAudioFileUnsupportedFileTypeError` when there is no such container; sets the problem line.
OSStatus makeNewFile(AudioFileTypeID type, const AudioStreamBasicDescription& format, NewFile* file);

}  // namespace orv::audiofile
