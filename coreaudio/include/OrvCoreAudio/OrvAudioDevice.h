#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioBufferList.h"
#include "OrvCoreAudio/OrvAudioChannelLayout.h"
#include "OrvCoreAudio/OrvAudioDeviceCollections.h"
#include "OrvCoreAudio/OrvAudioDeviceStreamDefaults.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvAudioValueRange.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/LiveList.h"
#include "OrvPlatform/NotificationCenter.h"

class OrvAudioStream;
class OrvVUMeterDataProvider;

/// One audio device, and at class level the registry of all that are present.
///
///   hardware ─► listeners ─► notification thread ─► registry, notifications on the main thread
///      └─────► I/O proc ──► I/O thread ──► subscribers of the input, then of the output
///
/// Every question about the device is a property that is read anew. A read that fails gives 0, null or an empty list;
/// `OrvAudioDeviceUtils::lastReportedError` tells why. `isInput` selects the input section (true) or the output
/// section, channel 0 is the section as a whole. Heap blocks that are returned belong to the caller: `std::free`.
///
/// Several objects may stand for one device; each has an I/O proc of its own. All operations are thread-safe and not
/// real-time safe, except where they say otherwise. The last reference may go away on any thread: in a device's cycle
/// the object is handed to the main thread and destroyed there.
class ORV_API OrvAudioDevice final : public OrvObject,
                                     public OrvAudioDeviceStreamDefaults,
                                     public OrvCoreAudioIOSubscriber,
                                     public std::enable_shared_from_this<OrvAudioDevice> {
 public:
  // The registry. It is built before the first use of any class operation, and before the first device is made.

  /// Builds the registry and begins to listen to the hardware. Only the first call does anything.
  static void initialize();
  /// Brings the registry up to date with the hardware. When there are fewer devices than before, those that are gone
  /// are taken out; otherwise new ones are added, and an old one that another has replaced stays until the next time
  /// that there are fewer. A list that can't be read is logged and changes nothing.
  static void initializeListOfDevices();
  static const OrvAudioDeviceDictionary& allDevicesDictionary();
  static const OrvAudioDeviceList& allDevicesArray();
  static const OrvAudioDeviceList& deviceList(bool isInput);
  /// The registry's object; null when there is no such device or it is not in the registry.
  static std::shared_ptr<OrvAudioDevice> defaultInputDevice();
  static std::shared_ptr<OrvAudioDevice> defaultOutputDevice();
  static std::shared_ptr<OrvAudioDevice> defaultSystemOutputDevice();
  /// 0xFFFFFFFF, and a line in the log, for a UID that no device has.
  static AudioDeviceID audioDeviceIDForUID(const std::optional<std::string>& uid);
  static float bootChimeVolumeScalar();    ///< 0.0 to 1.0
  static float bootChimeVolumeDecibels();  ///< dB
  static std::shared_ptr<OrvAudioValueRange> bootChimeVolumeRangeDecibels();
  /// Stands for this class as the sender of the hardware's notifications.
  static std::shared_ptr<OrvObject> classObject();

  // Making devices: a new object, not the registry's.

  /// Installs an I/O proc and listeners. Where the hardware refuses either, that is logged and the object is made all
  /// the same. Null only when there is no memory.
  static std::shared_ptr<OrvAudioDevice> initWithDeviceID(AudioDeviceID deviceID);
  /// Null for a UID that no device has.
  static std::shared_ptr<OrvAudioDevice> initWithDeviceUID(const std::optional<std::string>& uid);
  static std::shared_ptr<OrvAudioDevice> deviceWithDeviceID(AudioDeviceID deviceID);
  static std::shared_ptr<OrvAudioDevice> deviceWithDeviceUID(const std::optional<std::string>& uid);
  /// Stops and removes the I/O proc, whatever the number of starts.
  ~OrvAudioDevice() override;

  // Identity and state.
  AudioDeviceID deviceID() const { return deviceID_; }
  std::optional<std::string> deviceUID() const;
  /// Kept once read.
  std::optional<std::string> name() const;
  std::optional<std::string> manufacturer() const;
  bool isAlive() const;
  bool isRunning() const;
  bool canBeDefaultDevice() const;
  bool canBeDefaultSystemDevice() const;
  bool supportsMixing() const;
  bool jackIsConnected(bool isInput) const;
  bool canBeInputDevice() const;
  bool canBeOutputDevice() const;
  bool isDefaultDevice(bool isInput) const;
  /// Name by manufacturer.
  std::string description() const override;
  /// The reports of `OrvAudioDeviceInfoOutput`: global, then of each section that there is.
  std::string printDeviceInfo();

  // Volume, of one channel.
  bool canSetVolumeDecibels_isInput(std::uint32_t channel, bool isInput) const;
  bool canSetVolumeScalar_isInput(std::uint32_t channel, bool isInput) const;
  bool hasVolumeControl_isInput(std::uint32_t channel, bool isInput) const;
  float volumeDecibels_isInput(std::uint32_t channel, bool isInput) const;
  float volumeScalar_isInput(std::uint32_t channel, bool isInput) const;
  bool setVolumeDecibels_forChannel_isInput(float decibels, std::uint32_t channel, bool isInput) const;
  bool setVolumeScalar_forChannel_isInput(float scalar, std::uint32_t channel, bool isInput) const;
  std::shared_ptr<OrvAudioValueRange> volumeRangeDecibels_isInput(std::uint32_t channel, bool isInput) const;
  /// What the hardware answers for its translation property when no value to translate is passed in.
  float volumeScalarToDecibels_isInput(std::uint32_t channel, bool isInput) const;
  float volumeDecibelsToScalar_isInput(std::uint32_t channel, bool isInput) const;

  // Mute: is read from the input section and written to the output section.
  bool canMute() const;
  bool isMuted() const;
  bool mute(bool muted) const;

  // Data sources: line, microphone, …

  /// The IDs and a 0 behind the last; only the 0 when they can't be read. The caller frees it.
  std::uint32_t* dataSourceIDs(bool isInput) const;
  std::optional<std::string> dataSourceNameForID_isInput(std::uint32_t sourceID, bool isInput) const;
  /// In the order of the IDs. One without a name is "Unnamed data source" and its place, counted from 0.
  std::vector<std::string> dataSourceNames(bool isInput) const;
  std::uint32_t currentDataSourceID(bool isInput) const;
  bool canSetCurrentDataSourceID(bool isInput) const;
  bool setCurrentDataSourceID_isInput(std::uint32_t sourceID, bool isInput) const;
  std::optional<std::string> currentDataSourceName(bool isInput) const;

  // Sample rates, in Hz, and formats. A format that can't be read is all zero.
  double nominalSampleRate(bool isInput) const;
  double actualSampleRate(bool isInput) const;
  std::vector<std::shared_ptr<OrvAudioValueRange>> availableNominalSampleRates(bool isInput) const;
  std::shared_ptr<OrvAudioStreamBasicDescription> actualStreamFormat_isInput(std::uint32_t channel,
                                                                             bool isInput) const override;
  std::shared_ptr<OrvAudioStreamBasicDescription> physicalStreamFormat_isInput(std::uint32_t channel,
                                                                               bool isInput) const;
  bool canSetActualStreamFormat_isInput(std::uint32_t channel, bool isInput) const;
  bool canSetPhysicalStreamFormat_isInput(std::uint32_t channel, bool isInput) const;
  /// False for null.
  bool setActualStreamFormat_forChannel_isInput(const std::shared_ptr<OrvAudioStreamBasicDescription>& format,
                                                std::uint32_t channel, bool isInput) const;
  bool setPhysicalStreamFormat_forChannel_isInput(const std::shared_ptr<OrvAudioStreamBasicDescription>& format,
                                                  std::uint32_t channel, bool isInput) const;
  std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> streamFormats_isInput(std::uint32_t channel,
                                                                                     bool isInput) const;
  /// The closest format that the device has; null where it refuses.
  std::shared_ptr<OrvAudioStreamBasicDescription> findMatchingStreamFormat_forChannel_isInput(
      const std::shared_ptr<OrvAudioStreamBasicDescription>& format, std::uint32_t channel, bool isInput) const;

  // Streams and buffering.

  /// As `dataSourceIDs`.
  AudioStreamID* streamIDs(bool isInput) const;
  std::vector<std::shared_ptr<OrvAudioStream>> streams(bool isInput);
  /// One buffer without data for each stream.
  std::shared_ptr<OrvAudioBufferList> streamConfiguration(bool isInput) const;
  std::uint32_t numberOfStreams(bool isInput) const;
  std::uint32_t numberOfChannels(bool isInput) const;
  /// The channels for left and right, counted from 1; null when they can't be read. The caller frees it.
  std::uint32_t* preferredChannelsForStereo(bool isInput) const;
  std::shared_ptr<OrvAudioChannelLayout> channelLayout(bool isInput) const;
  std::uint32_t transportType(bool isInput) const;    ///< four-character code
  std::uint32_t latency(bool isInput) const;          ///< frames
  std::uint32_t bufferSize(bool isInput) const;       ///< bytes in a cycle
  std::uint32_t bufferFrameSize(bool isInput) const;  ///< frames in a cycle
  std::uint32_t safetyOffset(bool isInput) const;     ///< frames

  // Meters, made when they are first asked for.

  /// This object's.
  std::shared_ptr<OrvVUMeterDataProvider> inputVUMeterDataProvider();
  /// One for the whole process, of the device that was asked first.
  std::shared_ptr<OrvVUMeterDataProvider> outputVUMeterDataProvider();

  // Cycles: the input's subscribers are called first, then the output's, each in the order in which they subscribed.

  /// Appends a subscriber that is not there yet. From then on it is called in every cycle of a device that runs.
  void addAudioIOSubscriber_forInput(const std::shared_ptr<OrvCoreAudioIOSubscriber>& subscriber, bool isInput);
  /// Takes a subscriber out. What is left of the side's flag is part of the contract: it turns false while subscribers
  /// are left and stays as it is when the last one goes; only `audioIOHandler…` looks at it.
  void removeAudioIOSubscriber_forInput(const std::shared_ptr<OrvCoreAudioIOSubscriber>& subscriber, bool isInput);
  /// The live list itself.
  orv::LiveList<OrvCoreAudioIOSubscriber>& audioSubscribersForInput(bool isInput);
  /// Counts a start; the first one starts the device. Always true; where the hardware refuses, the count is taken back.
  /// In a device's cycle, `start` and `stop` are real-time safe: the main thread does it soon afterwards.
  bool start();
  /// Counts a stop; the last one stops the device. Always true. One too many is harmless. Where the hardware refuses,
  /// the count is taken back.
  bool stop();
  /// Hands on a cycle of another device: to the subscribers of each section whose flag is set, while this device is
  /// started. Real-time safe.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;

  // Changes, see `OrvAudioDeviceNotifications.h`.

  /// Has the notification that stands for the property posted on the main thread; logs an overload.
  void devicePropertyDidChange_forChannel_isInput(AudioDevicePropertyID property, std::uint32_t channel, bool isInput);
  /// Rebuilds the registry when the list of devices has changed, and has the notification posted on the main thread.
  static void hardwarePropertyDidChange_clientData(AudioHardwarePropertyID property, void* clientData);
  /// Post a notification at once, with the device or `classObject` as sender. Main thread.
  void threadCallbackForDelegateMethods(const std::string& notificationName);
  static void threadCallbackForHardwarePropertyChanges(const std::string& notificationName);

  /// Kept. Told by the operations below as far as it derives from the interfaces of `OrvAudioDeviceDelegate.h`.
  void setDelegate(const std::shared_ptr<OrvObject>& delegate);
  std::shared_ptr<OrvObject> delegate() const;
  /// Pass a notification on to the delegate. The host calls these, from its observers; the framework never does.
  void inputStreamFormatDidChange(const orv::Notification& notification) const;
  void outputStreamFormatDidChange(const orv::Notification& notification) const;
  void inputDataSourceDidChange(const orv::Notification& notification) const;
  void outputDataSourceDidChange(const orv::Notification& notification) const;
  void inputVolumeDidChange(const orv::Notification& notification) const;
  void outputVolumeDidChange(const orv::Notification& notification) const;

 private:
  explicit OrvAudioDevice(AudioDeviceID deviceID);
  static bool rebuildRegistry();
  static std::shared_ptr<OrvAudioDevice> make(AudioDeviceID deviceID);
  static void destroy(OrvAudioDevice* device) noexcept;
  void connect();
  std::optional<std::string> keptText(AudioDevicePropertyID property, std::optional<std::string>* kept) const;

  // The client data of the first two is the device. The hardware waits for a proc and for a listener before it lets
  // them go, so the pointer is good while they run; but the last reference may be gone, and only `weak_from_this`
  // knows.
  static OSStatus ioProc(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* input,
                         const AudioTimeStamp* inputTime, AudioBufferList* output, const AudioTimeStamp* outputTime,
                         void* clientData);
  static OSStatus devicePropertyCallback(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                         AudioDevicePropertyID property, void* clientData);
  static OSStatus hardwarePropertyCallback(AudioHardwarePropertyID property, void* clientData);

  const AudioDeviceID deviceID_;

  mutable std::mutex cacheLock;
  mutable std::optional<std::string> deviceName;          // guarded by cacheLock
  mutable std::optional<std::string> deviceManufacturer;  // guarded by cacheLock
  std::shared_ptr<OrvVUMeterDataProvider> inputProvider;  // guarded by cacheLock

  mutable std::mutex subscriberLock;
  std::shared_ptr<OrvObject> _delegate;  // guarded by subscriberLock
  orv::LiveList<OrvCoreAudioIOSubscriber> inputSubscribersArray;
  orv::LiveList<OrvCoreAudioIOSubscriber> outputSubscribersArray;
  std::atomic<bool> hasInputSubscribers{false};
  std::atomic<bool> hasOutputSubscribers{false};
  std::atomic<std::int32_t> startCalls{0};  // written by start and stop, one at a time
};
