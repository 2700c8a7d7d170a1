#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvVUMeterDataProvider.h"

namespace {

/// What the process shares of meters. Never destroyed.
struct OutputProvider {
  std::mutex lock;
  std::shared_ptr<OrvVUMeterDataProvider> provider;  // guarded by lock
};

OutputProvider& outputProvider() {
  static auto* const instance = new OutputProvider;
  return *instance;
}

}  // namespace

std::shared_ptr<OrvVUMeterDataProvider> OrvAudioDevice::inputVUMeterDataProvider() {
  const std::lock_guard guard(cacheLock);
  if (inputProvider == nullptr) {
    inputProvider = OrvVUMeterDataProvider::initOwnedByAudioDevice(shared_from_this());
  }
  return inputProvider;
}

std::shared_ptr<OrvVUMeterDataProvider> OrvAudioDevice::outputVUMeterDataProvider() {
  OutputProvider& shared = outputProvider();
  const std::lock_guard guard(shared.lock);
  if (shared.provider == nullptr) {
    shared.provider = OrvVUMeterDataProvider::initWithAudioDevice(shared_from_this());
  }
  return shared.provider;
}
