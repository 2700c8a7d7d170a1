#include "HardwareService.h"

#include <utility>

#include "HardwareCycleMark.h"
#include "OrvPlatform/VirtualHardware.h"

namespace orv {

HardwareCycleSink::~HardwareCycleSink() = default;
HardwareEvents::~HardwareEvents() = default;
AudioHardware::~AudioHardware() = default;

DeviceCycles*& HardwareCycleMark::current() noexcept {
  [[gnu::tls_model("initial-exec")]] static thread_local DeviceCycles* current = nullptr;
  return current;
}

HardwareService& HardwareService::instance() {
  static auto* const service = new HardwareService;
  return *service;
}

HardwareService::HardwareService() {
  RunLoop::main();
}

/// Requires: mutex_ is held.
std::shared_ptr<AudioHardware> HardwareService::hardwareLocked() {
  if (hardware_ == nullptr) {
    hardware_ = VirtualHardware::makeDefaultSet();
    hardware_->setEvents(&notifier_);
  }
  return hardware_;
}

std::shared_ptr<AudioHardware> HardwareService::hardware() {
  const std::lock_guard guard(mutex_);
  return hardwareLocked();
}

std::shared_ptr<AudioHardware> HardwareService::install(std::shared_ptr<AudioHardware> hardware) {
  if (hardware != nullptr) {
    hardware->setEvents(&notifier_);
  }
  std::shared_ptr<AudioHardware> before;
  Cycles cyclesBefore;
  {
    const std::lock_guard guard(mutex_);
    before = std::exchange(hardware_, std::move(hardware));
    cyclesBefore.swap(cycles_);
  }
  for (const auto& [device, cycles] : cyclesBefore) {
    if (!cycles->shutDown()) {
      const std::lock_guard guard(mutex_);
      stubborn_.push_back(cycles);
    }
  }
  notifier_.hardwareChanged(kAudioHardwarePropertyDevices);
  return before;
}

std::shared_ptr<DeviceCycles> HardwareService::cyclesOf(AudioDeviceID device) {
  const std::lock_guard guard(mutex_);
  std::shared_ptr<DeviceCycles>& cycles = cycles_[device];
  if (cycles == nullptr) {
    cycles = std::make_shared<DeviceCycles>(hardwareLocked(), device);
  }
  return cycles;
}

std::shared_ptr<DeviceCycles> HardwareService::existingCyclesOf(AudioDeviceID device) {
  const std::lock_guard guard(mutex_);
  const auto found = cycles_.find(device);
  return found == cycles_.end() ? nullptr : found->second;
}

void HardwareService::dropUnused(AudioDeviceID device) {
  std::shared_ptr<DeviceCycles> dropped;
  const std::lock_guard guard(mutex_);
  const auto found = cycles_.find(device);
  if (found != cycles_.end() && found->second->retire()) {
    dropped = std::move(found->second);
    cycles_.erase(found);
  }
}

std::shared_ptr<AudioHardware> audioHardware() {
  return HardwareService::instance().hardware();
}

std::shared_ptr<AudioHardware> installAudioHardware(std::shared_ptr<AudioHardware> hardware) {
  return HardwareService::instance().install(std::move(hardware));
}

void waitForHardwareNotifications() {
  HardwareService::instance().notifier().waitUntilTold();
}

bool isInHardwareCycle() noexcept {
  return HardwareCycleMark::current() != nullptr;
}

}  // namespace orv
