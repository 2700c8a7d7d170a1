#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "hardware/model/DeviceCalls.h"
#include "hardware/model/DeviceState.h"
#include "hardware/pipewire/DevicePlan.h"
#include "hardware/pipewire/Loop.h"
#include "hardware/pipewire/Teller.h"
#include "hardware/pipewire/Wishes.h"
#include "hardware/pipewire/io/DeviceIO.h"

namespace orv::pipewire {

/// What a device asks of its backend. On the loop's thread, with its lock held.
class DeviceOwner {
 public:
  virtual ~DeviceOwner() = default;
  virtual pw_core* core() = 0;
  virtual void carryOut(const Wishes& wishes, const DevicePlan& plan) = 0;
  /// Something is to be looked at anew.
  virtual void refreshSoon() = 0;
};

/// A device that is there, or was until just now. Thread-safe.
///
/// What property calls see is guarded by a mutex that is never held while anything is waited for: neither the server
/// nor a cycle. What the server has to be told is left to the loop.
class Device final : public DeviceIOEvents, public std::enable_shared_from_this<Device> {
 public:
  /// `loop`, `owner` and `teller` outlive the device.
  Device(DevicePlan plan, hardwaremodel::DeviceState state, Loop& loop, DeviceOwner& owner, const Teller& teller);
  ~Device() override;

  // Constant.
  const DevicePlan& plan() const { return plan_; }
  AudioDeviceID id() const { return id_; }
  bool ownsStream(AudioStreamID stream) const { return stream == inputStream_ || stream == outputStream_; }

  OSStatus read(const hardwaremodel::PropertyAddress& address, hardwaremodel::Answer answer, bool* isWritable);
  OSStatus write(const hardwaremodel::PropertyAddress& address, std::uint32_t size, const void* data);
  OSStatus readStream(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                      hardwaremodel::Answer answer, bool* isWritable);
  OSStatus writeStream(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property, std::uint32_t size,
                       const void* data);

  OSStatus start(HardwareCycleSink* sink);
  OSStatus stop();

  // With the loop's lock held.
  /// Takes over what the server has changed.
  void update(const hardwaremodel::DeviceState& now);
  /// The server took away what the device's I/O needs, though not the device itself.
  bool isBroken();
  /// Gone: no cycle is under way afterwards, nor will there be one.
  void retire();

  void overloaded() noexcept override;
  void rateChanged(double rate) override;
  void lost() override;

 private:
  using Clock = std::chrono::steady_clock;
  template <typename Change>
  OSStatus change(const Change& change);
  bool claimIO();
  OSStatus openIO();
  void releaseIO();
  void tellRunning(bool isRunning);
  void discardIO();
  void applyCycle();
  DeviceIOSetup setup();

  const DevicePlan plan_;
  const AudioDeviceID id_;
  const AudioStreamID inputStream_;
  const AudioStreamID outputStream_;
  Loop& loop_;
  DeviceOwner& owner_;
  const Teller& teller_;

  std::mutex mutex_;
  std::condition_variable released_;
  hardwaremodel::DeviceState state_;  // guarded by mutex_
  double runningRate_ = 0;            // guarded by mutex_; 0: what the server's settings say
  Clock::time_point settled_;         // guarded by mutex_; until then the server may not have what was set
  bool isGone_ = false;               // guarded by mutex_
  bool isBroken_ = false;             // guarded by mutex_
  bool isClaimed_ = false;            // guarded by mutex_; somebody works with the I/O, and nobody else may
  std::unique_ptr<DeviceIO> io_;      // for who has claimed it
  std::uint64_t stops_ = 0;           // guarded by mutex_
};

}  // namespace orv::pipewire
