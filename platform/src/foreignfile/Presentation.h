#pragma once

#include <sndfile.h>

#include <cstdint>
#include <optional>

#include "OrvPlatform/AudioFile.h"
#include "audiofile/PCMFormat.h"
#include "foreignfile/ForeignKind.h"

namespace orv::foreignfile {

/// As what a file is presented.
struct Presentation {
  AudioFileTypeID type = 0;
  audiofile::PCMFormat pcm;  ///< in the host's byte order, which is what libsndfile gives and conversions take at once
  /// Frames by the file's own account; none where it gives none.
  std::optional<std::int64_t> claimedFrames;
  /// Whether a seek leads to the samples that decoding from the start leads to. Codings that carry over more from the
  /// samples before than a decoder can find out in the middle of the file do not.
  bool seeksExactly = false;
};

/// Sets the problem line when what libsndfile found is not presented: `kAudioFileUnsupportedDataFormatError`, or
/// `kAudioFileInvalidFileError` when it makes no sense.
OSStatus present(const SF_INFO& info, const ForeignKind& kind, Presentation* presentation);

}  // namespace orv::foreignfile
