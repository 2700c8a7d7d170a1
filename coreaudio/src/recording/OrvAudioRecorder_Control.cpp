// Start, pause, end.
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "recording/OrvCaptureQueue.h"
#include "recording/OrvCaptureWriter.h"

namespace {

constexpr std::uint32_t kStartedBit = 1;
constexpr std::uint32_t kStoppedBit = 2;
constexpr std::uint32_t kPausedBit = 8;

constexpr const char* kTemporaryName = "audiotemp.aif";

/// How long the disk may stall; and the memory that this takes at least and at most. A device whose clock is
/// accelerated fills the least one in no time.
constexpr double kSecondsInMemory = 2.0;
constexpr double kFewestBuffers = 16;
constexpr double kMostBytesInMemory = 256.0 * 1024 * 1024;

/// How much of a recording that keeps every frame may wait for the saver, and so be lost with the process. The file's
/// header follows half a second later at most.
constexpr double kSecondsUnsaved = 0.2;

constexpr std::uint32_t kSmallestHandOver = 4096;
constexpr double kMostProcessingBytes = 64.0 * 1024 * 1024;

/// `object` without a share in keeping it, for operations that want such a pointer in a destructor.
std::shared_ptr<OrvCoreAudioIOSubscriber> unowned(OrvCoreAudioIOSubscriber* object) {
  return {std::shared_ptr<void>(), object};
}

struct TemporaryDirectory {
  std::mutex lock;
  std::string path = "/tmp/";
};

/// The class's, for as long as there is a process.
TemporaryDirectory& temporaryDirectory() {
  static auto* const directory = new TemporaryDirectory;
  return *directory;
}

std::string temporaryPath() {
  TemporaryDirectory& directory = temporaryDirectory();
  const std::lock_guard guard(directory.lock);
  return (std::filesystem::path(directory.path) / kTemporaryName).string();
}

/// Frames of the largest block that the device may deliver.
double largestBlock(const OrvAudioDevice& device) {
  AudioValueRange range{};
  std::uint32_t size = sizeof range;
  const bool isKnown = AudioDeviceGetProperty(device.deviceID(), 0, true, kAudioDevicePropertyBufferFrameSizeRange,
                                              &size, &range) == noErr;
  return std::max<double>(isKnown ? range.mMaximum : 0, device.bufferFrameSize(true));
}

std::string nameOf(const OrvAudioDevice& device) {
  return device.name().value_or("the device");
}

}  // namespace

void OrvAudioRecorder::setTemporaryDirectory(const std::optional<std::string>& path) {
  TemporaryDirectory& directory = temporaryDirectory();
  const std::lock_guard guard(directory.lock);
  directory.path = path.value_or(directory.path);
}

bool OrvAudioRecorder::record() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.record(); });
  }
  const std::lock_guard guard(controlLock);
  if (recorderState != kReady && recorderState != kPaused) {
    return false;
  }
  return withoutThrowing(__func__, false, [&] {
    if (recorderState == kReady) {
      forgetProblem();
    }
    openTarget();
    const bool started = beginCapture();
    tellStart();
    return started;
  });
}

/// Makes the file object where there is none, and opens it. One that can't be opened takes nothing.
void OrvAudioRecorder::openTarget() {
  if (_audioFile == nullptr) {
    if (!_audioFilePath) {
      const std::string path = temporaryPath();
      if (orv::fileManager()->exists(path)) {
        orv::fileManager()->remove(path);
      }
      setAudioFilePath(path);
    }
    converterSetup();
    const auto file = OrvAudioFile::initWithPath_accessMode(_audioFilePath, OrvAudioFile::kModeReadWrite);
    file->setFileStreamFormat(_destinationFormat);
    file->setUseCache(useAudioFileCache);
    const std::lock_guard saving(savingLock);
    _audioFile = file;
  }
  const std::lock_guard saving(savingLock);
  if (!_audioFile->isOpen() && !_audioFile->open()) {
    rememberProblem(problemOf(*_audioFile));
  }
}

bool OrvAudioRecorder::startRecording() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.startRecording(); });
  }
  const std::lock_guard guard(controlLock);
  return withoutThrowing(__func__, false, [&] {
    if (recorderState == kPaused) {
      return beginCaptureForSure();
    }
    if (recorderState != kReady) {
      return false;
    }
    const auto given = _audioFile;
    if (!makeTarget()) {
      return false;
    }
    keepsEveryFrame_ = true;
    expectedChannels_ = _sourceFormat->channelsPerFrame();
    if (beginCaptureForSure()) {
      return true;
    }
    dropTarget(given);
    return false;
  });
}

/// Forgets a recording that did not come about, with whatever it has taken.
void OrvAudioRecorder::dropTarget(const std::shared_ptr<OrvAudioFile>& fileBefore) {
  deviceChanges_.clear();
  handOverRest();
  waitForSaver();
  recordedLengthInFrames = 0;
  keepsEveryFrame_ = false;
  expectedChannels_ = 0;
  const std::lock_guard saving(savingLock);
  _audioFile->close();
  orv::fileManager()->remove(*_audioFile->path());
  _audioFile = fileBefore;
}

/// A file of its own for this recording, open and empty, and a converter to what the file is made of.
bool OrvAudioRecorder::makeTarget() {
  auto file = _audioFile;
  if (file == nullptr && !_audioFilePath) {
    return refuse("no path was given for the recording");
  }
  if (file == nullptr) {
    file = OrvAudioFile::initWithPath_accessMode(_audioFilePath, OrvAudioFile::kModeWrite);
  }
  const std::string path = *file->path();
  const bool exists = orv::fileManager()->exists(path);
  if (exists && !replacesExistingFile_) {
    return refuse(path + ": exists already");
  }
  if (!_inputDevice->isAlive() || _sourceFormat->channelsPerFrame() == 0 || !(_sourceFormat->sampleRate() > 0)) {
    return refuse(nameOf(*_inputDevice) + ": there is no input to record");
  }
  if (file->fileStreamFormat() == nullptr) {
    file->setFileStreamFormat(_destinationFormat);
  }
  const auto format = file->fileStreamFormat();
  if (format == nullptr || !setConverterTo(format)) {
    return refuse(path + ": the device's audio can't be converted to " +
                  (format != nullptr ? format->description() : "no format"));
  }
  const std::lock_guard saving(savingLock);
  if (!file->create()) {
    if (!exists) {
      orv::fileManager()->remove(path);
    }
    return refuse(problemOf(*file));
  }
  _audioFile = file;
  return true;
}

bool OrvAudioRecorder::refuse(const std::string& problem) {
  const std::lock_guard fields(fieldLock);
  lastProblem_ = problem;
  return false;
}

/// As `beginCapture`; a device that does not run is a failure, and leaves the state as it was.
bool OrvAudioRecorder::beginCaptureForSure() {
  const State before = recorderState == kPaused ? kPaused : kReady;
  if (!isInterrupted_ && droppedBlocks_ == 0) {  // an attempt that failed is not what went wrong
    forgetProblem();
  }
  if (beginCapture() && _inputDevice->isRunning()) {
    tellStart();
    return true;
  }
  stopDevice();
  recorderState = before;
  return refuse(nameOf(*_inputDevice) + ": the device does not start");
}

/// The state comes first: no block is missed.
bool OrvAudioRecorder::beginCapture() {
  makeRoomForDevice();
  watchDevice();
  recorderState = kRecording;
  _inputDevice->addAudioIOSubscriber_forInput(shared_from_this(), true);
  return _inputDevice->start();
}

/// Blocks are told from now on: nobody hears of one before the start.
void OrvAudioRecorder::tellStart() {
  if ((_eventMask & kStartedBit) != 0) {
    notifyCallback(OrvAudioRecorderStartedRecordingNotification);
  }
  startIsTold_ = true;
}

/// Memory for what the device delivers, so that its cycles need none.
void OrvAudioRecorder::makeRoomForDevice() {
  const double rate = _sourceFormat != nullptr ? _sourceFormat->sampleRate() : 0;
  const double frameBytes = _sourceFormat != nullptr ? 4.0 * _sourceFormat->channelsPerFrame() : 0;
  const double bytesPerSecond = std::isfinite(rate) ? std::max(0.0, rate * frameBytes) : 0;
  const auto handOver = static_cast<std::uint32_t>(
      std::clamp<double>(bytesPerSecond * kSecondsUnsaved, kSmallestHandOver, OrvCaptureQueue::kBufferSize));
  const double buffers = std::clamp(bytesPerSecond * kSecondsInMemory / OrvCaptureQueue::kBufferSize + 2,
                                    kFewestBuffers, kMostBytesInMemory / OrvCaptureQueue::kBufferSize);
  withoutThrowing("OrvAudioRecorder", 0, [&] {  // fewer will do, as long as the disk keeps up
    queue_->reserve(static_cast<std::uint32_t>(std::ceil(buffers)));
    return 0;
  });
  const double processing = std::min(largestBlock(*_inputDevice) * frameBytes, kMostProcessingBytes);
  rawByteBufferLock.lockWhenCondition(1);
  queue_->setHandOverSize(keepsEveryFrame_ ? handOver : OrvCaptureQueue::kBufferSize);
  growProcessingBuffer(processing > 0 ? static_cast<std::uint32_t>(processing) : 0);
  rawByteBufferLock.unlockWithCondition(1);
}

bool OrvAudioRecorder::pause() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.pause(); });
  }
  const std::lock_guard guard(controlLock);
  if (recorderState != kRecording) {
    return false;
  }
  endTimer();
  const bool stopped = stopDevice();
  recorderState = kPaused;
  startIsTold_ = false;
  if (keepsEveryFrame_) {
    handOverRest();
  }
  if (stopped && (_eventMask & kPausedBit) != 0) {
    notifyCallback(OrvAudioRecorderPausedRecordingNotification);
  }
  return stopped;
}

/// When it returns, every block that the device delivered has been taken.
bool OrvAudioRecorder::stopDevice() {
  const bool stopped = _inputDevice->stop();
  takeBackSubscription();
  return stopped;
}

void OrvAudioRecorder::takeBackSubscription() {
  _inputDevice->removeAudioIOSubscriber_forInput(unowned(this), true);
  _inputDevice->audioSubscribersForInput(true).waitForWalks();
}

bool OrvAudioRecorder::stop() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.stop(); });
  }
  const std::lock_guard guard(controlLock);
  return stopNow();
}

bool OrvAudioRecorder::stopNow() {
  if (!isUnderWay()) {
    return false;
  }
  endTimer();
  const bool stopped = stopDevice();  // from a pause too, which takes back one more start of the device
  recorderState = kStopped;
  deviceChanges_.clear();
  waitForSaver();
  closeFile();
  if (stopped && (_eventMask & kStoppedBit) != 0) {
    notifyCallback(OrvAudioRecorderStoppedRecordingNotification);
  }
  return stopped;
}

bool OrvAudioRecorder::finishRecording() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.finishRecording(); });
  }
  const std::lock_guard guard(controlLock);
  return withoutThrowing(__func__, false, [&] { return finishNow(); });
}

bool OrvAudioRecorder::finishNow() {
  if (!isUnderWay()) {
    return false;
  }
  endTimer();
  if (recorderState == kRecording) {
    stopDevice();
  }
  recorderState = kStopped;
  deviceChanges_.clear();
  handOverRest();
  waitForSaver();
  {
    const std::lock_guard saving(savingLock);
    if (!savingFailed_ && !writer_->saveEnd(*_audioFile)) {
      rememberProblem(problemOf(*_audioFile));
    }
  }
  const std::string path = *_audioFile->path();
  closeFile();
  if (!orv::fileManager()->exists(path)) {
    rememberProblem(path + ": was deleted while it was recorded");
  }
  if ((_eventMask & kStoppedBit) != 0) {
    notifyCallback(OrvAudioRecorderStoppedRecordingNotification);
  }
  return lastProblem().empty();
}

/// Ends a recording in the way that it was begun.
void OrvAudioRecorder::endNow() {
  if (keepsEveryFrame_) {
    finishNow();
  } else {
    stopNow();
  }
}

void OrvAudioRecorder::closeFile() {
  const std::lock_guard saving(savingLock);
  if (!_audioFile->close()) {
    rememberProblem(problemOf(*_audioFile));
  }
}

bool OrvAudioRecorder::flush() {
  if (orv::isInHardwareCycle()) {
    return leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.flush(); });
  }
  const std::lock_guard guard(controlLock);
  if (recorderState != kStopped) {
    return false;
  }
  _isFlushing = true;
  handOverRest();
  waitForSaver();
  return true;
}

void OrvAudioRecorder::handOverRest() {
  rawByteBufferLock.lockWhenCondition(1);
  queue_->handOverRest();
  rawByteBufferLock.unlockWithCondition(1);
  threadRunLock.unlockWithCondition(0);
}

/// Returns when all that was handed over before is saved, or was refused.
void OrvAudioRecorder::waitForSaver() {
  threadRunLock.unlockWithCondition(0);
  threadRunLock.lockWhenCondition(1);
  threadRunLock.unlockWithCondition(1);
}
