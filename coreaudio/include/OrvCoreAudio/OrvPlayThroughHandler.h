#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvPlatform/Export.h"

class MonitorPaths;

/// Monitors: plays on one device what another one hears.
///
///   input device's cycle ─► one block ─► output device's cycle: rate converter ─► processor ─► volume ─► output
///
/// Exactly one block is on its way. An input block that comes while the one before waits is left out; an output block
/// for which none waits is silence, so nothing is ever heard twice. The delay is one cycle at most, and none where both
/// are one device. The input's first stream is played on the output's first stream, in place of what other subscribers
/// left there before.
///
/// Blocks are passed on sample by sample: between devices of one rate, channels are not remapped, and where the blocks
/// differ in length the longer one is cut or ends in silence. Where the rates differ in whole Hertz, blocks go through
/// a converter, which maps channels too, and what does not fill the output block ends in silence. `setMapsChannels`
/// has channels mapped between devices of one rate as well: for whoever just wants to hear a mono input on both sides.
///
/// A handler that runs is kept by its devices until `stop`. Every operation is thread-safe and, but for the handler of
/// cycles, not real-time safe. From inside a cycle `start`, `stop` and the setters are left to the main thread, and
/// answer true. The last reference may go away on any thread.
class ORV_API OrvPlayThroughHandler final : public OrvObject,
                                            public OrvCoreAudioIOSubscriber,
                                            public std::enable_shared_from_this<OrvPlayThroughHandler> {
 public:
  /// Without devices, processor and volume control. Null only when there is no memory.
  static std::shared_ptr<OrvPlayThroughHandler> init();
  ~OrvPlayThroughHandler() override;

  static std::string classDescription();
  /// The class, the address, and both devices.
  std::string description() const override;

  /// Null takes the device out. A handler that runs is stopped before and started again after it, also for the same
  /// device. A converter is made when the rates of the two devices differ. It stays when a later pair does not need
  /// it, and blocks go on through it: take the device out before setting one of the same rate to be rid of it.
  void setAudioDevice_isInput(const std::shared_ptr<OrvAudioDevice>& device, bool isInput);
  std::shared_ptr<OrvAudioDevice> audioDevice(bool isInput) const;

  /// Whether devices of one rate that differ in channels get a converter too: mono is heard on both sides, stereo as
  /// its mean, otherwise channels go by their place. Not to begin with. Set before the devices are.
  void setMapsChannels(bool maps) { mapsChannels_ = maps; }

  /// Null takes it out. Takes effect with the next block.
  void setVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control);
  std::shared_ptr<OrvSoftwareVolumeControl> volumeControl() const;
  /// Pass the value on to the volume control; nothing without one.
  void setVolumeDecibels(float decibels);
  void setVolumeScalar(float scalar);
  /// Gets the output's channels and rate. When one fails, the block is silent. Null takes it out. When this returns,
  /// the old one is not in use any more.
  void setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor);
  std::shared_ptr<OrvAudioProcessor> audioProcessor() const;

  /// Subscribes to both devices and starts them. Whether it runs; true when it did already. Where one device is missing
  /// the other is started all the same, and stays so.
  bool start();
  /// As `start`, but leaves everything as it was where a device is missing.
  bool startBothOrNeither();
  /// Stops both devices and unsubscribes, and resets the processor. Whether it does not run any more; true when it did
  /// not before.
  bool stop();
  /// Real-time safe.
  bool isRunning() const { return _isPlayingThrough; }

  /// Real-time safe. Blocks that are larger than any that a device announced when it was started are silence until the
  /// main thread has made room.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;

 private:
  OrvPlayThroughHandler();
  static void destroy(OrvPlayThroughHandler* handler) noexcept;
  bool startNow();
  bool stopNow();
  void replaceDevice(const std::shared_ptr<OrvAudioDevice>& device, bool isInput);
  void converterSetup();
  void makeRoom(std::uint32_t bytes);
  void askForRoom(std::uint32_t bytes) noexcept;
  bool isSameCycleAgain(const AudioTimeStamp* now) noexcept;

  const std::unique_ptr<MonitorPaths> paths_;
  std::atomic<bool> _isPlayingThrough{false};
  std::atomic<bool> mapsChannels_{false};
  std::mutex mutexLock;                         // setting devices and the processor, and before playLock
  std::mutex playLock;                          // starting and stopping
  std::atomic<std::uint32_t> roomWanted_{0};    // bytes; 0: enough
  std::atomic<std::uint64_t> lastHostTime_{0};  // of one device that is both: the cycle that was done
  std::atomic<double> lastSampleTime_{-1};
};
