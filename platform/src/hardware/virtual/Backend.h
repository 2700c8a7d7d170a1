#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "OrvPlatform/VirtualHardware.h"
#include "hardware/virtual/CycleCounters.h"
#include "hardware/virtual/HardwareState.h"

namespace orv::virtualhardware {

/// The virtual hardware.
///
///   property calls ─► HardwareState (which devices) ─► Device ─► DeviceState
///   start, step    ─► Device ─► CycleRunner (when) ─► CycleEngine (what) ─► sink
///   setInput …     ─► Wiring ─► CyclePlan ─► CycleEngine, between two cycles
class Backend final : public VirtualHardware {
 public:
  explicit Backend(const VirtualHardwareOptions& options);
  ~Backend() override;

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

  VirtualClock clock() const override { return surroundings_.options.clock; }
  AudioDeviceID plug(const VirtualDevice& device, std::string* problem) override;
  bool unplug(AudioDeviceID device) override;
  AudioDeviceID swap(AudioDeviceID device, const VirtualDevice& with, std::string* problem) override;
  AudioDeviceID deviceForUID(const std::string& uid) override;
  std::size_t step(std::size_t cycles) override;
  std::size_t stepDevice(AudioDeviceID device, std::size_t cycles) override;
  std::uint64_t cycles(AudioDeviceID device) override;
  bool setInput(AudioDeviceID device, const VirtualInput& source, std::string* problem) override;
  bool setOutput(AudioDeviceID device, const VirtualOutput& sink, std::string* problem) override;
  bool inputIsAtEnd(AudioDeviceID device) override;
  void addFault(AudioDeviceID device, const VirtualFault& fault) override;
  void clearFaults(AudioDeviceID device) override;
  void overload(AudioDeviceID device) override;
  void setJitter(AudioDeviceID device, std::uint64_t nanoseconds) override;
  void setDrift(AudioDeviceID device, double partsPerMillion) override;
  OSStatus setNominalSampleRate(AudioDeviceID device, double rate) override;
  OSStatus setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) override;
  OSStatus setJack(AudioDeviceID device, bool isInput, bool isConnected) override;

 private:
  using DevicePointer = std::shared_ptr<Device>;

  DevicePointer find(AudioDeviceID id);
  DevicePointer findByStream(AudioStreamID id);
  DevicePointer findByUID(const std::string& uid);
  void tell(const HardwareChanges& changes) const;

  // BackendPlugging.cpp
  AudioDeviceID exchange(AudioDeviceID goes, const VirtualDevice& comes, std::string* problem);
  DevicePointer make(AudioDeviceID goes, const VirtualDevice& description, std::string* problem);
  std::string conflictOf(AudioDeviceID goes, const VirtualDevice& description);
  AudioDeviceID giveOutID();
  void letGo(const DevicePointer& device);
  void endCyclesOfGone(AudioDeviceID id);
  void collectGone();

  // BackendWiring.cpp
  bool connectInput(Device& device, const VirtualInput& source, std::string* problem);
  bool connectOutput(Device& device, const VirtualOutput& sink, std::string* problem);
  std::shared_ptr<InputFeed> makeFeed(Device& device, const VirtualInput& source, std::string* problem);
  std::shared_ptr<InputFeed> makeFileFeed(Device& device, const VirtualInput& source, std::string* problem);
  std::shared_ptr<InputFeed> makeLoopbackFeed(Device& device, const VirtualInput& source);
  void attachListeners(Device& device);

  Surroundings surroundings_;
  CycleCounters counters_;

  std::mutex plugMutex_;                              // around plugging and wiring; taken before any other lock
  std::vector<std::weak_ptr<LoopbackCable>> cables_;  // guarded by plugMutex_
  AudioDeviceID lastDevice_;                          // guarded by plugMutex_
  AudioStreamID lastStream_;                          // guarded by plugMutex_

  std::mutex listMutex_;  // never held for long
  HardwareState state_;   // guarded by listMutex_
  /// Unplugged, while their last cycle may not have ended: it may be the one in which they were unplugged.
  std::vector<DevicePointer> gone_;  // guarded by listMutex_
};

}  // namespace orv::virtualhardware
