#include "OrvCoreAudio/OrvAudioStreamPacketDescription.h"

#include "WithoutThrowing.h"
#include "format/HeapCopy.h"

std::shared_ptr<OrvAudioStreamPacketDescription> OrvAudioStreamPacketDescription::initWithAudioStreamPacketDescription(
    const AudioStreamPacketDescription* description) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioStreamPacketDescription>(), [&] {
    std::shared_ptr<OrvAudioStreamPacketDescription> object;
    if (description != nullptr) {
      object.reset(new OrvAudioStreamPacketDescription);
      object->record_ = *description;
    }
    return object;
  });
}

AudioStreamPacketDescription* OrvAudioStreamPacketDescription::audioStreamPacketDescription() const {
  return heapCopy(record_);
}
