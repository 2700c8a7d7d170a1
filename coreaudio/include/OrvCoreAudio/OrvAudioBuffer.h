#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioBuffer` and of the samples that it points to. Never changes; thread-safe.
class ORV_API OrvAudioBuffer : public OrvObject {
 public:
  /// Copies `*buffer` and its data. A buffer without data keeps the size that it states; null leaves everything 0.
  /// Null when there is no memory for the data.
  static std::shared_ptr<OrvAudioBuffer> initWithAudioBuffer(const AudioBuffer* buffer);

  std::uint32_t numberChannels() const { return record_.mNumberChannels; }
  std::uint32_t dataByteSize() const { return record_.mDataByteSize; }
  /// The copied samples, null without data. Belong to this object.
  void* data() const { return record_.mData; }
  /// The record itself. Belongs to this object.
  const AudioBuffer* audioBuffer() const { return &record_; }
  /// Two lines: the number of channels and the size.
  std::string debugDescription() const;

 protected:
  OrvAudioBuffer() = default;

 private:
  std::vector<std::byte> samples_;
  AudioBuffer record_{};  // points into samples_
};
