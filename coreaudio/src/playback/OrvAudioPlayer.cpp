// Construction, and what is played on what.
#include "OrvCoreAudio/OrvAudioPlayer.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "OrvPlatform/RunLoop.h"
#include "WithoutThrowing.h"
#include "playback/ConvertedFrames.h"
#include "playback/CycleGate.h"
#include "playback/FrameOffsets.h"

const char* const OrvAudioPlayerFinishedPlayingNotification = "OrvAudioPlayerFinishedPlayingNotification";
const char* const OrvAudioPlayerStartedPlayingNotification = "OrvAudioPlayerStartedPlayingNotification";
const char* const OrvAudioPlayerStoppedPlayingNotification = "OrvAudioPlayerStoppedPlayingNotification";
const char* const OrvAudioPlayerPlayedSampleNotification = "OrvAudioPlayerPlayedSampleNotification";

namespace {

constexpr bool kOutput = false;
constexpr std::uint32_t kAllEvents = 15;
constexpr std::uint32_t kNoChannel = 0xFFFFFFFF;
constexpr std::uint32_t kStereo = 2;
constexpr std::uint32_t kChannelMixBytes = 131072;
/// Cycles that one converted buffer holds.
constexpr std::uint32_t kCyclesAhead = 16;
/// What is believed of a device's buffer size, in bytes. Larger cycles are played in pieces.
constexpr std::uint32_t kMostBufferBytes = 1U << 22;

/// `object` without a share in keeping it: the subscription.
std::shared_ptr<OrvCoreAudioIOSubscriber> unowned(OrvCoreAudioIOSubscriber* object) {
  return {std::shared_ptr<void>(), object};
}

}  // namespace

OrvAudioPlayer::OrvAudioPlayer() : gate_(std::make_unique<CycleGate>()) {}

std::shared_ptr<OrvAudioPlayer> OrvAudioPlayer::make() {
  return {new OrvAudioPlayer, destroy};
}

/// The destructor waits for cycles, so in a cycle it is left to the main thread.
void OrvAudioPlayer::destroy(OrvAudioPlayer* player) noexcept {
  if (!orv::isInHardwareCycle() && orv::liveWalkDepth() == 0) {
    delete player;
    return;
  }
  orv::LoopCall call;
  call.perform = [](const orv::LoopCall& now) { delete static_cast<OrvAudioPlayer*>(now.receiver.get()); };
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), player);  // a plain pointer in disguise
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

OrvAudioPlayer::~OrvAudioPlayer() {
  if (_outputDevice != nullptr) {
    endWithoutNotification();
    unsubscribe();
  }
}

std::shared_ptr<OrvAudioPlayer> OrvAudioPlayer::initWithAudioDevice(const std::shared_ptr<OrvAudioDevice>& device) {
  return withoutThrowing("OrvAudioPlayer", std::shared_ptr<OrvAudioPlayer>(), [&] {
    auto player = make();
    if (device != nullptr) {
      player->connect(device);
    }
    return player;
  });
}

std::shared_ptr<OrvAudioPlayer> OrvAudioPlayer::initWithAudioDevice_pathToFile(
    const std::shared_ptr<OrvAudioDevice>& device, const std::optional<std::string>& path) {
  return initWithAudioDevice_audioFile(device, OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead));
}

std::shared_ptr<OrvAudioPlayer> OrvAudioPlayer::initWithAudioDevice_audioFile(
    const std::shared_ptr<OrvAudioDevice>& device, const std::shared_ptr<OrvAudioFile>& file) {
  return withoutThrowing("OrvAudioPlayer", std::shared_ptr<OrvAudioPlayer>(), [&] {
    auto player = make();
    if (device != nullptr && file != nullptr) {
      player->connect(device);
      file->rewind();
      file->changeAccessMode(OrvAudioFile::kModeRead);
      player->openFile(file);
    }
    return player;
  });
}

void OrvAudioPlayer::connect(const std::shared_ptr<OrvAudioDevice>& device) {
  _outputDevice = device;
  converted_ = std::make_unique<ConvertedFrames>(*gate_);
  alwaysMixToStereo_ = true;
  _eventMask = kAllEvents;
  const std::unique_ptr<std::uint32_t, decltype(&std::free)> pair(device->preferredChannelsForStereo(kOutput),
                                                                  &std::free);
  if (const std::uint32_t* const channels = pair.get(); channels != nullptr) {
    leftChannel = channels[0];
    rightChannel = channels[1];
  } else {
    leftChannel = 0;
    rightChannel = kNoChannel;
  }
  channelMixBuffer.assign(kChannelMixBytes / sizeof(float), 0.0F);
  notificationInterval = 1;
  _meterData = OrvVUMeterData::init();
  updateDeviceStreamFormat(device->actualStreamFormat_isInput(0, kOutput));
}

void OrvAudioPlayer::openFile(std::shared_ptr<OrvAudioFile> file) {
  _audioFile = std::move(file);
  _audioFile->setUseCache(false);  // the two converted buffers are one
  _audioFile->open();
  updateFileStreamFormat(_audioFile->fileStreamFormat());
  audioConverterSetup();
}

void OrvAudioPlayer::setAudioFilePath(const std::optional<std::string>& path) {
  if (!path || _outputDevice == nullptr || gate_->isEnteredHere()) {
    return;
  }
  withoutThrowing("OrvAudioPlayer::setAudioFilePath", false, [&] {
    endWithoutNotification();
    _currentOffset = 0;
    converted_->whileIdle([&] {
      if (_audioFile != nullptr) {
        _audioFile->close();
      }
    });
    openFile(OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead));
    return true;
  });
}

std::optional<std::string> OrvAudioPlayer::audioFilePath() const {
  return _audioFile != nullptr ? _audioFile->path() : std::nullopt;
}

void OrvAudioPlayer::setOutputDevice(const std::shared_ptr<OrvAudioDevice>& device) {
  if (device == nullptr || device == _outputDevice || _outputDevice == nullptr || gate_->isEnteredHere()) {
    return;
  }
  withoutThrowing("OrvAudioPlayer::setOutputDevice", false, [&] {
    stop();
    unsubscribe();
    waitForCycle();
    _outputDevice = device;
    updateDeviceStreamFormat(device->actualStreamFormat_isInput(0, kOutput));
    audioConverterSetup();
    return true;
  });
}

/// A device's format or buffer size may have changed since it was asked.
void OrvAudioPlayer::followDevice() {
  const auto format = _outputDevice->actualStreamFormat_isInput(0, kOutput);
  const bool isSameSize = _outputDevice->bufferSize(kOutput) == deviceBufferSize_;
  if (isSameSize && deviceFormatAsRead_->isEqual(format)) {
    return findLeftRightChannelOffsets();
  }
  waitForCycle();
  _deviceStreamFormat = nullptr;
  updateDeviceStreamFormat(format);
  audioConverterSetup();
}

void OrvAudioPlayer::endWithoutNotification() {
  if (_isPlaying.exchange(false)) {
    _outputDevice->stop();
  }
  waitForCycle();
}

void OrvAudioPlayer::waitForCycle() {
  const CycleGate::Hold passing(*gate_);
}

/// When it returns, the device does not call any more: the subscription does not keep the player.
void OrvAudioPlayer::unsubscribe() {
  _outputDevice->removeAudioIOSubscriber_forInput(unowned(this), kOutput);
  _outputDevice->audioSubscribersForInput(kOutput).waitForWalks();
}

void OrvAudioPlayer::updateFileInformation() {
  fileLengthInFrames = lengthInFrames();
  const double fileRate = _fileStreamFormat != nullptr ? _fileStreamFormat->sampleRate() : 0.0;
  const double deviceRate = _deviceStreamFormat != nullptr ? _deviceStreamFormat->sampleRate() : 0.0;
  logicalLengthInFrames =
      fileRate == deviceRate ? fileLengthInFrames : toFrameCount(fileLengthInFrames / fileRate * deviceRate);
}

void OrvAudioPlayer::updateFileStreamFormat(const std::shared_ptr<Format>& format) {
  _fileStreamFormat = format;
  fileChannelsPerFrame = format != nullptr ? format->channelsPerFrame() : 0;
}

/// The same format leaves everything as it is. Of more than two channels, two are played.
void OrvAudioPlayer::updateDeviceStreamFormat(const std::shared_ptr<Format>& format) {
  if (format == nullptr || format->isEqual(_deviceStreamFormat)) {
    return;
  }
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(format->audioStreamBasicDescription(),
                                                                                  &std::free);
  deviceFormatAsRead_ = Format::initWithAudioStreamBasicDescription(record.get());
  _deviceStreamFormat = format;
  const bool isReduced = format->channelsPerFrame() > kStereo;
  deviceChannelsPerFrame = isReduced ? kStereo : format->channelsPerFrame();
  deviceBytesPerFrame = isReduced ? kStereo * (format->bitsPerChannel() / 8) : format->bytesPerFrame();
  bufferSetup();
}

void OrvAudioPlayer::bufferSetup() {
  deviceBufferSize_ = _outputDevice->bufferSize(kOutput);
  const std::uint32_t size = std::min(deviceBufferSize_, kMostBufferBytes);
  audioProcessingBufferSize = 2 * size;
  audioProcessingBuffer.assign(std::size_t{2} * audioProcessingBufferSize / sizeof(float), 0.0F);
  mixBuffer_.assign(audioProcessingBufferSize / sizeof(float), 0.0F);
  vectorAddBuffer.assign(audioProcessingBufferSize, 0.0F);
  const std::uint32_t frameBytes = _deviceStreamFormat->bytesPerFrame();
  convertedBufferSizeInBytes = kCyclesAhead * size;
  convertedBufferSizeInFrames = frameBytes > 0 ? convertedBufferSizeInBytes / frameBytes : 0;
}

/// The converter makes stereo floats for a device of more channels.
void OrvAudioPlayer::audioConverterSetup() {
  if (_deviceStreamFormat->channelsPerFrame() > kStereo) {
    _deviceStreamFormat->setChannelsPerFrame(kStereo);
    _deviceStreamFormat->setBytesPerPacket(kStereo * sizeof(float));
    _deviceStreamFormat->setBytesPerFrame(kStereo * sizeof(float));
  }
  updateFileInformation();
  findLeftRightChannelOffsets();
  ConvertedFrames::Setup setup;
  setup.file = _audioFile;
  setup.fileFormat = _fileStreamFormat;
  setup.deviceFormat = _deviceStreamFormat;
  setup.fileLengthInFrames = fileLengthInFrames;
  setup.logicalLengthInFrames = logicalLengthInFrames;
  setup.deviceBytesPerFrame = deviceBytesPerFrame;
  setup.deviceChannelsPerFrame = deviceChannelsPerFrame;
  setup.convertedBufferSizeInFrames = convertedBufferSizeInFrames;
  setup.convertedBufferSizeInBytes = convertedBufferSizeInBytes;
  setup.cycleFrames = convertedBufferSizeInFrames / kCyclesAhead;
  converted_->use(setup);
}

/// Where the device's layout has its left and right loudspeaker; the first two channels where it does not say.
void OrvAudioPlayer::findLeftRightChannelOffsets() {
  std::uint32_t left = 0;
  std::uint32_t right = 1;
  const auto layout = _outputDevice->channelLayout(kOutput);
  const std::uint32_t channels = layout != nullptr ? layout->numberChannelDescriptions() : 0;
  for (std::uint32_t i = 0; i < channels; ++i) {
    const AudioChannelLabel label = layout->channelDescription(i)->channelLabel();
    left = label == kAudioChannelLabel_Left ? i : left;
    right = label == kAudioChannelLabel_Right ? i : right;
  }
  const CycleGate::Hold hold(*gate_);
  leftSample_ = left;
  rightSample_ = right;
}
