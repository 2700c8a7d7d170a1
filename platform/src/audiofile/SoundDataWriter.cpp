#include "audiofile/SoundDataWriter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "audiofile/FileBytes.h"

namespace orv::audiofile {
namespace {

/// Twice as often as is promised, since the time is only looked at when something is written.
constexpr std::chrono::milliseconds kCommitInterval{500};

}  // namespace

SoundDataWriter::SoundDataWriter(FileHandle& file, const Container& container, std::span<const std::uint8_t> head,
                                 Clock clock)
    : file_(file),
      container_(container),
      layout_(container.layout()),
      bytesPerFrame_(container.format().mBytesPerFrame),
      clock_(std::move(clock)),
      header_(file, container, head),
      tail_(file, container, header_),
      written_(layout_.dataBytes),
      committed_(layout_.dataBytes),
      soundEnd_(layout_.soundEnd),
      formEnd_(layout_.formEnd),
      lastCommit_(clock_()) {
  held_.position = tail_.gapStart();
}

OSStatus SoundDataWriter::read(std::int64_t start, std::uint32_t* count, void* buffer) const {
  const std::int64_t asked = std::exchange(*count, 0);
  const std::int64_t there = std::clamp<std::int64_t>(size() - start, 0, asked);
  const std::span bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::size_t>(there));
  const auto inFile = bytes.first(static_cast<std::size_t>(std::clamp<std::int64_t>(written_ - start, 0, there)));
  if (!inFile.empty()) {
    if (const OSStatus status = readAll(file_, position(start), inFile); status != noErr) {
      return status;
    }
    if (tail_.isApart()) {
      held_.overlay(position(start), inFile);
    }
    if (unsettled_) {
      unsettled_->overlay(position(start), inFile);
    }
  }
  const auto inMemory = bytes.subspan(inFile.size());
  if (!inMemory.empty()) {
    std::copy_n(partialFrame_.begin() + std::max<std::int64_t>(start - written_, 0), inMemory.size(), inMemory.begin());
  }
  *count = static_cast<std::uint32_t>(there);
  return there == 0 && asked > 0 ? kEndOfFileStatus : noErr;
}

OSStatus SoundDataWriter::write(std::int64_t start, std::uint32_t* count, const void* buffer) {
  const std::span data(static_cast<const std::uint8_t*>(buffer), std::exchange(*count, 0));
  if (start > size()) {
    return refuse(kAudioFileInvalidPacketOffsetError, "writing can't begin behind the end of the audio");
  }
  if (const OSStatus status = settle(); status != noErr) {
    return status;
  }
  const std::int64_t wantedEnd = start + static_cast<std::int64_t>(data.size());
  std::int64_t allowedEnd = wantedEnd;
  const OSStatus room = wantedEnd > size() ? makeRoom(wantedEnd, &allowedEnd) : noErr;
  const auto allowed = data.first(static_cast<std::size_t>(std::max<std::int64_t>(allowedEnd - start, 0)));
  const auto present = allowed.first(static_cast<std::size_t>(
      std::clamp<std::int64_t>(written_ - start, 0, static_cast<std::int64_t>(allowed.size()))));

  std::size_t moved = 0;
  OSStatus status = put(start, present, &moved);
  if (status == noErr && allowed.size() > moved) {
    std::size_t taken = 0;
    status = append(start + static_cast<std::int64_t>(moved), allowed.subspan(moved), &taken);
    moved += taken;
  }
  *count = static_cast<std::uint32_t>(moved);
  if (status == noErr) {
    status = room;
  }
  return status == noErr ? commitWhenDue() : status;
}

/// `*allowedEnd`: where the audio can end, less than wanted when the status is a failure.
OSStatus SoundDataWriter::makeRoom(std::int64_t wantedEnd, std::int64_t* allowedEnd) {
  const std::int64_t wholeEnd = wholeFrames(wantedEnd + bytesPerFrame_ - 1);
  const std::int64_t soundEnd = position(wholeEnd);
  if (!tail_.exists()) {
    if (container_.canSay({wholeEnd, soundEnd, layout_.nextChunk(soundEnd)})) {
      return hasGrown() ? noErr : makeHeaderTrue(allowedEnd);
    }
    *allowedEnd = 0;
    return refuse(kAudioFileDoesNotAllow64BitDataSizeError, "this type of file ends at 4 GiB");
  }
  const OSStatus status = tail_.makeRoom(soundEnd, {committed_, soundEnd_, formEnd_});
  if (status == kDiskFullStatus) {
    // What the gap still holds is used up.
    *allowedEnd = std::min(wantedEnd, wholeFrames(std::max(tail_.reach() - 1 - layout_.dataStart, written_)));
  } else if (status != noErr) {
    *allowedEnd = 0;
  } else {
    formEnd_ = tail_.formEnd();
  }
  return status;
}

/// Of a file that was cut off, or never finished, only its end told how much audio it holds: before that end moves, the
/// header has to say it.
OSStatus SoundDataWriter::makeHeaderTrue(std::int64_t* allowedEnd) {
  const OSStatus status = writeHeader(soundEnd_, formEnd_);
  if (status != noErr) {
    *allowedEnd = 0;
  }
  return status;
}

OSStatus SoundDataWriter::append(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* taken) {
  if (!partialFrame_.empty()) {
    if (const OSStatus status = finishFrame(start, data, taken); status != noErr) {
      return status;
    }
    data = data.subspan(*taken);
  }
  if (data.empty()) {
    return noErr;
  }
  const auto whole = data.first(static_cast<std::size_t>(wholeFrames(static_cast<std::int64_t>(data.size()))));
  std::size_t moved = 0;
  const OSStatus status = put(written_, whole, &moved);
  const auto frames = static_cast<std::size_t>(wholeFrames(static_cast<std::int64_t>(moved)));
  const std::size_t kept = status == noErr ? data.size() : moved;
  partialFrame_.assign(data.begin() + static_cast<std::ptrdiff_t>(frames),
                       data.begin() + static_cast<std::ptrdiff_t>(kept));
  written_ += static_cast<std::int64_t>(frames);
  *taken += kept;
  return status;
}

/// Fills up the frame of which a part was written before.
OSStatus SoundDataWriter::finishFrame(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* taken) {
  const auto at = static_cast<std::size_t>(start - written_);
  const auto frameSize = static_cast<std::size_t>(bytesPerFrame_);
  const std::size_t length = std::min(data.size(), frameSize - at);
  std::vector<std::uint8_t> frame = partialFrame_;
  frame.resize(std::max(frame.size(), at + length));
  std::copy_n(data.begin(), length, frame.begin() + static_cast<std::ptrdiff_t>(at));
  if (frame.size() == frameSize) {
    std::size_t moved = 0;
    if (const OSStatus status = put(written_, frame, &moved); status != noErr) {
      return status;
    }
    written_ += bytesPerFrame_;
    frame.clear();
  }
  partialFrame_ = std::move(frame);
  *taken = length;
  return noErr;
}

/// Writes audio of whole frames at byte `start` of the audio, to the file or to the bytes that are held back.
OSStatus SoundDataWriter::put(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* moved) {
  const std::int64_t offset = position(start);
  const auto length = static_cast<std::int64_t>(data.size());
  if (!tail_.isApart() || offset + length <= held_.position || offset >= held_.end()) {
    return putDirectly(offset, data, moved);
  }
  const auto before = data.first(static_cast<std::size_t>(std::max<std::int64_t>(held_.position - offset, 0)));
  if (const OSStatus status = putDirectly(offset, before, moved); status != noErr) {
    return status;
  }
  held_.absorb(offset, data);
  const std::int64_t behind = std::min(held_.end() - offset, length);
  std::size_t movedBehind = 0;
  const OSStatus status = putDirectly(offset + behind, data.subspan(static_cast<std::size_t>(behind)), &movedBehind);
  *moved = static_cast<std::size_t>(behind) + movedBehind;
  return status;
}

OSStatus SoundDataWriter::putDirectly(std::int64_t offset, std::span<const std::uint8_t> data, std::size_t* moved) {
  *moved = 0;
  if (data.empty()) {
    return noErr;
  }
  const OSStatus status = file_.writeAt(offset, data.data(), data.size(), moved);
  return status == noErr && *moved != data.size() ? kInputOutputErrorStatus : status;
}

OSStatus SoundDataWriter::commit() {
  lastCommit_ = clock_();
  if (const OSStatus status = settle(); status != noErr) {
    return status;
  }
  if (!hasGrown()) {
    return noErr;
  }
  if (!tail_.exists()) {
    return written_ == committed_ ? noErr : commitAtEnd();
  }
  const bool isFillerInPlace = next() >= tail_.gapStart();
  return written_ == committed_ && isFillerInPlace ? noErr : commitBeforeTail();
}

OSStatus SoundDataWriter::commitWhenDue() {
  const bool isDue = clock_() - lastCommit_ >= kCommitInterval;
  return isDue && !isTooCloseToFiller() ? commit() : noErr;
}

/// Less was appended than a chunk's header takes: the new filler's header and the old one's would overlap.
bool SoundDataWriter::isTooCloseToFiller() const {
  const std::int64_t distance = next() - tail_.gapStart();
  return tail_.isApart() && distance > 0 && distance < kChunkHeaderBytes;
}

OSStatus SoundDataWriter::commitAtEnd() {
  std::int64_t formEnd = end();
  if (next() != formEnd) {
    // On a full disk the file does without its pad byte: the chunk is the last one.
    const std::array<std::uint8_t, 1> pad{};
    formEnd = writeAll(file_, formEnd, pad) == noErr ? next() : formEnd;
  }
  return writeHeader(end(), formEnd);
}

OSStatus SoundDataWriter::commitBeforeTail() {
  if (isTooCloseToFiller()) {
    if (const OSStatus status = moveFillerFarAhead(); status != noErr) {
      return status;
    }
  }
  const std::int64_t distance = next() - tail_.gapStart();
  if (distance > 0) {
    return moveFillerAhead();
  }
  if (distance <= -kChunkHeaderBytes && tail_.isApart()) {
    return moveFillerBack();
  }
  // The sound fills a pad byte, or a part of a block: the chunk behind it stays where it is.
  return writeHeader(distance == 0 ? end() : soundEnd_, tail_.formEnd());
}

OSStatus SoundDataWriter::moveFillerAhead() {
  std::array<std::uint8_t, kChunkHeaderBytes + 1> padAndHeader{};
  tail_.makeFiller(next(), padAndHeader.data() + 1);
  // A pad byte that falls into the bytes held back is already in them.
  const bool withPad = next() != end() && end() >= held_.end();
  OSStatus status = writeAll(file_, next() - (withPad ? 1 : 0), std::span(padAndHeader).subspan(withPad ? 0 : 1));
  if (status == noErr) {
    status = writeHeader(end(), tail_.formEnd());
  }
  if (status == noErr) {
    tail_.setGapStart(next());
    status = replaceHeldBytes();
  }
  return status;
}

/// Makes the sound chunk a little longer than its audio, so that the filler's header gets out of the way of the one
/// that `moveFillerBack` writes next. A process that is killed between the two leaves some bytes of silence too much.
OSStatus SoundDataWriter::moveFillerFarAhead() {
  const std::int64_t farAhead = next() + kChunkHeaderBytes;
  std::array<std::uint8_t, 3 * kChunkHeaderBytes> zerosAndHeader{};
  const auto zeros = static_cast<std::size_t>(farAhead - held_.end());
  tail_.makeFiller(farAhead, zerosAndHeader.data() + zeros);
  OSStatus status = writeAll(file_, held_.end(), std::span(zerosAndHeader).first(zeros + kChunkHeaderBytes));
  if (status == noErr) {
    status = writeHeader(farAhead, tail_.formEnd());
  }
  if (status == noErr) {
    tail_.setGapStart(farAhead);
    status = replaceHeldBytes();
  }
  return status;
}

OSStatus SoundDataWriter::moveFillerBack() {
  OSStatus status = tail_.storeFiller(next());
  if (status == noErr) {
    status = writeHeader(end(), tail_.formEnd());
  }
  if (status == noErr) {
    tail_.setGapStart(next());
    held_ = HeldBytes{next(), {}};
  }
  return status;
}

/// The filler has moved: the bytes in place of its old header can be written, those in place of the new one are held.
OSStatus SoundDataWriter::replaceHeldBytes() {
  unsettled_ = std::exchange(held_, HeldBytes{tail_.gapStart(), {}});
  return settle();
}

OSStatus SoundDataWriter::settle() {
  if (!unsettled_) {
    return noErr;
  }
  const OSStatus status = writeAll(file_, unsettled_->position, unsettled_->bytes);
  if (status == noErr) {
    unsettled_.reset();
  }
  return status;
}

OSStatus SoundDataWriter::writeHeader(std::int64_t soundEnd, std::int64_t formEnd) {
  const OSStatus status = header_.write({written_, soundEnd, formEnd}, tail_.shift());
  if (status == noErr) {
    committed_ = written_;
    soundEnd_ = soundEnd;
    formEnd_ = formEnd;
  }
  return status;
}

OSStatus SoundDataWriter::close() {
  if (const OSStatus status = commit(); status != noErr) {
    return status;
  }
  if (!hasGrown()) {
    return noErr;
  }
  if (tail_.exists()) {
    return tail_.close({committed_, soundEnd_, formEnd_});
  }
  return file_.size() > formEnd_ ? file_.setSize(formEnd_) : noErr;
}

}  // namespace orv::audiofile
