#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvCoreAudio/OrvVUMeterData.h"
#include "OrvPlatform/Export.h"

/// What a player posts to `orv::NotificationCenter::defaultCenter()` on the main thread, with itself as the object. The
/// text of each is its name.
extern "C" {
ORV_API extern const char* const OrvAudioPlayerFinishedPlayingNotification;
ORV_API extern const char* const OrvAudioPlayerStartedPlayingNotification;
ORV_API extern const char* const OrvAudioPlayerStoppedPlayingNotification;
ORV_API extern const char* const OrvAudioPlayerPlayedSampleNotification;
}

class ConvertedFrames;
class CycleGate;

/// Plays an audio file on an output device.
///
///   file ─► converter ─► two buffers ─► device's cycle: [processor] ─► [volume] ─► left and right channel ─► peaks
///           (filler thread)
///
/// Positions of the public operations are frames of the file. Inside they are frames at the device's rate, and each way
/// goes over seconds in single precision: a position comes back as a frame nearby, and `playFromFrame:endFrame:` rounds
/// where it begins and ends, plays its last cycle to the end and starts no more once a file has ended, unless
/// `currentFrameOffset` is asked. `playExactlyFromFrame_endFrame` plays the frames that it is given and no others.
///
/// Of a device of more than two channels, those for left and right play the file in stereo, the others stay silent.
///
/// When the filler does not come in time, a cycle is silent and playing goes on with the frame that was due: no audio
/// is lost. The device's subscription does not keep the player: when the last reference goes, on whatever thread,
/// playing ends. A player that was made without what it needs is in its default state: everything is 0, null or false.
///
/// One control thread at a time, and not from inside a cycle, except where said otherwise. Not real-time safe, except
/// where said otherwise: moving to another place reads the file on the thread that asks.
class ORV_API OrvAudioPlayer final : public OrvObject,
                                     public OrvCoreAudioIOSubscriber,
                                     public std::enable_shared_from_this<OrvAudioPlayer> {
 public:
  // Bits of the event mask.
  static constexpr std::uint32_t kEventFinished = 1;
  static constexpr std::uint32_t kEventStarted = 2;  ///< and `OrvVUMeterDataProviderDidStartNotification`
  static constexpr std::uint32_t kEventStopped = 4;  ///< and `OrvVUMeterDataProviderDidStopNotification`
  static constexpr std::uint32_t kEventPlayedSample = 8;

  /// In its default state for a null device.
  static std::shared_ptr<OrvAudioPlayer> initWithAudioDevice(const std::shared_ptr<OrvAudioDevice>& device);
  /// In its default state when either is null. A file that can't be opened counts as an empty one.
  static std::shared_ptr<OrvAudioPlayer> initWithAudioDevice_pathToFile(const std::shared_ptr<OrvAudioDevice>& device,
                                                                        const std::optional<std::string>& path);
  /// Takes the file over: it is rewound and opened for reading.
  static std::shared_ptr<OrvAudioPlayer> initWithAudioDevice_audioFile(const std::shared_ptr<OrvAudioDevice>& device,
                                                                       const std::shared_ptr<OrvAudioFile>& file);
  /// Ends playing without a notification, and takes the subscription back.
  ~OrvAudioPlayer() override;

  /// @name What is played, on what, and how
  /// Closes the old file. Playing ends, without a notification, and the position is the begin. Null changes nothing.
  void setAudioFilePath(const std::optional<std::string>& path);
  std::optional<std::string> audioFilePath() const;
  /// Stops first. The preferred channels are not asked for anew. Null and the device that it is change nothing.
  void setOutputDevice(const std::shared_ptr<OrvAudioDevice>& device);
  std::shared_ptr<OrvAudioDevice> outputDevice() const { return _outputDevice; }
  AudioDeviceID outputDeviceID() const;
  /// Takes effect with the next cycle; null is none.
  void setVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control);
  std::shared_ptr<OrvSoftwareVolumeControl> volumeControl() const { return _volumeControl; }
  /// Of the volume control; nothing without one.
  void setVolumeDecibels(float decibels);
  void setVolumeScalar(float scalar);
  /// Takes effect with the next cycle; null is none. Its `reset` is called when the position jumps.
  void setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor);
  std::shared_ptr<OrvAudioProcessor> audioProcessor() const { return _audioProcessor; }
  std::shared_ptr<OrvAudioStreamBasicDescription> audioFileStreamFormat() const;
  std::shared_ptr<OrvAudioStreamBasicDescription> outputDeviceStreamFormat() const;
  /// Which notifications are sent; all to begin with.
  void setEventMask(std::uint32_t mask) { _eventMask = mask; }
  std::uint32_t eventMask() const { return _eventMask; }
  /// Peaks and the played-sample notification come in every so many cycles, and share the count: with both, an interval
  /// of 2 leaves the peaks out. 0: neither comes. Thread-safe.
  void setNotificationInterval(std::uint32_t interval) { notificationInterval = interval; }
  /// Kept and told; mixing does not look at it.
  void setAlwaysMixToStereo(bool mix) { alwaysMixToStereo_ = mix; }
  bool alwaysMixToStereo() const { return alwaysMixToStereo_; }
  /// Always false.
  bool shouldPlay() const { return _shouldPlay; }

  /// @name Playing
  bool isPlaying() const { return _isPlaying; }  ///< thread-safe
  /// Cycles so far that were silent, in whole or in part, because the filler had not come. Thread-safe.
  std::uint64_t lateCycles() const { return lateCycles_; }
  /// Frames of the device that exact playing has left out so far because the file gave less than its length.
  /// Thread-safe.
  std::uint64_t missingFrames() const { return missingFrames_; }
  /// Whether as much is converted ahead as there is room for, or all that is left. Thread-safe, real-time safe. Where
  /// the device runs faster than audio is heard, a cycle that waits for it loses nothing to silence.
  bool isConvertedAhead() const noexcept;
  /// From the current position to the end. Asks `currentFrameOffset`, so that a file that has ended plays again.
  bool play();
  bool playFromFrame(std::uint32_t begin);
  /// Frames of the file from `begin`, up to `end` or the end of the file. False, and nothing changed, for an end before
  /// the begin. Whether it plays.
  bool playFromFrame_endFrame(std::uint32_t begin, std::uint32_t end);
  /// The same to the frame: what comes behind `end` in the last cycle is silent; positions are not rounded, except to
  /// the device's frames; a file that has ended plays again; with a volume control the channels of any file get where
  /// they belong. False, with a line in the log, also where there is nothing that could be heard: no device, no file,
  /// or formats that can't be converted.
  bool playExactlyFromFrame_endFrame(std::uint32_t begin, std::uint32_t end);
  /// Where the device refuses, false, and no notification. True when it does not play.
  bool stop();
  /// The position is the begin.
  void rewind();
  /// Moves to a frame of the file, at once where it plays.
  void setCurrentFrameOffset(std::uint32_t frame);
  /// Forgets, too, that the end of the file was met.
  std::uint32_t currentFrameOffset();
  /// The same to the frame, where both rates are one, and else to a frame of the device: playing exactly from there
  /// goes on where it was stopped. Never behind the end of the file.
  std::uint32_t exactFrameOffset() const;
  std::uint32_t remainingFrames();
  std::uint32_t playOut() const;

  /// @name The file; 0 or null without one
  std::uint32_t lengthInFrames();
  std::uint64_t lengthInBytes();
  std::uint64_t lengthInMilliSeconds();
  double sampleRate() const;
  std::uint32_t formatID() const;
  std::optional<std::string> formatIDName() const;
  std::uint32_t formatFlags() const;
  std::uint32_t bytesPerPacket() const;
  std::uint32_t framesPerPacket() const;
  std::uint32_t bytesPerFrame() const;
  std::uint32_t channelsPerFrame() const;
  std::uint32_t bitsPerChannel() const;

  /// A report. Asks `currentFrameOffset`.
  std::string dumpDebugInfo();

  /// @name Offsets between the file and the device, cut to 32 bits
  std::uint32_t calculateFileFrameOffset(std::uint32_t logicalFrame) const;
  std::uint32_t calculateLogicalFrameOffset(std::uint32_t fileFrame) const;
  /// These divide by the bytes per frame of both formats: hosts rely on the numbers.
  std::int64_t calculateFileByteOffset(std::int64_t logicalByte) const;
  std::int64_t calculateLogicalByteOffset(std::int64_t fileByte) const;

  /// @name Cycles and notifications
  /// Largest sample of each channel of `length` bytes of interleaved floats, at least 0: an array of `channels` floats
  /// that the caller frees. Null for no channels. Thread-safe.
  float* findMaxValues_numChannels_length(const float* samples, std::uint32_t channels, std::uint32_t length) const;
  /// Fills the first buffer of the output. Real-time safe.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;
  /// Has `name`, which lasts for ever, posted on the main thread; the played-sample notification when its turn has
  /// come. Real-time safe.
  void notifyCallback(const char* name) noexcept;
  /// Posts a notification about this player. Main thread.
  void threadCallback(const std::string& name);
  /// Posts the record under its name. Main thread.
  void threadCallback2(const std::shared_ptr<OrvVUMeterData>& data);

 private:
  using Format = OrvAudioStreamBasicDescription;
  struct Move;
  struct Cycle;

  OrvAudioPlayer();
  static std::shared_ptr<OrvAudioPlayer> make();
  static void destroy(OrvAudioPlayer* player) noexcept;
  void connect(const std::shared_ptr<OrvAudioDevice>& device);
  void openFile(std::shared_ptr<OrvAudioFile> file);
  void endWithoutNotification();
  void waitForCycle();
  void unsubscribe();

  void updateFileInformation();
  void updateFileStreamFormat(const std::shared_ptr<Format>& format);
  void updateDeviceStreamFormat(const std::shared_ptr<Format>& format);
  void bufferSetup();
  void audioConverterSetup();
  void followDevice();
  void findLeftRightChannelOffsets();

  bool start(const Move& move);
  void moveTo(const Move& move);
  std::uint32_t exactLogicalFrame(std::uint32_t fileFrame) const;

  void playCycle(Cycle& cycle) noexcept;
  void finish() noexcept;
  std::uint32_t fill(Cycle& cycle, std::uint32_t frames) noexcept;
  std::uint32_t consume(Cycle& cycle, float* out, std::size_t room, std::uint32_t frames) noexcept;
  std::uint32_t spread(Cycle& cycle, float* out, std::uint32_t frames) noexcept;
  std::uint32_t process(Cycle& cycle, float* out, std::uint32_t frames) noexcept;
  void mixBuffer(std::uint32_t frames, const std::vector<float>& in, std::uint32_t inChannels, float* out,
                 std::uint32_t outChannels) const noexcept;
  void mix(std::uint32_t frames, const std::vector<float>& in, std::uint32_t inChannels, float* out,
           std::uint32_t outChannels) const noexcept;
  void meter(const Cycle& cycle) noexcept;

  // Changed by the control thread while no cycle is inside the gate: where it does not play, cycles don't look.
  std::shared_ptr<OrvAudioFile> _audioFile;
  std::shared_ptr<OrvAudioDevice> _outputDevice;
  std::shared_ptr<Format> _deviceStreamFormat;
  std::shared_ptr<Format> deviceFormatAsRead_;  // before it was reduced to stereo
  std::uint32_t deviceBytesPerFrame = 0;
  std::uint32_t deviceChannelsPerFrame = 0;
  std::shared_ptr<Format> _fileStreamFormat;
  std::uint32_t fileChannelsPerFrame = 0;
  std::uint32_t logicalLengthInFrames = 0;
  std::uint32_t fileLengthInFrames = 0;
  std::shared_ptr<OrvSoftwareVolumeControl> _volumeControl;
  std::shared_ptr<OrvAudioProcessor> _audioProcessor;
  std::vector<float> audioProcessingBuffer;
  std::vector<float> mixBuffer_;
  std::vector<float> channelMixBuffer;
  std::vector<float> vectorAddBuffer;
  std::uint32_t audioProcessingBufferSize = 0;  // bytes
  std::uint32_t deviceBufferSize_ = 0;          // bytes in a cycle that the buffers were made for
  std::uint32_t convertedBufferSizeInBytes = 0;
  std::uint32_t convertedBufferSizeInFrames = 0;
  std::uint32_t leftChannel = 0;
  std::uint32_t rightChannel = 0;
  std::uint32_t leftSample_ = 0;  // places in a frame of the device
  std::uint32_t rightSample_ = 1;
  bool isExact_ = false;
  bool alwaysMixToStereo_ = false;
  bool _shouldPlay = false;

  // Shared with cycles.
  std::atomic<bool> _isPlaying{false};
  std::atomic<bool> _shouldProvideData{false};
  std::atomic<std::int64_t> _currentOffset{0};  // written in a cycle, or with the gate held
  std::atomic<std::uint32_t> _playOut{0};       // as above
  std::atomic<std::uint32_t> _eventMask{0};
  std::atomic<std::uint32_t> notificationCount{0};
  std::atomic<std::uint32_t> notificationInterval{0};
  std::atomic<std::uint64_t> lateCycles_{0};
  std::atomic<std::uint64_t> missingFrames_{0};
  std::shared_ptr<OrvVUMeterData> _meterData;

  const std::unique_ptr<CycleGate> gate_;
  std::unique_ptr<ConvertedFrames> converted_;
};
