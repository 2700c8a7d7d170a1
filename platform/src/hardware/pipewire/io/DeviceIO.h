#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"

struct pw_core;
struct pw_thread_loop;

namespace orv::pipewire {

/// One side of a device as the server knows it: the ports that the device offers, in the order of its channels.
struct DevicePorts {
  std::uint32_t node = 0;            ///< global ID of the node; 0 without this side
  std::vector<std::uint32_t> ports;  ///< global IDs, one for each channel
};

/// What a device's I/O needs to know of it.
struct DeviceIOSetup {
  pw_thread_loop* loop = nullptr;  ///< the backend's loop, which runs
  pw_core* core = nullptr;
  std::string name;          ///< for the node that stands in the server's graph for us
  DevicePorts input;         ///< its output ports, which we hear
  DevicePorts output;        ///< its input ports, which we play to
  std::uint32_t frames = 0;  ///< of each cycle, constant until `setFrames`
  double rate = 0;           ///< nominal sample rate, Hz
};

/// What an I/O has to tell its device. Called with the loop's lock held or on the I/O thread, as said.
class DeviceIOEvents {
 public:
  virtual ~DeviceIOEvents() = default;
  /// On the I/O thread: a cycle came too late or frames were skipped. Real-time safe.
  virtual void overloaded() noexcept = 0;
  /// With the loop's lock held: the server works at another rate now than the set-up, or the last call of this, said,
  /// Hz. Cycles go on, at that rate.
  virtual void rateChanged(double rate) = 0;
  /// With the loop's lock held: the server took the links or the node away, and no cycle will come any more. Told once.
  /// The I/O must not be destroyed in this call.
  virtual void lost() = 0;
};

/// The I/O of one device: a filter in the server's graph that is linked to the device's ports for as long as this
/// lives, and hands each stretch of time to a sink while it is started. Input and output come in the same cycle.
///
/// Cycles have exactly the number of frames that was asked for, whatever the server's own cycle (its quantum) is. When
/// both are equal nothing is delayed; otherwise frames are gathered and split up, which adds `latencyFrames`.
///
/// Made, set up and destroyed with the loop's lock held; started and stopped without it. Calls that change something
/// are made by one thread at a time, except `stop` from a cycle.
class DeviceIO {
 public:
  /// Null when the server refuses, with a line in the log. `events` outlives the I/O.
  static std::unique_ptr<DeviceIO> make(const DeviceIOSetup& setup, DeviceIOEvents& events);
  DeviceIO(const DeviceIO&) = delete;
  DeviceIO& operator=(const DeviceIO&) = delete;
  /// No cycle is under way afterwards, nor will there be one. Not in a cycle.
  ~DeviceIO();

  /// Begins to deliver cycles. `sink` lives until `stop` has returned or, where that was called from a cycle, until
  /// that cycle has ended. `kAudioHardwareIllegalOperationError` when it runs, `kAudioHardwareBadDeviceError` when the
  /// device is lost.
  OSStatus start(HardwareCycleSink* sink);
  /// When it returns no cycle is under way, nor will there be one; on the I/O thread (in the cycle of any device), it
  /// ends with the cycle that this device is in, if any.
  void stop();
  bool isRunning() const noexcept;

  /// Frames of each cycle from the next one on, 1 to `kMostFrames`; another number means the nearest of these. With the
  /// loop's lock held.
  void setFrames(std::uint32_t frames);
  static constexpr std::uint32_t kMostFrames = 8192;

  /// What lies between the ports and the air, in frames, as the server tells it: for time stamps. Any thread.
  void setDeviceLatency(bool isInput, std::uint32_t frames) noexcept;
  /// Frames of delay that cycles of another size than the server's add on this side; 0 where they have the same size.
  /// Does not include the device's own. Any thread.
  std::uint64_t latencyFrames(bool isInput) const noexcept;

 private:
  class Engine;
  explicit DeviceIO(std::unique_ptr<Engine> engine);

  std::unique_ptr<Engine> engine_;
};

}  // namespace orv::pipewire
