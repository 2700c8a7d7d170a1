#include "audiounit/DefaultOutputUnit.h"

#include <cstring>

namespace orv::audiounit {
namespace {

constexpr double kSampleRate = 44100.0;
constexpr AudioStreamBasicDescription kFormat = {
    kSampleRate, kAudioFormatLinearPCM, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, 8, 1, 8, 2, 32, 0};

template <class Value>
OSStatus copyOut(const Value& value, void* data, std::uint32_t* size) {
  if (data == nullptr || *size < sizeof value) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  std::memcpy(data, &value, sizeof value);
  *size = sizeof value;
  return noErr;
}

}  // namespace

OSStatus DefaultOutputUnit::property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                                     void* data, std::uint32_t* size) {
  if (element != 0 || scope != kAudioUnitScope_Input) {
    return kAudioUnitErr_InvalidParameter;
  }
  switch (property) {
    case kAudioUnitProperty_StreamFormat:
      return copyOut(kFormat, data, size);
    case kAudioUnitProperty_NominalSampleRate:
      return copyOut(kSampleRate, data, size);
    default:
      return kAudioUnitErr_InvalidProperty;
  }
}

OSStatus DefaultOutputUnit::setProperty(AudioUnitPropertyID /*property*/, AudioUnitScope /*scope*/,
                                        AudioUnitElement /*element*/, const void* /*data*/, std::uint32_t /*size*/) {
  return kAudioUnitErr_OperationNotSupported;
}

OSStatus DefaultOutputUnit::connect(AudioUnitElement /*element*/, RenderUnit* /*source*/, std::uint32_t /*bus*/) {
  return kAudioUnitErr_OperationNotSupported;
}

OSStatus DefaultOutputUnit::render(AudioUnitRenderActionFlags* /*flags*/, const AudioTimeStamp& /*timeStamp*/,
                                   std::uint32_t /*bus*/, std::uint32_t /*frames*/, AudioBufferList* data) {
  if (data != nullptr && data->mNumberBuffers > 0) {
    data->mBuffers[0].mDataByteSize = 0;
  }
  return kAudioUnitErr_OperationNotSupported;
}

}  // namespace orv::audiounit
