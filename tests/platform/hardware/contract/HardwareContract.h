#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BackendUnderTest.h"
#include "OrvPlatform/AudioHardware.h"

namespace orv::test {

/// What every backend has to do, asked through the calls that hosts use. A new backend instantiates this suite:
///
///   INSTANTIATE_TEST_SUITE_P(Mine, HardwareContract, testing::Values(BackendDescription{"mine", &makeMine}), …);
class HardwareContract : public testing::TestWithParam<BackendDescription> {
 protected:
  /// What listeners were told.
  struct Told {
    AudioDeviceID device = kAudioDeviceUnknown;  ///< none: of the hardware
    bool isInput = false;
    std::uint32_t property = 0;
  };

  HardwareContract() {
    if (backend == nullptr) {
      return;
    }
    installAudioHardware(backend->hardware());
    waitForHardwareNotifications();
    AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, this);
  }
  ~HardwareContract() override {
    if (backend == nullptr) {
      return;
    }
    AudioHardwareRemovePropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, this);
    for (const AudioDeviceID heard : heard_) {
      AudioDeviceRemovePropertyListener(heard, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                        kAudioPropertyWildcardPropertyID, &deviceListener, this);
    }
    installAudioHardware(nullptr);
  }

  void SetUp() override {
    if (backend == nullptr) {
      GTEST_SKIP() << GetParam().whyNot();
    }
  }

  /// A list of values; none when it can't be read.
  template <typename Value>
  static std::vector<Value> list(AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                                 std::uint32_t channel = 0) {
    std::uint32_t size = 0;
    if (AudioDeviceGetPropertyInfo(device, channel, isInput, property, &size, nullptr) != noErr) {
      return {};
    }
    std::vector<Value> values(size / sizeof(Value));
    return AudioDeviceGetProperty(device, channel, isInput, property, &size, values.data()) == noErr
               ? values
               : std::vector<Value>();
  }

  template <typename Value>
  static std::optional<Value> value(AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                                    std::uint32_t channel = 0) {
    Value read{};
    std::uint32_t size = sizeof read;
    const OSStatus status = AudioDeviceGetProperty(device, channel, isInput, property, &size, &read);
    return status == noErr && size == sizeof read ? std::optional(read) : std::nullopt;
  }

  template <typename Value>
  static std::optional<Value> streamValue(AudioStreamID stream, AudioStreamPropertyID property) {
    Value read{};
    std::uint32_t size = sizeof read;
    const OSStatus status = AudioStreamGetProperty(stream, 0, property, &size, &read);
    return status == noErr && size == sizeof read ? std::optional(read) : std::nullopt;
  }

  static std::string text(AudioDeviceID device, AudioDevicePropertyID property) {
    const auto characters = list<char>(device, false, property);
    return {characters.begin(), characters.end()};
  }

  static std::vector<AudioDeviceID> devices() {
    std::uint32_t size = 0;
    AudioHardwareGetPropertyInfo(kAudioHardwarePropertyDevices, &size, nullptr);
    std::vector<AudioDeviceID> ids(size / sizeof(AudioDeviceID));
    AudioHardwareGetProperty(kAudioHardwarePropertyDevices, &size, ids.data());
    return ids;
  }

  /// Channels of each stream of a section, by its configuration.
  static std::vector<std::uint32_t> configuration(AudioDeviceID device, bool isInput) {
    const auto bytes = list<char>(device, isInput, kAudioDevicePropertyStreamConfiguration);
    std::vector<std::uint32_t> channels;
    std::uint32_t count = 0;
    if (bytes.size() >= sizeof count) {
      std::memcpy(&count, bytes.data(), sizeof count);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      AudioBuffer buffer{};
      const std::size_t offset = offsetof(AudioBufferList, mBuffers) + i * sizeof buffer;
      if (offset + sizeof buffer <= bytes.size()) {
        std::memcpy(&buffer, bytes.data() + offset, sizeof buffer);
        channels.push_back(buffer.mNumberChannels);
      }
    }
    return channels;
  }

  void hear(AudioDeviceID device) {
    heard_.push_back(device);
    AudioDeviceAddPropertyListener(device, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                   kAudioPropertyWildcardPropertyID, &deviceListener, this);
  }
  bool wasTold(AudioDeviceID device, std::uint32_t property) {
    waitForHardwareNotifications();
    const std::lock_guard guard(toldLock_);
    for (const Told& one : told_) {
      if (one.device == device && one.property == property) {
        return true;
      }
    }
    return false;
  }

  const std::unique_ptr<BackendUnderTest> backend = isPossible() ? GetParam().make() : nullptr;

 private:
  static bool isPossible() { return !GetParam().whyNot || GetParam().whyNot().empty(); }
  static OSStatus hardwareListener(AudioHardwarePropertyID property, void* clientData) {
    static_cast<HardwareContract*>(clientData)->note({kAudioDeviceUnknown, false, property});
    return noErr;
  }
  static OSStatus deviceListener(AudioDeviceID device, std::uint32_t /*channel*/, bool isInput,
                                 AudioDevicePropertyID property, void* clientData) {
    static_cast<HardwareContract*>(clientData)->note({device, isInput, property});
    return noErr;
  }
  void note(const Told& told) {
    const std::lock_guard guard(toldLock_);
    told_.push_back(told);
  }

  std::vector<AudioDeviceID> heard_;
  std::mutex toldLock_;
  std::vector<Told> told_;  // guarded by toldLock_
};

}  // namespace orv::test
