#include "OrvCoreAudio/OrvAUAudioPlayer.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "OrvPlatform/ConditionLock.h"
#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/Thread.h"
#include "WithoutThrowing.h"
#include "playback/GraphSource.h"
#include "playback/ReadAheadCondition.h"

namespace {

constexpr std::uint32_t kAllEvents = 15;

AudioStreamBasicDescription recordOf(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  if (format == nullptr) {
    return {};
  }
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(format->audioStreamBasicDescription(),
                                                                                  &std::free);
  return record ? *record : AudioStreamBasicDescription{};
}

bool isSame(const std::shared_ptr<OrvAudioStreamBasicDescription>& one,
            const std::shared_ptr<OrvAudioStreamBasicDescription>& other) {
  return one == other || (one != nullptr && one->isEqual(other));
}

}  // namespace

OrvAUAudioPlayer::OrvAUAudioPlayer()
    : source_(std::make_unique<GraphSources>(GraphSource{})),
      readAheadLock_(std::make_unique<orv::ConditionLock>(kReadAheadIdle)) {}

std::shared_ptr<OrvAUAudioPlayer> OrvAUAudioPlayer::make() {
  return {new OrvAUAudioPlayer, destroy};
}

OrvAUAudioPlayer::~OrvAUAudioPlayer() {
  destroyGraph();
  if (mInputUnit != nullptr) {
    CloseComponent(mInputUnit);
  }
  shouldExit_ = true;
  readAheadLock_->unlockWithCondition(kReadAheadWanted);
  if (reader_.joinable()) {
    reader_.join();
  }
}

/// What stops the hardware waits for cycles and frees memory: not in one.
void OrvAUAudioPlayer::destroy(OrvAUAudioPlayer* player) noexcept {
  if (!isInCycle()) {
    delete player;
    return;
  }
  orv::LoopCall call;
  call.perform = [](const orv::LoopCall& now) { delete static_cast<OrvAUAudioPlayer*>(now.receiver.get()); };
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), player);  // a plain pointer in disguise
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

std::shared_ptr<OrvAUAudioPlayer> OrvAUAudioPlayer::initWithAudioDevice(const std::shared_ptr<OrvAudioDevice>& device) {
  return withoutThrowing("OrvAUAudioPlayer", std::shared_ptr<OrvAUAudioPlayer>(), [&] {
    auto player = make();
    player->connect(device);
    return player;
  });
}

std::shared_ptr<OrvAUAudioPlayer> OrvAUAudioPlayer::initWithAudioDevice_pathToFile(
    const std::shared_ptr<OrvAudioDevice>& device, const std::optional<std::string>& path) {
  return withoutThrowing("OrvAUAudioPlayer", std::shared_ptr<OrvAUAudioPlayer>(), [&] {
    auto player = make();
    if (path && player->connect(device)) {
      player->openFile(*path);
      player->mIsInitializeable = true;
      player->initializeGraph();
    }
    return player;
  });
}

bool OrvAUAudioPlayer::connect(const std::shared_ptr<OrvAudioDevice>& device) {
  if (device == nullptr) {
    return false;
  }
  mOutputDevice = device;
  mHasBeenStopped = true;
  mEventMask = kAllEvents;
  mVolumeControl = OrvSoftwareVolumeControl::init();
  updateDeviceStreamFormat(device->actualStreamFormat_isInput(0, false));
  mNotificationInterval = 1;
  mMeterData = OrvVUMeterData::init();
  reader_ = orv::startThread("orv-graph-read", [this] { readAhead(); });
  return true;
}

void OrvAUAudioPlayer::openFile(const std::string& path) {
  mInputAudioFile = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  mInputAudioFile->setUseCache(true);
  mInputAudioFile->open();
  updateFileStreamFormat(mInputAudioFile->fileStreamFormat());
}

/// Nobody reads the file when it is closed.
void OrvAUAudioPlayer::closeFile() {
  const auto feed = source_->copy().feed;
  source_->change([](GraphSource& source) {
    source.info = nullptr;
    source.feed = nullptr;
  });
  if (feed != nullptr) {
    feed->close();
  }
  if (mInputAudioFile != nullptr) {
    mInputAudioFile->close();
  }
  mInputAudioFile = nullptr;
  mFileStreamFormat = nullptr;
}

void OrvAUAudioPlayer::setAudioFilePath(const std::optional<std::string>& path) {
  if (!path || isInCycle()) {
    return;
  }
  const std::lock_guard guard(transportLock);
  if (mOutputDevice == nullptr) {
    return;
  }
  withoutThrowing("OrvAUAudioPlayer", false, [&] {
    if (mIsInitializeable) {
      destroyGraph();
    }
    closeFile();
    openFile(*path);
    mIsInitializeable = true;
    initializeGraph();
    return true;
  });
}

void OrvAUAudioPlayer::setOutputDevice(const std::shared_ptr<OrvAudioDevice>& device) {
  if (device == nullptr || isInCycle()) {
    return;
  }
  const std::lock_guard guard(transportLock);
  if (mOutputDevice == nullptr || device == mOutputDevice) {
    return;
  }
  withoutThrowing("OrvAUAudioPlayer", false, [&] {
    stop();
    mOutputDevice = device;
    updateDeviceStreamFormat(device->actualStreamFormat_isInput(0, false));
    if (mIsInitializeable) {
      destroyGraph();
      initializeGraph();
    }
    return true;
  });
}

std::shared_ptr<OrvAudioDevice> OrvAUAudioPlayer::outputDevice() const {
  const std::lock_guard guard(transportLock);
  return mOutputDevice;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes what is heard
void OrvAUAudioPlayer::setVolumeScalar(float scalar) {
  if (mVolumeControl != nullptr) {
    mVolumeControl->setVolumeScalar(scalar);
  }
}

float OrvAUAudioPlayer::volumeScalar() const {
  return mVolumeControl != nullptr ? mVolumeControl->volumeScalar() : 0.0F;
}

void OrvAUAudioPlayer::setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor) {
  if (isInCycle()) {
    return;
  }
  withoutThrowing("OrvAUAudioPlayer", false, [&] {
    source_->change([&](GraphSource& source) { source.processor = processor; });
    return true;
  });
}

void OrvAUAudioPlayer::updateFileStreamFormat(const std::shared_ptr<Format>& format) {
  if (!isSame(mFileStreamFormat, format)) {
    mFileStreamFormat = format;
  }
  // Also for a file of the same format: it has a length and a handle of its own.
  updateFileInformation();
}

void OrvAUAudioPlayer::updateDeviceStreamFormat(const std::shared_ptr<Format>& format) {
  if (!isSame(mDeviceStreamFormat, format)) {
    mDeviceStreamFormat = format;
    updateFileInformation();
  }
}

void OrvAUAudioPlayer::updateFileInformation() {
  const bool isOpen = mInputAudioFile != nullptr && mInputAudioFile->isOpen();
  mFileLengthInFrames = isOpen ? mInputAudioFile->lengthInFrames() : 0;
  const auto info =
      isOpen ? FilePlaybackInfo::make(mInputAudioFile->audioFileID(), recordOf(mFileStreamFormat)) : nullptr;
  mAUSourceFloatFormat = info != nullptr ? info->floatFormat : AudioStreamBasicDescription{};
  source_->change([&](GraphSource& source) {
    source.info = info;
    source.playOut = 0;
  });
  mPlayInSampleTime = 0;
  moveTo(0);
}
