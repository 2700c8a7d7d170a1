#include "OrvCoreAudio/OrvAudioDeviceController.h"

#include "OrvCoreAudio/OrvAudioDeviceInfoOutput.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "device/PropertyBlock.h"

namespace {

constexpr std::uint32_t kNotFound = 0xFFFFFFFF;
constexpr std::uint32_t kFirstChannel = 1;
constexpr bool kInputSection = true;

/// `kNotFound` when none fits.
template <typename Predicate>
std::uint32_t placeOf(const OrvAudioDeviceList& list, Predicate&& fits) {
  std::uint32_t place = 0;
  for (const auto& device : list.snapshot()) {
    if (fits(device)) {
      return place;
    }
    ++place;
  }
  return kNotFound;
}

std::string reportOn(const std::shared_ptr<OrvAudioDevice>& device) {
  using Info = OrvAudioDeviceInfoOutput;
  return Info::printGlobalDeviceInfo(device) + Info::printDirectionalDeviceInfo_isInput(device, true) +
         Info::printDirectionalDeviceInfo_isInput(device, false);
}

}  // namespace

OrvAudioDeviceController::~OrvAudioDeviceController() = default;

std::shared_ptr<OrvAudioDeviceController> OrvAudioDeviceController::sharedController() {
  static const auto* const shared = new std::shared_ptr<OrvAudioDeviceController>(init());
  return *shared;
}

std::shared_ptr<OrvAudioDeviceController> OrvAudioDeviceController::init() {
  return withoutThrowing("OrvAudioDeviceController", std::shared_ptr<OrvAudioDeviceController>(), [] {
    std::shared_ptr<OrvAudioDeviceController> made(new OrvAudioDeviceController);
    const auto input = OrvAudioDevice::defaultInputDevice();
    const auto output = OrvAudioDevice::defaultOutputDevice();
    made->currentInputDevice = input;
    made->currentOutputDevice = output;
    made->_masterVolumeControl = OrvSoftwareVolumeControl::init();
    made->_playThroughHandler = OrvPlayThroughHandler::init();
    made->_playThroughHandler->setAudioDevice_isInput(input, true);
    made->_playThroughHandler->setAudioDevice_isInput(output, false);
    made->_playThroughHandler->setVolumeControl(made->_masterVolumeControl);
    return made;
  });
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceController::currentDevice(bool isInput) const {
  return (isInput ? currentInputDevice : currentOutputDevice).lock();
}

std::uint32_t OrvAudioDeviceController::currentDeviceIndex(bool isInput) const {
  const auto current = currentDevice(true);
  return placeOf(deviceList(isInput), [&](const auto& device) { return device == current; });
}

void OrvAudioDeviceController::setCurrentDeviceToDeviceAtIndex_isInput(std::size_t index, bool isInput) {
  const auto device = deviceList(isInput).at(index);
  if (device == nullptr) {
    orv::logf("OrvAudioDeviceController: no %s device at index %zu", isInput ? "input" : "output", index);
    return;
  }
  (isInput ? currentInputDevice : currentOutputDevice) = device;
  if (const auto handler = playThroughHandler()) {
    handler->setAudioDevice_isInput(device, isInput);
  }
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceController::audioDeviceForAudioDeviceID(AudioDeviceID deviceID) const {
  return allDevicesDictionary().objectForKey(deviceID);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceController::audioDeviceForAudioDeviceUID(
    const std::optional<std::string>& uid) const {
  return uid ? audioDeviceForAudioDeviceID(OrvAudioDevice::audioDeviceIDForUID(uid)) : nullptr;
}

bool OrvAudioDeviceController::audioDeviceExists(const std::shared_ptr<OrvAudioDevice>& device) const {
  return device != nullptr && allDevicesDictionary().contains(device->deviceID());
}

std::uint32_t OrvAudioDeviceController::findAudioDeviceIndexWithID_isInput(AudioDeviceID deviceID, bool isInput) const {
  const std::uint32_t place =
      placeOf(deviceList(isInput), [&](const auto& device) { return device->deviceID() == deviceID; });
  return place == kNotFound ? 0 : place;
}

std::shared_ptr<OrvAudioDevice> OrvAudioDeviceController::defaultSystemOutputDevice() const {
  return OrvAudioDevice::defaultSystemOutputDevice();
}

bool OrvAudioDeviceController::setPlayThroughOn(bool on) {
  const auto input = currentDevice(true);
  const auto output = currentDevice(false);
  const std::lock_guard guard(playThroughMutexLock);
  if (playThroughIsOn_ && on) {
    return true;
  }
  if (input == output && playsThroughByHardware(input, on)) {
    playThroughIsOn_ = !playThroughIsOn_;
    hwPlayThroughIsOn = !hwPlayThroughIsOn;
    return true;
  }
  if (_playThroughHandler == nullptr) {
    return false;
  }
  return on ? _playThroughHandler->start() : _playThroughHandler->stop();
}

bool OrvAudioDeviceController::playsThroughByHardware(const std::shared_ptr<OrvAudioDevice>& device, bool on) {
  const std::uint32_t flag = on ? 1 : 0;
  return device != nullptr &&
         OrvAudioDeviceUtils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
             device->deviceID(), kAudioDevicePropertyPlayThru, kFirstChannel, kInputSection, sizeof flag, &flag);
}

bool OrvAudioDeviceController::playThroughIsOn() const {
  const auto handler = playThroughHandler();
  return handler != nullptr && handler->isRunning();
}

void OrvAudioDeviceController::setPlayThroughHandler(const std::shared_ptr<OrvPlayThroughHandler>& handler) {
  const std::lock_guard guard(playThroughMutexLock);
  _playThroughHandler = handler;
  playThroughIsOn_ = handler != nullptr && handler->isRunning();
}

std::shared_ptr<OrvPlayThroughHandler> OrvAudioDeviceController::playThroughHandler() const {
  const std::lock_guard guard(playThroughMutexLock);
  return _playThroughHandler;
}

void OrvAudioDeviceController::setMasterVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control) {
  _masterVolumeControl = control;
}

std::string OrvAudioDeviceController::printListOfDevices() const {
  std::string report;
  for (const bool isInput : {true, false}) {
    for (const auto& device : deviceList(isInput).snapshot()) {
      report += reportOn(device);
    }
  }
  return report;
}

std::string OrvAudioDeviceController::printSystemInfo() const {
  const std::size_t devices = deviceList(true).count() + deviceList(false).count();
  std::string report =
      orv::formatText("\nTotal number of devices attached to system: %u\n\n", static_cast<unsigned>(devices)) +
      orv::formatText("Boot Chime Volume Scalar:        %2.2f\n",
                      static_cast<double>(OrvAudioDevice::bootChimeVolumeScalar())) +
      orv::formatText("Boot Chime Volume Decibels:      %2.2f\n",
                      static_cast<double>(OrvAudioDevice::bootChimeVolumeDecibels()));
  if (const PropertyBlock block = readHardwareProperty(kAudioHardwarePropertyBootChimeVolumeRangeDecibels);
      block.holds<AudioValueRange>()) {
    const auto range = block.first<AudioValueRange>();
    report +=
        orv::formatText("Boot Chime Volume Range Decibels: \n\t%.2f <= x <= %.2f\n", range.mMinimum, range.mMaximum);
  }
  return report;
}
