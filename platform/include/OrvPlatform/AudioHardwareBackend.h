#pragma once

#include <cstdint>
#include <memory>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

/// What stands behind the calls of `OrvPlatform/AudioHardware.h`: one backend for the whole process. The calls keep the
/// I/O procs and the listeners; a backend answers for properties, runs the I/O threads and tells what changes.
///
///   AudioDeviceStart ─► DeviceCycles ─► backend.start(device, sink)
///                           ▲                │ I/O thread, once a cycle
///   I/O procs ◄─────────────┴──── sink.cycle(…)
///   listeners ◄── notification thread ◄── events.deviceChanged(…) from any thread

namespace orv {

/// One cycle of a device.
struct HardwareCycle {
  AudioTimeStamp now;
  AudioTimeStamp inputTime;      ///< of the first frame of the input
  AudioTimeStamp outputTime;     ///< at which the first frame of the output will be heard
  const AudioBufferList* input;  ///< a buffer for each input stream, never null
  AudioBufferList* output;       ///< a buffer for each output stream, never null; what it holds is overwritten
};

/// Takes the cycles of one device. Made by the service.
class ORV_API HardwareCycleSink {
 public:
  virtual ~HardwareCycleSink();
  /// On the device's I/O thread; calls never overlap. Real-time safe.
  virtual void cycle(const HardwareCycle& cycle) noexcept = 0;
};

/// Takes what a backend has to tell. Made by the service. Both may be called on any thread, with the backend's own
/// locks held, and are real-time safe: they queue, and wake the notification thread. Nothing that is told gets lost,
/// and the order stays.
class ORV_API HardwareEvents {
 public:
  virtual ~HardwareEvents();
  virtual void hardwareChanged(AudioHardwarePropertyID property) noexcept = 0;
  virtual void deviceChanged(AudioDeviceID device, std::uint32_t channel, bool isInput,
                             AudioDevicePropertyID property) noexcept = 0;
};

/// A backend. Every operation is thread-safe. Pointers to sizes and flags are never null here; data is null only where
/// its size is 0.
class ORV_API AudioHardware {
 public:
  AudioHardware() = default;
  AudioHardware(const AudioHardware&) = delete;
  AudioHardware& operator=(const AudioHardware&) = delete;
  virtual ~AudioHardware();

  /// Set once, before any other call. `events` outlives the backend.
  virtual void setEvents(HardwareEvents* events) = 0;

  /// Where a property is a value that is passed in and comes back (a translation, a match), `*size` is its fixed size.
  virtual OSStatus hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) = 0;
  virtual OSStatus hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) = 0;
  virtual OSStatus setHardwareProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) = 0;

  virtual OSStatus devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                      AudioDevicePropertyID property, std::uint32_t* size, bool* isWritable) = 0;
  virtual OSStatus deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                  AudioDevicePropertyID property, std::uint32_t* size, void* data) = 0;
  virtual OSStatus setDeviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                     AudioDevicePropertyID property, std::uint32_t size, const void* data) = 0;

  virtual OSStatus streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                      std::uint32_t* size, bool* isWritable) = 0;
  virtual OSStatus streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                  std::uint32_t* size, void* data) = 0;
  virtual OSStatus setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                     std::uint32_t size, const void* data) = 0;

  /// Begins to deliver cycles of exactly the buffer frame size. `sink` outlives the backend. A device that was stopped
  /// from its own cycle may have to wait here for that cycle's end.
  virtual OSStatus start(AudioDeviceID device, HardwareCycleSink* sink) = 0;
  /// When it returns without a failure no cycle is under way, nor will there be one; called on the device's own I/O
  /// thread, it ends with the cycle. That holds for a device that is gone, too: it counts as stopped, which is success,
  /// but not before its last cycle has ended.
  virtual OSStatus stop(AudioDeviceID device) = 0;
};

/// The backend in force: what was installed, or the virtual hardware's default set. Thread-safe.
ORV_API std::shared_ptr<AudioHardware> audioHardware();

/// Installs a backend and returns the one before; null goes back to the default. Devices of the one before are stopped
/// first, and their procs are forgotten. Listeners stay and are told that the list of devices has changed. For the
/// host's start, and for tests. Must not be called from a listener or a cycle.
ORV_API std::shared_ptr<AudioHardware> installAudioHardware(std::shared_ptr<AudioHardware> hardware);

}  // namespace orv
