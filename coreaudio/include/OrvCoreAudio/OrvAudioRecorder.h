#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioProcessor.h"
#include "OrvCoreAudio/OrvAudioRecorderNotifications.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/ConditionLock.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/LiveList.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"

class OrvCaptureBuffer;
class OrvCaptureQueue;
class OrvCaptureWriter;

/// Records the input of one device into one file.
///
///   device's cycle ─► processor ─► capture buffers ─► saver thread ─► converter ─► file
///
/// There are two ways to record. `startRecording` and `finishRecording` keep every frame, never touch a file that
/// exists unless told to, and say what is wrong. `record` and `stop` write whole capture buffers only, 384 KiB each,
/// and leave what has not filled one; they write into a file that exists, and do not look at failures.
///
/// A cycle only copies. The capture buffers hold two seconds (256 MiB at most), so that a disk may stall; when they are
/// full all the same the block is refused, counted and told, and nothing that waits is overwritten. While the disk
/// keeps up, a recording by `startRecording` has a fifth of a second in memory, and the file's header follows twice a
/// second: a process that is killed leaves a file that opens, with all but the last second.
///
/// A change of the device's sample rate is heard of on the main thread. What the device delivers until then is in the
/// file too.
///
/// States: 1 ready, 2 recording, 3 paused, 4 stopped. A recorder makes one recording, with any number of pauses. While
/// it records, the device keeps it. It may be released at any moment and on any thread.
///
/// Control operations are thread-safe and may wait for the disk. Those that start and end a recording may be called in
/// a device's cycle: they answer true, and the main thread does it. The file object is the saver's while the recorder
/// records.
class ORV_API OrvAudioRecorder final : public OrvObject,
                                       public OrvCoreAudioIOSubscriber,
                                       public std::enable_shared_from_this<OrvAudioRecorder> {
 public:
  using Device = std::shared_ptr<OrvAudioDevice>;
  using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;

  /// @name Making a recorder
  /// Null without a device, memory or a thread. The formats are the device's: of the samples that it delivers, and for
  /// the file the physical one.
  static std::shared_ptr<OrvAudioRecorder> initWithAudioDevice(const Device& device);
  static std::shared_ptr<OrvAudioRecorder> initWithAudioDevice_filePath(const Device& device,
                                                                        const std::optional<std::string>& path);
  /// Records into `file`, which is closed first. `audioFilePath` stays empty. `startRecording` gives the file its own
  /// type and format, where it has one; that is how anything but AIFF is recorded.
  static std::shared_ptr<OrvAudioRecorder> initWithAudioDevice_audioFile(const Device& device,
                                                                         const std::shared_ptr<OrvAudioFile>& file);
  /// A recording that was begun by `startRecording` is finished; any other one stopped.
  ~OrvAudioRecorder() override;

  /// Where `record` puts a recording that has no path, for all recorders; "/tmp/" to begin with.
  static void setTemporaryDirectory(const std::optional<std::string>& path);

  /// @name Settings
  void setAudioFilePath(const std::optional<std::string>& path);
  void setAudioFilePath_withFileStreamFormat(const std::optional<std::string>& path, const Format& format);
  /// Ignored without a format, like every change of formats while a recording by `startRecording` is under way.
  void setDeviceStreamFormat(const Format& format);
  /// Keeps the format, and normalises it as it is. Always true.
  bool setFileStreamFormat(const Format& format);
  /// Makes linear PCM big-endian, with no other flags than that, the kind of sample and packed.
  static void normalizeFileStreamFormat(const Format& format);
  /// Stops, and takes the device and its formats. Ignored without a device.
  void setInputDevice(const Device& device);
  /// Treats each block before it is kept; null for none. Released when no cycle uses it any more.
  void setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor);
  std::shared_ptr<OrvAudioProcessor> audioProcessor() const;
  void setEventMask(std::uint32_t mask) { _eventMask = mask; }
  std::uint32_t eventMask() const { return _eventMask; }
  /// Tells of the first block and of every n-th from there; 0 counts as 1.
  void setNotificationInterval(std::uint32_t interval) { notificationInterval = interval; }
  /// For `startRecording`: whether a file that is there may be replaced. Not to begin with.
  void setReplacesExistingFile(bool replaces) { replacesExistingFile_ = replaces; }
  /// Takes so many frames of the device and no more, and then finishes as `finishRecording`, on the main thread. 0: no
  /// limit.
  void setFrameLimit(std::uint64_t frames) { frameLimit_ = frames; }

  std::shared_ptr<OrvAudioFile> audioFile() const;
  std::optional<std::string> audioFilePath() const;
  Device inputDevice() const;
  AudioDeviceID inputDeviceID() const;
  Format inputDeviceStreamFormat() const;
  /// The file's; null before there is one. The fields below are 0 then.
  Format fileStreamFormat() const;
  double sampleRate() const;  ///< Hz
  std::uint32_t formatID() const;
  std::optional<std::string> formatIDName() const;
  std::uint32_t formatFlags() const;
  std::uint32_t bytesPerPacket() const;
  std::uint32_t framesPerPacket() const;
  std::uint32_t bytesPerFrame() const;
  std::uint32_t channelsPerFrame() const;
  std::uint32_t bitsPerChannel() const;

  /// As the file's. False without a file.
  bool moveToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler);
  bool copyToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler);

  /// @name Recording that keeps every frame
  /// Makes the file, in the file format, and starts. From a pause: goes on. False, with `lastProblem`, and the recorder
  /// as it was, when there is no path, the file exists, can't be made, or the device has no input or doesn't start.
  bool startRecording();
  /// Stops, and returns when every frame that the device delivered is in the file, the resampler's last ones included,
  /// and the file is closed; then the stop is told. True when all of them are there; `lastProblem` says what is not.
  /// False where nothing is recorded or paused.
  bool finishRecording();

  /// @name Recording
  /// Ready or paused, else false. Without a path records to "audiotemp.aif" in the temporary directory, whose older
  /// file is removed. A file that exists is written into from its beginning. The device's answer is returned.
  bool record();
  /// While recording, else false. The device's answer is returned.
  bool pause();
  /// Recording or paused, else false. Whole capture buffers are in the file when it returns; what is in the one that is
  /// being filled is not written. From a pause it takes back one more start of the device, which others may need. The
  /// device's answer is returned.
  bool stop();
  /// Stopped, else false. Empties the capture buffer; the file is closed already and takes nothing.
  bool flush();
  /// Stops so many seconds from now, unless it is paused or stopped before. Whether that was arranged. Main thread.
  bool recordForDuration(double seconds);
  /// What the timer does: ends the recording in the way that it was begun, and forgets the timer.
  void timerStop(const std::shared_ptr<orv::Timer>& timer);

  /// @name What has become of it. Thread-safe; the first five real-time safe
  bool isRecording() const { return recorderState == kRecording; }
  std::uint64_t recordedFrames() const { return recordedLengthInFrames; }  ///< of the device, that were taken
  std::uint32_t lengthInFrames() const { return static_cast<std::uint32_t>(recordedLengthInFrames.load()); }
  std::uint64_t droppedBlocks() const { return droppedBlocks_; }
  std::uint64_t droppedFrames() const { return droppedFrames_; }
  /// Frames in bytes of the file's format. The device's frames, whatever the rate of the file.
  std::uint64_t lengthInBytes() const;
  std::uint64_t lengthInMilliSeconds() const;
  /// What went wrong first, and how much is missing, in one line for the person who uses the program; empty if nothing
  /// did.
  std::string lastProblem() const;
  std::string dumpDebugInfo();

  /// @name On the device's thread. Real-time safe, unless a block is larger than any that the device announced
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;
  /// Appends to the capture buffers. `*length`: bytes, then bytes taken: all of them, or none, and false.
  bool insertIntoBuffer_length(const void* bytes, std::uint32_t* length) noexcept;
  /// Has a notification posted on the main thread: that of a sample every so many times, any other one always.
  void notifyCallback(const char* name) noexcept;
  /// Posts a notification about this recorder, at once.
  void threadCallback(const std::string& name);

 private:
  enum State : std::int32_t { kConstructed = 0, kReady = 1, kRecording = 2, kPaused = 3, kStopped = 4 };

  OrvAudioRecorder();
  static void destroy(OrvAudioRecorder* recorder) noexcept;
  template <typename Answer>
  Answer fileField(Answer (OrvAudioFile::*field)() const) const;
  bool isUnderWay() const { return recorderState == kRecording || recorderState == kPaused; }

  // Control operations, under controlLock.
  bool setUp(const Device& device);
  void takeFormatsOfDevice();
  void converterSetup();
  bool setConverterTo(const Format& fileFormat);
  void openTarget();
  bool makeTarget();
  void dropTarget(const std::shared_ptr<OrvAudioFile>& fileBefore);
  bool refuse(const std::string& problem);
  bool beginCapture();
  bool beginCaptureForSure();
  void tellStart();
  void makeRoomForDevice();
  bool stopDevice();
  void takeBackSubscription();
  bool stopNow();
  bool finishNow();
  void endNow();
  void endTimer();
  void handOverRest();
  void waitForSaver();
  void closeFile();
  static std::string problemOf(const OrvAudioFile& file);

  // Main thread.
  void watchDevice();
  void deviceMayHaveChanged();
  void reportDroppedBlocks();
  std::string droppedBlocksText() const;
  void endInterrupted();

  // Any thread.
  void interrupt(const std::string& problem);
  void rememberProblem(const std::string& problem);
  void forgetProblem();
  /// Has a function without captures called with this recorder. Real-time safe.
  template <typename Perform>
  bool leaveToMainThread(Perform /*perform*/) noexcept {
    orv::LoopCall call;
    call.perform = [](const orv::LoopCall& made) { Perform{}(*static_cast<OrvAudioRecorder*>(made.receiver.get())); };
    return post(std::move(call), orv::LoopPriority::state);
  }
  bool post(orv::LoopCall call, orv::LoopPriority priority) noexcept;

  // I/O thread, and whoever holds rawByteBufferLock.
  void capture(const AudioBuffer& block) noexcept;
  bool append(const void* bytes, std::uint32_t* length) noexcept;
  const void* process(OrvAudioProcessor& processor, const AudioBuffer& block, std::uint32_t* frames) noexcept;
  bool growProcessingBuffer(std::uint32_t size) noexcept;
  void countDropped(std::uint64_t frames) noexcept;

  // Saver thread.
  void saveBufferRunLoop();
  void convertBufferAndSaveToFile();
  bool save(OrvCaptureBuffer& buffer);

  // Lock order: controlLock, savingLock, fieldLock.
  mutable std::recursive_mutex controlLock;
  mutable std::mutex savingLock;
  mutable std::mutex fieldLock;

  std::unique_ptr<OrvCaptureQueue> queue_;    // each of its operations says whose it is
  std::unique_ptr<OrvCaptureWriter> writer_;  // guarded by savingLock
  bool savingFailed_ = false;                 // guarded by savingLock
  std::shared_ptr<OrvAudioFile> _audioFile;   // guarded by savingLock

  // Changed under controlLock and fieldLock.
  std::optional<std::string> _audioFilePath;
  Device _inputDevice;
  Format _sourceFormat;
  Format _destinationFormat;
  std::string lastProblem_;  // guarded by fieldLock alone

  // Guarded by controlLock.
  std::uint32_t leftChannel = 1;
  std::uint32_t rightChannel = 0xFFFFFFFF;
  bool useAudioFileCache = false;
  std::shared_ptr<orv::Timer> recordingTimer;  // its last reference is given up by the main thread
  std::vector<orv::Observation> deviceChanges_;
  Format watchedFormat_;

  orv::LiveList<OrvAudioProcessor> _audioProcessor;
  std::unique_ptr<std::byte[]> audioProcessingBuffer;  // guarded by rawByteBufferLock
  std::uint32_t audioProcessingBufferSize = 0;         // bytes; guarded by rawByteBufferLock

  std::atomic<std::int32_t> recorderState{kConstructed};
  std::atomic<std::uint64_t> recordedLengthInFrames{0};
  std::atomic<std::uint64_t> frameLimit_{0};
  std::atomic<std::uint64_t> droppedBlocks_{0};
  std::atomic<std::uint64_t> droppedFrames_{0};
  std::atomic<std::uint32_t> _eventMask{15};
  std::atomic<std::uint32_t> notificationCount{0};
  std::atomic<std::uint32_t> notificationInterval{1};
  std::atomic<std::uint32_t> expectedChannels_{0};  // 0: any number
  std::atomic<bool> keepsEveryFrame_{false};        // begun by startRecording
  std::atomic<bool> replacesExistingFile_{false};
  std::atomic<bool> dropsAreTold_{false};
  std::atomic<bool> isInterrupted_{false};
  std::atomic<bool> startIsTold_{false};
  std::atomic<bool> isOver_{false};  // no more blocks are taken
  std::atomic<bool> _isFlushing{false};
  std::atomic<bool> threadShouldExit{false};
  orv::ConditionLock threadRunLock{1};      // 0: buffers were handed over, 1: the saver has nothing to do
  orv::ConditionLock rawByteBufferLock{1};  // always 1: a mutex that the I/O thread only ever tries
  std::thread saver_;
};
