#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "hardware/model/DeviceCalls.h"
#include "hardware/virtual/CycleCounters.h"
#include "hardware/virtual/CycleEngine.h"
#include "hardware/virtual/CycleRunner.h"
#include "hardware/virtual/Faults.h"
#include "hardware/virtual/Model.h"
#include "hardware/virtual/Wiring.h"

namespace orv::virtualhardware {

/// A device that is plugged in, or was until just now. Thread-safe.
///
/// Locks, in the order in which they are taken: `changeMutex_` around everything that changes the device or its wiring,
/// files included; `stateMutex_`, never held for long, around the state that property calls read. None of them is held
/// while waiting for a cycle to end, so that a cycle may call whatever it likes.
class Device {
 public:
  /// Of a description that has been checked. `surroundings` and `counter` outlive the device, which gives the counter
  /// back in the end.
  Device(const VirtualDevice& description, AudioDeviceID id, AudioStreamID firstStream, Surroundings& surroundings,
         CycleCounters::Slot& counter);
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  // Constant.
  AudioDeviceID id() const { return id_; }
  const std::string& uid() const { return uid_; }
  AudioStreamID firstStream() const { return firstStream_; }
  std::uint32_t streams() const { return streams_; }
  bool hasSection(bool isInput) const { return isInput ? hasInput_ : hasOutput_; }
  bool canBeDefault() const { return canBeDefault_; }
  bool canBeSystemDefault() const { return canBeSystemDefault_; }
  std::uint32_t channels(bool isInput) const { return isInput ? inputChannels_ : outputChannels_; }
  std::uint32_t largestCycle() const { return largestCycle_; }
  const std::shared_ptr<Waker>& waker() const { return waker_; }
  Faults& faults() { return faults_; }

  double nominalRate();

  OSStatus propertyInfo(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t* size,
                        bool* isWritable);
  OSStatus property(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t* size,
                    void* data);
  OSStatus setProperty(std::uint32_t channel, bool isInput, AudioDevicePropertyID property, std::uint32_t size,
                       const void* data);
  OSStatus streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                              std::uint32_t* size, bool* isWritable);
  OSStatus streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                          std::uint32_t* size, void* data);
  OSStatus setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                             std::uint32_t size, const void* data);

  OSStatus start(HardwareCycleSink* sink);
  OSStatus stop();
  bool step() { return runner_.step(); }
  bool isRunning() const { return runner_.isRunning(); }
  /// Unplugged: stops for good. `settle` follows outside of any cycle.
  void close();
  /// Destroys what cycles no longer use, and takes over what is new where no cycle is to do it. Does nothing in a
  /// cycle.
  void settle();
  /// After a change of the wiring: waits a moment until the cycles have taken it over. Does nothing in a cycle.
  void waitForWiring();

  void setFeed(std::shared_ptr<InputFeed> feed);
  void setCapture(std::shared_ptr<OutputCapture> capture);
  /// Whether the output goes to that file.
  bool captures(const std::string& path);
  void addCable(std::shared_ptr<LoopbackCable> cable);
  bool inputIsAtEnd();

  OSStatus setNominalRate(double rate);
  OSStatus setFrames(std::uint32_t frames);
  OSStatus setJack(bool isInput, bool isConnected);
  void setDrift(double partsPerMillion);
  void setJitter(std::uint64_t nanoseconds) { engine_.setJitter(nanoseconds); }
  void overload() { engine_.overload(); }
  /// After a step by hand: lets those hear what the device has played.
  void deliverLoopback();

 private:
  OSStatus read(const hardwaremodel::PropertyAddress& address, Answer answer, bool* isWritable);
  template <typename Change>
  OSStatus change(const Change& change);
  void apply(const DeviceState& before, const PropertyChanges& changes);

  const CycleCounters::Claim counter_;  // first: given back when nothing counts any more
  Surroundings& surroundings_;
  const std::shared_ptr<Waker> waker_ = std::make_shared<Waker>();
  std::mutex changeMutex_;
  std::mutex stateMutex_;
  DeviceState state_;  // guarded by stateMutex_; changed under changeMutex_ too
  const AudioDeviceID id_;
  const std::string uid_;
  const AudioStreamID firstStream_;
  const std::uint32_t inputChannels_;
  const std::uint32_t outputChannels_;
  const std::uint32_t streams_;
  const std::uint32_t largestCycle_;
  const bool hasInput_;
  const bool hasOutput_;
  const bool canBeDefault_;
  const bool canBeSystemDefault_;
  Faults faults_;
  CycleEngine engine_;
  Wiring wiring_;       // guarded by changeMutex_
  CycleRunner runner_;  // last: its thread uses the others
};

}  // namespace orv::virtualhardware
