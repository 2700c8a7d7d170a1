#include "foreignfile/FrameReader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "OrvPlatform/Log.h"
#include "audiofile/PCMFormat.h"

namespace orv::foreignfile {
namespace {

constexpr std::int64_t kPieceBytes = std::int64_t{1} << 16;

/// What stays in memory of a coding that does not seek exactly: more than a reader with two buffers of 768 KiB has read
/// ahead when it turns back.
constexpr std::size_t kRecentBytes = std::size_t{1} << 22;

}  // namespace

std::int64_t framesInPiece(const audiofile::PCMFormat& format) {
  return std::max<std::int64_t>(1, kPieceBytes / format.bytesPerFrame());
}

FrameReader::FrameReader(std::unique_ptr<Decoder> decoder, std::int64_t frames)
    : decoder_(std::move(decoder)),
      frames_(frames),
      bytesPerFrame_(decoder_->presentation().pcm.bytesPerFrame()),
      seeksExactly_(decoder_->presentation().seeksExactly) {}

OSStatus FrameReader::read(std::int64_t start, std::uint32_t* count, std::uint8_t* buffer) {
  const std::int64_t asked = std::exchange(*count, 0);
  const std::int64_t wanted = std::clamp<std::int64_t>(byteCount() - start, 0, asked);
  for (std::int64_t moved = 0; moved < wanted;) {
    const std::int64_t at = start + moved;
    if (const OSStatus status = makeRecent(at / bytesPerFrame_); status != noErr) {
      return status;
    }
    const std::int64_t offset = at - recentBegin() * bytesPerFrame_;
    const std::int64_t length = std::min(wanted - moved, static_cast<std::int64_t>(recent_.size()) - offset);
    std::memcpy(buffer + moved, recent_.data() + offset, static_cast<std::size_t>(length));
    moved += length;
    *count = static_cast<std::uint32_t>(moved);
  }
  return wanted == 0 && asked > 0 ? kEndOfFileStatus : noErr;
}

/// Decodes what is needed for `frame` to be among the frames in memory.
OSStatus FrameReader::makeRecent(std::int64_t frame) {
  if (isRecent(frame)) {
    return noErr;
  }
  const bool mustJump = seeksExactly_ ? frame != position_ : frame < position_;
  const OSStatus jumped = mustJump || !positionIsKnown_ ? jumpTowards(frame) : noErr;
  const OSStatus status = jumped == noErr ? decodeUpTo(frame) : jumped;
  if (status != noErr) {
    recent_.clear();
    positionIsKnown_ = false;
  }
  return status;
}

/// As far as the coding lets us without decoding. A decoder that failed goes on only when it is made anew.
OSStatus FrameReader::jumpTowards(std::int64_t frame) {
  recent_.clear();
  OSStatus status = seeksExactly_ && positionIsKnown_ ? noErr : decoder_->restart();
  if (status == noErr && seeksExactly_) {
    status = decoder_->seek(frame);
  }
  position_ = seeksExactly_ ? frame : 0;
  positionIsKnown_ = status == noErr;
  return status;
}

/// A damaged place that is only passed on the way is no failure, but nothing to keep either.
OSStatus FrameReader::decodeUpTo(std::int64_t frame) {
  while (position_ <= frame) {
    std::int64_t decoded = 0;
    const OSStatus status = decodePiece(&decoded);
    const bool isOnTheWay = status == kAudioFileInvalidFileError && decoded > 0 && position_ <= frame;
    if (status != noErr && !isOnTheWay) {
      return status;
    }
    if (isOnTheWay) {
      recent_.clear();
    }
    if (decoded <= 0) {
      return audiofile::refuse(kAudioFileInvalidFileError,
                               formatText("%s: the audio ends at frame %lld, earlier than the file says",
                                          decoder_->name(), static_cast<long long>(position_)));
    }
  }
  return noErr;
}

OSStatus FrameReader::decodePiece(std::int64_t* decoded) {
  forgetOldest();
  const std::int64_t frames = std::min(framesInPiece(decoder_->presentation().pcm), frames_ - position_);
  const std::size_t kept = recent_.size();
  recent_.resize(kept + static_cast<std::size_t>(frames * bytesPerFrame_));
  positionIsKnown_ = false;  // should the decoder throw
  const OSStatus status = decoder_->decode(recent_.data() + kept, frames, decoded);
  positionIsKnown_ = true;
  *decoded = std::clamp<std::int64_t>(*decoded, 0, frames);
  recent_.resize(kept + static_cast<std::size_t>(*decoded * bytesPerFrame_));
  position_ += *decoded;
  return status;
}

void FrameReader::forgetOldest() {
  if (seeksExactly_) {
    recent_.clear();
  } else if (recent_.size() > kRecentBytes) {
    const auto excess = static_cast<std::int64_t>(recent_.size() - kRecentBytes / 2);
    recent_.erase(recent_.begin(), recent_.begin() + excess / bytesPerFrame_ * bytesPerFrame_);
  }
}

}  // namespace orv::foreignfile
