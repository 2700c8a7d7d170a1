#include <OrvCoreAudio/OrvAudioDeviceNotifications.h>
#include <gtest/gtest.h>

#include "OrvPlatform/NotificationCenter.h"
#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

constexpr std::uint32_t kUnknownUID = 0xFFFFFFFF;

class OrvAudioDeviceRegistryTest : public orv::test::FakeDevices {
 protected:
  void SetUp() override {
    setStreams(1, 2, 0);
    setStreams(2, 0, 2);
    setStreams(3, 1, 1);
  }

  void setStreams(AudioDeviceID id, std::uint32_t inputs, std::uint32_t outputs) {
    const auto streams = [](std::uint32_t count) { return configuration(std::vector<std::uint32_t>(count, 2)); };
    hardware->set(Place::ofInput(id, fourCC("slay")), streams(inputs));
    hardware->set(Place::ofOutput(id, fourCC("slay")), streams(outputs));
  }

  void rebuildWith(const std::vector<AudioDeviceID>& ids) {
    hardware->listDevices(ids);
    OrvAudioDevice::initializeListOfDevices();
  }

  static std::vector<AudioDeviceID> idsOf(const OrvAudioDeviceList& list) {
    std::vector<AudioDeviceID> ids;
    for (const auto& device : list.snapshot()) {
      ids.push_back(device->deviceID());
    }
    return ids;
  }

  /// Answers a UID with an ID, and keeps the question.
  void answerUID(const std::string& uid, AudioDeviceID id) {
    hardware->set(Place::ofHardware(fourCC("duid")),
                  FakeProperty{.bytes = std::string(sizeof(AudioValueTranslation), 0),
                               .read = [this, uid, id](std::uint32_t* size, void* data) {
                                 auto& translation = *static_cast<AudioValueTranslation*>(data);
                                 askedUID = static_cast<const char*>(translation.mInputData);
                                 askedLength = translation.mInputDataSize;
                                 EXPECT_EQ(*size, sizeof translation);
                                 EXPECT_EQ(translation.mOutputDataSize, sizeof id);
                                 const AudioDeviceID answer = askedUID == uid ? id : kAudioDeviceUnknown;
                                 std::memcpy(translation.mOutputData, &answer, sizeof answer);
                                 return noErr;
                               }});
  }

  std::string askedUID;
  std::uint32_t askedLength = 0;
};

using IDs = std::vector<AudioDeviceID>;

}  // namespace

TEST_F(OrvAudioDeviceRegistryTest, ListsDevicesInTheOrderOfTheHardware) {
  rebuildWith({2, 3, 1});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{2, 3, 1}));
  EXPECT_EQ(OrvAudioDevice::allDevicesDictionary().count(), 3U);
  EXPECT_EQ(OrvAudioDevice::allDevicesDictionary().objectForKey(3), OrvAudioDevice::allDevicesArray().at(1));
}

TEST_F(OrvAudioDeviceRegistryTest, ADeviceIsListedForEachDirectionThatItHas) {
  rebuildWith({1, 2, 3});
  EXPECT_EQ(idsOf(OrvAudioDevice::deviceList(true)), (IDs{1, 3}));
  EXPECT_EQ(idsOf(OrvAudioDevice::deviceList(false)), (IDs{2, 3}));
}

TEST_F(OrvAudioDeviceRegistryTest, ANewDeviceIsAppendedAndTheOthersKeepTheirObjects) {
  rebuildWith({2, 3});
  const auto before = OrvAudioDevice::allDevicesArray().snapshot();
  rebuildWith({1, 2, 3});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{2, 3, 1}));
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().at(0), before[0]);
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().at(1), before[1]);
}

TEST_F(OrvAudioDeviceRegistryTest, ADeviceThatIsUnpluggedLeavesAllFourCollectionsAndTheOthersKeepTheirObjects) {
  rebuildWith({1, 2, 3});
  const auto before = OrvAudioDevice::allDevicesArray().snapshot();
  rebuildWith({1, 2});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{1, 2}));
  EXPECT_EQ(idsOf(OrvAudioDevice::deviceList(true)), (IDs{1}));
  EXPECT_EQ(idsOf(OrvAudioDevice::deviceList(false)), (IDs{2}));
  EXPECT_FALSE(OrvAudioDevice::allDevicesDictionary().contains(3));
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().at(0), before[0]);
  EXPECT_EQ(OrvAudioDevice::allDevicesDictionary().objectForKey(2), before[1]);
}

TEST_F(OrvAudioDeviceRegistryTest, ADeviceThatIsSwappedForAnotherIsKeptBesideIt) {
  rebuildWith({1, 2});
  rebuildWith({1, 3});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{1, 2, 3}));
  rebuildWith({1, 3});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{1, 3}));
}

TEST_F(OrvAudioDeviceRegistryTest, WhenThereAreFewerDevicesNewOnesWaitForTheNextTime) {
  rebuildWith({1, 2});
  rebuildWith({3});
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 0U);
  rebuildWith({3});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{3}));
}

TEST_F(OrvAudioDeviceRegistryTest, TheSameIDTwiceIsOneDevice) {
  rebuildWith({1, 1});
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{1}));
}

TEST_F(OrvAudioDeviceRegistryTest, CollectionsAreLive) {
  const OrvAudioDeviceList& all = OrvAudioDevice::allDevicesArray();
  const OrvAudioDeviceDictionary& byID = OrvAudioDevice::allDevicesDictionary();
  EXPECT_EQ(all.count(), 0U);
  rebuildWith({1, 2});
  EXPECT_EQ(all.count(), 2U);
  EXPECT_EQ(byID.count(), 2U);
  EXPECT_TRUE(byID.contains(2));
  EXPECT_TRUE(all.contains(byID.objectForKey(2)));
  EXPECT_FALSE(OrvAudioDevice::deviceList(true).contains(byID.objectForKey(2)));
  EXPECT_EQ(byID.snapshot().size(), 2U);
}

TEST_F(OrvAudioDeviceRegistryTest, ThereIsNothingBehindTheLast) {
  rebuildWith({1});
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().at(1), nullptr);
  EXPECT_EQ(OrvAudioDevice::allDevicesDictionary().objectForKey(77), nullptr);
}

TEST_F(OrvAudioDeviceRegistryTest, AListThatCannotBeReadIsLoggedAndChangesNothingAndTheNextRebuildWorks) {
  rebuildWith({1, 2});
  {
    const LogCapture log;
    hardware->set(Place::ofHardware(fourCC("dev#")), FakeProperty{.infoStatus = kAudioHardwareNotRunningError});
    OrvAudioDevice::initializeListOfDevices();
    hardware->set(Place::ofHardware(fourCC("dev#")),
                  FakeProperty{.bytes = bytesOf(IDs{1}), .readStatus = kAudioHardwareUnspecifiedError});
    OrvAudioDevice::initializeListOfDevices();
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"ERROR: Hardware not running error", "ERROR: Hardware unspecified error"}));
  }
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 2U);
  rebuildWith({1});
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 1U);
}

TEST_F(OrvAudioDeviceRegistryTest, AListThatKeepsGrowingWhileItIsReadIsGivenUp) {
  hardware->set(Place::ofHardware(fourCC("dev#")), FakeProperty{.bytes = bytesOf(IDs{1, 2}), .announcedSize = 4});
  const LogCapture log;
  OrvAudioDevice::initializeListOfDevices();
  EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR: Hardware bad property size error"});
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 0U);
}

TEST_F(OrvAudioDeviceRegistryTest, AListThatShrinksWhileItIsReadHasOnlyWhatWasRead) {
  hardware->addDevice(1);
  hardware->set(Place::ofHardware(fourCC("dev#")), FakeProperty{.bytes = bytesOf(IDs{1}), .announcedSize = 400});
  OrvAudioDevice::initializeListOfDevices();
  EXPECT_EQ(idsOf(OrvAudioDevice::allDevicesArray()), (IDs{1}));
}

TEST_F(OrvAudioDeviceRegistryTest, AnAbsurdNumberOfDevicesIsRefused) {
  hardware->set(Place::ofHardware(fourCC("dev#")), FakeProperty{.bytes = bytesOf(IDs{1}), .announcedSize = 0xFFFFFFFF});
  const LogCapture log;
  OrvAudioDevice::initializeListOfDevices();
  EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR: Hardware bad property size error"});
}

TEST_F(OrvAudioDeviceRegistryTest, ADeviceThatWasTakenOutLivesOnForWhoHoldsIt) {
  rebuildWith({1});
  const auto held = OrvAudioDevice::allDevicesArray().at(0);
  rebuildWith({});
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 0U);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(held->deviceID(), 1U);
}

TEST_F(OrvAudioDeviceRegistryTest, TheHardwaresChangeRebuildsTheRegistryBeforeObserversAreTold) {
  OrvAudioDevice::initialize();
  std::vector<std::size_t> counts;
  std::shared_ptr<orv::Object> sender;
  const auto observation = orv::NotificationCenter::defaultCenter().addObserver(
      OrvAudioHardwareDevicesDidChangeNotification, nullptr, [&](const orv::Notification& notification) {
        counts.push_back(OrvAudioDevice::allDevicesArray().count());
        sender = notification.object;
      });
  orv::RunLoop::main().pump();
  counts.clear();
  hardware->listDevices({1, 2});
  hardware->events().hardwareChanged(fourCC("dev#"));
  orv::waitForHardwareNotifications();
  EXPECT_EQ(OrvAudioDevice::allDevicesArray().count(), 2U);
  EXPECT_TRUE(counts.empty());
  orv::RunLoop::main().pump();
  EXPECT_EQ(counts, std::vector<std::size_t>{2});
  EXPECT_EQ(sender, OrvAudioDevice::classObject());
}

TEST_F(OrvAudioDeviceRegistryTest, TheClassObjectIsTheSameForEver) {
  ASSERT_NE(OrvAudioDevice::classObject(), nullptr);
  EXPECT_EQ(OrvAudioDevice::classObject(), OrvAudioDevice::classObject());
  EXPECT_EQ(OrvAudioDevice::classObject()->description(), "OrvAudioDevice");
}

TEST_F(OrvAudioDeviceRegistryTest, DefaultDevicesAreTheRegistrysObjects) {
  rebuildWith({1, 2, 3});
  hardware->set(Place::ofHardware(fourCC("dIn ")), bytesOf(1U));
  hardware->set(Place::ofHardware(fourCC("dOut")), bytesOf(2U));
  hardware->set(Place::ofHardware(fourCC("sOut")), bytesOf(3U));
  EXPECT_EQ(OrvAudioDevice::defaultInputDevice(), OrvAudioDevice::allDevicesArray().at(0));
  EXPECT_EQ(OrvAudioDevice::defaultOutputDevice(), OrvAudioDevice::allDevicesArray().at(1));
  EXPECT_EQ(OrvAudioDevice::defaultSystemOutputDevice(), OrvAudioDevice::allDevicesArray().at(2));
}

TEST_F(OrvAudioDeviceRegistryTest, ADefaultDeviceThatIsNotInTheRegistryIsNull) {
  rebuildWith({1});
  hardware->set(Place::ofHardware(fourCC("dIn ")), bytesOf(2U));
  hardware->set(Place::ofHardware(fourCC("dOut")), bytesOf(0U));
  EXPECT_EQ(OrvAudioDevice::defaultInputDevice(), nullptr);
  EXPECT_EQ(OrvAudioDevice::defaultOutputDevice(), nullptr);
}

TEST_F(OrvAudioDeviceRegistryTest, ADefaultDeviceThatCannotBeReadIsNull) {
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::defaultInputDevice(), nullptr);
  EXPECT_EQ(OrvAudioDevice::defaultSystemOutputDevice(), nullptr);
}

TEST_F(OrvAudioDeviceRegistryTest, AUIDIsHandedOverWithItsLengthInCharacters) {
  answerUID("Gerät 1", 40);
  EXPECT_EQ(OrvAudioDevice::audioDeviceIDForUID("Gerät 1"), 40U);
  EXPECT_EQ(askedUID, "Gerät 1");
  EXPECT_EQ(askedLength, 7U);
}

TEST_F(OrvAudioDeviceRegistryTest, AnUnknownUIDGivesNoDeviceAfterALine) {
  answerUID("known", 40);
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::audioDeviceIDForUID("other"), kUnknownUID);
  EXPECT_EQ(OrvAudioDevice::initWithDeviceUID("other"), nullptr);
  const std::string line = "ERROR: Hardware bad device error";
  EXPECT_EQ(log.lines(), (std::vector<std::string>{line, line}));
}

TEST_F(OrvAudioDeviceRegistryTest, AFailedLookUpOfAUIDIsLogged) {
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::audioDeviceIDForUID("any"), kUnknownUID);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR: Hardware unknown property error"});
}

TEST_F(OrvAudioDeviceRegistryTest, ALookUpThatAnswersNoDataIsLoggedWithItsStatus) {
  hardware->set(Place::ofHardware(fourCC("duid")), FakeProperty{.read = [](std::uint32_t* size, void*) {
                  *size = 0;
                  return noErr;
                }});
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::audioDeviceIDForUID("any"), kUnknownUID);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"ERROR: No error"});
}

TEST_F(OrvAudioDeviceRegistryTest, NoUIDIsNoDevice) {
  answerUID("known", 40);
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::initWithDeviceUID(std::nullopt), nullptr);
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(OrvAudioDeviceRegistryTest, AKnownUIDMakesANewObject) {
  answerUID("known", kDevice);
  const auto first = OrvAudioDevice::initWithDeviceUID("known");
  const auto second = OrvAudioDevice::deviceWithDeviceUID("known");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->deviceID(), kDevice);
  EXPECT_NE(first, second);
}

TEST_F(OrvAudioDeviceRegistryTest, TheBootChimeIsReadFromTheHardware) {
  hardware->set(Place::ofHardware(fourCC("bbvs")), bytesOf(0.5F));
  hardware->set(Place::ofHardware(fourCC("bbvd")), bytesOf(-6.0F));
  hardware->set(Place::ofHardware(fourCC("bbd#")), bytesOf(AudioValueRange{-60, 0}));
  EXPECT_EQ(OrvAudioDevice::bootChimeVolumeScalar(), 0.5F);
  EXPECT_EQ(OrvAudioDevice::bootChimeVolumeDecibels(), -6.0F);
  EXPECT_EQ(OrvAudioDevice::bootChimeVolumeRangeDecibels()->mMinimum(), -60);
}

TEST_F(OrvAudioDeviceRegistryTest, ABootChimeThatCannotBeReadIsZero) {
  const LogCapture log;
  EXPECT_EQ(OrvAudioDevice::bootChimeVolumeScalar(), 0.0F);
  EXPECT_EQ(OrvAudioDevice::bootChimeVolumeRangeDecibels()->mMaximum(), 0.0);
}
