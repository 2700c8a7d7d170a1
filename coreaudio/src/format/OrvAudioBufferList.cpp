#include "OrvCoreAudio/OrvAudioBufferList.h"

#include <new>

#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"

using orv::formatText;

std::shared_ptr<OrvAudioBufferList> OrvAudioBufferList::initWithAudioBufferList(const AudioBufferList* list) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioBufferList>(), [&] {
    std::shared_ptr<OrvAudioBufferList> object(new OrvAudioBufferList);
    const AudioBuffer* const buffers = list != nullptr ? list->mBuffers : nullptr;
    const std::uint32_t count = list != nullptr ? list->mNumberBuffers : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      auto buffer = OrvAudioBuffer::initWithAudioBuffer(buffers + i);
      if (buffer == nullptr) {
        throw std::bad_alloc();
      }
      object->mBuffers.push_back(std::move(buffer));
    }
    return object;
  });
}

std::shared_ptr<OrvAudioBuffer> OrvAudioBufferList::audioBuffer(std::uint32_t index) const {
  return index < mBuffers.size() ? mBuffers[index] : nullptr;
}

std::string OrvAudioBufferList::debugDescription() const {
  std::string text;
  for (std::uint32_t i = 0; i < numberBuffers(); ++i) {
    text += formatText("AudioBuffer # %u\n", i) + mBuffers[i]->debugDescription() + "\n";
  }
  return text;
}
