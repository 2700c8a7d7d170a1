#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioValueTranslation` and of both blocks that it points to. Never changes;
/// thread-safe.
class ORV_API OrvAudioValueTranslation : public OrvObject {
 public:
  /// Null for null, and when there is no memory. A null block of a stated size is a block of zeros.
  static std::shared_ptr<OrvAudioValueTranslation> initWithAudioValueTranslation(
      const AudioValueTranslation* translation);

  /// The copied blocks and their sizes in bytes. Belong to this object.
  void* mInputData() const { return record_.mInputData; }
  std::uint32_t mInputDataSize() const { return record_.mInputDataSize; }
  void* mOutputData() const { return record_.mOutputData; }
  std::uint32_t mOutputDataSize() const { return record_.mOutputDataSize; }
  /// The record itself. Belongs to this object.
  const AudioValueTranslation* audioValueTranslation() const { return &record_; }

 protected:
  OrvAudioValueTranslation() = default;

 private:
  std::vector<std::byte> input_;
  std::vector<std::byte> output_;
  AudioValueTranslation record_{};  // points into input_ and output_
};
