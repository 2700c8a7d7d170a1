#include "audiofile/Tail.h"

#include <algorithm>
#include <array>
#include <limits>

#include "audiofile/FileBytes.h"

namespace orv::audiofile {
namespace {

/// What a gap holds beside the audio that goes into it and a copy of the tail: the headers of up to three fillers, pad
/// bytes, and up to 17 bytes by which a small commit reaches ahead.
constexpr std::int64_t kSlack = 64;

// The gap grows with what was appended, so that moving the tail costs little however much is appended.
constexpr std::int64_t kSmallestSpare = std::int64_t{1} << 16;
constexpr std::int64_t kLargestSpare = std::int64_t{1} << 26;

using ChunkHeader = std::array<std::uint8_t, kChunkHeaderBytes>;

std::int64_t roundedUp(std::int64_t length) {
  return length + (length & 1);
}

}  // namespace

Tail::Tail(FileHandle& file, const Container& container, HeaderUpdater& header)
    : file_(file),
      container_(container),
      header_(header),
      length_(container.layout().tailEnd - container.layout().tailStart),
      formLength_(container.layout().formEnd - container.layout().tailStart),
      fileEnd_(container.layout().fileEnd),
      position_(container.layout().tailStart),
      gapStart_(container.layout().gapStart),
      isApart_(gapStart_ != position_) {}

bool Tail::isEven(std::int64_t offset) const {
  return ((offset - container_.layout().soundBody) & 1) == 0;
}

std::int64_t Tail::reach() const {
  return isApart_ && isEven(position_) ? position_ - length_ - kSlack : gapStart_;
}

OSStatus Tail::makeRoom(std::int64_t soundEnd, const Sizes& now) {
  if (container_.layout().nextChunk(soundEnd) <= reach()) {
    return noErr;
  }
  const std::int64_t lowest = std::max(soundEnd + 1 + length_, position_ + length_) + kSlack;
  const std::int64_t appended = soundEnd - container_.layout().soundEnd;
  std::int64_t position = lowest + std::clamp(appended, kSmallestSpare, kLargestSpare);
  const auto canSay = [&] {
    // The filler's own size has 32 bits in every container.
    return position + length_ - gapStart_ <= std::numeric_limits<std::uint32_t>::max() &&
           container_.canSay({now.dataBytes, soundEnd, position + formLength_});
  };
  if (!canSay()) {
    position = lowest;
  }
  // Fillers of even size leave no doubt where the next chunk begins.
  position += isEven(position) ? 0 : 1;
  if (!canSay()) {
    return refuse(kAudioFileDoesNotAllow64BitDataSizeError, "this type of file ends at 4 GiB");
  }
  if (const OSStatus status = dropAbandonedFiller(now); status != noErr) {
    return status;
  }
  return moveTo(position, now);
}

/// The tail has just been moved back, or a killed process left a filler behind it.
OSStatus Tail::dropAbandonedFiller(const Sizes& now) {
  const std::int64_t end = position_ + length_;
  if (fileEnd_ == end) {
    return noErr;
  }
  OSStatus status = writeHeader(now, position_);
  if (status == noErr) {
    status = file_.setSize(end);
  }
  if (status == noErr) {
    fileEnd_ = end;
  }
  return status;
}

OSStatus Tail::moveTo(std::int64_t position, const Sizes& now) {
  OSStatus status = copyTo(position, now);
  std::int64_t fillerEnd = position;
  if (status == noErr && !isEven(gapStart_)) {
    // Behind a sound chunk without its pad byte the filler's size is odd. What follows is an empty filler, which is
    // found for certain at an odd place.
    fillerEnd -= kChunkHeaderBytes;
    status = storeFiller(fillerEnd, position);
  }
  if (status == noErr) {
    status = storeFiller(gapStart_, fillerEnd);
  }
  if (status != noErr) {
    writeHeader(now, position_);
    file_.setSize(fileEnd_);
    return status;
  }
  position_ = position;
  fileEnd_ = position + length_;
  isApart_ = true;
  return noErr;
}

/// Afterwards the tail is there twice, with a filler between that ends where the form does.
OSStatus Tail::copyTo(std::int64_t position, const Sizes& now) {
  const std::int64_t oldEnd = position_ + length_;
  OSStatus status = file_.reserve(oldEnd, position + length_ - oldEnd);
  if (status == kDiskFullStatus) {
    return status;
  }
  // A file system that can't reserve is no obstacle: the copy itself then finds out whether there is room.
  status = copyInside(file_, position_, position, length_);
  if (status == noErr) {
    status = storeFiller(position_ + roundedUp(length_), position + formLength_);
  }
  if (status == noErr) {
    status = writeHeader(now, position);
  }
  return status;
}

OSStatus Tail::close(const Sizes& now) {
  const OSStatus status = isApart_ ? moveBack() : noErr;
  return status == noErr ? dropAbandonedFiller(now) : status;
}

OSStatus Tail::moveBack() {
  const std::int64_t place = gapStart_;
  ChunkHeader front{};
  const auto frontBytes = std::min<std::int64_t>(length_, kChunkHeaderBytes);
  OSStatus status = readAll(file_, position_, std::span(front).first(static_cast<std::size_t>(frontBytes)));
  if (status == noErr) {
    status = copyInside(file_, position_ + frontBytes, place + frontBytes, length_ - frontBytes);
  }
  // What is left of the gap, and the copy behind it, become a filler behind the tail.
  if (status == noErr) {
    status = storeFiller(place + roundedUp(std::max(length_, kChunkHeaderBytes)), position_ + formLength_);
  }
  // Only this write makes the chain of chunks lead to the new place.
  if (status == noErr) {
    status = writeAll(file_, place, front);
  }
  if (status == noErr) {
    position_ = place;
    isApart_ = false;
  }
  return status;
}

OSStatus Tail::storeFiller(std::int64_t start, std::int64_t end) {
  ChunkHeader header{};
  makeFiller(start, end, header.data());
  return writeAll(file_, start, header);
}

void Tail::makeFiller(std::int64_t start, std::int64_t end, std::uint8_t* header) const {
  storeChunkHeader(header, container_.chunkOrder(), kFillerChunk,
                   static_cast<std::uint32_t>(end - start - kChunkHeaderBytes));
}

OSStatus Tail::writeHeader(const Sizes& now, std::int64_t position) {
  return header_.write({now.dataBytes, now.soundEnd, position + formLength_}, position - container_.layout().tailStart);
}

}  // namespace orv::audiofile
