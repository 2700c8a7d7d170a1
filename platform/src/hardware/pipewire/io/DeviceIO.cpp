#include "hardware/pipewire/io/DeviceIO.h"

#include <utility>

#include "hardware/pipewire/io/Engine.h"

namespace orv::pipewire {

std::unique_ptr<DeviceIO> DeviceIO::make(const DeviceIOSetup& setup, DeviceIOEvents& events) {
  auto engine = std::make_unique<Engine>(setup, events);
  if (!engine->connect()) {
    return nullptr;
  }
  return std::unique_ptr<DeviceIO>(new DeviceIO(std::move(engine)));
}

DeviceIO::DeviceIO(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

DeviceIO::~DeviceIO() = default;

OSStatus DeviceIO::start(HardwareCycleSink* sink) {
  return engine_->start(sink);
}

void DeviceIO::stop() {
  engine_->stop();
}

bool DeviceIO::isRunning() const noexcept {
  return engine_->isRunning();
}

void DeviceIO::setFrames(std::uint32_t frames) {
  engine_->setFrames(frames);
}

void DeviceIO::setDeviceLatency(bool isInput, std::uint32_t frames) noexcept {
  engine_->maker().setDeviceLatency(isInput, frames);
}

std::uint64_t DeviceIO::latencyFrames(bool isInput) const noexcept {
  return engine_->maker().latencyFrames(isInput);
}

}  // namespace orv::pipewire
