#pragma once

#include <OrvCoreAudio/OrvAudioDevice.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/RunLoop.h"
#include "support/FakeHardware.h"
#include "support/LogCapture.h"

namespace orv::test {

/// Tests over a table of properties in the hardware's place. Each begins and ends with an empty registry.
class FakeDevices : public ::testing::Test {
 protected:
  static constexpr AudioDeviceID kDevice = 40;

  FakeDevices() {
    emptyRegistry();
    hardware->listDevices({});
    hardware->addDevice(kDevice);
    installAudioHardware(hardware);
    waitForHardwareNotifications();
  }
  FakeDevices(const FakeDevices&) = delete;
  FakeDevices& operator=(const FakeDevices&) = delete;
  ~FakeDevices() override { emptyRegistry(); }

  /// A configuration of one buffer for each number of channels.
  static std::string configuration(const std::vector<std::uint32_t>& channels) {
    std::string bytes = bytesOf(std::uint64_t{channels.size()});  // the count and the gap behind it
    for (const std::uint32_t count : channels) {
      bytes += bytesOf(AudioBuffer{count, 0, nullptr});
    }
    return bytes;
  }

  /// A format that differs from others by its rate.
  static AudioStreamBasicDescription format(double rate) {
    return {rate, kAudioFormatLinearPCM, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, 8, 1, 8, 2, 32, 0};
  }

  /// A device that is not in the registry.
  std::shared_ptr<OrvAudioDevice> device() { return OrvAudioDevice::initWithDeviceID(kDevice); }

  const std::shared_ptr<FakeHardware> hardware = std::make_shared<FakeHardware>();

 private:
  static void emptyRegistry() {
    auto none = std::make_shared<FakeHardware>();
    none->listDevices({});
    installAudioHardware(none);
    OrvAudioDevice::initializeListOfDevices();
    waitForHardwareNotifications();
    RunLoop::main().pump();
  }
};

}  // namespace orv::test
