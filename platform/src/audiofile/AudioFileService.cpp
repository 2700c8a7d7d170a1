#include "OrvPlatform/AudioFile.h"

#include <utility>

#include "audiofile/BuiltInService.h"
#include "foundation/ServiceSlot.h"

namespace orv {
namespace {

ServiceSlot<AudioFileService>& slot() {
  static auto* const instance = new ServiceSlot<AudioFileService>(std::make_shared<audiofile::BuiltInService>());
  return *instance;
}

thread_local std::string lastProblem;

}  // namespace

AudioFileSession::~AudioFileSession() = default;
AudioFileService::~AudioFileService() = default;

std::shared_ptr<AudioFileService> audioFileService() {
  return slot().get();
}

std::shared_ptr<AudioFileService> installAudioFileService(std::shared_ptr<AudioFileService> service) {
  return slot().install(std::move(service));
}

std::string audioFileProblem() {
  return lastProblem;
}

void setAudioFileProblem(std::string problem) {
  lastProblem = std::move(problem);
}

}  // namespace orv
