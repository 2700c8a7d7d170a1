#pragma once

#include <atomic>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "hardware/model/Property.h"

namespace orv::pipewire {

/// Tells the service what has changed, once there is one to be told. Any thread; real-time safe.
class Teller {
 public:
  void setEvents(HardwareEvents* events) noexcept { events_.store(events); }

  void hardware(AudioHardwarePropertyID property) const noexcept {
    if (HardwareEvents* const events = events_.load()) {
      events->hardwareChanged(property);
    }
  }
  void device(AudioDeviceID device, std::uint32_t channel, bool isInput,
              AudioDevicePropertyID property) const noexcept {
    if (HardwareEvents* const events = events_.load()) {
      events->deviceChanged(device, channel, isInput, property);
    }
  }
  void device(AudioDeviceID id, const hardwaremodel::PropertyChanges& changes) const noexcept {
    for (const hardwaremodel::PropertyChange& change : changes) {
      device(id, change.channel, change.isInput, change.property);
    }
  }

 private:
  std::atomic<HardwareEvents*> events_{nullptr};
};

}  // namespace orv::pipewire
