#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "OrvPlatform/AudioHardware.h"
#include "hardware/virtual/DescriptionCheck.h"

namespace orv::virtualhardware {

/// How many cycles each device has made, to be looked at without a lock.
class CycleCounters {
 public:
  struct Slot {
    std::atomic<bool> isTaken{false};
    std::atomic<AudioDeviceID> id{0};
    std::atomic<std::uint64_t> count{0};
  };

  /// One device's use of a slot.
  class Claim {
   public:
    /// Of a slot that `find` has returned.
    Claim(Slot& slot, AudioDeviceID device) : slot_(slot) {
      slot_.count = 0;
      slot_.id = device;
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;
    ~Claim() {
      hide();
      slot_.isTaken = false;
    }
    /// The device is gone, but may still be counting.
    void hide() const { slot_.id = 0; }

   private:
    Slot& slot_;
  };

  /// Takes a slot for a claim to come. Null when as many devices are there as there can be.
  Slot* take() {
    for (Slot& slot : slots_) {
      if (!slot.isTaken.exchange(true)) {
        return &slot;
      }
    }
    return nullptr;
  }

  /// 0 when there is no such device. Real-time safe.
  std::uint64_t cycles(AudioDeviceID device) const noexcept {
    for (const Slot& slot : slots_) {
      if (device != 0 && slot.id.load(std::memory_order_acquire) == device) {
        return slot.count.load(std::memory_order_relaxed);
      }
    }
    return 0;
  }

 private:
  std::array<Slot, kMostDevices> slots_;
};

}  // namespace orv::virtualhardware
