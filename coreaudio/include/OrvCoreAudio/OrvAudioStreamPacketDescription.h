#pragma once

#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioStreamPacketDescription`. Never changes; thread-safe.
class ORV_API OrvAudioStreamPacketDescription : public OrvObject {
 public:
  /// Null for null.
  static std::shared_ptr<OrvAudioStreamPacketDescription> initWithAudioStreamPacketDescription(
      const AudioStreamPacketDescription* description);

  std::int64_t mStartOffset() const { return record_.mStartOffset; }
  std::uint32_t mDataByteSize() const { return record_.mDataByteSize; }
  /// A `malloc`ed copy that the caller frees with `std::free`; null when there is no memory.
  AudioStreamPacketDescription* audioStreamPacketDescription() const;

 protected:
  OrvAudioStreamPacketDescription() = default;

 private:
  AudioStreamPacketDescription record_{};
};
