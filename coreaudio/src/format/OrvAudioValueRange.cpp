#include "OrvCoreAudio/OrvAudioValueRange.h"

#include "WithoutThrowing.h"
#include "format/HeapCopy.h"

std::shared_ptr<OrvAudioValueRange> OrvAudioValueRange::initWithAudioValueRange(const AudioValueRange* range) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioValueRange>(), [&] {
    std::shared_ptr<OrvAudioValueRange> object(new OrvAudioValueRange);
    if (range != nullptr) {
      object->_audioValueRange = *range;
    }
    return object;
  });
}

AudioValueRange* OrvAudioValueRange::audioValueRange() const {
  return heapCopy(_audioValueRange);
}
