#include "foreignfile/FrameCount.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "foreignfile/FrameReader.h"

namespace orv::foreignfile {
namespace {

/// How far before its end a coding that does not seek exactly is asked for the rest: a decoder may leave out a little
/// where it comes in, and be wrong about the place inside the last page of an Ogg stream.
constexpr std::int64_t kFramesToTheEnd = std::int64_t{1} << 18;

/// Decodes up to `most` frames and counts them. A damaged place is no end; a failure to read is one.
OSStatus decodeAndCount(Decoder& decoder, std::int64_t most, std::int64_t* counted) {
  const std::int64_t pieceFrames = framesInPiece(decoder.presentation().pcm);
  std::vector<std::uint8_t> piece(static_cast<std::size_t>(pieceFrames) * decoder.presentation().pcm.bytesPerFrame());
  *counted = 0;
  while (*counted < most) {
    std::int64_t decoded = 0;
    const OSStatus status = decoder.decode(piece.data(), std::min(pieceFrames, most - *counted), &decoded);
    if (status != noErr && status != kAudioFileInvalidFileError) {
      return status;
    }
    if (decoded <= 0) {
      break;
    }
    *counted += decoded;
  }
  return noErr;
}

OSStatus endIsThere(Decoder& decoder, std::int64_t claimed, bool* isThere) {
  const std::int64_t toTheEnd = decoder.presentation().seeksExactly ? 1 : kFramesToTheEnd;
  const std::int64_t from = std::max<std::int64_t>(0, claimed - toTheEnd);
  std::int64_t counted = 0;
  OSStatus status = from == 0 ? noErr : decoder.seek(from);
  if (status == noErr) {
    status = decodeAndCount(decoder, claimed - from, &counted);
  }
  *isThere = status == noErr && counted == claimed - from;
  return status == kAudioFileInvalidFileError ? noErr : status;
}

}  // namespace

OSStatus countFrames(Decoder& decoder, std::int64_t* frames) {
  const auto claimed = decoder.presentation().claimedFrames;
  bool isThere = false;
  OSStatus status = claimed ? endIsThere(decoder, *claimed, &isThere) : noErr;
  if (status == noErr && isThere) {
    *frames = *claimed;
  } else if (status == noErr) {
    status = decoder.restart();
    if (status == noErr) {
      const std::int64_t most = std::numeric_limits<std::int64_t>::max() / decoder.presentation().pcm.bytesPerFrame();
      status = decodeAndCount(decoder, most, frames);
    }
  }
  return status == noErr ? decoder.restart() : status;
}

}  // namespace orv::foreignfile
