#include "OrvCoreAudio/OrvAudioDeviceUtils.h"

#include <atomic>

#include "OrvPlatform/Log.h"
#include "device/PropertyBlock.h"

OSStatus ___lastError = noErr;  // NOLINT(bugprone-reserved-identifier): the name that hosts link against

namespace {

std::atomic<bool> printDebugSwitch{false};

void logFailure(const char* what, OSStatus status, std::uint32_t propertyID) {
  orv::logf("%s: %s", what, OrvAudioDeviceUtils::errorMessage_forProperty(status, propertyID).c_str());
}

}  // namespace

bool OrvAudioDeviceUtils::canSetHardwareProperty(AudioHardwarePropertyID propertyID) {
  bool isWritable = false;
  return AudioHardwareGetPropertyInfo(propertyID, nullptr, &isWritable) == noErr && isWritable;
}

bool OrvAudioDeviceUtils::setHardwareProperty_inData(AudioHardwarePropertyID propertyID, const void* data) {
  std::uint32_t size = 0;
  bool isWritable = false;
  OSStatus status = AudioHardwareGetPropertyInfo(propertyID, &size, &isWritable);
  if (status == noErr && !isWritable) {
    orv::logf("ERR SET HW PROP: Property not writable (%s)", propertyName(propertyID).c_str());
    return false;
  }
  if (status == noErr) {
    status = AudioHardwareSetProperty(propertyID, size, data);
  }
  if (status != noErr) {
    logFailure("ERR SET HW PROP", status, propertyID);
  }
  return status == noErr;
}

std::uint32_t OrvAudioDeviceUtils::hardwarePropertySize(AudioHardwarePropertyID propertyID) {
  std::uint32_t size = 0;
  readHardwarePropertySize(propertyID, &size);
  return size;
}

void* OrvAudioDeviceUtils::hardwareProperty(AudioHardwarePropertyID propertyID) {
  return readHardwareProperty(propertyID).release();
}

bool OrvAudioDeviceUtils::canSetDeviceProperty_inPropertyID_inChannel_isInput(AudioDeviceID device,
                                                                              AudioDevicePropertyID propertyID,
                                                                              std::uint32_t channel, bool isInput) {
  bool isWritable = false;
  return AudioDeviceGetPropertyInfo(device, channel, isInput, propertyID, nullptr, &isWritable) == noErr && isWritable;
}

bool OrvAudioDeviceUtils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
    AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel, bool isInput, std::uint32_t size,
    const void* data) {
  std::uint32_t currentSize = 0;
  bool isWritable = false;
  OSStatus status = AudioDeviceGetPropertyInfo(device, channel, isInput, propertyID, &currentSize, &isWritable);
  if (!isWritable) {
    // With the status of the question: of a property that is there and read-only this tells "No error".
    logFailure("ERR SET DEV PROP NO WRITE", status, propertyID);
    if (status == noErr) {
      return false;
    }
  }
  if (status == noErr) {
    status = AudioDeviceSetProperty(device, nullptr, channel, isInput, propertyID, size, data);
  }
  if (status != noErr) {
    logFailure("ERR SET DEV PROP", status, propertyID);
  }
  return status == noErr;
}

std::uint32_t OrvAudioDeviceUtils::sizeOfPropertyData_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                                    AudioDevicePropertyID propertyID,
                                                                                    std::uint32_t channel,
                                                                                    bool isInput) {
  std::uint32_t size = 0;
  readDevicePropertySize(device, propertyID, channel, isInput, &size);
  return size;
}

void* OrvAudioDeviceUtils::anyProperty_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                     AudioDevicePropertyID propertyID,
                                                                     std::uint32_t channel, bool isInput) {
  return readDeviceProperty(device, propertyID, channel, isInput).release();
}

void* OrvAudioDeviceUtils::anyProperty_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                          bool isInput) {
  return anyProperty_propertyID_forChannel_isInput(device, propertyID, 0, isInput);
}

void* OrvAudioDeviceUtils::anyProperty_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID) {
  return anyProperty_propertyID_forChannel_isInput(device, propertyID, 0, true);
}

std::uint32_t OrvAudioDeviceUtils::integerProperty_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                                 AudioDevicePropertyID propertyID,
                                                                                 std::uint32_t channel, bool isInput) {
  return readDeviceProperty(device, propertyID, channel, isInput).first<std::uint32_t>();
}

std::uint32_t OrvAudioDeviceUtils::integerProperty_propertyID_isInput(AudioDeviceID device,
                                                                      AudioDevicePropertyID propertyID, bool isInput) {
  return integerProperty_propertyID_forChannel_isInput(device, propertyID, 0, isInput);
}

std::uint32_t OrvAudioDeviceUtils::integerProperty_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID) {
  return integerProperty_propertyID_forChannel_isInput(device, propertyID, 0, true);
}

float OrvAudioDeviceUtils::float32Property_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                         AudioDevicePropertyID propertyID,
                                                                         std::uint32_t channel, bool isInput) {
  return readDeviceProperty(device, propertyID, channel, isInput).first<float>();
}

float OrvAudioDeviceUtils::float32Property_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                              bool isInput) {
  return float32Property_propertyID_forChannel_isInput(device, propertyID, 0, isInput);
}

float OrvAudioDeviceUtils::float32Property_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID) {
  return float32Property_propertyID_forChannel_isInput(device, propertyID, 0, true);
}

double OrvAudioDeviceUtils::float64Property_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                          AudioDevicePropertyID propertyID,
                                                                          std::uint32_t channel, bool isInput) {
  return readDeviceProperty(device, propertyID, channel, isInput).first<double>();
}

double OrvAudioDeviceUtils::float64Property_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                               bool isInput) {
  return float64Property_propertyID_forChannel_isInput(device, propertyID, 0, isInput);
}

double OrvAudioDeviceUtils::float64Property_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID) {
  return float64Property_propertyID_forChannel_isInput(device, propertyID, 0, true);
}

OSStatus OrvAudioDeviceUtils::lastReportedError() {
  return std::atomic_ref<OSStatus>(___lastError).load(std::memory_order_relaxed);
}

void OrvAudioDeviceUtils::setPrintDebug(bool printDebug) {
  printDebugSwitch = printDebug;
}
