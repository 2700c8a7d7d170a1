#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioPlayer.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvCoreAudio/OrvVUMeterData.h"
#include "OrvPlatform/AudioUnit.h"
#include "OrvPlatform/Export.h"

class FileFeed;
class GraphSources;
namespace orv {
class ConditionLock;
}

/// Plays an audio file through audio units: the output unit pulls, and so drives everything.
///
///   file ─► read-ahead ─► floats ─► processor ─► converter unit ─► volume ─► output unit ─► device
///           (own thread)  └──────── FileReadProc ───────┘└─ AudioProcessingProc ─┘
///
/// Positions are frames of the file; the converter unit sees to the device's rate and channels. What has been pulled
/// counts as played, also while it is still inside the converter. It posts what `OrvAudioPlayer` posts, but for peaks
/// and the played-sample notification, which never come by themselves.
///
/// `playFromFrame:endFrame:` ends with the first slice that begins behind the end: that slice and the rest of the one
/// before it are heard. `playExactlyFromFrame_endFrame` plays the frames that it is given and no others.
///
/// When the disk is late, a cycle is silent and playing goes on with the frame that was due. When the last reference
/// goes, on whatever thread, playing ends. A player that was made without what it needs is in its default state.
///
/// Thread-safe; not real-time safe except where said otherwise. From inside a cycle `stop` is left to the main thread
/// and answers true; the others that would change something do nothing there.
class ORV_API OrvAUAudioPlayer final : public OrvObject, public std::enable_shared_from_this<OrvAUAudioPlayer> {
 public:
  // Bits of the event mask, as those of `OrvAudioPlayer`.
  static constexpr std::uint32_t kEventFinished = 1;
  static constexpr std::uint32_t kEventStarted = 2;
  static constexpr std::uint32_t kEventStopped = 4;
  static constexpr std::uint32_t kEventPlayedSample = 8;

  /// Without a file. In its default state for a null device.
  static std::shared_ptr<OrvAUAudioPlayer> initWithAudioDevice(const std::shared_ptr<OrvAudioDevice>& device);
  /// In its default state when either is null. With a file that can't be opened nothing plays.
  static std::shared_ptr<OrvAUAudioPlayer> initWithAudioDevice_pathToFile(const std::shared_ptr<OrvAudioDevice>& device,
                                                                          const std::optional<std::string>& path);
  /// Ends playing, without a notification.
  ~OrvAUAudioPlayer() override;

  /// Closes the old file, and begins at the new one's begin. Playing ends, without a notification. Null changes
  /// nothing.
  void setAudioFilePath(const std::optional<std::string>& path);
  /// Stops first. Null and the device that it is change nothing. The position is the begin.
  void setOutputDevice(const std::shared_ptr<OrvAudioDevice>& device);
  std::shared_ptr<OrvAudioDevice> outputDevice() const;
  void setVolumeScalar(float scalar);
  float volumeScalar() const;  ///< 0 in the default state
  /// Gets the file's rate and channels. When this returns, the old one is not in use any more. Null takes it out; then
  /// the file's samples are played as they are.
  void setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor);

  /// From the current position to the end.
  bool play();
  bool playFromFrame(std::uint32_t begin);
  /// From `begin`, up to `end` or the end of the file. False, and nothing changed, for an end before the begin. Whether
  /// it plays.
  bool playFromFrame_endFrame(std::uint32_t begin, std::uint32_t end);
  /// The same to the frame.
  bool playExactlyFromFrame_endFrame(std::uint32_t begin, std::uint32_t end);
  /// Whether the hardware agreed; true when it does not play.
  bool stop();
  /// The position and the begin of the range are 0, and the processor is reset.
  void rewind();
  bool isPlaying() const;
  /// Cycles so far that were silent, in whole or in part, because the disk was late. Thread-safe.
  std::uint64_t lateCycles() const { return lateCycles_; }
  /// Whether enough is read ahead that nothing more is asked for yet, or all that is left. Thread-safe, real-time safe.
  bool isReadAhead() const noexcept;
  /// Another position, also while it plays, and the processor is reset. Nothing for the position that it is.
  void setCurrentFrameOffset(std::uint32_t frame);
  std::uint32_t currentFrameOffset() const;

  /// Which notifications are sent; all to begin with.
  void setEventMask(std::uint32_t mask) { mEventMask = mask; }
  std::uint32_t eventMask() const { return mEventMask; }
  /// Thins the played-sample notification; 0: it does not come.
  void setNotificationInterval(std::uint32_t interval) { mNotificationInterval = interval; }

  /// @name Graph
  void initializeGraph();
  void setupGraph();
  void makeGraph();
  void setOutputDeviceAsCurrent(AudioDeviceID device);
  void setupAudioFormats();
  /// Nothing is connected: the output unit gets to the converter unit through `audioProcessingProc…`. 0.
  OSStatus connectAudioUnits() { return noErr; }
  void destroyGraph();
  /// Applies the volume in place. Real-time safe.
  OSStatus audioProcessingProc_timeStamp_busNumber_numberOfFrames_data(const AudioUnitRenderActionFlags* flags,
                                                                       const AudioTimeStamp* timeStamp,
                                                                       std::uint32_t bus, std::uint32_t frames,
                                                                       AudioBufferList* data) noexcept;
  /// Has the processor process; false without one. Real-time safe where the processor is.
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames);

  /// @name Notifications. As those of `OrvAudioPlayer`
  void notifyCallback(const char* name) noexcept;  ///< real-time safe
  void threadCallback(const std::string& name);    ///< main thread
  void threadCallback2(const std::shared_ptr<OrvVUMeterData>& data);

 private:
  using Format = OrvAudioStreamBasicDescription;

  OrvAUAudioPlayer();
  static std::shared_ptr<OrvAUAudioPlayer> make();
  static void destroy(OrvAUAudioPlayer* player) noexcept;
  bool connect(const std::shared_ptr<OrvAudioDevice>& device);
  void openFile(const std::string& path);
  void closeFile();
  void updateFileStreamFormat(const std::shared_ptr<Format>& format);
  void updateDeviceStreamFormat(const std::shared_ptr<Format>& format);
  void updateFileInformation();

  bool start(std::uint32_t begin, std::uint32_t end, bool isExact);
  bool stopNow();
  bool graphRuns() const;
  void moveTo(std::uint32_t frame);
  void fillConverterUnit();
  void readAhead();
  void finishFromCycle() noexcept;
  void finish(std::uint64_t play);

  static OSStatus FileReadProc(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                               std::uint32_t bus, std::uint32_t frames, AudioBufferList* data);
  static OSStatus AudioProcessingProc(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                                      std::uint32_t bus, std::uint32_t frames, AudioBufferList* data);
  OSStatus readFile(std::uint32_t frames, AudioBufferList* data) noexcept;
  OSStatus renderSlice(AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp, std::uint32_t bus,
                       std::uint32_t frames, AudioBufferList* data) noexcept;

  // Guarded by transportLock, except where cycles look at them while nothing can change: units, formats.
  mutable std::recursive_mutex transportLock;
  std::shared_ptr<OrvAudioDevice> mOutputDevice;
  std::shared_ptr<OrvAudioFile> mInputAudioFile;
  std::shared_ptr<OrvSoftwareVolumeControl> mVolumeControl;  // constant after construction
  std::shared_ptr<OrvVUMeterData> mMeterData;
  std::shared_ptr<Format> mDeviceStreamFormat;
  std::shared_ptr<Format> mFileStreamFormat;
  std::uint32_t mFileLengthInFrames = 0;
  std::uint32_t mPlayInSampleTime = 0;
  AudioStreamBasicDescription mAUSourceFloatFormat{};
  AudioStreamBasicDescription mAUDestinationFormat{};
  AudioStreamBasicDescription mAUInternalFormat{};
  AUGraph mGraph = nullptr;
  AudioUnit mInputUnit = nullptr;
  AudioUnit mOutputUnit = nullptr;  // owned by the graph
  AUNode mOutputNode = 0;
  bool mIsInitializeable = false;
  bool isDeviceSet_ = false;
  std::uint32_t leadInLeft_ = 0;     // frames of silence that still go before the file
  bool isLate_ = false;              // in this cycle
  std::uint32_t framesPulled_ = 0;   // by the converter unit, lead-in included
  std::uint32_t leadOutFrames_ = 0;  // frames of silence behind the file; 0 where nothing is resampled

  // Shared with cycles.
  const std::unique_ptr<GraphSources> source_;
  std::atomic<std::uint32_t> mSampleTime{0};  // where there is no feed
  std::atomic<std::uint32_t> leadOutLeft_{0};
  std::atomic<std::uint64_t> lateCycles_{0};
  std::atomic<bool> mHasBeenStopped{false};
  std::atomic<bool> mShouldProvideData{false};
  std::atomic<std::uint32_t> mEventMask{0};
  std::atomic<std::uint32_t> mNotificationCount{0};
  std::atomic<std::uint32_t> mNotificationInterval{0};

  // The thread that reads ahead.
  const std::unique_ptr<orv::ConditionLock> readAheadLock_;
  std::atomic<bool> shouldExit_{false};
  std::thread reader_;
};
