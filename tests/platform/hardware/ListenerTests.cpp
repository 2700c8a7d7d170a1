#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "support/ScriptedHardware.h"

namespace {

using orv::test::ScriptedHardware;

constexpr AudioDeviceID kDevice = ScriptedHardware::kDevice;

struct Told {
  AudioDeviceID device = 0;
  std::uint32_t channel = 0;
  bool isInput = false;
  std::uint32_t property = 0;
  bool operator==(const Told&) const = default;
};

struct Client {
  std::vector<Told> told;
  std::thread::id thread;
  bool removesItself = false;
};

OSStatus hardwareListener(AudioHardwarePropertyID property, void* clientData) {
  auto& client = *static_cast<Client*>(clientData);
  client.told.push_back({0, 0, false, property});
  client.thread = std::this_thread::get_id();
  if (client.removesItself) {
    AudioHardwareRemovePropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, clientData);
  }
  return noErr;
}

OSStatus deviceListener(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                        void* clientData) {
  static_cast<Client*>(clientData)->told.push_back({device, channel, isInput, property});
  return noErr;
}

class ListenerTest : public testing::Test {
 protected:
  ListenerTest() {
    orv::installAudioHardware(hardware);
    orv::waitForHardwareNotifications();
  }
  ~ListenerTest() override { orv::installAudioHardware(nullptr); }

  const std::shared_ptr<ScriptedHardware> hardware = std::make_shared<ScriptedHardware>();
};

}  // namespace

TEST_F(ListenerTest, AWildcardHearsOfEveryPropertyOfTheHardwareOnTheNotificationThread) {
  Client client;
  AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDefaultInputDevice);
  hardware->events().deviceChanged(kDevice, 0, true, kAudioDevicePropertyMute);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told, (std::vector<Told>{{0, 0, false, kAudioHardwarePropertyDevices},
                                            {0, 0, false, kAudioHardwarePropertyDefaultInputDevice}}));
  EXPECT_NE(client.thread, std::this_thread::get_id());
  AudioHardwareRemovePropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
}

TEST_F(ListenerTest, AListenerOfOnePropertyHearsOfThatOneOnly) {
  Client client;
  AudioHardwareAddPropertyListener(kAudioHardwarePropertyDevices, &hardwareListener, &client);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDefaultInputDevice);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 1U);
  AudioHardwareRemovePropertyListener(kAudioHardwarePropertyDevices, &hardwareListener, &client);
}

TEST_F(ListenerTest, ADevicesWildcardHearsOfEveryChannelAndSection) {
  Client client;
  EXPECT_EQ(AudioDeviceAddPropertyListener(kDevice, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                           kAudioPropertyWildcardPropertyID, &deviceListener, &client),
            noErr);
  hardware->events().deviceChanged(kDevice, 0, false, kAudioDevicePropertyMute);
  hardware->events().deviceChanged(kDevice, 0xFFFFFFF0, true, kAudioDevicePropertyVolumeScalar);
  hardware->events().deviceChanged(kDevice + 1, 0, true, kAudioDevicePropertyVolumeScalar);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told, (std::vector<Told>{{kDevice, 0, false, kAudioDevicePropertyMute},
                                            {kDevice, 0xFFFFFFF0, true, kAudioDevicePropertyVolumeScalar}}));
  AudioDeviceRemovePropertyListener(kDevice, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                    kAudioPropertyWildcardPropertyID, &deviceListener, &client);
}

TEST_F(ListenerTest, ADevicesListenerOfOneChannelAndSectionHearsOfThoseOnly) {
  Client client;
  AudioDeviceAddPropertyListener(kDevice, 1, 1, kAudioDevicePropertyMute, &deviceListener, &client);
  hardware->events().deviceChanged(kDevice, 1, false, kAudioDevicePropertyMute);
  hardware->events().deviceChanged(kDevice, 2, true, kAudioDevicePropertyMute);
  hardware->events().deviceChanged(kDevice, 1, true, kAudioDevicePropertyVolumeScalar);
  hardware->events().deviceChanged(kDevice, 1, true, kAudioDevicePropertyMute);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 1U);
  AudioDeviceRemovePropertyListener(kDevice, 1, 1, kAudioDevicePropertyMute, &deviceListener, &client);
}

TEST_F(ListenerTest, AListenerThatIsAddedTwiceIsToldOnce) {
  Client client;
  AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
  AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 1U);
  AudioHardwareRemovePropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
}

TEST_F(ListenerTest, AListenerMayRemoveItself) {
  Client client;
  client.removesItself = true;
  AudioHardwareAddPropertyListener(kAudioPropertyWildcardPropertyID, &hardwareListener, &client);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
  hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 1U);
}

TEST_F(ListenerTest, ManyChangesAreAllToldInOrder) {
  Client client;
  AudioDeviceAddPropertyListener(kDevice, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                 kAudioDevicePropertyMute, &deviceListener, &client);
  constexpr std::uint32_t kChanges = 10000;
  for (std::uint32_t i = 0; i < kChanges; ++i) {
    hardware->events().deviceChanged(kDevice, i, true, kAudioDevicePropertyMute);
  }
  orv::waitForHardwareNotifications();
  ASSERT_EQ(client.told.size(), kChanges);
  for (std::uint32_t i = 0; i < kChanges; ++i) {
    ASSERT_EQ(client.told[i].channel, i);
  }
  AudioDeviceRemovePropertyListener(kDevice, kAudioPropertyWildcardChannel, kAudioPropertyWildcardSection,
                                    kAudioDevicePropertyMute, &deviceListener, &client);
}

TEST_F(ListenerTest, ListenersStayWhenTheBackendIsReplacedAndHearOfIt) {
  Client client;
  AudioHardwareAddPropertyListener(kAudioHardwarePropertyDevices, &hardwareListener, &client);
  const auto other = std::make_shared<ScriptedHardware>();
  orv::installAudioHardware(other);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 1U);
  other->events().hardwareChanged(kAudioHardwarePropertyDevices);
  orv::waitForHardwareNotifications();
  EXPECT_EQ(client.told.size(), 2U);
  AudioHardwareRemovePropertyListener(kAudioHardwarePropertyDevices, &hardwareListener, &client);
}

TEST_F(ListenerTest, NoListenerIsRefusedButANullOneAndOneOfAMissingDevice) {
  Client client;
  EXPECT_EQ(AudioHardwareAddPropertyListener(kAudioHardwarePropertyDevices, nullptr, &client),
            kAudioHardwareIllegalOperationError);
  EXPECT_EQ(AudioDeviceAddPropertyListener(kDevice, 0, 0, kAudioDevicePropertyMute, nullptr, &client),
            kAudioHardwareIllegalOperationError);
  EXPECT_EQ(AudioDeviceAddPropertyListener(kDevice + 1, 0, 0, kAudioDevicePropertyMute, &deviceListener, &client),
            kAudioHardwareBadDeviceError);
}
