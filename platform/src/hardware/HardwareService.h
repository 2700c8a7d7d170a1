#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "DeviceCycles.h"
#include "HardwareNotifier.h"
#include "OrvPlatform/AudioHardwareBackend.h"

namespace orv {

/// The backend in force, with the procs and listeners that the calls keep for it. Never destroyed.
class HardwareService {
 public:
  static HardwareService& instance();

  /// Also makes the main loop, which must not come to be when a cycle first posts to it.
  HardwareService();

  std::shared_ptr<AudioHardware> hardware();
  std::shared_ptr<AudioHardware> install(std::shared_ptr<AudioHardware> hardware);

  /// Of a device, made when it is missing.
  std::shared_ptr<DeviceCycles> cyclesOf(AudioDeviceID device);
  /// Null when no proc was ever installed.
  std::shared_ptr<DeviceCycles> existingCyclesOf(AudioDeviceID device);
  /// Drops what no proc is installed in any more.
  void dropUnused(AudioDeviceID device);

  HardwareNotifier& notifier() { return notifier_; }

 private:
  using Cycles = std::map<AudioDeviceID, std::shared_ptr<DeviceCycles>>;

  std::shared_ptr<AudioHardware> hardwareLocked();

  HardwareNotifier notifier_;
  std::mutex mutex_;                         // held for moments only
  std::shared_ptr<AudioHardware> hardware_;  // guarded by mutex_; null until it is asked for
  Cycles cycles_;                            // guarded by mutex_
  /// Of former backends, whose devices refused to stop and may still call.
  std::vector<std::shared_ptr<DeviceCycles>> stubborn_;  // guarded by mutex_
};

}  // namespace orv
