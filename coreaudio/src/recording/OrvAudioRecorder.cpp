#include "OrvCoreAudio/OrvAudioRecorder.h"

#include <cstdlib>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Thread.h"
#include "WithoutThrowing.h"
#include "recording/OrvCaptureQueue.h"
#include "recording/OrvCaptureWriter.h"

const char* const OrvAudioRecorderStartedRecordingNotification = "OrvAudioRecorderStartedRecordingNotification";
const char* const OrvAudioRecorderStoppedRecordingNotification = "OrvAudioRecorderStoppedRecordingNotification";
const char* const OrvAudioRecorderSampleRecordedNotification = "OrvAudioRecorderSampleRecordedNotification";
const char* const OrvAudioRecorderPausedRecordingNotification = "OrvAudioRecorderPausedRecordingNotification";
const char* const OrvAudioRecorderDroppedBlocksNotification = "OrvAudioRecorderDroppedBlocksNotification";
const char* const OrvAudioRecorderInterruptedRecordingNotification = "OrvAudioRecorderInterruptedRecordingNotification";

namespace {

using Format = OrvAudioRecorder::Format;

constexpr std::uint32_t kPackedFloat = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
constexpr std::uint32_t kPackedInteger = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;

}  // namespace

OrvAudioRecorder::OrvAudioRecorder() = default;

std::shared_ptr<OrvAudioRecorder> OrvAudioRecorder::initWithAudioDevice(const Device& device) {
  if (device == nullptr) {
    return nullptr;
  }
  return withoutThrowing("OrvAudioRecorder", std::shared_ptr<OrvAudioRecorder>(), [&] {
    std::shared_ptr<OrvAudioRecorder> recorder(new OrvAudioRecorder, destroy);
    return recorder->setUp(device) ? recorder : nullptr;
  });
}

bool OrvAudioRecorder::setUp(const Device& device) {
  queue_ = std::make_unique<OrvCaptureQueue>();
  writer_ = std::make_unique<OrvCaptureWriter>();
  _inputDevice = device;
  takeFormatsOfDevice();
  saver_ = orv::startThread("orv-recorder", [this] { saveBufferRunLoop(); });
  recorderState = kReady;
  return saver_.joinable();
}

std::shared_ptr<OrvAudioRecorder> OrvAudioRecorder::initWithAudioDevice_filePath(
    const Device& device, const std::optional<std::string>& path) {
  auto recorder = path ? initWithAudioDevice(device) : nullptr;
  if (recorder != nullptr) {
    recorder->setAudioFilePath(path);
  }
  return recorder;
}

std::shared_ptr<OrvAudioRecorder> OrvAudioRecorder::initWithAudioDevice_audioFile(
    const Device& device, const std::shared_ptr<OrvAudioFile>& file) {
  auto recorder = initWithAudioDevice(device);
  if (recorder == nullptr || file == nullptr) {
    return recorder;
  }
  file->close();
  file->changeAccessMode(OrvAudioFile::kModeReadWrite);
  file->setUseCache(recorder->useAudioFileCache);
  {
    const std::lock_guard guard(recorder->savingLock);
    recorder->_audioFile = file;
  }
  recorder->setFileStreamFormat(recorder->_destinationFormat);
  return recorder;
}

OrvAudioRecorder::~OrvAudioRecorder() {
  withoutThrowing("OrvAudioRecorder", 0, [this] {
    endNow();
    endTimer();
    return 0;
  });
  threadShouldExit = true;
  threadRunLock.unlockWithCondition(0);
  if (saver_.joinable()) {
    saver_.join();
  }
  if (_audioFile != nullptr) {
    _audioFile->close();
  }
}

/// A cycle can't wait for its own end, nor the saver for the saver's.
void OrvAudioRecorder::destroy(OrvAudioRecorder* recorder) noexcept {
  if (!orv::isInHardwareCycle() && recorder->saver_.get_id() != std::this_thread::get_id()) {
    delete recorder;
    return;
  }
  orv::LoopCall call;
  call.perform = [](const orv::LoopCall& now) { delete static_cast<OrvAudioRecorder*>(now.receiver.get()); };
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), recorder);  // a plain pointer in disguise
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

void OrvAudioRecorder::setAudioFilePath(const std::optional<std::string>& path) {
  const std::lock_guard guard(controlLock);
  const std::lock_guard fields(fieldLock);
  _audioFilePath = path;
}

void OrvAudioRecorder::setAudioFilePath_withFileStreamFormat(const std::optional<std::string>& path,
                                                             const Format& format) {
  setAudioFilePath(path);
  setFileStreamFormat(format);
}

void OrvAudioRecorder::setDeviceStreamFormat(const Format& format) {
  const std::lock_guard guard(controlLock);
  if (format == nullptr || (keepsEveryFrame_ && isUnderWay())) {
    return;
  }
  {
    const std::lock_guard fields(fieldLock);
    _sourceFormat = format;
  }
  converterSetup();
}

bool OrvAudioRecorder::setFileStreamFormat(const Format& format) {
  const std::lock_guard guard(controlLock);
  if (keepsEveryFrame_ && isUnderWay()) {
    return true;
  }
  {
    const std::lock_guard fields(fieldLock);
    _destinationFormat = format;
    normalizeFileStreamFormat(format);
  }
  converterSetup();
  return true;
}

void OrvAudioRecorder::normalizeFileStreamFormat(const Format& format) {
  if (format == nullptr) {
    return;
  }
  if (format->isFloat()) {
    format->setFormatFlags(format->isPacked() ? kPackedFloat | kAudioFormatFlagIsBigEndian
                                              : kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian);
  } else if (format->isSignedInteger()) {
    format->setFormatFlags(format->isPacked() ? kPackedInteger | kAudioFormatFlagIsBigEndian
                                              : kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian);
  }
}

void OrvAudioRecorder::takeFormatsOfDevice() {
  setDeviceStreamFormat(_inputDevice->actualStreamFormat_isInput(0, true));
  setFileStreamFormat(_inputDevice->physicalStreamFormat_isInput(0, true));
}

void OrvAudioRecorder::converterSetup() {
  if (_sourceFormat != nullptr && _destinationFormat != nullptr) {
    setConverterTo(_destinationFormat);
  }
}

/// Whether there is a converter now.
bool OrvAudioRecorder::setConverterTo(const Format& fileFormat) {
  return withoutThrowing("OrvAudioRecorder", false, [&] {
    const std::lock_guard guard(savingLock);
    writer_->setFormats(_sourceFormat, fileFormat);
    return writer_->converts();
  });
}

void OrvAudioRecorder::setInputDevice(const Device& device) {
  if (device == nullptr) {
    return;
  }
  if (orv::isInHardwareCycle()) {
    orv::LoopCall call;
    call.argument = device;
    call.perform = [](const orv::LoopCall& made) {
      static_cast<OrvAudioRecorder*>(made.receiver.get())
          ->setInputDevice(std::static_pointer_cast<OrvAudioDevice>(made.argument));
    };
    post(std::move(call), orv::LoopPriority::state);
    return;
  }
  const std::lock_guard guard(controlLock);
  endNow();
  takeBackSubscription();
  {
    const std::lock_guard fields(fieldLock);
    _inputDevice = device;
  }
  const std::unique_ptr<std::uint32_t, decltype(&std::free)> stereo(device->preferredChannelsForStereo(false),
                                                                    &std::free);
  leftChannel = stereo != nullptr ? stereo.get()[0] : 1;
  rightChannel = stereo != nullptr ? stereo.get()[1] : 0xFFFFFFFF;
  takeFormatsOfDevice();
}

void OrvAudioRecorder::setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor) {
  const std::lock_guard guard(controlLock);
  withoutThrowing("OrvAudioRecorder", 0, [&] {
    const auto before = audioProcessor();
    if (processor == before) {
      return 0;
    }
    _audioProcessor.add(processor);  // behind the one that is used until it goes
    _audioProcessor.remove(before.get());
    _audioProcessor.waitForWalks();
    return 0;
  });
}

std::shared_ptr<OrvAudioProcessor> OrvAudioRecorder::audioProcessor() const {
  const auto processors = _audioProcessor.objects();
  return processors.empty() ? nullptr : processors.back();
}
