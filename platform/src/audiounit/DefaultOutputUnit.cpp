#include "audiounit/DefaultOutputUnit.h"

#include <cstring>

namespace orv::audiounit {
namespace {

constexpr bool kOutputSection = false;
constexpr std::uint32_t kWholeSection = 0;

/// Where there is no device to ask.
constexpr AudioStreamBasicDescription kUsualFormat = {
    44100.0, kAudioFormatLinearPCM, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, 8, 1, 8, 2, 32, 0};

template <class Value>
OSStatus copyOut(const Value& value, void* data, std::uint32_t* size) {
  if (data == nullptr || *size < sizeof value) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  std::memcpy(data, &value, sizeof value);
  *size = sizeof value;
  return noErr;
}

/// False where the device does not tell.
template <class Value>
bool readOutput(AudioDeviceID device, AudioDevicePropertyID property, Value* value) {
  std::uint32_t size = sizeof *value;
  return AudioDeviceGetProperty(device, kWholeSection, kOutputSection, property, &size, value) == noErr &&
         size == sizeof *value;
}

bool isThere(AudioDeviceID device) {
  std::uint32_t size = 0;
  return device != kAudioDeviceUnknown &&
         AudioDeviceGetPropertyInfo(device, kWholeSection, kOutputSection, kAudioDevicePropertyDeviceIsAlive, &size,
                                    nullptr) != kAudioHardwareBadDeviceError;
}

}  // namespace

AudioDeviceID DefaultOutputUnit::device() const {
  AudioDeviceID device = chosenDevice_;
  std::uint32_t size = sizeof device;
  if (device == kAudioDeviceUnknown &&
      AudioHardwareGetProperty(kAudioHardwarePropertyDefaultOutputDevice, &size, &device) != noErr) {
    return kAudioDeviceUnknown;
  }
  return device;
}

AudioStreamBasicDescription DefaultOutputUnit::deviceFormat() const {
  AudioStreamBasicDescription format{};
  const bool isKnown = readOutput(device(), kAudioDevicePropertyStreamFormat, &format) && format.mSampleRate > 0 &&
                       format.mChannelsPerFrame > 0;
  return isKnown ? format : kUsualFormat;
}

double DefaultOutputUnit::nominalRate() const {
  double rate = 0;
  return readOutput(device(), kAudioDevicePropertyNominalSampleRate, &rate) && rate > 0 ? rate
                                                                                        : deviceFormat().mSampleRate;
}

bool DefaultOutputUnit::isRunning() const {
  return playingDevice_ != kAudioDeviceUnknown && isThere(playingDevice_);
}

OSStatus DefaultOutputUnit::initialize() {
  OSStatus status = followDevice();
  if (status == noErr) {
    status = converter_.initialize();
  }
  isInitialized_ = status == noErr;
  return status;
}

/// An initialized converter starts afresh where the format is another one than before.
OSStatus DefaultOutputUnit::followDevice() {
  const AudioStreamBasicDescription format = deviceFormat();
  deviceChannels_ = format.mChannelsPerFrame;
  const auto set = [&](AudioUnitScope scope) {
    return converter_.setProperty(kAudioUnitProperty_StreamFormat, scope, 0, &format, sizeof format);
  };
  const OSStatus status = set(kAudioUnitScope_Output);
  return status != noErr || isInputFormatSet_ ? status : set(kAudioUnitScope_Input);
}

OSStatus DefaultOutputUnit::uninitialize() {
  stop();
  isInitialized_ = false;
  return converter_.uninitialize();
}

OSStatus DefaultOutputUnit::property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                                     void* data, std::uint32_t* size) {
  switch (property) {
    case kAudioOutputUnitProperty_CurrentDevice:
      return copyOut(device(), data, size);
    case kAudioOutputUnitProperty_IsRunning:
      return copyOut<std::uint32_t>(isRunning() ? 1 : 0, data, size);
    case kAudioUnitProperty_StreamFormat:
      if (element != 0 || scope == kAudioUnitScope_Global) {
        return kAudioUnitErr_InvalidParameter;
      }
      return scope == kAudioUnitScope_Input && isInputFormatSet_
                 ? converter_.property(property, scope, element, data, size)
                 : copyOut(deviceFormat(), data, size);
    case kAudioUnitProperty_NominalSampleRate:
      return element == 0 && scope == kAudioUnitScope_Input ? copyOut(nominalRate(), data, size)
                                                            : kAudioUnitErr_InvalidParameter;
    default:
      return converter_.property(property, scope, element, data, size);
  }
}

OSStatus DefaultOutputUnit::setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                                        const void* data, std::uint32_t size) {
  const bool isDevicesFormat = property == kAudioUnitProperty_StreamFormat && scope == kAudioUnitScope_Output;
  if (playingDevice_ != kAudioDeviceUnknown || isDevicesFormat || property == kAudioUnitProperty_NominalSampleRate ||
      property == kAudioOutputUnitProperty_IsRunning) {
    return kAudioUnitErr_OperationNotSupported;
  }
  if (property == kAudioOutputUnitProperty_CurrentDevice) {
    return setDevice(data, size);
  }
  const OSStatus status = converter_.setProperty(property, scope, element, data, size);
  isInputFormatSet_ = isInputFormatSet_ || (property == kAudioUnitProperty_StreamFormat && status == noErr);
  return status;
}

OSStatus DefaultOutputUnit::setDevice(const void* data, std::uint32_t size) {
  AudioDeviceID device = kAudioDeviceUnknown;
  if (data == nullptr || size != sizeof device) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  std::memcpy(&device, data, sizeof device);
  if (!isThere(device)) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  chosenDevice_ = device;
  return isInitialized_ ? initialize() : noErr;
}

OSStatus DefaultOutputUnit::connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) {
  return playingDevice_ != kAudioDeviceUnknown ? kAudioUnitErr_OperationNotSupported
                                               : converter_.connect(element, source, bus);
}

OSStatus DefaultOutputUnit::render(AudioUnitRenderActionFlags* /*flags*/, const AudioTimeStamp& /*timeStamp*/,
                                   std::uint32_t /*bus*/, std::uint32_t /*frames*/, AudioBufferList* data) {
  if (data != nullptr && data->mNumberBuffers > 0) {
    data->mBuffers[0].mDataByteSize = 0;
  }
  return kAudioUnitErr_OperationNotSupported;
}

OSStatus DefaultOutputUnit::start() {
  if (playingDevice_ != kAudioDeviceUnknown) {
    return noErr;
  }
  // The device may run at another rate by now than when the unit was initialized.
  OSStatus status = isInitialized_ ? followDevice() : kAudioUnitErr_Uninitialized;
  const AudioDeviceID device = this->device();
  if (status == noErr) {
    status = AudioDeviceAddIOProc(device, ioProc, this);
  }
  if (status != noErr) {
    return status;
  }
  status = AudioDeviceStart(device, ioProc, this);
  if (status != noErr) {
    AudioDeviceRemoveIOProc(device, ioProc, this);
    return status;
  }
  playingDevice_ = device;
  return noErr;
}

OSStatus DefaultOutputUnit::stop() {
  if (playingDevice_ == kAudioDeviceUnknown) {
    return noErr;
  }
  const OSStatus status = AudioDeviceStop(playingDevice_, ioProc, this);
  // A device that can't be stopped goes on without this unit.
  AudioDeviceRemoveIOProc(playingDevice_, ioProc, this);
  playingDevice_ = kAudioDeviceUnknown;
  return status;
}

OSStatus DefaultOutputUnit::ioProc(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/,
                                   const AudioBufferList* /*input*/, const AudioTimeStamp* /*inputTime*/,
                                   AudioBufferList* output, const AudioTimeStamp* outputTime, void* clientData) {
  if (output != nullptr && output->mNumberBuffers > 0 && outputTime != nullptr) {
    static_cast<DefaultOutputUnit*>(clientData)->play(*outputTime, output->mBuffers[0]);
  }
  return noErr;
}

/// The output is silent already: so it stays where it does not have the shape that the device had when it was started.
void DefaultOutputUnit::play(const AudioTimeStamp& time, const AudioBuffer& output) noexcept {
  if (output.mNumberChannels != deviceChannels_ || output.mNumberChannels == 0) {
    return;
  }
  AudioBufferList list{1, {output}};
  AudioUnitRenderActionFlags flags = 0;
  const auto frameBytes = static_cast<std::uint32_t>(output.mNumberChannels * sizeof(float));
  converter_.render(&flags, time, 0, output.mDataByteSize / frameBytes, &list);
}

}  // namespace orv::audiounit
