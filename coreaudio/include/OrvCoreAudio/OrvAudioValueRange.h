#pragma once

#include <memory>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioValueRange`: of sample rates in Hz, of volumes in dB. Never changes;
/// thread-safe.
class ORV_API OrvAudioValueRange : public OrvObject {
 public:
  /// A copy of `*range`; null leaves both ends 0.
  static std::shared_ptr<OrvAudioValueRange> initWithAudioValueRange(const AudioValueRange* range);

  double mMinimum() const { return _audioValueRange.mMinimum; }
  double mMaximum() const { return _audioValueRange.mMaximum; }
  /// A `malloc`ed copy that the caller frees with `std::free`; null when there is no memory.
  AudioValueRange* audioValueRange() const;

 protected:
  OrvAudioValueRange() = default;

 private:
  AudioValueRange _audioValueRange{};
};
