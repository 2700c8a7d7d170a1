#include "OrvCoreAudio/OrvAudioDevice.h"

#include "OrvCoreAudio/OrvAudioDeviceInfoOutput.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "WithoutThrowing.h"
#include "device/PropertyBlock.h"

using Utils = OrvAudioDeviceUtils;

namespace {

/// The section that properties are read from which don't differ between input and output.
constexpr bool kInputSection = true;
constexpr bool kOutputSection = false;
constexpr std::uint32_t kMasterChannel = 0;
constexpr std::uint32_t kFirstChannel = 1;

std::optional<std::string> readText(AudioDeviceID device, AudioDevicePropertyID property, bool isInput) {
  const PropertyBlock block = readDeviceProperty(device, property, kMasterChannel, isInput);
  return block ? std::optional(block.text()) : std::nullopt;
}

bool isSet(AudioDeviceID device, AudioDevicePropertyID property, bool isInput) {
  return Utils::integerProperty_propertyID_isInput(device, property, isInput) != 0;
}

}  // namespace

OrvAudioDevice::OrvAudioDevice(AudioDeviceID deviceID) : deviceID_(deviceID) {}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::make(AudioDeviceID deviceID) {
  return withoutThrowing("OrvAudioDevice", std::shared_ptr<OrvAudioDevice>(), [&] {
    std::shared_ptr<OrvAudioDevice> device(new OrvAudioDevice(deviceID), destroy);
    device->connect();
    return device;
  });
}

void OrvAudioDevice::connect() {
  if (AudioDeviceAddPropertyListener(deviceID(), kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                     kAudioPropertyWildcardPropertyID, devicePropertyCallback, this) != noErr) {
    orv::log("OrvAudioDevice: Unable to add property listeners");
  }
  if (AudioDeviceAddIOProc(deviceID(), ioProc, this) != noErr) {
    orv::log("OrvAudioDevice: Unable to add I/O proc");
  }
}

OrvAudioDevice::~OrvAudioDevice() {
  AudioDeviceStop(deviceID(), ioProc, this);
  AudioDeviceRemoveIOProc(deviceID(), ioProc, this);
  AudioDeviceRemovePropertyListener(deviceID(), kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                    kAudioPropertyWildcardPropertyID, devicePropertyCallback, this);
}

/// A device whose last reference goes away in its own cycle can't wait there for the cycle's end, nor may it free
/// memory.
void OrvAudioDevice::destroy(OrvAudioDevice* device) noexcept {
  if (!orv::isInHardwareCycle()) {
    delete device;
    return;
  }
  orv::LoopCall call;
  call.perform = [](const orv::LoopCall& now) { delete static_cast<OrvAudioDevice*>(now.receiver.get()); };
  call.receiver = std::shared_ptr<void>(std::shared_ptr<void>(), device);  // a plain pointer in disguise
  orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
}

std::optional<std::string> OrvAudioDevice::deviceUID() const {
  return readText(deviceID(), kAudioDevicePropertyDeviceUID, kOutputSection);
}

std::optional<std::string> OrvAudioDevice::name() const {
  return keptText(kAudioDevicePropertyDeviceNameCFString, &deviceName);
}

std::optional<std::string> OrvAudioDevice::manufacturer() const {
  return keptText(kAudioDevicePropertyDeviceManufacturerCFString, &deviceManufacturer);
}

std::optional<std::string> OrvAudioDevice::keptText(AudioDevicePropertyID property,
                                                    std::optional<std::string>* kept) const {
  {
    const std::lock_guard guard(cacheLock);
    if (*kept) {
      return *kept;
    }
  }
  // Read without the lock: the hardware may take its time. One that can't be read is asked for again next time.
  auto text = readText(deviceID(), property, kInputSection);
  const std::lock_guard guard(cacheLock);
  if (!*kept) {
    *kept = std::move(text);
  }
  return *kept;
}

bool OrvAudioDevice::isAlive() const {
  return isSet(deviceID(), kAudioDevicePropertyDeviceIsAlive, kInputSection);
}

bool OrvAudioDevice::isRunning() const {
  return isSet(deviceID(), kAudioDevicePropertyDeviceIsRunning, kInputSection);
}

bool OrvAudioDevice::canBeDefaultDevice() const {
  return isSet(deviceID(), kAudioDevicePropertyDeviceCanBeDefaultDevice, kInputSection);
}

bool OrvAudioDevice::canBeDefaultSystemDevice() const {
  return isSet(deviceID(), kAudioDevicePropertyDeviceCanBeDefaultSystemDevice, kInputSection);
}

bool OrvAudioDevice::supportsMixing() const {
  return isSet(deviceID(), kAudioDevicePropertySupportsMixing, kOutputSection);
}

bool OrvAudioDevice::jackIsConnected(bool isInput) const {
  return Utils::integerProperty_propertyID_forChannel_isInput(deviceID(), kAudioDevicePropertyJackIsConnected,
                                                              kFirstChannel, isInput) != 0;
}

bool OrvAudioDevice::canBeInputDevice() const {
  return numberOfStreams(true) > 0;
}

bool OrvAudioDevice::canBeOutputDevice() const {
  return numberOfStreams(false) > 0;
}

std::string OrvAudioDevice::description() const {
  constexpr const char* kNoText = "(null)";
  return name().value_or(kNoText) + " by " + manufacturer().value_or(kNoText);
}

std::string OrvAudioDevice::printDeviceInfo() {
  const auto self = shared_from_this();
  std::string report = OrvAudioDeviceInfoOutput::printGlobalDeviceInfo(self);
  for (const bool isInput : {true, false}) {
    if (isInput ? canBeInputDevice() : canBeOutputDevice()) {
      report += OrvAudioDeviceInfoOutput::printDirectionalDeviceInfo_isInput(self, isInput);
    }
  }
  return report;
}
