#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "foreignfile/ForeignKind.h"
#include "foreignfile/HandleIO.h"
#include "foreignfile/Presentation.h"

namespace orv::foreignfile {

/// libsndfile, decoding one file to the bytes that its presentation describes. One thread at a time.
class Decoder {
 public:
  /// Sets the problem line on failure.
  static OSStatus open(std::unique_ptr<FileHandle> file, const ForeignKind& kind, std::unique_ptr<Decoder>* decoder);

  /// Constant.
  const Presentation& presentation() const { return presentation_; }
  const char* name() const { return kind_.name; }

  /// Decodes up to `frames` frames from where it is. `*decoded`: frames that came out, also on failure; none with
  /// success at the end. `kAudioFileInvalidFileError` when something in what was decoded is damaged: the frames then
  /// count for the position, but may be silence. `to`: room for the frames, aligned for the largest sample.
  OSStatus decode(std::uint8_t* to, std::int64_t frames, std::int64_t* decoded);

  /// Goes to a frame, exactly so where `seeksExactly`.
  OSStatus seek(std::int64_t frame);

  /// Goes to the first frame by opening the file anew: what was decoded before leaves no trace.
  OSStatus restart();

 private:
  struct Close {
    void operator()(SNDFILE* file) const;
  };

  Decoder(std::unique_ptr<FileHandle> file, const ForeignKind& kind);

  OSStatus openLibrary(SF_INFO* info);
  OSStatus refuseDamage(const char* reason) const;
  sf_count_t decodeAligned(std::uint8_t* to, sf_count_t frames);
  sf_count_t decodePacked(std::uint8_t* to, sf_count_t frames);

  const ForeignKind kind_;
  HandleIO io_;
  std::unique_ptr<SNDFILE, Close> file_;  // null after a restart that failed
  Presentation presentation_;
  std::vector<int> ints_;  // scratch
};

}  // namespace orv::foreignfile
