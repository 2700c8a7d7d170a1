#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "detection/ChunkRelay.h"
#include "detection/ChunkTreatment.h"

namespace orv {

/// Takes a range of frames from one open file through a treatment to the end of another, all three steps at once:
///
///   reader thread ─► chunks ─► caller's thread: treatment ─► chunks ─► writer thread
///
/// While it runs nobody else uses the two files.
class ChunkTransfer {
 public:
  enum class Outcome {
    done,
    cancelled,
    notRead,  ///< the source says why
    endedEarly,
    notTreated,  ///< `treatmentStatus` says why
    notWritten,  ///< the destination says why
  };

  struct Range {
    std::uint64_t fromFrame = 0;
    std::uint64_t toFrame = 0;
  };

  /// Throws `std::bad_alloc`.
  ChunkTransfer(OrvAudioFile& source, OrvAudioFile& destination, ChunkTreatment& treatment);

  /// `cancel` (may be null) is looked at between chunks; `progress` is told on the caller's thread how much of the
  /// range has been treated, 0 to 1. Throws where there is no thread to be had.
  Outcome run(const Range& range, const std::atomic<bool>* cancel, const std::function<void(double)>& progress);
  OSStatus treatmentStatus() const { return treatmentStatus_; }

 private:
  class Workers;

  void readChunks(const Range& range);
  void writeChunks();
  Outcome treatChunks(const Range& range, const std::atomic<bool>* cancel, const std::function<void(double)>& progress);
  Outcome treatRest();

  OrvAudioFile& source_;
  OrvAudioFile& destination_;
  ChunkTreatment& treatment_;
  const std::uint32_t bytesPerFrame_;
  ChunkRelay toTreat_;
  ChunkRelay toWrite_;

  Outcome reading_ = Outcome::done;  ///< of the reader thread until it has ended
  Outcome writing_ = Outcome::done;  ///< of the writer thread until it has ended
  OSStatus treatmentStatus_ = noErr;
};

}  // namespace orv
