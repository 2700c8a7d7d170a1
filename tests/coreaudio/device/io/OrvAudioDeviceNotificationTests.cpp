#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

#include "DeviceFixture.h"
#include "OrvCoreAudio/OrvAudioDeviceDelegate.h"
#include "OrvCoreAudio/OrvAudioDeviceNotifications.h"
#include "support/LogCapture.h"

namespace {

class OrvAudioDeviceNotification : public DeviceFixture {
 protected:
  /// What is posted, with the device as sender, when the hardware tells of a change; "" for nothing.
  std::string nameFor(AudioDevicePropertyID property, bool isInput) {
    const Listening listening;
    hardware->events().deviceChanged(Hardware::kDevice, 0, isInput, property);
    orv::waitForHardwareNotifications();
    pump();
    // Another object, of the registry, stands for the same device.
    for (const Listening::Heard& one : listening.heard) {
      if (one.object == device) {
        return one.name;
      }
    }
    return "";
  }

  std::string nameForHardware(AudioHardwarePropertyID property) {
    const Listening listening;
    hardware->events().hardwareChanged(property);
    orv::waitForHardwareNotifications();
    pump();
    return listening.heard.size() == 1 && listening.heard[0].object == OrvAudioDevice::classObject()
               ? listening.heard[0].name
               : "";
  }
};

class FullDelegate : public OrvObject,
                     public OrvInputStreamFormatDelegate,
                     public OrvOutputStreamFormatDelegate,
                     public OrvInputDataSourceDelegate,
                     public OrvOutputDataSourceDelegate,
                     public OrvInputVolumeDelegate,
                     public OrvOutputVolumeDelegate {
 public:
  std::vector<std::string> told;
  void inputStreamFormatDidChange(const orv::Notification&) override { told.push_back("input format"); }
  void outputStreamFormatDidChange(const orv::Notification&) override { told.push_back("output format"); }
  void inputDataSourceDidChange(const orv::Notification&) override { told.push_back("input source"); }
  void outputDataSourceDidChange(const orv::Notification&) override { told.push_back("output source"); }
  void inputVolumeDidChange(const orv::Notification&) override { told.push_back("input volume"); }
  void outputVolumeDidChange(const orv::Notification&) override { told.push_back("output volume"); }
};

class DeafDelegate : public OrvObject {};

void tellAll(OrvAudioDevice& device) {
  const orv::Notification notification{"any", nullptr};
  device.inputStreamFormatDidChange(notification);
  device.outputStreamFormatDidChange(notification);
  device.inputDataSourceDidChange(notification);
  device.outputDataSourceDidChange(notification);
  device.inputVolumeDidChange(notification);
  device.outputVolumeDidChange(notification);
}

}  // namespace

TEST_F(OrvAudioDeviceNotification, EveryKnownPropertyOfADeviceHasItsName) {
  for (const bool isInput : {true, false}) {
    EXPECT_EQ(nameFor(orv::fourCC("asrt"), isInput), "OrvAudioDeviceActualSampleRateDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("dch2"), isInput), "OrvAudioDevicePreferredChannelsForStereoDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("nsr#"), isInput), "OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("nsrt"), isInput), "OrvAudioDeviceNominalSampleRateDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("pft "), isInput), "OrvAudioDeviceStreamFormatDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("sfmt"), isInput), "OrvAudioDeviceStreamFormatDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("slay"), isInput), "OrvAudioDeviceStreamConfigurationDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("stm#"), isInput), "OrvAudioDeviceStreamsDidChangeNotification");
    EXPECT_EQ(nameFor(orv::fourCC("tran"), isInput), "OrvAudioDeviceTransportTypeDidChangeNotification");
  }
}

TEST_F(OrvAudioDeviceNotification, SourcesAndVolumesAreToldBySection) {
  EXPECT_EQ(nameFor(orv::fourCC("ssc#"), true), "OrvAudioDeviceInputDataSourcesDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("ssc#"), false), "OrvAudioDeviceOutputDataSourcesDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("ssrc"), true), "OrvAudioDeviceInputSourceDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("ssrc"), false), "OrvAudioDeviceOutputSourceDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("vold"), true), "OrvAudioDeviceInputVolumeDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("vold"), false), "OrvAudioDeviceOutputVolumeDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("volm"), true), "OrvAudioDeviceInputVolumeDidChangeNotification");
  EXPECT_EQ(nameFor(orv::fourCC("volm"), false), "OrvAudioDeviceOutputVolumeDidChangeNotification");
}

TEST_F(OrvAudioDeviceNotification, OfOtherPropertiesNobodyIsTold) {
  EXPECT_EQ(nameFor(orv::fourCC("livn"), true), "");
  EXPECT_EQ(nameFor(orv::fourCC("mute"), false), "");
  EXPECT_EQ(nameFor(orv::fourCC("zzzz"), true), "");
}

TEST_F(OrvAudioDeviceNotification, AnOverloadLogsOneLineAndPostsNothing) {
  const Listening listening;
  const orv::test::LogCapture capture;
  device->devicePropertyDidChange_forChannel_isInput(kAudioDeviceProcessorOverload, 0, true);
  pump();
  EXPECT_TRUE(listening.heard.empty());
  EXPECT_TRUE(capture.contains("*** Audio Device: " + device->description() + " is overloaded!!!"));
}

TEST_F(OrvAudioDeviceNotification, ObserversRunOnTheMainThreadAfterTheCallbackHasReturned) {
  const Listening listening;
  hardware->events().deviceChanged(Hardware::kDevice, 1, true, kAudioDevicePropertyVolumeScalar);
  orv::waitForHardwareNotifications();
  EXPECT_TRUE(listening.heard.empty());
  pump();
  EXPECT_GE(listening.count(OrvAudioDeviceInputVolumeDidChangeNotification), 1U);
}

TEST_F(OrvAudioDeviceNotification, ChangesOfTheHardwareHaveTheirNamesAndTheClassAsSender) {
  EXPECT_EQ(nameForHardware(kAudioHardwarePropertyDefaultOutputDevice),
            "OrvAudioHardwareDefaultOutputDeviceDidChangeNotification");
  EXPECT_EQ(nameForHardware(kAudioHardwarePropertyDefaultInputDevice),
            "OrvAudioHardwareDefaultInputDeviceDidChangeNotification");
  EXPECT_EQ(nameForHardware(kAudioHardwarePropertyDevices), "OrvAudioHardwareDevicesDidChangeNotification");
  EXPECT_EQ(nameForHardware(kAudioHardwarePropertyDefaultSystemOutputDevice),
            "OrvAudioHardwarePropertyDidChangeNotification");
  EXPECT_EQ(nameForHardware(orv::fourCC("slep")), "OrvAudioHardwarePropertyDidChangeNotification");
}

TEST_F(OrvAudioDeviceNotification, EveryNameIsItsOwnText) {
  EXPECT_STREQ(OrvAudioDeviceDidOverloadChangeNotification, "OrvAudioDeviceDidOverloadChangeNotification");
  EXPECT_STREQ(OrvAudioDeviceNoLongerValidNotification, "OrvAudioDeviceNoLongerValidNotification");
  EXPECT_STREQ(OrvAudioDevicePropertyDidChangeNotification, "OrvAudioDevicePropertyDidChangeNotification");
  EXPECT_STREQ(OrvAudioHardwareDeviceAddedNotification, "OrvAudioHardwareDeviceAddedNotification");
  EXPECT_STREQ(OrvAudioHardwareDeviceRemovedNotification, "OrvAudioHardwareDeviceRemovedNotification");
}

TEST_F(OrvAudioDeviceNotification, AChangeThatComesWhileTheDeviceGoesIsDropped) {
  Listening listening;
  const auto timesTold = [&] {
    listening.heard.clear();
    hardware->events().deviceChanged(Hardware::kDevice, 0, true, kAudioDevicePropertyVolumeScalar);
    orv::waitForHardwareNotifications();
    pump();
    return listening.heard.size();
  };
  const std::size_t byThoseThatStay = timesTold();
  std::vector<std::weak_ptr<OrvAudioDevice>> gone;
  for (int i = 0; i < 100; ++i) {
    auto brief = OrvAudioDevice::initWithDeviceID(Hardware::kDevice);
    hardware->events().deviceChanged(Hardware::kDevice, 0, true, kAudioDevicePropertyVolumeScalar);
    gone.emplace_back(brief);
    brief = nullptr;
  }
  orv::waitForHardwareNotifications();
  pump();
  // A device that a change found alive stays until it has told, and meanwhile hears of the changes that follow.
  for (const auto& one : listening.heard) {
    EXPECT_NE(one.object, nullptr);
  }
  listening.heard.clear();
  pump();
  EXPECT_TRUE(std::ranges::all_of(gone, [](const auto& one) { return one.expired(); }));
  EXPECT_EQ(timesTold(), byThoseThatStay);
}

TEST_F(OrvAudioDeviceNotification, TheDelegateIsToldByWhatItAnswers) {
  const auto delegate = std::make_shared<FullDelegate>();
  device->setDelegate(delegate);
  EXPECT_EQ(device->delegate(), delegate);
  tellAll(*device);
  EXPECT_EQ(delegate->told, (std::vector<std::string>{"input format", "output format", "input source", "output source",
                                                      "input volume", "output volume"}));
}

TEST_F(OrvAudioDeviceNotification, ADelegateThatAnswersNothingAndNoDelegateAreNoTrouble) {
  tellAll(*device);
  device->setDelegate(std::make_shared<DeafDelegate>());
  tellAll(*device);
  EXPECT_NE(device->delegate(), nullptr);
}

TEST_F(OrvAudioDeviceNotification, TheDelegateIsKeptAndTheOneBeforeReleased) {
  auto first = std::make_shared<FullDelegate>();
  const std::weak_ptr<FullDelegate> observed = first;
  device->setDelegate(first);
  first = nullptr;
  EXPECT_FALSE(observed.expired());
  device->setDelegate(nullptr);
  EXPECT_TRUE(observed.expired());
}

TEST_F(OrvAudioDeviceNotification, TheFrameworkItselfNeverTellsTheDelegate) {
  const auto delegate = std::make_shared<FullDelegate>();
  device->setDelegate(delegate);
  hardware->events().deviceChanged(Hardware::kDevice, 1, true, kAudioDevicePropertyVolumeScalar);
  orv::waitForHardwareNotifications();
  pump();
  EXPECT_TRUE(delegate->told.empty());
}
