#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "support/ScriptedHardware.h"

namespace orv::test {

/// Hardware of several devices, whose cycles a test makes one by one.
class SteppedHardware final : public ScriptedHardware {
 public:
  /// Describe it before it is started.
  struct Device {
    double rate = 48000;
    std::uint32_t frames = 16;
    std::uint32_t inputChannels = 2;
    std::uint32_t outputChannels = 2;
    bool hasPlayThru = false;
    std::atomic<std::uint32_t> playThru{0};
    int playThruWrites = 0;
    std::vector<float> input;
    std::vector<float> output;
    bool isGone = false;
    bool hasTimes = true;
    std::uint64_t cycles = 0;
    std::atomic<HardwareCycleSink*> sink{nullptr};
  };

  Device& at(AudioDeviceID id) { return *devices_.at(id); }
  Device& add(AudioDeviceID id) {
    devices_[id] = std::make_unique<Device>();
    return at(id);
  }
  AudioDeviceID defaultInput = 0;
  AudioDeviceID defaultOutput = 0;
  std::optional<AudioValueRange> chimeRange;

  bool isRunning(AudioDeviceID id) { return at(id).sink != nullptr; }

  /// One cycle of the device, on the calling thread. Its output is what the procs left in it.
  std::vector<float>& cycle(AudioDeviceID id) {
    Device& device = at(id);
    device.input.resize(std::size_t{device.frames} * device.inputChannels);
    device.output.assign(std::size_t{device.frames} * device.outputChannels, 99.0F);
    const auto list = [](std::vector<float>& samples, std::uint32_t channels) {
      const auto bytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
      return AudioBufferList{channels > 0 ? 1U : 0U, {{channels, bytes, samples.data()}}};
    };
    const AudioBufferList in = list(device.input, device.inputChannels);
    AudioBufferList out = list(device.output, device.outputChannels);
    HardwareCycle made{};
    if (device.hasTimes) {
      made.now = {static_cast<double>(device.cycles * device.frames), device.cycles * 1000, 1,
                  kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid, 0};
    }
    ++device.cycles;
    made.input = &in;
    made.output = &out;
    if (HardwareCycleSink* const sink = device.sink) {
      sink->cycle(made);
    }
    return device.output;
  }

  OSStatus hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) override {
    *isWritable = false;
    std::array<std::uint64_t, 8> room{};
    *size = sizeof room;
    return hardwareProperty(property, size, room.data());
  }
  OSStatus hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) override {
    switch (property) {
      case kAudioHardwarePropertyDevices: {
        const auto ids = present();
        *size = static_cast<std::uint32_t>(ids.size() * sizeof(AudioDeviceID));
        if (!ids.empty()) {
          std::memcpy(data, ids.data(), *size);
        }
        return noErr;
      }
      case kAudioHardwarePropertyDefaultInputDevice:
        return give(defaultInput, size, data);
      case kAudioHardwarePropertyDefaultOutputDevice:
      case kAudioHardwarePropertyDefaultSystemOutputDevice:
        return give(defaultOutput, size, data);
      case kAudioHardwarePropertyBootChimeVolumeRangeDecibels:
        return chimeRange ? give(*chimeRange, size, data) : kAudioHardwareUnknownPropertyError;
      default:
        return kAudioHardwareUnknownPropertyError;
    }
  }

  OSStatus devicePropertyInfo(AudioDeviceID id, std::uint32_t /*channel*/, bool isInput, AudioDevicePropertyID property,
                              std::uint32_t* size, bool* isWritable) override {
    if (!isThere(id)) {
      return kAudioHardwareBadDeviceError;
    }
    std::array<std::uint64_t, 8> room{};
    *size = sizeof room;
    *isWritable = property == kAudioDevicePropertyPlayThru && at(id).hasPlayThru;
    return deviceProperty(id, 0, isInput, property, size, room.data());
  }
  OSStatus deviceProperty(AudioDeviceID id, std::uint32_t /*channel*/, bool isInput, AudioDevicePropertyID property,
                          std::uint32_t* size, void* data) override {
    if (!isThere(id)) {
      return kAudioHardwareBadDeviceError;
    }
    const Device& device = at(id);
    const std::uint32_t channels = isInput ? device.inputChannels : device.outputChannels;
    const auto frameBytes = static_cast<std::uint32_t>(channels * sizeof(float));
    switch (property) {
      case kAudioDevicePropertyDeviceIsAlive:
        return give(1U, size, data);
      case kAudioDevicePropertyActualSampleRate:
      case kAudioDevicePropertyNominalSampleRate:
        return give(device.rate, size, data);
      case kAudioDevicePropertyBufferSize:
        return give(device.frames * frameBytes, size, data);
      case kAudioDevicePropertyBufferFrameSize:
        return give(device.frames, size, data);
      case kAudioDevicePropertyBufferFrameSizeRange:
        return give(AudioValueRange{16, 512}, size, data);
      case kAudioDevicePropertyStreamConfiguration:
        return give(AudioBufferList{channels > 0 ? 1U : 0U, {{channels, 0, nullptr}}}, size, data);
      case kAudioDevicePropertyStreamFormat:
        return give(AudioStreamBasicDescription{device.rate, kAudioFormatLinearPCM,
                                                kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, frameBytes, 1,
                                                frameBytes, channels, 32, 0},
                    size, data);
      case kAudioDevicePropertyPlayThru:
        return device.hasPlayThru ? give(device.playThru.load(), size, data) : kAudioHardwareUnknownPropertyError;
      default:
        return kAudioHardwareUnknownPropertyError;
    }
  }
  OSStatus setDeviceProperty(AudioDeviceID id, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                             std::uint32_t size, const void* data) override {
    if (!isThere(id)) {
      return kAudioHardwareBadDeviceError;
    }
    if (property != kAudioDevicePropertyPlayThru || !at(id).hasPlayThru || channel != 1 || !isInput || size != 4) {
      return kAudioHardwareUnknownPropertyError;
    }
    std::uint32_t flag = 0;
    std::memcpy(&flag, data, sizeof flag);
    at(id).playThru = flag;
    ++at(id).playThruWrites;
    return noErr;
  }

  OSStatus start(AudioDeviceID id, HardwareCycleSink* sink) override {
    if (startStatus == noErr) {
      at(id).sink = sink;
    }
    return startStatus;
  }
  OSStatus stop(AudioDeviceID id) override {
    if (stopStatus == noErr) {
      at(id).sink = nullptr;
    }
    return stopStatus;
  }

 private:
  bool isThere(AudioDeviceID id) const { return devices_.contains(id) && !devices_.at(id)->isGone; }
  std::vector<AudioDeviceID> present() const {
    std::vector<AudioDeviceID> ids;
    for (const auto& [id, device] : devices_) {
      if (!device->isGone) {
        ids.push_back(id);
      }
    }
    return ids;
  }
  template <typename Value>
  static OSStatus give(const Value& value, std::uint32_t* size, void* data) {
    if (*size < sizeof value) {
      return kAudioHardwareBadPropertySizeError;
    }
    std::memcpy(data, &value, sizeof value);
    *size = sizeof value;
    return noErr;
  }

  std::map<AudioDeviceID, std::unique_ptr<Device>> devices_;
};

}  // namespace orv::test
