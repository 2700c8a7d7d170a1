#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"

namespace orv::test {

/// A backend of one device with a stereo stream each way, whose cycles a test makes one by one. It answers the few
/// properties that the service itself asks for.
class ScriptedHardware : public AudioHardware {
 public:
  static constexpr AudioDeviceID kDevice = 7;
  static constexpr std::uint32_t kFrames = 16;
  static constexpr std::uint32_t kChannels = 2;

  OSStatus startStatus = noErr;
  OSStatus stopStatus = noErr;
  bool isThere = true;
  bool throws = false;
  std::vector<const char*> calls;  ///< "start" and "stop" in their order
  std::array<float, kFrames * kChannels> input{};
  std::array<float, kFrames * kChannels> output{};

  HardwareEvents& events() { return *events_; }
  bool isRunning() const { return sink_ != nullptr; }

  /// One cycle on the calling thread; nothing when the device is stopped.
  void cycle() {
    output.fill(99.0F);
    const AudioBufferList in{1, {{kChannels, sizeof input, input.data()}}};
    AudioBufferList out{1, {{kChannels, sizeof output, output.data()}}};
    cycle(in, out);
  }
  void cycle(const AudioBufferList& in, AudioBufferList& out) {
    HardwareCycle made{};
    made.now.mSampleTime = 1000;
    made.inputTime.mSampleTime = 900;
    made.outputTime.mSampleTime = 1100;
    made.input = &in;
    made.output = &out;
    if (HardwareCycleSink* const sink = sink_) {
      sink->cycle(made);
    }
  }

  void setEvents(HardwareEvents* events) override { events_ = events; }

  OSStatus hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) override {
    if (throws) {
      throw std::runtime_error("no such luck");
    }
    *size = sizeof(AudioDeviceID);
    *isWritable = false;
    return property == kAudioHardwarePropertyDevices ? noErr : kAudioHardwareUnknownPropertyError;
  }
  OSStatus hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) override {
    if (property != kAudioHardwarePropertyDevices) {
      return kAudioHardwareUnknownPropertyError;
    }
    return give(kDevice, size, data);
  }
  OSStatus setHardwareProperty(AudioHardwarePropertyID /*property*/, std::uint32_t /*size*/,
                               const void* /*data*/) override {
    return kAudioHardwareUnknownPropertyError;
  }

  OSStatus devicePropertyInfo(AudioDeviceID device, std::uint32_t /*channel*/, bool /*isInput*/,
                              AudioDevicePropertyID /*property*/, std::uint32_t* size, bool* isWritable) override {
    if (device != kDevice || !isThere) {
      return kAudioHardwareBadDeviceError;
    }
    *size = sizeof(AudioBufferList);
    *isWritable = false;
    return noErr;
  }
  OSStatus deviceProperty(AudioDeviceID device, std::uint32_t /*channel*/, bool /*isInput*/,
                          AudioDevicePropertyID property, std::uint32_t* size, void* data) override {
    if (device != kDevice || !isThere) {
      return kAudioHardwareBadDeviceError;
    }
    if (property == kAudioDevicePropertyBufferFrameSizeRange) {
      return give(AudioValueRange{kFrames, kFrames}, size, data);
    }
    if (property == kAudioDevicePropertyStreamConfiguration) {
      return give(AudioBufferList{1, {{kChannels, 0, nullptr}}}, size, data);
    }
    return kAudioHardwareUnknownPropertyError;
  }
  OSStatus setDeviceProperty(AudioDeviceID /*device*/, std::uint32_t /*channel*/, bool /*isInput*/,
                             AudioDevicePropertyID /*property*/, std::uint32_t /*size*/,
                             const void* /*data*/) override {
    return kAudioHardwareUnknownPropertyError;
  }

  OSStatus streamPropertyInfo(AudioStreamID /*stream*/, std::uint32_t /*channel*/, AudioStreamPropertyID /*property*/,
                              std::uint32_t* /*size*/, bool* /*isWritable*/) override {
    return kAudioHardwareBadStreamError;
  }
  OSStatus streamProperty(AudioStreamID /*stream*/, std::uint32_t /*channel*/, AudioStreamPropertyID /*property*/,
                          std::uint32_t* /*size*/, void* /*data*/) override {
    return kAudioHardwareBadStreamError;
  }
  OSStatus setStreamProperty(AudioStreamID /*stream*/, std::uint32_t /*channel*/, AudioStreamPropertyID /*property*/,
                             std::uint32_t /*size*/, const void* /*data*/) override {
    return kAudioHardwareBadStreamError;
  }

  OSStatus start(AudioDeviceID /*device*/, HardwareCycleSink* sink) override {
    calls.push_back("start");
    if (startStatus == noErr) {
      sink_ = sink;
    }
    return startStatus;
  }
  OSStatus stop(AudioDeviceID /*device*/) override {
    calls.push_back("stop");
    if (stopStatus == noErr) {
      sink_ = nullptr;
    }
    return stopStatus;
  }

 private:
  template <typename Value>
  static OSStatus give(const Value& value, std::uint32_t* size, void* data) {
    if (*size < sizeof value) {
      return kAudioHardwareBadPropertySizeError;
    }
    std::memcpy(data, &value, sizeof value);
    *size = sizeof value;
    return noErr;
  }

  HardwareEvents* events_ = nullptr;
  std::atomic<HardwareCycleSink*> sink_{nullptr};
};

}  // namespace orv::test
