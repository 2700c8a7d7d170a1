#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioChannelDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/ChannelLayout.h"
#include "OrvPlatform/Export.h"

/// A copy of the platform record `AudioChannelLayout`: which loudspeaker each channel is for. Never changes;
/// thread-safe.
class ORV_API OrvAudioChannelLayout : public OrvObject {
 public:
  /// A copy of `*layout` with all its descriptions; null leaves everything 0. Null when there is no memory.
  /// Requires: as many descriptions as the layout says.
  static std::shared_ptr<OrvAudioChannelLayout> initWithAudioChannelLayout(const AudioChannelLayout* layout);

  AudioChannelLayoutTag channelLayoutTag() const { return tag_; }
  std::uint32_t channelBitmap() const { return bitmap_; }
  std::uint32_t numberChannelDescriptions() const { return static_cast<std::uint32_t>(descriptions_.size()); }
  /// A new object; null behind the last.
  std::shared_ptr<OrvAudioChannelDescription> channelDescription(std::uint32_t index) const;
  /// The tag's name from the host's string table, where its key is the platform's name of the tag
  /// ("kAudioChannelLayoutTag_Stereo"); empty where the table has none. "Unknown Channel Layout" for other codes.
  std::string channelLayoutTagName() const;
  /// The report of `OrvAudioDeviceInfoOutput::printChannelLayoutInfo`.
  std::string description() const override;

 protected:
  OrvAudioChannelLayout() = default;

 private:
  AudioChannelLayoutTag tag_ = 0;
  std::uint32_t bitmap_ = 0;
  std::vector<AudioChannelDescription> descriptions_;
};
