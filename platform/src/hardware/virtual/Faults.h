#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "OrvPlatform/VirtualHardware.h"

namespace orv::virtualhardware {

/// The faults that a device is to have. Thread-safe.
class Faults {
 public:
  void add(const VirtualFault& fault);
  void clear();
  /// The status of the fault that comes about now, and one time less for it; `noErr` when there is none.
  OSStatus next(VirtualFault::Kind kind, AudioDevicePropertyID property = kAudioPropertyWildcardPropertyID);

 private:
  std::atomic<bool> isEmpty_{true};  // so that calls without faults take no lock
  std::mutex mutex_;
  std::vector<VirtualFault> faults_;  // guarded by mutex_
};

}  // namespace orv::virtualhardware
