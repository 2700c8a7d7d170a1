#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "OrvPlatform/Status.h"
#include "foreignfile/Decoder.h"

namespace orv::foreignfile {

/// Frames that are decoded at once: some 64 KiB.
std::int64_t framesInPiece(const audiofile::PCMFormat& format);

/// Reads bytes of decoded audio from any place. Reading on costs no seek. A jump is a seek where the coding seeks
/// exactly; elsewhere everything up to there is decoded, from the first frame on when the jump goes back beyond what is
/// still in memory. One thread at a time.
class FrameReader {
 public:
  /// `frames`: how many can be decoded. `decoder` stands at the first.
  FrameReader(std::unique_ptr<Decoder> decoder, std::int64_t frames);

  std::int64_t byteCount() const { return frames_ * bytesPerFrame_; }

  /// As `AudioFileSession::readBytes`; `start` is not negative. On failure `*count` gets the bytes before it.
  OSStatus read(std::int64_t start, std::uint32_t* count, std::uint8_t* buffer);

 private:
  std::int64_t recentBegin() const { return position_ - static_cast<std::int64_t>(recent_.size()) / bytesPerFrame_; }
  bool isRecent(std::int64_t frame) const { return positionIsKnown_ && frame >= recentBegin() && frame < position_; }

  OSStatus makeRecent(std::int64_t frame);
  OSStatus jumpTowards(std::int64_t frame);
  OSStatus decodeUpTo(std::int64_t frame);
  OSStatus decodePiece(std::int64_t* decoded);
  void forgetOldest();

  const std::unique_ptr<Decoder> decoder_;
  const std::int64_t frames_;
  const std::int64_t bytesPerFrame_;
  const bool seeksExactly_;
  std::int64_t position_ = 0;         // of the decoder
  bool positionIsKnown_ = true;       // not so after a failure
  std::vector<std::uint8_t> recent_;  // the last frames before `position_`
};

}  // namespace orv::foreignfile
