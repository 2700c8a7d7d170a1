#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvProgress.h"
#include "OrvPlatform/AudioFile.h"

/// Turns ranges of a recording into files, and processes them in place. Class operations only, synchronous for the
/// caller. Frames count from 0; the end frame is the one behind the last. A delegate that is an
/// `OrvProgressDelegate` is told of the progress; others, and null, are not.
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
    /// (.aif .aiff .aifc .wav .wave .sd2), else the source's type.
    AudioFileTypeID fileType = 0;
    bool replaceExisting = false;                 ///< without it a destination that exists is refused
    const std::atomic<bool>* cancel = nullptr;    ///< looked at between chunks; must outlive the call
    std::shared_ptr<OrvObject> progressDelegate;  ///< may be null
    /// What the audio goes through on its way, as 32-bit floats of the source's channels; reset before the first chunk.
    /// Null: the samples stay as they are.
    std::shared_ptr<OrvAudioProcessor> processor = nullptr;
    /// What the new file's samples are to be: rate, channels, bits, integer or float, linear PCM. Byte order and sign
    /// follow from the type of the file. The rate is converted in the best quality, and the end of the resampled
    /// stream is kept. Null: the source's format.
    std::shared_ptr<OrvAudioStreamBasicDescription> format = nullptr;
    /// Whether an empty range makes a file without frames; otherwise it is refused.
    bool mayBeEmpty = false;
    /// Called when the file is complete, with the temporary name that it still has: what else belongs into it can be
    /// added. The answer is the problem that ends the export, in one line; empty: there is none. May be empty.
    std::function<std::string(const std::string& path)> finish = nullptr;
  };

  /// How an export ended. `problem` is one line for the person who uses the program; empty when it was done.
  struct ExportResult {
    bool done = false;
    bool cancelled = false;
    OSStatus status = noErr;
    std::string problem;
  };

  /// Makes a new file of a range, of any length; reading, treating and writing go on at the same time, on threads of
  /// their own but for the treatment, which stays on the caller's. The destination appears under its name only when it
  /// is complete; a run that fails or is cancelled leaves nothing behind, and an existing destination as it was.
  static ExportResult exportFrames(const ExportRequest& request);

  /// Copies a range byte for byte into a new file of the source's format, in chunks of 512 KiB. An existing destination
  /// is emptied; on failure what was written stays. An end past the source's is taken back to it; an empty range is
  /// success and makes no file. For ranges that end within the first 4 GiB of audio data: `exportFrames` has no such
  /// limit. The new file is of type 'AIFF', 'AIFC' for float samples, so that little-endian integers can't be copied by
  /// this operation.
  static bool copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(
      const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath,
      const std::optional<std::string>& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame);

  /// As the copy above, of any length, through a processor. The new file's samples are big-endian. Without a processor
  /// success, and nothing done. The processor is reset first; when it answers no, what was written before stays, and
  /// the operation answers no.
  static bool copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame_via(
      const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath,
      const std::optional<std::string>& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame,
      const std::shared_ptr<OrvAudioProcessor>& processor);

  /// Replaces a range by what a processor makes of it. An end past the file's is taken back to it. False for an empty
  /// range and without a processor; a file that can't be written is left as it was. A run that fails leaves what it
  /// replaced: `processFramesInPlace` tells how much that is.
  static bool processFrames_sourcePath_startingAt_endingAt_via(const std::shared_ptr<OrvObject>& delegate,
                                                               const std::optional<std::string>& sourcePath,
                                                               std::uint64_t fromFrame, std::uint64_t toFrame,
                                                               const std::shared_ptr<OrvAudioProcessor>& processor);

  /// What `processFramesInPlace` is to do. Aggregate.
  struct ProcessRequest {
    std::string path;
    std::uint64_t fromFrame = 0;
    std::uint64_t toFrame = 0;  ///< at most the file's length
    std::shared_ptr<OrvAudioProcessor> processor;
    const std::atomic<bool>* cancel = nullptr;    ///< looked at between chunks; must outlive the call
    std::shared_ptr<OrvObject> progressDelegate;  ///< may be null
  };

  /// How processing ended. `problem` is one line for the person who uses the program; empty when it was done.
  struct ProcessResult {
    bool done = false;
    bool cancelled = false;
    OSStatus status = noErr;
    std::string problem;
    /// The frames from the range's begin to here were replaced; the file is untouched where this is the begin.
    std::uint64_t changedUpToFrame = 0;
  };

  /// Replaces a range, of a file of any length, by what a processor makes of it. Chunks other than the audio, and the
  /// audio outside of the range, stay byte for byte.
  static ProcessResult processFramesInPlace(const ProcessRequest& request);

  /// Reverses the bytes of each word of `wordLength` bytes in place. An odd word length changes nothing; bytes at the
  /// end that are no whole word stay. `length` in bytes. Thread-safe.
  static void swapBytes_wordLength_length(void* bytes, std::uint32_t wordLength, std::uint64_t length);
};
