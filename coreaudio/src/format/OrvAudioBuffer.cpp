#include "OrvCoreAudio/OrvAudioBuffer.h"

#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"

using orv::formatText;

std::shared_ptr<OrvAudioBuffer> OrvAudioBuffer::initWithAudioBuffer(const AudioBuffer* buffer) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioBuffer>(), [&] {
    std::shared_ptr<OrvAudioBuffer> object(new OrvAudioBuffer);
    if (buffer == nullptr) {
      return object;
    }
    object->record_ = *buffer;
    if (buffer->mData != nullptr) {
      const auto* const samples = static_cast<const std::byte*>(buffer->mData);
      object->samples_.assign(samples, samples + buffer->mDataByteSize);
      object->record_.mData = object->samples_.data();
    }
    return object;
  });
}

std::string OrvAudioBuffer::debugDescription() const {
  return formatText("\tNumber of Channels:      %u\n", numberChannels()) +
         formatText("\tBuffer size (bytes):     %u\n", dataByteSize());
}
