#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/ChannelLayout.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioChannelDescription`: which loudspeaker one channel is for. Never changes;
/// thread-safe.
class ORV_API OrvAudioChannelDescription : public OrvObject {
 public:
  /// A copy of `*description`; null leaves everything 0.
  static std::shared_ptr<OrvAudioChannelDescription> initWithAudioChannelDescription(
      const AudioChannelDescription* description);

  AudioChannelLabel channelLabel() const { return record_.mChannelLabel; }
  std::uint32_t channelFlags() const { return record_.mChannelFlags; }
  /// 0.0 for an index above 2.
  float coordinate(std::uint32_t index) const;
  /// The label's name from the host's string table, where its key is the platform's name of the label
  /// ("kAudioChannelLabel_Left"); empty where the table has none. "Unknown Audio Channel Label" for other codes.
  std::string channelLabelName() const;

 protected:
  OrvAudioChannelDescription() = default;

 private:
  AudioChannelDescription record_{};
};
