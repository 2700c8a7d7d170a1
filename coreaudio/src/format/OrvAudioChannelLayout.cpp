#include "OrvCoreAudio/OrvAudioChannelLayout.h"

#include "OrvCoreAudio/OrvAudioDeviceInfoOutput.h"
#include "WithoutThrowing.h"
#include "format/ChannelNames.h"

std::shared_ptr<OrvAudioChannelLayout> OrvAudioChannelLayout::initWithAudioChannelLayout(
    const AudioChannelLayout* layout) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioChannelLayout>(), [&] {
    std::shared_ptr<OrvAudioChannelLayout> object(new OrvAudioChannelLayout);
    if (layout != nullptr) {
      object->tag_ = layout->mChannelLayoutTag;
      object->bitmap_ = layout->mChannelBitmap;
      const AudioChannelDescription* const descriptions = layout->mChannelDescriptions;
      object->descriptions_.assign(descriptions, descriptions + layout->mNumberChannelDescriptions);
    }
    return object;
  });
}

std::shared_ptr<OrvAudioChannelDescription> OrvAudioChannelLayout::channelDescription(std::uint32_t index) const {
  return index < descriptions_.size()
             ? OrvAudioChannelDescription::initWithAudioChannelDescription(&descriptions_[index])
             : nullptr;
}

std::string OrvAudioChannelLayout::channelLayoutTagName() const {
  return localizedChannelLayoutTag(channelLayoutTag());
}

std::string OrvAudioChannelLayout::description() const {
  return OrvAudioDeviceInfoOutput::printChannelLayoutInfo(*this);
}
