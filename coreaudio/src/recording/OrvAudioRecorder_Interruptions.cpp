// What can go wrong while recording, and how it is told.
#include "OrvCoreAudio/OrvAudioDeviceNotifications.h"
#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"

/// Listens until the recording ends, pauses included. The observers run on the main thread.
void OrvAudioRecorder::watchDevice() {
  if (!deviceChanges_.empty()) {
    return;
  }
  watchedFormat_ = _inputDevice->actualStreamFormat_isInput(0, true);
  const auto look = [recorder = weak_from_this()](const orv::Notification& /*told*/) {
    if (const auto self = recorder.lock()) {
      self->deviceMayHaveChanged();
    }
  };
  auto& center = orv::NotificationCenter::defaultCenter();
  for (const char* name :
       {OrvAudioDeviceNominalSampleRateDidChangeNotification, OrvAudioDeviceStreamFormatDidChangeNotification,
        OrvAudioDeviceStreamConfigurationDidChangeNotification, OrvAudioDeviceStreamsDidChangeNotification}) {
    deviceChanges_.push_back(center.addObserver(name, _inputDevice, look));
  }
  deviceChanges_.push_back(center.addObserver(OrvAudioHardwareDevicesDidChangeNotification, nullptr, look));
}

void OrvAudioRecorder::deviceMayHaveChanged() {
  const std::lock_guard guard(controlLock);
  if (!isUnderWay()) {
    return;
  }
  withoutThrowing(__func__, 0, [this] {
    const std::string name = _inputDevice->name().value_or("the device");
    if (!_inputDevice->isAlive()) {
      interrupt(name + ": was unplugged while it was recorded");
      return 0;
    }
    const auto format = _inputDevice->actualStreamFormat_isInput(0, true);
    if (format->sampleRate() != watchedFormat_->sampleRate()) {
      interrupt(name + orv::formatText(": the sample rate changed from %g to %g Hz while it was recorded",
                                       watchedFormat_->sampleRate(), format->sampleRate()));
    } else if (!format->isEqual(watchedFormat_)) {
      interrupt(name + ": the format changed while it was recorded: " + format->description());
    }
    return 0;
  });
}

void OrvAudioRecorder::interrupt(const std::string& problem) {
  rememberProblem(problem);
  if (!isInterrupted_.exchange(true)) {
    orv::log("OrvAudioRecorder: " + problem);
    leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.endInterrupted(); });
  }
}

void OrvAudioRecorder::endInterrupted() {
  if (keepsEveryFrame_) {
    finishRecording();
  }
  threadCallback(OrvAudioRecorderInterruptedRecordingNotification);
}

void OrvAudioRecorder::reportDroppedBlocks() {
  dropsAreTold_ = false;  // the next one is told again
  orv::log("OrvAudioRecorder: " + droppedBlocksText());
  threadCallback(OrvAudioRecorderDroppedBlocksNotification);
}

std::string OrvAudioRecorder::droppedBlocksText() const {
  return orv::formatText("the disk does not keep up: %llu blocks with %llu frames are missing from the recording",
                         static_cast<unsigned long long>(droppedBlocks()),
                         static_cast<unsigned long long>(droppedFrames()));
}

std::string OrvAudioRecorder::problemOf(const OrvAudioFile& file) {
  return file.path().value_or("the file") + ": " + file.lastProblem();
}

/// The first one is the cause of those that follow.
void OrvAudioRecorder::rememberProblem(const std::string& problem) {
  const std::lock_guard fields(fieldLock);
  if (lastProblem_.empty()) {
    lastProblem_ = problem;
  }
}

void OrvAudioRecorder::forgetProblem() {
  const std::lock_guard fields(fieldLock);
  lastProblem_.clear();
}

/// Blocks that are missing are counted by the device's thread, and are known here before the main thread has told.
std::string OrvAudioRecorder::lastProblem() const {
  std::string text;
  {
    const std::lock_guard fields(fieldLock);
    text = lastProblem_;
  }
  if (droppedBlocks_ > 0) {
    text += (text.empty() ? "" : "; ") + droppedBlocksText();
  }
  return text;
}
