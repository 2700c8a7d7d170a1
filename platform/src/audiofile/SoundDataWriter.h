#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"
#include "audiofile/HeaderUpdater.h"
#include "audiofile/HeldBytes.h"
#include "audiofile/Tail.h"

namespace orv::audiofile {

/// The time that decides when a header is brought up to date.
using Clock = std::function<std::chrono::steady_clock::time_point()>;

/// Writes audio into an open file so that, wherever the process is killed, the file opens with all audio that was
/// committed, and with all other chunks.
///
/// Audio is first written where the header doesn't lead to, then committed: one write of the header makes it part of
/// the file. Where chunks follow the sound, audio goes into the body of a filler chunk (see `Tail`); the eight bytes
/// that would overwrite that filler's header stay in memory up to the commit. So does a frame of which only a part was
/// written.
class SoundDataWriter {
 public:
  /// File and container must outlive the object. `head`: the first bytes of the file.
  SoundDataWriter(FileHandle& file, const Container& container, std::span<const std::uint8_t> head, Clock clock);

  /// Bytes of audio, committed or not.
  std::int64_t size() const { return written_ + static_cast<std::int64_t>(partialFrame_.size()); }
  bool hasTail() const { return tail_.exists(); }

  /// As `AudioFileSession::readBytes` and `writeBytes`, at offsets that are not negative.
  OSStatus read(std::int64_t start, std::uint32_t* count, void* buffer) const;
  OSStatus write(std::int64_t start, std::uint32_t* count, const void* buffer);

  /// Makes the header say what is in the file.
  OSStatus commit();
  /// `commit`, then puts the tail in its place.
  OSStatus close();

 private:
  std::int64_t position(std::int64_t start) const { return layout_.dataStart + start; }
  std::int64_t wholeFrames(std::int64_t bytes) const { return bytes - bytes % bytesPerFrame_; }
  /// Where the audio in the file ends, and where the next chunk is to begin.
  std::int64_t end() const { return position(written_); }
  std::int64_t next() const { return layout_.nextChunk(end()); }

  /// A file that did not grow is left exactly as it is, whatever it looks like.
  bool hasGrown() const { return written_ != layout_.dataBytes; }

  OSStatus makeRoom(std::int64_t wantedEnd, std::int64_t* allowedEnd);
  OSStatus makeHeaderTrue(std::int64_t* allowedEnd);
  OSStatus append(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* taken);
  OSStatus finishFrame(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* taken);
  OSStatus put(std::int64_t start, std::span<const std::uint8_t> data, std::size_t* moved);
  OSStatus putDirectly(std::int64_t offset, std::span<const std::uint8_t> data, std::size_t* moved);

  bool isTooCloseToFiller() const;
  OSStatus commitWhenDue();
  OSStatus commitAtEnd();
  OSStatus commitBeforeTail();
  OSStatus moveFillerAhead();
  OSStatus moveFillerFarAhead();
  OSStatus moveFillerBack();
  OSStatus replaceHeldBytes();
  OSStatus settle();
  OSStatus writeHeader(std::int64_t soundEnd, std::int64_t formEnd);

  FileHandle& file_;
  const Container& container_;
  const Layout layout_;
  const std::int64_t bytesPerFrame_;
  const Clock clock_;
  HeaderUpdater header_;
  Tail tail_;
  std::int64_t written_;                    // bytes of audio in the file and in `held_`, whole frames
  std::int64_t committed_;                  // bytes of audio that the header says
  std::int64_t soundEnd_;                   // end of the sound chunk, by the header
  std::int64_t formEnd_;                    // end of the form, by the header
  std::vector<std::uint8_t> partialFrame_;  // what was written behind `written_`: less than a frame
  HeldBytes held_;                          // audio in place of the filler's header, once the tail is apart
  std::optional<HeldBytes> unsettled_;      // audio that is committed, but could not be written yet
  std::chrono::steady_clock::time_point lastCommit_;
};

}  // namespace orv::audiofile
