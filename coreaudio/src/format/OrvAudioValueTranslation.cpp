#include "OrvCoreAudio/OrvAudioValueTranslation.h"

#include "WithoutThrowing.h"

namespace {

std::vector<std::byte> copyOf(const void* data, std::uint32_t size) {
  if (data == nullptr) {
    return std::vector<std::byte>(size);
  }
  const auto* const bytes = static_cast<const std::byte*>(data);
  return {bytes, bytes + size};
}

}  // namespace

std::shared_ptr<OrvAudioValueTranslation> OrvAudioValueTranslation::initWithAudioValueTranslation(
    const AudioValueTranslation* translation) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioValueTranslation>(), [&] {
    std::shared_ptr<OrvAudioValueTranslation> object;
    if (translation != nullptr) {
      object.reset(new OrvAudioValueTranslation);
      object->input_ = copyOf(translation->mInputData, translation->mInputDataSize);
      object->output_ = copyOf(translation->mOutputData, translation->mOutputDataSize);
      object->record_ = *translation;
      object->record_.mInputData = object->input_.data();
      object->record_.mOutputData = object->output_.data();
    }
    return object;
  });
}
