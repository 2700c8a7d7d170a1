#include <mutex>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "device/DeviceRegistry.h"
#include "device/PropertyBlock.h"

namespace {

constexpr AudioDeviceID kNoDeviceForUID = 0xFFFFFFFF;

/// The class as an object, for notifications.
class DeviceClass final : public OrvObject {
 public:
  std::string description() const override { return "OrvAudioDevice"; }
};

/// How many characters a UTF-8 text has: as many as it has bytes that begin one.
std::uint32_t characterCount(const std::string& text) {
  std::uint32_t count = 0;
  for (const char byte : text) {
    count += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U ? 1 : 0;
  }
  return count;
}

std::shared_ptr<OrvAudioDevice> deviceNamedBy(AudioHardwarePropertyID property) {
  const auto& devices = OrvAudioDevice::allDevicesDictionary();
  const PropertyBlock block = readHardwareProperty(property);
  return block ? devices.objectForKey(block.first<AudioDeviceID>()) : nullptr;
}

}  // namespace

void OrvAudioDevice::initialize() {
  // Whoever comes back here from inside, a log sink say, finds the registry as far as it is built.
  static thread_local bool isUnderWay = false;
  static std::once_flag once;
  if (isUnderWay) {
    return;
  }
  bool isToBeCompared = false;
  std::call_once(once, [&] {
    isUnderWay = true;
    const bool isBuilt = rebuildRegistry();
    const OSStatus status =
        AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, hardwarePropertyCallback, nullptr);
    if (status != noErr) {
      // The controller's words, whoever finds out.
      orv::log("OrvAudioDeviceController:init: Unable to register hardware property listeners");
    }
    isToBeCompared = isBuilt && status == noErr;
    isUnderWay = false;
  });
  if (isToBeCompared) {
    rebuildRegistry();  // what came or went before the listener was there was not told to anybody
  }
}

bool OrvAudioDevice::rebuildRegistry() {
  return withoutThrowing("OrvAudioDevice", false, [] { return DeviceRegistry::shared().rebuild(make); });
}

void OrvAudioDevice::initializeListOfDevices() {
  initialize();
  rebuildRegistry();
}

const OrvAudioDeviceDictionary& OrvAudioDevice::allDevicesDictionary() {
  initialize();
  static const OrvAudioDeviceDictionary dictionary;
  return dictionary;
}

const OrvAudioDeviceList& OrvAudioDevice::allDevicesArray() {
  initialize();
  static const OrvAudioDeviceList list(OrvAudioDeviceList::Kind::all);
  return list;
}

const OrvAudioDeviceList& OrvAudioDevice::deviceList(bool isInput) {
  initialize();
  static const OrvAudioDeviceList inputs(OrvAudioDeviceList::Kind::input);
  static const OrvAudioDeviceList outputs(OrvAudioDeviceList::Kind::output);
  return isInput ? inputs : outputs;
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::defaultInputDevice() {
  return deviceNamedBy(kAudioHardwarePropertyDefaultInputDevice);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::defaultOutputDevice() {
  return deviceNamedBy(kAudioHardwarePropertyDefaultOutputDevice);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::defaultSystemOutputDevice() {
  return deviceNamedBy(kAudioHardwarePropertyDefaultSystemOutputDevice);
}

bool OrvAudioDevice::isDefaultDevice(bool isInput) const {
  const PropertyBlock block = readHardwareProperty(isInput ? kAudioHardwarePropertyDefaultInputDevice
                                                           : kAudioHardwarePropertyDefaultOutputDevice);
  return block && block.first<AudioDeviceID>() == deviceID();
}

AudioDeviceID OrvAudioDevice::audioDeviceIDForUID(const std::optional<std::string>& uid) {
  initialize();
  std::string text = uid.value_or("");
  AudioDeviceID deviceID = kAudioDeviceUnknown;
  AudioValueTranslation translation{text.data(), characterCount(text), &deviceID, sizeof deviceID};
  std::uint32_t size = sizeof translation;
  OSStatus status = AudioHardwareGetProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation);
  const bool isEmpty = size == 0 || translation.mOutputDataSize == 0;
  if (status == noErr && !isEmpty && deviceID == kAudioDeviceUnknown) {
    status = kAudioHardwareBadDeviceError;
  }
  if (status != noErr || isEmpty) {
    orv::logf("ERROR: %s", OrvAudioDeviceUtils::errorMessage(status).c_str());
    return kNoDeviceForUID;
  }
  return deviceID;
}

float OrvAudioDevice::bootChimeVolumeScalar() {
  initialize();
  return readHardwareProperty(kAudioHardwarePropertyBootChimeVolumeScalar).first<float>();
}

float OrvAudioDevice::bootChimeVolumeDecibels() {
  initialize();
  return readHardwareProperty(kAudioHardwarePropertyBootChimeVolumeDecibels).first<float>();
}

std::shared_ptr<OrvAudioValueRange> OrvAudioDevice::bootChimeVolumeRangeDecibels() {
  initialize();
  const auto range = readHardwareProperty(kAudioHardwarePropertyBootChimeVolumeRangeDecibels).first<AudioValueRange>();
  return OrvAudioValueRange::initWithAudioValueRange(&range);
}

std::shared_ptr<OrvObject> OrvAudioDevice::classObject() {
  static const auto* const object = new std::shared_ptr<OrvObject>(new DeviceClass);
  return *object;
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::initWithDeviceID(AudioDeviceID deviceID) {
  initialize();
  return make(deviceID);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::initWithDeviceUID(const std::optional<std::string>& uid) {
  const AudioDeviceID deviceID = audioDeviceIDForUID(uid);
  return deviceID == kNoDeviceForUID ? nullptr : make(deviceID);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::deviceWithDeviceID(AudioDeviceID deviceID) {
  return initWithDeviceID(deviceID);
}

std::shared_ptr<OrvAudioDevice> OrvAudioDevice::deviceWithDeviceUID(const std::optional<std::string>& uid) {
  return initWithDeviceUID(uid);
}
