#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

constexpr AudioDeviceID kDevices = 12;

class OrvAudioDeviceRegistryConcurrency : public orv::test::FakeDevices {
 protected:
  OrvAudioDeviceRegistryConcurrency() {
    for (AudioDeviceID id = 1; id <= kDevices; ++id) {
      hardware->set(Place::ofInput(id, fourCC("slay")), configuration({2}));
      hardware->set(Place::ofInput(id, fourCC("lnam")), "device");
    }
  }

  void list(AudioDeviceID count) {
    std::vector<AudioDeviceID> ids;
    for (AudioDeviceID id = 1; id <= count; ++id) {
      ids.push_back(id);
    }
    hardware->listDevices(ids);
  }

  /// What a host does with the registry; how many devices it has seen.
  static std::size_t look() {
    std::size_t seen = 0;
    for (const auto& device : OrvAudioDevice::allDevicesArray().snapshot()) {
      seen += device->name() == "device" ? 1 : 0;
      OrvAudioDevice::deviceList(true).contains(device);
    }
    const auto last = OrvAudioDevice::deviceList(true).at(kDevices - 1);
    const auto found = OrvAudioDevice::allDevicesDictionary().objectForKey(kDevices);
    EXPECT_TRUE(last == nullptr || last->deviceID() == kDevices);
    EXPECT_TRUE(found == nullptr || found->deviceID() == kDevices);
    return seen;
  }
};

}  // namespace

TEST_F(OrvAudioDeviceRegistryConcurrency, CollectionsAreReadWhileOtherThreadsRebuildThem) {
  constexpr int kRebuilds = 100;
  std::atomic<bool> isOver{false};
  std::atomic<std::size_t> seen{0};
  list(kDevices);
  OrvAudioDevice::initializeListOfDevices();
  std::vector<std::thread> readers;
  for (int i = 0; i < 2; ++i) {
    readers.emplace_back([&] {
      do {
        seen += look();
      } while (!isOver);
    });
  }
  std::thread other([&] {
    for (int i = 0; i < kRebuilds; ++i) {
      OrvAudioDevice::initializeListOfDevices();
    }
  });
  for (int i = 0; i < kRebuilds; ++i) {
    list(i % 2 == 0 ? kDevices / 2 : kDevices);
    hardware->events().hardwareChanged(fourCC("dev#"));
    orv::waitForHardwareNotifications();
  }
  other.join();
  isOver = true;
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), kDevices);
  EXPECT_GT(seen, 0U);
}

TEST_F(OrvAudioDeviceRegistryConcurrency, DevicesComeAndGoOnManyThreadsWhileTheHardwareTellsOfThem) {
  std::atomic<bool> isOver{false};
  std::vector<std::thread> makers;
  for (int i = 0; i < 3; ++i) {
    makers.emplace_back([] {
      for (int made = 0; made < 200; ++made) {
        const auto device = OrvAudioDevice::initWithDeviceID(kDevice);
        device->start();
        EXPECT_EQ(device->deviceID(), kDevice);
      }
    });
  }
  std::thread teller([&] {
    while (!isOver) {
      hardware->events().deviceChanged(kDevice, 0, true, fourCC("volm"));
      orv::waitForHardwareNotifications();
      orv::RunLoop::main().pump();
    }
  });
  for (std::thread& maker : makers) {
    maker.join();
  }
  isOver = true;
  teller.join();
  EXPECT_FALSE(hardware->isRunning(kDevice));
}
