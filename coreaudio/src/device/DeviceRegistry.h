#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "OrvCoreAudio/OrvAudioDeviceCollections.h"
#include "OrvPlatform/AudioHardware.h"

class OrvAudioDevice;

/// The process's devices. A rebuild makes a new set of collections and puts it in the old one's place, so that readers
/// need no lock longer than it takes to copy a pointer, and never see a half-built list. Thread-safe.
class DeviceRegistry {
 public:
  using Device = std::shared_ptr<OrvAudioDevice>;
  using DeviceMaker = Device (*)(AudioDeviceID);

  struct Contents {
    std::map<AudioDeviceID, Device> devices;
    std::vector<Device> deviceArray;  // these three in the order in which devices were first seen
    std::vector<Device> inputDeviceArray;
    std::vector<Device> outputDeviceArray;

    const std::vector<Device>& list(OrvAudioDeviceList::Kind kind) const;
  };

  /// Never destroyed: devices may be asked for while the process ends.
  static DeviceRegistry& shared();

  std::shared_ptr<const Contents> contents() const;
  /// As `OrvAudioDevice::initializeListOfDevices`. Devices that are taken out are released when no lock is held. False,
  /// and a line in the log, when the list of devices can't be read.
  bool rebuild(DeviceMaker makeDevice);

 private:
  /// What was in force before.
  std::shared_ptr<const Contents> replace(std::shared_ptr<const Contents> contents);

  std::mutex mutexLock;  // held during a rebuild; before contentsLock_
  mutable std::mutex contentsLock_;
  std::shared_ptr<const Contents> contents_ = std::make_shared<Contents>();  // guarded by contentsLock_
};
