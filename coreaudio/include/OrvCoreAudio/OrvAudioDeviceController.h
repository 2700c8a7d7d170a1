#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceCollections.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvPlayThroughHandler.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvPlatform/Export.h"

/// Where a host begins: the current input and output device, live monitoring from one to the other, the master volume.
///
///   host ─► controller ─► registry of OrvAudioDevice
///               ├───────► OrvPlayThroughHandler: the current devices
///               └───────► OrvSoftwareVolumeControl: the handler's volume
///
/// The current devices are the registry's objects; the handler keeps them, the controller does not. A controller that
/// goes away leaves monitoring that was on as it is.
///
/// Main thread, except for `setPlayThroughOn`, `setPlayThroughHandler` and `sharedController`, which are thread-safe.
class ORV_API OrvAudioDeviceController final : public OrvObject {
 public:
  /// The same one each time. Never goes away.
  static std::shared_ptr<OrvAudioDeviceController> sharedController();
  /// With the default devices, as far as there are any, and a volume control of gain 1.
  static std::shared_ptr<OrvAudioDeviceController> init();
  ~OrvAudioDeviceController() override;

  /// A switch for the host's own use.
  void setPrintDebug(bool debug) { printDebug = debug; }

  /// @name Current devices
  /// Null when there is none, or it is gone.
  std::shared_ptr<OrvAudioDevice> currentDevice(bool isInput) const;
  /// Place of the current input device in the direction's list, also for the output's list: hosts rely on it.
  /// 0xFFFFFFFF where it is not in it.
  std::uint32_t currentDeviceIndex(bool isInput) const;
  /// Takes the device at that place of the direction's list, for monitoring too. A place behind the last is logged and
  /// changes nothing.
  void setCurrentDeviceToDeviceAtIndex_isInput(std::size_t index, bool isInput);

  /// @name The registry
  /// Null for an unknown device.
  std::shared_ptr<OrvAudioDevice> audioDeviceForAudioDeviceID(AudioDeviceID deviceID) const;
  std::shared_ptr<OrvAudioDevice> audioDeviceForAudioDeviceUID(const std::optional<std::string>& uid) const;
  /// By its ID. False for null.
  bool audioDeviceExists(const std::shared_ptr<OrvAudioDevice>& device) const;
  /// Place of the first device with that ID in the direction's list. 0 when there is none, as for the first place.
  std::uint32_t findAudioDeviceIndexWithID_isInput(AudioDeviceID deviceID, bool isInput) const;
  std::shared_ptr<OrvAudioDevice> defaultInputDevice() const { return OrvAudioDevice::defaultInputDevice(); }
  std::shared_ptr<OrvAudioDevice> defaultOutputDevice() const { return OrvAudioDevice::defaultOutputDevice(); }
  std::shared_ptr<OrvAudioDevice> defaultSystemOutputDevice() const;
  const OrvAudioDeviceList& deviceList(bool isInput) const { return OrvAudioDevice::deviceList(isInput); }
  const OrvAudioDeviceDictionary& allDevicesDictionary() const { return OrvAudioDevice::allDevicesDictionary(); }
  const OrvAudioDeviceList& allDevicesArray() const { return OrvAudioDevice::allDevicesArray(); }

  /// @name Monitoring
  /// Where one device is both, by its own hardware if it can, otherwise through the handler. Whether that worked. Each
  /// success of the hardware toggles what this object knows about it, whatever was asked for; while it is known to be
  /// on, switching on does nothing.
  bool setPlayThroughOn(bool on);
  /// Whether the handler runs: monitoring by the hardware does not show here.
  bool playThroughIsOn() const;
  /// Neither stops the old one nor gives the new one any devices.
  void setPlayThroughHandler(const std::shared_ptr<OrvPlayThroughHandler>& handler);
  std::shared_ptr<OrvPlayThroughHandler> playThroughHandler() const;
  /// The handler goes on with the one that it has.
  void setMasterVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control);
  std::shared_ptr<OrvSoftwareVolumeControl> masterVolumeControl() const { return _masterVolumeControl; }

  /// @name Reports
  /// Of every input device and then of every output device: one that is both comes twice.
  std::string printListOfDevices() const;
  /// How many devices there are, counted as they are listed, and the boot chime's volume.
  std::string printSystemInfo() const;

 private:
  OrvAudioDeviceController() = default;
  bool playsThroughByHardware(const std::shared_ptr<OrvAudioDevice>& device, bool on);

  std::weak_ptr<OrvAudioDevice> currentInputDevice;
  std::weak_ptr<OrvAudioDevice> currentOutputDevice;
  std::shared_ptr<OrvPlayThroughHandler> _playThroughHandler;  // guarded by playThroughMutexLock
  std::shared_ptr<OrvSoftwareVolumeControl> _masterVolumeControl;
  mutable std::mutex playThroughMutexLock;
  bool printDebug = false;
  bool playThroughIsOn_ = false;   // guarded by playThroughMutexLock
  bool hwPlayThroughIsOn = false;  // guarded by playThroughMutexLock
};
