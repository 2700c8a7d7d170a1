#include "OrvCoreAudio/OrvVUMeterDataProvider.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "device/PeakScan.h"

const char* const OrvVUMeterDataProviderDidStartNotification = "OrvVUMeterDataProviderDidStartNotification";
const char* const OrvVUMeterDataProviderDidStopNotification = "OrvVUMeterDataProviderDidStopNotification";
const char* const OrvVUMeterDataProviderNewDataIsAvailableNotification =
    "OrvVUMeterDataProviderNewDataIsAvailableNotification";

namespace {

/// `object` without a share in keeping it, for operations that want such a pointer in a destructor.
std::shared_ptr<OrvCoreAudioIOSubscriber> unowned(OrvCoreAudioIOSubscriber* object) {
  return {std::shared_ptr<void>(), object};
}

}  // namespace

std::string OrvVUMeterDataProvider::classDescription() {
  return "OrvVUMeterDataProvider";
}

std::shared_ptr<OrvVUMeterDataProvider> OrvVUMeterDataProvider::init() {
  return std::shared_ptr<OrvVUMeterDataProvider>(new OrvVUMeterDataProvider);
}

std::shared_ptr<OrvVUMeterDataProvider> OrvVUMeterDataProvider::initWithAudioDevice(
    const std::shared_ptr<OrvAudioDevice>& device) {
  auto made = init();
  made->setAudioDevice(device);
  return made;
}

std::shared_ptr<OrvVUMeterDataProvider> OrvVUMeterDataProvider::initOwnedByAudioDevice(
    const std::shared_ptr<OrvAudioDevice>& device) {
  auto made = init();
  made->ownerDevice_ = device;
  return made;
}

OrvVUMeterDataProvider::~OrvVUMeterDataProvider() {
  if (const auto device = audioDevice()) {
    device->removeAudioIOSubscriber_forInput(unowned(this), true);
  }
}

void OrvVUMeterDataProvider::setAudioDevice(const std::shared_ptr<OrvAudioDevice>& device) {
  const bool wasRunning = _shouldProvideData;
  stop();
  _audioDevice = device;
  ownerDevice_.reset();
  if (wasRunning) {
    start();
  }
}

std::shared_ptr<OrvAudioDevice> OrvVUMeterDataProvider::audioDevice() const {
  return _audioDevice != nullptr ? _audioDevice : ownerDevice_.lock();
}

void OrvVUMeterDataProvider::start() {
  const auto device = audioDevice();
  if (_shouldProvideData || device == nullptr || !device->start()) {
    return;
  }
  _audioDevice = device;
  device->addAudioIOSubscriber_forInput(shared_from_this(), true);
  _shouldProvideData = true;
  announce(OrvVUMeterDataProviderDidStartNotification);
}

void OrvVUMeterDataProvider::stop() {
  if (!_shouldProvideData || !_audioDevice->stop()) {
    return;
  }
  _audioDevice->removeAudioIOSubscriber_forInput(shared_from_this(), true);
  _shouldProvideData = false;
  if (!ownerDevice_.expired()) {
    _audioDevice = nullptr;
  }
  announce(OrvVUMeterDataProviderDidStopNotification);
}

void OrvVUMeterDataProvider::announce(const char* name) {
  orv::LoopCall call;
  call.receiver = shared_from_this();
  call.name = name;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvVUMeterDataProvider*>(made.receiver.get())->startStopCallback(made.name);
  };
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

void OrvVUMeterDataProvider::setNotificationInterval(std::uint32_t interval) {
  notificationInterval.store(std::max<std::uint32_t>(interval, 1), std::memory_order_relaxed);
}

float* OrvVUMeterDataProvider::findMaxValues_numChannels_length(const float* samples, std::uint32_t channels,
                                                                std::uint32_t length) const {
  auto* const peaks = channels == 0 ? nullptr : static_cast<float*>(std::calloc(channels, sizeof(float)));
  if (peaks != nullptr && samples != nullptr) {
    raisePeaks(samples, channels, length, peaks, channels);
  }
  return peaks;
}

OSStatus OrvVUMeterDataProvider::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* inputData,
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  if (!_shouldProvideData.load(std::memory_order_relaxed) || inputData == nullptr || inputData->mNumberBuffers == 0) {
    return noErr;
  }
  if (notificationCount % notificationInterval.load(std::memory_order_relaxed) != 0) {
    ++notificationCount;
    return noErr;
  }
  const AudioBuffer& buffer = inputData->mBuffers[0];
  float peaks[OrvVUMeterData::kChannels] = {};
  if (buffer.mData != nullptr) {
    raisePeaks(static_cast<const float*>(buffer.mData), buffer.mNumberChannels, buffer.mDataByteSize, peaks,
               OrvVUMeterData::kChannels);
  }
  _meterData->setData_length(peaks, std::min(buffer.mNumberChannels, OrvVUMeterData::kChannels));
  orv::LoopCall call;
  call.receiver = shared_from_this();
  call.argument = _meterData;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvVUMeterDataProvider*>(made.receiver.get())
        ->threadCallback(std::static_pointer_cast<OrvVUMeterData>(made.argument));
  };
  orv::RunLoop::main().post(orv::LoopPriority::highRate, std::move(call));
  notificationCount = 1;
  return noErr;
}

void OrvVUMeterDataProvider::threadCallback(const std::shared_ptr<OrvVUMeterData>& data) {
  if (data != nullptr) {
    orv::NotificationCenter::defaultCenter().post(data->name(), data);
  }
}

void OrvVUMeterDataProvider::startStopCallback(const std::string& name) {
  orv::NotificationCenter::defaultCenter().post(name, shared_from_this());
}
