#pragma once

#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvProgress.h"

/// Picks one frame out of every `interval` frames of a file, as for an overview of a long recording. Class operation
/// only, synchronous on the caller's thread.
class ORV_API OrvAudioFileFrameIntervalCopier {
 public:
  OrvAudioFileFrameIntervalCopier() = delete;

  /// Picks the frames `fromFrame`, `fromFrame + interval`, … before `toFrame`, or before the end of the file where that
  /// comes first: (end - fromFrame) / interval of them, rounded down.
  ///
  /// Without a buffer: the number of frames that would be picked, and nothing read. With one: the frames are put into
  /// it as big-endian 32-bit floats of all the file's channels, and the result is the number of frames that were
  /// stepped over, picked frames times the interval. The buffer must have room for every picked frame. A read that
  /// fails ends the picking; what was not read is put into the buffer as zero bytes converted. Of a range that ends
  /// past 4 GiB of audio data less is picked.
  ///
  /// 0, and nothing done, when the interval is 0, the range empty, or the file missing or without a format.
  ///
  /// A subscriber that is an `OrvProgressDelegate` is told, after each frame, of the bytes picked divided by the number
  /// of frames to pick: the last value is the file's bytes per frame, not 1.0.
  static std::uint32_t copyFramesWithInterval_fromFile_interval_toBuffer_fromFrame_toFrame(
      const std::shared_ptr<OrvObject>& progressSubscriber, const std::shared_ptr<OrvAudioFile>& file,
      std::uint32_t interval, void* buffer, std::int64_t fromFrame, std::int64_t toFrame);
};
