#include "OrvCoreAudio/OrvLevelEnvelope.h"

#include "OrvCoreAudio/OrvAudioFile.h"
#include "WithoutThrowing.h"
#include "detection/boundaries/MeasureEnvelope.h"

using Measurement = OrvLevelEnvelope::Measurement;

std::uint32_t OrvLevelEnvelope::framesPerBlockAtRate(double sampleRate) {
  return static_cast<std::uint32_t>(orv::boundaries::EnvelopeMeter::kParts
                                    << orv::boundaries::EnvelopeMeter::octavesAtRate(sampleRate));
}

Measurement OrvLevelEnvelope::measure(const Request& request) {
  Measurement outOfMemory;
  outOfMemory.problem = "out of memory";
  return withoutThrowing("OrvLevelEnvelope", outOfMemory, [&] {
    const auto file = OrvAudioFile::initWithPath_accessMode(request.path, OrvAudioFile::kModeRead);
    file->setUseCache(false);
    Measurement measurement;
    if (!file->open()) {
      measurement.problem = file->lastProblem();
      return measurement;
    }
    orv::boundaries::FloatReader reader(*file);
    return orv::boundaries::measureEnvelope(reader, file->sampleRate(), {request.cancel, request.progress});
  });
}
