#include "tracks/ChunkWrite.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "OrvPlatform/Archiver.h"
#include "tracks/BigEndian.h"

namespace {

/// Name of the audio file service's own filler: a file that grows takes back the room of one behind its sound.
constexpr const char* kFiller = "Orvf";

constexpr std::uint64_t kFormSizeField = 4;
constexpr std::uint64_t kFormHeaderBytes = 8;
constexpr std::uint64_t kHeader = AIFFChunkHeader::kBytes;

OSStatus readBytes(orv::FileHandle& file, std::uint64_t offset, std::span<std::uint8_t> bytes) {
  std::size_t moved = 0;
  const OSStatus status = file.readAt(static_cast<std::int64_t>(offset), bytes.data(), bytes.size(), &moved);
  return status == noErr && moved != bytes.size() ? kInputOutputErrorStatus : status;
}

/// A filler of `length` bytes, its header included.
OSStatus writeFiller(orv::FileHandle& file, std::uint64_t offset, std::uint64_t length) {
  std::array<std::uint8_t, kHeader> header{};
  std::memcpy(header.data(), kFiller, 4);
  storeBigEndian32(header.data() + 4, static_cast<std::uint32_t>(length - kHeader));
  return writeBytes(file, offset, header);
}

/// The body and size stay.
OSStatus renameToFiller(orv::FileHandle& file, std::uint64_t offset) {
  std::array<std::uint8_t, 4> name{};
  std::memcpy(name.data(), kFiller, name.size());
  return writeBytes(file, offset, name);
}

OSStatus writeFormSizeFor(orv::FileHandle& file, std::int64_t length) {
  const auto header = static_cast<std::int64_t>(kFormHeaderBytes);
  if (length < header || length - header > std::numeric_limits<std::uint32_t>::max()) {
    return kInputOutputErrorStatus;
  }
  std::array<std::uint8_t, 4> bytes{};
  storeBigEndian32(bytes.data(), static_cast<std::uint32_t>(length - header));
  return writeBytes(file, kFormSizeField, bytes);
}

}  // namespace

OSStatus writeBytes(orv::FileHandle& file, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  std::size_t moved = 0;
  const OSStatus status = file.writeAt(static_cast<std::int64_t>(offset), bytes.data(), bytes.size(), &moved);
  return status == noErr && moved != bytes.size() ? kInputOutputErrorStatus : status;
}

OSStatus writeFormSize(orv::FileHandle& file) {
  return writeFormSizeFor(file, file.size());
}

OSStatus makeLengthEven(orv::FileHandle& file) {
  const std::int64_t length = file.size();
  if (length % 2 == 0) {
    return noErr;
  }
  const OSStatus status = writeFormSizeFor(file, length + 1);
  const std::uint8_t zero = 0;
  return status == noErr ? writeBytes(file, static_cast<std::uint64_t>(length), {&zero, 1}) : status;
}

OSStatus prepareFillers(orv::FileHandle& file, const ChunkChain& chain, const ChunkPlan& plan) {
  if (plan.room >= plan.length + kHeader) {
    return writeFiller(file, plan.offset + plan.length, plan.room - plan.length);
  }
  const OwnChunk* const cutShort = chain.isForm() ? chain.cutShort() : nullptr;
  return plan.room == 0 && cutShort != nullptr
             ? writeFiller(file, cutShort->offset, ChunkChain::fillerLength(*cutShort))
             : noErr;
}

OSStatus retireOthers(orv::FileHandle& file, const ChunkChain& chain, std::uint64_t kept) {
  OSStatus status = noErr;
  for (const OwnChunk& chunk : chain.own()) {
    if (status == noErr && chunk.isReplaceable() && chunk.offset != kept) {
      status = renameToFiller(file, chunk.offset);
    }
  }
  return status;
}

OSStatus moveToEnd(orv::FileHandle& file, const ChunkChain& chain, const OwnChunk& chunk) {
  const auto end = chain.appendOffset();
  if (!end || chunk.claimedEnd > chain.fileLength() || chunk.room() > orv::kLongestArchive ||
      *end + chunk.room() > std::numeric_limits<std::uint32_t>::max()) {
    return kInputOutputErrorStatus;
  }
  std::vector<std::uint8_t> bytes(chunk.room());
  OSStatus status = readBytes(file, chunk.offset, bytes);
  WriteUndo undo(file, *end, 0);
  if (status == noErr) {
    status = undo.status();
  }
  if (status == noErr) {
    status = writeBytes(file, *end, bytes);
  }
  if (status == noErr) {
    status = writeFormSize(file);
  }
  if (status != noErr) {
    undo.undo();
    return status;
  }
  return renameToFiller(file, chunk.offset);
}

WriteUndo::WriteUndo(orv::FileHandle& file, std::uint64_t offset, std::uint64_t length)
    : file_(file), offset_(offset), fileLength_(file.size()) {
  const auto end = static_cast<std::uint64_t>(std::max<std::int64_t>(fileLength_, 0));
  bytes_.resize(offset < end ? std::min(length, end - offset) : 0);
  head_.resize(std::min(end, kFormHeaderBytes));
  status_ = fileLength_ < 0 ? kInputOutputErrorStatus : readBytes(file, offset, bytes_);
  if (status_ == noErr) {
    status_ = readBytes(file, 0, head_);
  }
}

void WriteUndo::undo() {
  writeBytes(file_, offset_, bytes_);
  writeBytes(file_, 0, head_);
  file_.setSize(fileLength_);
}
