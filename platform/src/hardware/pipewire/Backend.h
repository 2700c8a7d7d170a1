#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "hardware/model/Answer.h"
#include "hardware/pipewire/Connection.h"
#include "hardware/pipewire/Defaults.h"
#include "hardware/pipewire/Device.h"
#include "hardware/pipewire/Loop.h"
#include "hardware/pipewire/Registry.h"
#include "hardware/pipewire/Teller.h"

namespace orv::pipewire {

/// The machine's audio devices, through a PipeWire server.
///
///   server ─► Registry (facts) ─► planDevices, describe ─► Device (state) ◄─ property calls
///   property writes ─► Device ─► Wishes ─► the loop ─► Registry ─► server
///   start, stop ─► Device ─► DeviceIO ─► sink
///
/// Property calls see what the server said last, and wait for nothing. When the server goes, its devices go; they come
/// back with it, under the IDs that they had.
class Backend final : public AudioHardware, private ServerObjectEvents, private DeviceOwner {
 public:
  explicit Backend(std::unique_ptr<Loop> loop);
  ~Backend() override;

  /// Once, before anything else. Waits until the devices are known.
  bool connect(std::chrono::milliseconds limit, std::string* problem);

  void setEvents(HardwareEvents* events) override;
  OSStatus hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) override;
  OSStatus hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) override;
  OSStatus setHardwareProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) override;
  OSStatus devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                              std::uint32_t* size, bool* isWritable) override;
  OSStatus deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                          std::uint32_t* size, void* data) override;
  OSStatus setDeviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                             std::uint32_t size, const void* data) override;
  OSStatus streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                              std::uint32_t* size, bool* isWritable) override;
  OSStatus streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                          std::uint32_t* size, void* data) override;
  OSStatus setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                             std::uint32_t size, const void* data) override;
  OSStatus start(AudioDeviceID device, HardwareCycleSink* sink) override;
  OSStatus stop(AudioDeviceID device) override;

 private:
  using DevicePointer = std::shared_ptr<Device>;
  using Devices = std::vector<DevicePointer>;

  void factsChanged() override { refreshSoon(); }
  pw_core* core() override { return connection_.core(); }
  void carryOut(const Wishes& wishes, const DevicePlan& plan) override;
  void refreshSoon() override;

  // With the loop's lock held.
  bool openConnection(std::string* problem);
  void askUntilKnown(int round);
  void serverIsLost();
  void reconnect();
  void refresh();

  void putBackRate();
  void chooseDefault(bool isInput, const DevicePointer& device);
  DevicePointer find(AudioDeviceID id);
  DevicePointer findByStream(AudioStreamID id);
  Devices devices();
  AudioDeviceID idForUID(const std::string& uid);
  OSStatus answer(AudioHardwarePropertyID property, hardwaremodel::Answer to);

  const std::unique_ptr<Loop> loop_;
  Teller teller_;
  Connection connection_;                    // with the loop's lock
  std::unique_ptr<Registry> registry_;       // likewise; null without a server
  bool isRefreshDue_ = false;                // likewise
  std::optional<std::uint32_t> forcedRate_;  // likewise: that a host wanted
  std::uint32_t rateBefore_ = 0;             // likewise

  std::mutex mutex_;
  std::condition_variable known_;
  bool isKnown_ = false;  // guarded by mutex_
  Devices devices_;       // guarded by mutex_
  Defaults defaults_;     // guarded by mutex_
};

}  // namespace orv::pipewire
