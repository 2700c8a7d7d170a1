#include "audiofile/AIFFContainer.h"

#include <algorithm>
#include <limits>
#include <string>

#include "OrvPlatform/Log.h"
#include "audiofile/AIFCCoding.h"
#include "audiofile/ExtendedFloat80.h"

namespace orv::audiofile {
namespace {

constexpr FourCharCode kForm = fourCC("FORM");
constexpr FourCharCode kCommon = fourCC("COMM");
constexpr FourCharCode kSound = fourCC("SSND");

constexpr std::int64_t kFormSizeField = 4;
constexpr std::int64_t kFormHeaderBytes = 12;
constexpr std::int64_t kFirstChunk = kFormHeaderBytes;

// COMM: channels 2, frames 4, bits 2, rate 10; AIFC: compression code 4, then its name.
constexpr std::int64_t kCommonBytes = 18;
constexpr std::int64_t kCommonBytesAIFC = 22;
constexpr std::int64_t kFrameCountInCommon = 2;
constexpr std::int64_t kBitsInCommon = 6;
constexpr std::int64_t kRateInCommon = 8;
constexpr std::int64_t kCodeInCommon = 18;

// SSND: offset 4, block size 4, then the sound.
constexpr std::int64_t kSoundHeaderBytes = 8;

constexpr std::uint32_t kUnknownSize = std::numeric_limits<std::uint32_t>::max();

const char* nameOf(AudioFileTypeID type) {
  return type == kAudioFileAIFCType ? "AIFC" : "AIFF";
}

OSStatus refuseFile(AudioFileTypeID type, const char* problem) {
  return refuse(kAudioFileInvalidFileError, formatText("%s: %s", nameOf(type), problem));
}

OSStatus refuseCompression(FourCharCode code) {
  const std::string name(aifcCompressionName(code));
  return refuse(kAudioFileUnsupportedDataFormatError,
                formatText("AIFC: compression '%s'%s%s%s can't be read", fourCCText(code).c_str(),
                           name.empty() ? "" : " (", name.c_str(), name.empty() ? "" : ")"));
}

}  // namespace

bool AIFFContainer::recognises(FourCharCode outer, FourCharCode inner) {
  return outer == kForm && (inner == kAudioFileAIFFType || inner == kAudioFileAIFCType);
}

OSStatus AIFFContainer::open(HeaderReader& reader, Walk walk, std::unique_ptr<Container>* container) {
  std::unique_ptr<AIFFContainer> opened(new AIFFContainer(loadCode(reader.head().data() + 8)));
  if (const OSStatus status = opened->parse(reader, walk); status != noErr) {
    return status;
  }
  *container = std::move(opened);
  return noErr;
}

OSStatus AIFFContainer::parse(HeaderReader& reader, Walk walk) {
  SoundSurroundings surroundings(reader.fileSize());
  ChunkWalker walker(reader, ByteOrder::big, kFirstChunk);
  const bool wholeFile = walk == Walk::wholeFile;
  while ((wholeFile || !hasCommon_ || !surroundings.hasSound()) && walker.next()) {
    OSStatus status = noErr;
    if (walker.chunk().id == kSound && !surroundings.hasSound()) {
      status = noteSound(reader, walker, surroundings);
    } else {
      if (walker.chunk().id == kCommon && !hasCommon_) {
        status = readCommon(reader, walker.chunk());
      }
      surroundings.noteOther(walker);
    }
    if (status != noErr) {
      return status;
    }
  }
  if (reader.status() != noErr) {
    return refuse(reader.status(), describeStatus(reader.status()));
  }
  if (!hasCommon_) {
    return refuseFile(type_, "the file has no common chunk, which says the format");
  }
  if (!surroundings.hasSound()) {
    return refuseFile(type_, "the file has no sound chunk");
  }
  layout_ = surroundings.layout(usedBytes(surroundings.audioRoom()),
                                kChunkHeaderBytes + load32(reader.head().data() + kFormSizeField, ByteOrder::big));
  return noErr;
}

OSStatus AIFFContainer::readCommon(HeaderReader& reader, const Chunk& chunk) {
  const bool isAIFC = type_ == kAudioFileAIFCType;
  const std::int64_t needed = isAIFC ? kCommonBytesAIFC : kCommonBytes;
  const auto body = reader.bytes(chunk.body, static_cast<std::size_t>(needed));
  if (chunk.size < needed || body.empty()) {
    return refuseFile(type_, "the common chunk is too short");
  }
  auto coding = aifcCodingOf(fourCC("NONE"));
  if (isAIFC) {
    const FourCharCode code = loadCode(body.data() + kCodeInCommon);
    coding = aifcCodingOf(code);
    if (!coding) {
      return refuseCompression(code);
    }
  }
  ExtendedFloat80 rate{};
  std::copy_n(body.begin() + kRateInCommon, rate.size(), rate.begin());

  PCMFormat format;
  format.sampleRate = doubleFromExtended(rate);
  format.channels = load16(body.data(), ByteOrder::big);
  format.kind = coding->kind;
  format.order = coding->order;
  format.bits = coding->fixedBits != 0 ? coding->fixedBits : load16(body.data() + kBitsInCommon, ByteOrder::big);
  format.bytesPerSample = bytesForBits(format.bits);
  frameCount_ = load32(body.data() + kFrameCountInCommon, ByteOrder::big);
  frameCountField_ = chunk.body + kFrameCountInCommon;
  hasCommon_ = true;
  if (const OSStatus status = checkFormat(format, nameOf(type_)); status != noErr) {
    return status;
  }
  format_ = describe(format);
  return noErr;
}

OSStatus AIFFContainer::noteSound(HeaderReader& reader, ChunkWalker& walker, SoundSurroundings& surroundings) {
  const std::uint32_t declared = walker.chunk().declaredSize;
  const auto fields = reader.bytes(walker.chunk().body, static_cast<std::size_t>(kSoundHeaderBytes));
  if (fields.empty() || (declared < kSoundHeaderBytes && declared != 0)) {
    return refuseFile(type_, "the sound chunk is too short");
  }
  const std::int64_t offset = load32(fields.data(), ByteOrder::big);
  blockSize_ = load32(fields.data() + 4, ByteOrder::big);
  if (declared == 0) {
    walker.setSize(static_cast<std::uint64_t>(kSoundHeaderBytes + offset));
  }
  if (walker.chunk().size <= kSoundHeaderBytes + offset && isUnfinished(walker, reader.fileSize())) {
    walker.setSize(kUnknownSize);
  }
  if (walker.chunk().size < kSoundHeaderBytes + offset) {
    return refuseFile(type_, "the sound begins behind the end of its chunk");
  }
  surroundings.noteSound(walker, walker.chunk().body + kSoundHeaderBytes + offset);
  return noErr;
}

/// Whole frames of `room` bytes. Sound that is stored in blocks may be filled up to a whole one, which only the frame
/// count of the common chunk tells; otherwise the sound chunk's size counts, since a program that was ended while
/// recording leaves a frame count of 0.
std::int64_t AIFFContainer::usedBytes(std::int64_t room) const {
  const std::int64_t bytesPerFrame = format_.mBytesPerFrame;
  const std::int64_t counted = frameCount_ * bytesPerFrame;
  if (counted > 0 && counted < room && room - counted < blockSize_) {
    return counted;
  }
  return room - room % bytesPerFrame;
}

bool AIFFContainer::canSay(const Sizes& sizes) const {
  return sizes.soundEnd - layout_.soundBody <= kUnknownSize && sizes.formEnd - kChunkHeaderBytes <= kUnknownSize;
}

std::vector<Patch> AIFFContainer::sizePatches(const Sizes& sizes) const {
  const auto field = [](std::int64_t offset, std::int64_t value) {
    return Patch::number(offset, 4, ByteOrder::big, static_cast<std::uint64_t>(value));
  };
  return {field(layout_.soundBody - 4, sizes.soundEnd - layout_.soundBody),
          field(frameCountField_, sizes.dataBytes / format_.mBytesPerFrame),
          field(kFormSizeField, sizes.formEnd - kChunkHeaderBytes)};
}

}  // namespace orv::audiofile
