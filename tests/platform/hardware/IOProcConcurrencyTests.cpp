#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "support/ScriptedHardware.h"

namespace {

using orv::test::ScriptedHardware;

constexpr AudioDeviceID kDevice = ScriptedHardware::kDevice;

struct Client {
  std::atomic<bool> mayBeCalled{true};
  std::atomic<int>* late = nullptr;
};

OSStatus proc(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
              const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*output*/, const AudioTimeStamp* /*outputTime*/,
              void* clientData) {
  const auto* const client = static_cast<const Client*>(clientData);
  *client->late += client->mayBeCalled ? 0 : 1;
  return noErr;
}

OSStatus idle(AudioDeviceID /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*input*/,
              const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*output*/, const AudioTimeStamp* /*outputTime*/,
              void* /*clientData*/) {
  return noErr;
}

}  // namespace

TEST(IOProcConcurrency, AProcIsNotCalledAfterItsRemovalHasReturned) {
  const auto hardware = std::make_shared<ScriptedHardware>();
  orv::installAudioHardware(hardware);
  // Keeps the device running, so that the cycles below never meet a stop.
  ASSERT_EQ(AudioDeviceAddIOProc(kDevice, &idle, nullptr), noErr);
  ASSERT_EQ(AudioDeviceStart(kDevice, &idle, nullptr), noErr);
  std::atomic<bool> isDone{false};
  std::thread device([&] {
    while (!isDone) {
      hardware->cycle();
    }
  });
  std::atomic<int> late{0};
  std::vector<std::thread> hosts;
  for (int thread = 0; thread < 3; ++thread) {
    hosts.emplace_back([&] {
      for (int i = 0; i < 300; ++i) {
        Client client;
        client.late = &late;
        EXPECT_EQ(AudioDeviceAddIOProc(kDevice, &proc, &client), noErr);
        EXPECT_EQ(AudioDeviceStart(kDevice, &proc, &client), noErr);
        EXPECT_EQ(AudioDeviceRemoveIOProc(kDevice, &proc, &client), noErr);
        client.mayBeCalled = false;
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  isDone = true;
  device.join();
  EXPECT_EQ(late, 0);
  orv::installAudioHardware(nullptr);
}

TEST(IOProcConcurrency, AListenerIsNotToldAfterItsRemovalHasReturned) {
  const auto hardware = std::make_shared<ScriptedHardware>();
  orv::installAudioHardware(hardware);
  std::atomic<bool> isDone{false};
  std::thread changes([&] {
    while (!isDone) {
      hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
      std::this_thread::yield();
    }
  });
  std::atomic<int> late{0};
  for (int i = 0; i < 500; ++i) {
    Client client;
    client.late = &late;
    const auto listener = [](AudioHardwarePropertyID, void* clientData) -> OSStatus {
      const auto* const told = static_cast<const Client*>(clientData);
      *told->late += told->mayBeCalled ? 0 : 1;
      return noErr;
    };
    AudioHardwareAddPropertyListener(kAudioHardwarePropertyDevices, listener, &client);
    std::this_thread::yield();
    AudioHardwareRemovePropertyListener(kAudioHardwarePropertyDevices, listener, &client);
    client.mayBeCalled = false;
  }
  isDone = true;
  changes.join();
  orv::waitForHardwareNotifications();
  EXPECT_EQ(late, 0);
  orv::installAudioHardware(nullptr);
}
