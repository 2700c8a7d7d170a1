#include "OrvCoreAudio/OrvPlayThroughHandler.h"

#include <algorithm>
#include <cinttypes>
#include <utility>

#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "WithoutThrowing.h"
#include "device/PropertyBlock.h"
#include "playback/MonitorPath.h"

namespace {

/// Room that there always is, in bytes: for 4096 stereo frames, or 512 frames of 16 channels.
constexpr std::uint32_t kLeastRoom = 32768;

std::string textOf(const std::shared_ptr<OrvAudioDevice>& device) {
  return device != nullptr ? device->description() : "(null)";
}

/// Rates are compared in whole Hertz: clocks that drift are no reason to convert.
std::uint32_t wholeHertz(double rate) {
  return rate >= 0 && rate < 4294967296.0 ? static_cast<std::uint32_t>(rate) : 0;
}

/// Bytes of the largest block that the device says it may deliver.
std::uint32_t largestBlock(const std::shared_ptr<OrvAudioDevice>& device, bool isInput) {
  if (device == nullptr) {
    return 0;
  }
  const PropertyBlock range =
      readDeviceProperty(device->deviceID(), kAudioDevicePropertyBufferFrameSizeRange, 0, isInput);
  const double frames = range.first<AudioValueRange>().mMaximum;
  const double bytes = std::max(frames * device->numberOfChannels(isInput) * sizeof(float), 0.0);
  return std::max(device->bufferSize(isInput),
                  static_cast<std::uint32_t>(std::min<double>(bytes, HandOff::kMostBytes)));
}

/// 0 where it tells none.
std::uint32_t channelsOfFirstStream(const OrvAudioDevice& device, bool isInput) {
  const auto format = device.actualStreamFormat_isInput(0, isInput);
  return format != nullptr ? format->channelsPerFrame() : 0;
}

OrvPlayThroughHandler& handlerOf(const orv::LoopCall& call) {
  return *static_cast<OrvPlayThroughHandler*>(call.receiver.get());
}

/// In a cycle nothing may be waited for: the main thread does it.
void leaveToMainThread(std::shared_ptr<OrvPlayThroughHandler> handler, orv::LoopCall::Function perform,
                       std::shared_ptr<void> argument = nullptr, bool flag = false) noexcept {
  if (handler != nullptr) {
    orv::LoopCall call;
    call.receiver = std::move(handler);
    call.argument = std::move(argument);
    call.numbers[0] = flag ? 1 : 0;
    call.perform = perform;
    orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
  }
}

}  // namespace

OrvPlayThroughHandler::OrvPlayThroughHandler()
    : paths_(std::make_unique<MonitorPaths>(
          MonitorPath{nullptr, nullptr, nullptr, nullptr, nullptr, std::make_shared<HandOff>(kLeastRoom)})) {}

OrvPlayThroughHandler::~OrvPlayThroughHandler() = default;

std::shared_ptr<OrvPlayThroughHandler> OrvPlayThroughHandler::init() {
  return withoutThrowing("OrvPlayThroughHandler", std::shared_ptr<OrvPlayThroughHandler>(),
                         [] { return std::shared_ptr<OrvPlayThroughHandler>(new OrvPlayThroughHandler, destroy); });
}

/// A handler whose last reference goes away in a cycle must not free memory there.
void OrvPlayThroughHandler::destroy(OrvPlayThroughHandler* handler) noexcept {
  if (!isInCycle()) {
    delete handler;
    return;
  }
  orv::LoopCall call;
  call.perform = [](const orv::LoopCall& now) { delete static_cast<OrvPlayThroughHandler*>(now.receiver.get()); };
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), handler);  // a plain pointer in disguise
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

std::string OrvPlayThroughHandler::classDescription() {
  return "OrvPlayThroughHandler";
}

std::string OrvPlayThroughHandler::description() const {
  const MonitorPath path = paths_->copy();
  return classDescription() + orv::formatText("<0x%" PRIXPTR ">", reinterpret_cast<std::uintptr_t>(this)) +
         ":[input: " + textOf(path.inputDevice) + "; output: " + textOf(path.outputDevice) + "]";
}

void OrvPlayThroughHandler::setAudioDevice_isInput(const std::shared_ptr<OrvAudioDevice>& device, bool isInput) {
  if (isInCycle()) {
    const auto perform = [](const orv::LoopCall& made) {
      handlerOf(made).setAudioDevice_isInput(std::static_pointer_cast<OrvAudioDevice>(made.argument),
                                             made.numbers[0] != 0);
    };
    leaveToMainThread(weak_from_this().lock(), perform, device, isInput);
    return;
  }
  const std::lock_guard guard(mutexLock);
  const bool wasRunning = isRunning();
  if (wasRunning) {
    stop();
  }
  withoutThrowing("OrvPlayThroughHandler", false, [&] {
    replaceDevice(device, isInput);
    return true;
  });
  if (wasRunning) {
    start();
  }
}

void OrvPlayThroughHandler::replaceDevice(const std::shared_ptr<OrvAudioDevice>& device, bool isInput) {
  if (audioDevice(isInput) == device) {
    return;
  }
  paths_->change([&](MonitorPath& path) { (isInput ? path.inputDevice : path.outputDevice) = device; });
  converterSetup();
}

/// Only ever adds a converter, unless a device is missing.
void OrvPlayThroughHandler::converterSetup() {
  const MonitorPath path = paths_->copy();
  if (path.inputDevice == nullptr || path.outputDevice == nullptr) {
    paths_->change([](MonitorPath& changed) { changed.sampleRateConverter = nullptr; });
    return;
  }
  const bool isOne = path.inputDevice == path.outputDevice;
  const bool isOneRate = isOne || wholeHertz(path.outputDevice->actualSampleRate(false)) ==
                                      wholeHertz(path.inputDevice->actualSampleRate(true));
  const bool areChannelsRight = !mapsChannels_ || channelsOfFirstStream(*path.inputDevice, true) ==
                                                      channelsOfFirstStream(*path.outputDevice, false);
  if (isOneRate && areChannelsRight) {
    return;
  }
  const auto converter = MonitorConverter::make(path.inputDevice->actualStreamFormat_isInput(0, true),
                                                path.outputDevice->actualStreamFormat_isInput(0, false));
  paths_->change([&](MonitorPath& changed) { changed.sampleRateConverter = converter; });
}

std::shared_ptr<OrvAudioDevice> OrvPlayThroughHandler::audioDevice(bool isInput) const {
  const MonitorPath path = paths_->copy();
  return isInput ? path.inputDevice : path.outputDevice;
}

void OrvPlayThroughHandler::setVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control) {
  if (isInCycle()) {
    const auto perform = [](const orv::LoopCall& made) {
      handlerOf(made).setVolumeControl(std::static_pointer_cast<OrvSoftwareVolumeControl>(made.argument));
    };
    leaveToMainThread(weak_from_this().lock(), perform, control);
    return;
  }
  withoutThrowing("OrvPlayThroughHandler", false, [&] {
    paths_->change([&](MonitorPath& path) { path.volumeControl = control; });
    return true;
  });
}

std::shared_ptr<OrvSoftwareVolumeControl> OrvPlayThroughHandler::volumeControl() const {
  return paths_->copy().volumeControl;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes what is heard
void OrvPlayThroughHandler::setVolumeDecibels(float decibels) {
  if (const auto control = volumeControl()) {
    control->setVolumeDecibels(decibels);
  }
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes what is heard
void OrvPlayThroughHandler::setVolumeScalar(float scalar) {
  if (const auto control = volumeControl()) {
    control->setVolumeScalar(scalar);
  }
}

void OrvPlayThroughHandler::setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor) {
  if (isInCycle()) {
    const auto perform = [](const orv::LoopCall& made) {
      handlerOf(made).setAudioProcessor(std::static_pointer_cast<OrvAudioProcessor>(made.argument));
    };
    leaveToMainThread(weak_from_this().lock(), perform, processor);
    return;
  }
  const std::lock_guard guard(mutexLock);
  withoutThrowing("OrvPlayThroughHandler", false, [&] {
    paths_->change([&](MonitorPath& path) { path.audioProcessor = processor; });
    return true;
  });
}

std::shared_ptr<OrvAudioProcessor> OrvPlayThroughHandler::audioProcessor() const {
  return paths_->copy().audioProcessor;
}

bool OrvPlayThroughHandler::start() {
  if (isInCycle()) {
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) { handlerOf(made).start(); });
    return true;
  }
  const std::lock_guard guard(playLock);
  return isRunning() || withoutThrowing("OrvPlayThroughHandler", false, [&] { return startNow(); });
}

bool OrvPlayThroughHandler::startBothOrNeither() {
  if (isInCycle()) {
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) { handlerOf(made).startBothOrNeither(); });
    return true;
  }
  const std::lock_guard guard(mutexLock);
  return audioDevice(true) != nullptr && audioDevice(false) != nullptr && start();
}

/// Requires: playLock is held, and it does not run.
bool OrvPlayThroughHandler::startNow() {
  const MonitorPath path = paths_->copy();
  makeRoom(std::max(largestBlock(path.inputDevice, true), largestBlock(path.outputDevice, false)));
  paths_->copy().handOff->bufferLock.unlockWithCondition(HandOff::kEmpty);
  const auto begin = [&](const std::shared_ptr<OrvAudioDevice>& device, bool isInput) {
    if (device == nullptr) {
      return false;
    }
    device->addAudioIOSubscriber_forInput(shared_from_this(), isInput);
    return device->start();
  };
  const bool isHeard = begin(path.outputDevice, false);
  const bool isFed = begin(path.inputDevice, true);
  _isPlayingThrough = isHeard && isFed;
  return _isPlayingThrough;
}

bool OrvPlayThroughHandler::stop() {
  if (isInCycle()) {
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) { handlerOf(made).stop(); });
    return true;
  }
  const std::lock_guard guard(playLock);
  return !isRunning() || withoutThrowing("OrvPlayThroughHandler", false, [&] { return stopNow(); });
}

/// Requires: playLock is held.
bool OrvPlayThroughHandler::stopNow() {
  _isPlayingThrough = false;
  const MonitorPath path = paths_->copy();
  const auto end = [&](const std::shared_ptr<OrvAudioDevice>& device, bool isInput) {
    if (device == nullptr) {
      return false;
    }
    const bool isStopped = device->stop();
    device->removeAudioIOSubscriber_forInput(shared_from_this(), isInput);
    return isStopped;
  };
  const bool isQuiet = end(path.outputDevice, false);
  const bool isUnfed = end(path.inputDevice, true);
  _isPlayingThrough = !isQuiet && !isUnfed;
  // Only a cycle that ended leaves lock, buffers and processor alone.
  paths_->waitForLooks();
  HandOff& handOff = *path.handOff;
  handOff.bufferLock.unlockWithCondition(HandOff::kFull);
  std::fill(handOff.playThroughBuffer.begin(), handOff.playThroughBuffer.end(), 0.0F);
  std::fill(handOff.mixBuffer.begin(), handOff.mixBuffer.end(), 0.0F);
  if (path.audioProcessor != nullptr) {
    path.audioProcessor->reset();
  }
  return !_isPlayingThrough;
}

/// Room only grows. The converter gets what it needs in cycles, too.
void OrvPlayThroughHandler::makeRoom(std::uint32_t bytes) {
  paths_->change([&](MonitorPath& path) {
    const std::uint32_t room = std::max(path.handOff->bufferLength(), std::min(bytes, HandOff::kMostBytes));
    if (room > path.handOff->bufferLength()) {
      path.handOff = std::make_shared<HandOff>(room);
    }
  });
  const MonitorPath path = paths_->copy();
  if (path.sampleRateConverter != nullptr && path.inputDevice != nullptr && !isRunning()) {
    path.sampleRateConverter->prepare(path.handOff->bufferLength(), path.inputDevice->bufferSize(true));
  }
}
