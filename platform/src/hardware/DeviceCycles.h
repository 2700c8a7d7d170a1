#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/LiveList.h"

namespace orv {

/// The I/O procs of one device: which are installed, which run, and the cycles in which they are called.
class DeviceCycles : public HardwareCycleSink {
 public:
  DeviceCycles(std::shared_ptr<AudioHardware> hardware, AudioDeviceID device);

  /// Answer of one that was retired meanwhile: there is a new one to be asked for.
  static constexpr OSStatus kRetiredStatus = statusCC("gone");

  AudioDeviceID device() const noexcept { return device_; }

  OSStatus add(AudioDeviceIOProc proc, void* clientData);
  OSStatus remove(AudioDeviceIOProc proc, void* clientData);
  OSStatus start(AudioDeviceIOProc proc, void* clientData);
  OSStatus stop(AudioDeviceIOProc proc, void* clientData);

  /// In a cycle of this device: the proc is not called any more, and `stop` or `remove` is to follow soon on another
  /// thread. Real-time safe.
  void cancel(AudioDeviceIOProc proc, void* clientData) noexcept;

  /// Stops everything and forgets it: the backend goes. False when the device could not be stopped, and so may still
  /// call `cycle`.
  bool shutDown();

  /// Whether the device has stopped and no proc is installed, nor will be: `add` then answers `kRetiredStatus`. False
  /// when another thread is at it just now.
  bool retire();

  void cycle(const HardwareCycle& cycle) noexcept override;

 private:
  struct IOProc {
    AudioDeviceIOProc proc = nullptr;
    void* clientData = nullptr;
    std::atomic<bool> isCancelled{false};
  };
  /// An output of its own for one that is not the first, so that what each leaves there can be added up.
  class Mixing;

  std::shared_ptr<IOProc> find(AudioDeviceIOProc proc, void* clientData) const;
  OSStatus stop(const std::shared_ptr<IOProc>& entry);
  std::shared_ptr<Mixing> makeMixing() const;

  const std::shared_ptr<AudioHardware> hardware_;
  const AudioDeviceID device_;
  mutable std::mutex mutex_;  // never taken in a cycle
  OSStatus stopDevice();

  bool isDeviceRunning_ = false;                    // guarded by mutex_
  bool isRetired_ = false;                          // guarded by mutex_
  std::vector<std::shared_ptr<IOProc>> installed_;  // guarded by mutex_
  LiveList<IOProc> running_;                        // changed under mutex_, in the order of starting
  LiveList<Mixing> mixing_;                         // changed under mutex_; one or none
};

}  // namespace orv
