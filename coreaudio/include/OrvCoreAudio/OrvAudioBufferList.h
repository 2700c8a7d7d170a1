#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioBuffer.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioBufferList`, with the samples. Devices describe their streams with it: one
/// buffer without data for each. Never changes; thread-safe.
class ORV_API OrvAudioBufferList : public OrvObject {
 public:
  /// Copies the list with all its buffers' data; null makes an empty list. Null when there is no memory.
  /// Requires: as many buffers as the list says.
  static std::shared_ptr<OrvAudioBufferList> initWithAudioBufferList(const AudioBufferList* list);

  std::uint32_t numberBuffers() const { return static_cast<std::uint32_t>(mBuffers.size()); }
  /// Null behind the last.
  std::shared_ptr<OrvAudioBuffer> audioBuffer(std::uint32_t index) const;
  /// For each buffer its number, its description and an empty line.
  std::string debugDescription() const;

 protected:
  OrvAudioBufferList() = default;

 private:
  std::vector<std::shared_ptr<OrvAudioBuffer>> mBuffers;
};
