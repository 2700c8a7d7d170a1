#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvVUMeterData.h"
#include "OrvPlatform/Export.h"

/// What a meter posts to `orv::NotificationCenter::defaultCenter()` on the main thread. The text of each is its name.
extern "C" {
/// The object is the provider.
ORV_API extern const char* const OrvVUMeterDataProviderDidStartNotification;
ORV_API extern const char* const OrvVUMeterDataProviderDidStopNotification;
/// The object is the `OrvVUMeterData`: the same one each time, with new values.
ORV_API extern const char* const OrvVUMeterDataProviderNewDataIsAvailableNotification;
}

/// Meters the input of a device: in every so many cycles it finds the largest sample of each channel of the device's
/// first stream.
///
///   device's cycle ─► peak scan ─► OrvVUMeterData ─► main thread ─► observers
///
/// The largest sample, not the largest magnitude: a channel that was below zero throughout reads 0. Of more than eight
/// channels the first eight are metered. When the main thread does not keep up, notifications are left out; the values
/// are always the latest.
///
/// Main thread, except where said otherwise.
class ORV_API OrvVUMeterDataProvider final : public OrvObject,
                                             public OrvCoreAudioIOSubscriber,
                                             public std::enable_shared_from_this<OrvVUMeterDataProvider> {
 public:
  static std::string classDescription();

  static std::shared_ptr<OrvVUMeterDataProvider> init();
  static std::shared_ptr<OrvVUMeterDataProvider> initWithAudioDevice(const std::shared_ptr<OrvAudioDevice>& device);
  /// For a device that keeps the provider: the provider keeps the device only while it runs, or neither would ever be
  /// released.
  static std::shared_ptr<OrvVUMeterDataProvider> initOwnedByAudioDevice(const std::shared_ptr<OrvAudioDevice>& device);
  /// Takes the subscription back; does not stop the device.
  ~OrvVUMeterDataProvider() override;

  /// A running provider is stopped before the change and started after it.
  void setAudioDevice(const std::shared_ptr<OrvAudioDevice>& device);
  std::shared_ptr<OrvAudioDevice> audioDevice() const;

  /// Starts the device and subscribes. Nothing when it is running already, or where there is no device.
  void start();
  /// Stops the device and unsubscribes. Nothing when it is not running.
  void stop();

  /// Meters every `interval`-th cycle; 0 counts as 1. Thread-safe.
  void setNotificationInterval(std::uint32_t interval);

  /// Largest sample of each channel of `length` bytes of interleaved floats, at least 0: an array of `channels` floats
  /// that the caller frees. All 0 for less than one sample; null for no channels. Thread-safe.
  float* findMaxValues_numChannels_length(const float* samples, std::uint32_t channels, std::uint32_t length) const;

  /// Real-time safe.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;

  /// Posts the record under its name.
  void threadCallback(const std::shared_ptr<OrvVUMeterData>& data);
  /// Posts a notification about this provider.
  void startStopCallback(const std::string& name);

 private:
  OrvVUMeterDataProvider() : _meterData(OrvVUMeterData::init()) {}
  void announce(const char* name);

  std::shared_ptr<OrvAudioDevice> _audioDevice;
  std::weak_ptr<OrvAudioDevice> ownerDevice_;
  const std::shared_ptr<OrvVUMeterData> _meterData;
  std::uint32_t notificationCount = 0;  // I/O thread
  std::atomic<std::uint32_t> notificationInterval{1};
  std::atomic<bool> _shouldProvideData{false};
};
