#include "OrvCoreAudio/OrvAudioChannelDescription.h"

#include <iterator>

#include "WithoutThrowing.h"
#include "format/ChannelNames.h"

std::shared_ptr<OrvAudioChannelDescription> OrvAudioChannelDescription::initWithAudioChannelDescription(
    const AudioChannelDescription* description) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioChannelDescription>(), [&] {
    std::shared_ptr<OrvAudioChannelDescription> object(new OrvAudioChannelDescription);
    if (description != nullptr) {
      object->record_ = *description;
    }
    return object;
  });
}

float OrvAudioChannelDescription::coordinate(std::uint32_t index) const {
  return index < std::size(record_.mCoordinates) ? record_.mCoordinates[index] : 0.0F;
}

std::string OrvAudioChannelDescription::channelLabelName() const {
  return localizedChannelLabel(channelLabel());
}
