#include "audiofile/WAVEContainer.h"

#include <algorithm>
#include <limits>

#include "OrvPlatform/Log.h"
#include "audiofile/HeaderBuilder.h"
#include "audiofile/WAVEFormatChunk.h"

namespace orv::audiofile {
namespace {

constexpr FourCharCode kRiff = fourCC("RIFF");
constexpr FourCharCode kRiff64 = fourCC("RF64");  // EBU Tech 3306
constexpr FourCharCode kSizes64 = fourCC("ds64");
constexpr FourCharCode kReserve = fourCC("JUNK");
constexpr FourCharCode kFormat = fourCC("fmt ");
constexpr FourCharCode kFact = fourCC("fact");
constexpr FourCharCode kData = fourCC("data");

constexpr std::int64_t kFormSizeField = 4;
constexpr std::int64_t kFirstChunk = 12;

// ds64: form size 8, data size 8, frames 8, entries of a table 4.
constexpr std::int64_t kSizes64Bytes = 28;

constexpr std::uint32_t kUnknownSize = std::numeric_limits<std::uint32_t>::max();

OSStatus refuseFile(const char* problem) {
  return refuse(kAudioFileInvalidFileError, formatText("WAVE: %s", problem));
}

Patch field(std::int64_t offset, std::int64_t value) {
  return Patch::number(offset, 4, ByteOrder::little, static_cast<std::uint64_t>(value));
}

}  // namespace

bool WAVEContainer::recognises(FourCharCode outer, FourCharCode inner) {
  return (outer == kRiff || outer == kRiff64) && inner == kAudioFileWAVEType;
}

OSStatus WAVEContainer::open(HeaderReader& reader, Walk walk, std::unique_ptr<Container>* container) {
  auto opened = std::make_unique<WAVEContainer>();
  if (const OSStatus status = opened->parse(reader, walk); status != noErr) {
    return status;
  }
  *container = std::move(opened);
  return noErr;
}

OSStatus WAVEContainer::parse(HeaderReader& reader, Walk walk) {
  const bool is64 = loadCode(reader.head().data()) == kRiff64;
  const std::uint32_t formSize = load32(reader.head().data() + kFormSizeField, ByteOrder::little);
  SoundSurroundings surroundings(reader.fileSize());
  ChunkWalker walker(reader, ByteOrder::little, kFirstChunk);
  const bool wholeFile = walk == Walk::wholeFile;
  while ((wholeFile || !hasFormat_ || !surroundings.hasSound()) && walker.next()) {
    const Chunk& chunk = walker.chunk();
    OSStatus status = noErr;
    if (chunk.header == kFirstChunk && is64) {
      status = readSizes64(reader, chunk);
    } else if (chunk.header == kFirstChunk && chunk.id == kReserve && chunk.declaredSize == kSizes64Bytes) {
      sizes64_ = Sizes64::reserved;
    } else if (chunk.id == kData && !surroundings.hasSound()) {
      noteSound(reader, walker, surroundings);
      continue;
    } else {
      status = readOther(reader, chunk);
    }
    surroundings.noteOther(walker);
    if (status != noErr) {
      return status;
    }
  }
  if (reader.status() != noErr) {
    return refuse(reader.status(), describeStatus(reader.status()));
  }
  if (!hasFormat_) {
    return refuseFile("the file has no format chunk");
  }
  if (!surroundings.hasSound()) {
    return refuseFile("the file has no data chunk");
  }
  const std::int64_t room = surroundings.audioRoom();
  const std::uint64_t declaredForm = is64 && formSize == kUnknownSize ? formSize64_ : formSize;
  constexpr std::uint64_t kBeyondAnyFile = std::uint64_t{1} << 62;
  layout_ = surroundings.layout(room - room % format_.mBytesPerFrame,
                                kChunkHeaderBytes + static_cast<std::int64_t>(std::min(declaredForm, kBeyondAnyFile)));
  return noErr;
}

OSStatus WAVEContainer::readSizes64(HeaderReader& reader, const Chunk& chunk) {
  const auto body = reader.bytes(chunk.body, static_cast<std::size_t>(kSizes64Bytes));
  if (chunk.id != kSizes64 || chunk.size < kSizes64Bytes || body.empty()) {
    return refuseFile("the RF64 file does not begin with its sizes");
  }
  formSize64_ = load64(body.data(), ByteOrder::little);
  dataSize64_ = load64(body.data() + 8, ByteOrder::little);
  tableEntries_ = load32(body.data() + 24, ByteOrder::little);
  sizes64Bytes_ = chunk.declaredSize;
  sizes64_ = Sizes64::inUse;
  return noErr;
}

OSStatus WAVEContainer::readOther(HeaderReader& reader, const Chunk& chunk) {
  if (chunk.id == kFormat && !hasFormat_) {
    PCMFormat format;
    if (const OSStatus status = readWAVEFormat(reader, chunk, &format); status != noErr) {
      return status;
    }
    format_ = describe(format);
    hasFormat_ = true;
  } else if (chunk.id == kFact && factField_ == 0 && chunk.size >= 4) {
    factField_ = chunk.body;
  }
  return noErr;
}

void WAVEContainer::noteSound(HeaderReader& reader, ChunkWalker& walker, SoundSurroundings& surroundings) {
  const std::uint32_t declared = walker.chunk().declaredSize;
  if (declared == kUnknownSize && sizes64_ == Sizes64::inUse) {
    walker.setSize(dataSize64_);
  }
  if (walker.chunk().size == 0 && isUnfinished(walker, reader.fileSize())) {
    walker.setSize(std::numeric_limits<std::uint64_t>::max());
  }
  surroundings.noteSound(walker, walker.chunk().body);
}

bool WAVEContainer::fits32(const Sizes& sizes) const {
  return sizes.soundEnd - layout_.soundBody < kUnknownSize && sizes.formEnd - kChunkHeaderBytes < kUnknownSize;
}

bool WAVEContainer::canSay(const Sizes& sizes) const {
  return sizes64_ != Sizes64::none || fits32(sizes);
}

std::vector<Patch> WAVEContainer::sizePatches(const Sizes& sizes) const {
  const std::int64_t frames = sizes.dataBytes / format_.mBytesPerFrame;
  const std::int64_t dataSize = sizes.soundEnd - layout_.soundBody;
  const std::int64_t dataSizeField = layout_.soundBody - 4;
  const std::int64_t formSize = sizes.formEnd - kChunkHeaderBytes;
  std::vector<Patch> patches;
  if (sizes64_ != Sizes64::inUse && fits32(sizes)) {
    patches = {field(dataSizeField, dataSize), field(kFormSizeField, formSize)};
  } else {
    // Nobody looks at the long sizes before the form is called RF64, and at the long one of the data before its own
    // field says so.
    Patch outer = Patch::number(0, kChunkHeaderBytes, ByteOrder::little, 0);
    storeChunkHeader(outer.bytes.data(), ByteOrder::little, kRiff64, kUnknownSize);
    patches = {sizes64Patch(formSize, dataSize, frames), outer, field(dataSizeField, kUnknownSize)};
  }
  if (factField_ != 0) {
    patches.push_back(field(factField_, std::min<std::int64_t>(frames, kUnknownSize)));
  }
  return patches;
}

Patch WAVEContainer::sizes64Patch(std::int64_t formSize, std::int64_t dataSize, std::int64_t frames) const {
  Patch patch;
  patch.offset = kFirstChunk;
  patch.length = kChunkHeaderBytes + kSizes64Bytes;
  storeChunkHeader(patch.bytes.data(), ByteOrder::little, kSizes64, sizes64Bytes_);
  std::uint8_t* field = patch.bytes.data() + kChunkHeaderBytes;
  for (const std::int64_t value : {formSize, dataSize, frames}) {
    storeNumber(field, 8, ByteOrder::little, static_cast<std::uint64_t>(value));
    field += 8;
  }
  storeNumber(field, 4, ByteOrder::little, tableEntries_);
  return patch;
}

OSStatus makeWAVEHeader(const PCMFormat& format, std::vector<std::uint8_t>* header) {
  if (const OSStatus status = checkWAVEFormat(format); status != noErr) {
    return status;
  }
  HeaderBuilder builder(ByteOrder::little);
  builder.beginChunk(kRiff);
  builder.code(kAudioFileWAVEType);
  builder.beginChunk(kReserve);
  builder.zeros(static_cast<std::size_t>(kSizes64Bytes));
  builder.endChunk();
  addWAVEFormat(builder, format);
  if (needsFactChunk(format)) {
    builder.beginChunk(kFact);
    builder.number32(0);
    builder.endChunk();
  }
  builder.beginChunk(kData);
  builder.endChunk();
  builder.endChunk();
  *header = builder.take();
  return noErr;
}

}  // namespace orv::audiofile
