#pragma once

#include <cstdint>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"
#include "audiofile/HeaderUpdater.h"

namespace orv::audiofile {

/// What lies behind the sound data of a file that grows: chunks, and bytes behind the form's end, all kept byte for
/// byte.
///
/// To let the sound grow, the tail is copied far back and its old place, with the gap between, becomes the body of one
/// filler chunk:
///
///   [sound chunk][tail]   ─►   [sound chunk][filler ……………… ][tail]   ─►   [longer sound chunk][tail]
///
/// At any moment, between any two writes, the file is a chain of well-formed chunks that holds all its audio and the
/// whole tail. The gap is always long enough for the tail to be copied back without touching the copy that counts.
class Tail {
 public:
  /// File, container and header must outlive the object.
  Tail(FileHandle& file, const Container& container, HeaderUpdater& header);

  bool exists() const { return length_ > 0; }
  /// Whether a filler lies between sound chunk and tail.
  bool isApart() const { return isApart_; }
  /// Offset of the chunk behind the sound chunk: the filler, or the tail itself.
  std::int64_t gapStart() const { return gapStart_; }
  std::int64_t formEnd() const { return position_ + formLength_; }
  std::int64_t shift() const { return position_ - container_.layout().tailStart; }

  /// Largest offset at which the sound chunk can end without the tail being moved.
  std::int64_t reach() const;

  /// Moves the tail so that the sound chunk can end at `soundEnd`. `now`: what the header says now.
  /// `kAudioFileDoesNotAllow64BitDataSizeError` when no header could say that, `kDiskFullStatus` when there is no room:
  /// the file is then as before.
  OSStatus makeRoom(std::int64_t soundEnd, const Sizes& now);

  /// Makes the filler begin at `start`, further back than now and at least 8 bytes away. Its header is then written,
  /// but the chunk chain does not lead to it before the sound chunk's size says so: `setGapStart`.
  OSStatus storeFiller(std::int64_t start) { return storeFiller(start, position_); }
  void setGapStart(std::int64_t start) { gapStart_ = start; }
  /// Fills `header`, 8 bytes, as `storeFiller` does.
  void makeFiller(std::int64_t start, std::uint8_t* header) const { makeFiller(start, position_, header); }

  /// Puts the tail to where the gap begins and ends the file behind it.
  OSStatus close(const Sizes& now);

 private:
  /// Whether a well-formed chain of chunks can have one at `offset`.
  bool isEven(std::int64_t offset) const;
  OSStatus moveBack();
  OSStatus dropAbandonedFiller(const Sizes& now);
  OSStatus moveTo(std::int64_t position, const Sizes& now);
  OSStatus copyTo(std::int64_t position, const Sizes& now);
  OSStatus storeFiller(std::int64_t start, std::int64_t end);
  void makeFiller(std::int64_t start, std::int64_t end, std::uint8_t* header) const;
  OSStatus writeHeader(const Sizes& now, std::int64_t position);

  FileHandle& file_;
  const Container& container_;
  HeaderUpdater& header_;
  const std::int64_t length_;      // of the tail
  const std::int64_t formLength_;  // of what of it lies inside the form
  std::int64_t fileEnd_;
  std::int64_t position_;
  std::int64_t gapStart_;
  bool isApart_;
};

}  // namespace orv::audiofile
