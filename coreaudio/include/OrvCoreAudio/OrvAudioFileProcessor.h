#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvProgress.h"
#include "OrvPlatform/AudioFile.h"

/// Turns ranges of a recording into files. Class operations only, synchronous on the caller's thread. Frames count from
/// 0; the end frame is the one behind the last. A delegate that is an `OrvProgressDelegate` is told of the progress;
/// others, and null, are not.
class ORV_API OrvAudioFileProcessor {
 public:
  OrvAudioFileProcessor() = delete;

  /// What `exportFrames` is to do. Aggregate.
  struct ExportRequest {
    std::string sourcePath;
    std::string destinationPath;
    std::uint64_t fromFrame = 0;
    std::uint64_t toFrame = 0;  ///< at most the source's length
    /// Type of the new file. Where its container can't hold the source's samples as they are, they are converted
    /// without loss: byte order, signedness; 'AIFF' becomes 'AIFC' for float samples. 0: by the extension of the
    /// destination
    /// (.aif .aiff .aifc .wav .wave), else the source's type.
    AudioFileTypeID fileType = 0;
    bool replaceExisting = false;                 ///< without it a destination that exists is refused
    const std::atomic<bool>* cancel = nullptr;    ///< looked at between chunks; must outlive the call
    std::shared_ptr<OrvObject> progressDelegate;  ///< may be null
  };

  /// How an export ended. `problem` is one line for the person who uses the program; empty when it was done.
  struct ExportResult {
    bool done = false;
    bool cancelled = false;
    OSStatus status = noErr;
    std::string problem;
  };

  /// Makes a new file of a range, of any length. The destination appears under its name only when it is complete; a run
  /// that fails or is cancelled leaves nothing behind, and an existing destination as it was.
  static ExportResult exportFrames(const ExportRequest& request);

  /// Copies a range byte for byte into a new file of the source's format, in chunks of 512 KiB. An existing destination
  /// is emptied; on failure what was written stays. An end past the source's is taken back to it; an empty range is
  /// success and makes no file. For ranges that end within the first 4 GiB of audio data: `exportFrames` has no such
  /// limit. The new file is of type 'AIFF', 'AIFC' for float samples, so that little-endian integers can't be copied by
  /// this operation.
  static bool copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(
      const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath,
      const std::optional<std::string>& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame);
};
