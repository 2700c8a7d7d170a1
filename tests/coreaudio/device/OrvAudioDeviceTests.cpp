#include <OrvCoreAudio/OrvAudioDeviceInfoOutput.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>
#include <gtest/gtest.h>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeHardware;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

class OrvAudioDeviceTest : public orv::test::FakeDevices {
 protected:
  /// A flag that reads `value` on the input and 0 on the output.
  void setInputFlag(const char (&property)[5], std::uint32_t value) {
    const std::uint32_t code = codeOf(property);
    hardware->set(Place::ofInput(kDevice, code), bytesOf(value));
    hardware->set(Place::ofOutput(kDevice, code), bytesOf(0U));
  }

  static std::uint32_t codeOf(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
      code = (code << 8) | static_cast<unsigned char>(text[i]);
    }
    return code;
  }
};

/// Drops the device that it is told to, in the middle of a cycle.
class Dropper final : public OrvCoreAudioIOSubscriber {
 public:
  explicit Dropper(std::shared_ptr<OrvAudioDevice>* device) : device_(device) {}
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice*, const AudioTimeStamp*, const AudioBufferList*, const AudioTimeStamp*, AudioBufferList*,
      const AudioTimeStamp*, void*) noexcept override {
    device_->reset();
    return noErr;
  }

 private:
  std::shared_ptr<OrvAudioDevice>* device_;
};

}  // namespace

TEST_F(OrvAudioDeviceTest, KnowsItsID) {
  EXPECT_EQ(device()->deviceID(), kDevice);
}

TEST_F(OrvAudioDeviceTest, ADeviceThatTheHardwareRefusesIsLoggedAndMadeAllTheSame) {
  const LogCapture log;
  const auto refused = OrvAudioDevice::initWithDeviceID(99);
  ASSERT_NE(refused, nullptr);
  EXPECT_EQ(refused->deviceID(), 99U);
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"OrvAudioDevice: Unable to add property listeners",
                                                   "OrvAudioDevice: Unable to add I/O proc"}));
}

TEST_F(OrvAudioDeviceTest, EachRequestMakesANewObjectWithAnIOProcOfItsOwn) {
  const LogCapture log;
  const auto first = OrvAudioDevice::deviceWithDeviceID(kDevice);
  const auto second = OrvAudioDevice::deviceWithDeviceID(kDevice);
  EXPECT_NE(first, second);
  first->start();
  second->start();
  first->stop();
  EXPECT_TRUE(hardware->isRunning(kDevice));
  second->stop();
  EXPECT_FALSE(hardware->isRunning(kDevice));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceTest, TheEndOfADeviceStopsItsIOProcWhateverTheNumberOfStarts) {
  auto doomed = device();
  doomed->start();
  doomed->start();
  EXPECT_TRUE(hardware->isRunning(kDevice));
  doomed.reset();
  EXPECT_FALSE(hardware->isRunning(kDevice));
}

TEST_F(OrvAudioDeviceTest, ADeviceWhoseLastReferenceGoesAwayInItsCycleEndsOnTheMainThread) {
  auto doomed = device();
  const std::weak_ptr<OrvAudioDevice> watched = doomed;
  const auto dropper = std::make_shared<Dropper>(&doomed);
  doomed->addAudioIOSubscriber_forInput(dropper, true);
  doomed->start();
  hardware->makeCycle(kDevice);
  EXPECT_EQ(doomed, nullptr);
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(hardware->isRunning(kDevice));
  EXPECT_EQ(dropper.use_count(), 2);
  orv::RunLoop::main().pump();
  EXPECT_FALSE(hardware->isRunning(kDevice));
  EXPECT_EQ(dropper.use_count(), 1);
}

TEST_F(OrvAudioDeviceTest, AChangeAfterADevicesEndReachesNobody) {
  device().reset();
  hardware->events().deviceChanged(kDevice, 0, true, kAudioDeviceProcessorOverload);
  const LogCapture log;
  orv::waitForHardwareNotifications();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceTest, TheUIDIsReadFromTheOutput) {
  hardware->set(Place::ofOutput(kDevice, fourCC("uid ")), "virtual:1");
  hardware->set(Place::ofInput(kDevice, fourCC("uid ")), "wrong");
  EXPECT_EQ(device()->deviceUID(), "virtual:1");
}

TEST_F(OrvAudioDeviceTest, AUIDThatCannotBeReadIsNil) {
  EXPECT_EQ(device()->deviceUID(), std::nullopt);
}

TEST_F(OrvAudioDeviceTest, NameAndManufacturerAreReadOnceFromTheInput) {
  hardware->set(Place::ofInput(kDevice, fourCC("lnam")), "Line");
  hardware->set(Place::ofInput(kDevice, fourCC("lmak")), "Ørv & søn");
  const auto asked = device();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(asked->name(), "Line");
    EXPECT_EQ(asked->manufacturer(), "Ørv & søn");
  }
  EXPECT_EQ(hardware->reads(Place::ofInput(kDevice, fourCC("lnam"))), 1);
  EXPECT_EQ(hardware->reads(Place::ofInput(kDevice, fourCC("lmak"))), 1);
  EXPECT_EQ(asked->description(), "Line by Ørv & søn");
}

TEST_F(OrvAudioDeviceTest, ANameThatCannotBeReadIsNilAndReadAgainNextTime) {
  const auto asked = device();
  EXPECT_EQ(asked->name(), std::nullopt);
  EXPECT_EQ(asked->description(), "(null) by (null)");
  hardware->set(Place::ofInput(kDevice, fourCC("lnam")), "Line");
  EXPECT_EQ(asked->name(), "Line");
}

TEST_F(OrvAudioDeviceTest, FlagsOfTheDeviceAreReadFromTheInputAndTrueForAnyNumberButZero) {
  const auto asked = device();
  hardware->set(Place::ofInput(kDevice, fourCC("livn")), bytesOf(0U));
  EXPECT_FALSE(asked->isAlive());
  EXPECT_FALSE(asked->isRunning());
  EXPECT_FALSE(asked->canBeDefaultDevice());
  EXPECT_FALSE(asked->canBeDefaultSystemDevice());
  setInputFlag("livn", 1);
  setInputFlag("goin", 2);
  setInputFlag("dflt", 3);
  setInputFlag("sflt", 0x80000000);
  EXPECT_TRUE(asked->isAlive());
  EXPECT_TRUE(asked->isRunning());
  EXPECT_TRUE(asked->canBeDefaultDevice());
  EXPECT_TRUE(asked->canBeDefaultSystemDevice());
}

TEST_F(OrvAudioDeviceTest, MixingIsReadFromTheOutput) {
  hardware->set(Place::ofInput(kDevice, fourCC("mix?")), bytesOf(1U));
  EXPECT_FALSE(device()->supportsMixing());
  hardware->set(Place::ofOutput(kDevice, fourCC("mix?")), bytesOf(1U));
  EXPECT_TRUE(device()->supportsMixing());
}

TEST_F(OrvAudioDeviceTest, TheJackIsReadFromChannelOneOfTheSection) {
  hardware->set(Place::ofOutput(kDevice, fourCC("jack"), 1), bytesOf(1U));
  hardware->set(Place::ofInput(kDevice, fourCC("jack"), 0), bytesOf(1U));
  EXPECT_TRUE(device()->jackIsConnected(false));
  EXPECT_FALSE(device()->jackIsConnected(true));
}

TEST_F(OrvAudioDeviceTest, ASectionWithABufferMakesItADeviceOfThatDirection) {
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), configuration({}));
  hardware->set(Place::ofOutput(kDevice, fourCC("slay")), configuration({0}));
  EXPECT_FALSE(device()->canBeInputDevice());
  EXPECT_TRUE(device()->canBeOutputDevice());
}

TEST_F(OrvAudioDeviceTest, ADeviceWithoutInputStreamsIsNoInputDeviceAndHasNoInputChannels) {
  hardware->set(Place::ofOutput(kDevice, fourCC("slay")), configuration({2}));
  EXPECT_FALSE(device()->canBeInputDevice());
  EXPECT_EQ(device()->numberOfChannels(true), 0U);
}

TEST_F(OrvAudioDeviceTest, IsTheDefaultDeviceOfADirectionThatNamesItsID) {
  hardware->set(Place::ofHardware(fourCC("dIn ")), bytesOf(kDevice));
  hardware->set(Place::ofHardware(fourCC("dOut")), bytesOf(kDevice + 1));
  EXPECT_TRUE(device()->isDefaultDevice(true));
  EXPECT_FALSE(device()->isDefaultDevice(false));
}

TEST_F(OrvAudioDeviceTest, IsNotTheDefaultDeviceWhenThatCannotBeRead) {
  const LogCapture log;
  EXPECT_FALSE(device()->isDefaultDevice(true));
  EXPECT_FALSE(OrvAudioDevice::initWithDeviceID(0)->isDefaultDevice(false));
}

TEST_F(OrvAudioDeviceTest, TheInfoHasTheReportsOfTheSectionsThatThereAre) {
  using Output = OrvAudioDeviceInfoOutput;
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), configuration({1}));
  const auto asked = device();
  const std::string inputOnly =
      Output::printGlobalDeviceInfo(asked) + Output::printDirectionalDeviceInfo_isInput(asked, true);
  EXPECT_EQ(asked->printDeviceInfo(), inputOnly);
  hardware->set(Place::ofOutput(kDevice, fourCC("slay")), configuration({2}));
  EXPECT_EQ(asked->printDeviceInfo(), Output::printGlobalDeviceInfo(asked) +
                                          Output::printDirectionalDeviceInfo_isInput(asked, true) +
                                          Output::printDirectionalDeviceInfo_isInput(asked, false));
}

TEST_F(OrvAudioDeviceTest, TheInputMeterIsMadeOnceForEachObject) {
  const auto first = device();
  const auto second = device();
  const auto meter = first->inputVUMeterDataProvider();
  ASSERT_NE(meter, nullptr);
  EXPECT_EQ(first->inputVUMeterDataProvider(), meter);
  EXPECT_NE(second->inputVUMeterDataProvider(), meter);
  EXPECT_EQ(meter->audioDevice(), first);
}

TEST_F(OrvAudioDeviceTest, ADeviceThatWasAskedForItsMeterStillEnds) {
  auto asked = device();
  const std::weak_ptr<OrvAudioDevice> watched = asked;
  const auto meter = asked->inputVUMeterDataProvider();
  asked.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(OrvAudioDeviceTest, TheOutputMeterIsSharedAndBelongsToTheDeviceThatWasAskedFirst) {
  const auto first = device();
  const auto second = device();
  const auto meter = first->outputVUMeterDataProvider();
  ASSERT_NE(meter, nullptr);
  const auto metered = meter->audioDevice();
  EXPECT_EQ(second->outputVUMeterDataProvider(), meter);
  EXPECT_EQ(meter->audioDevice(), metered);
  EXPECT_NE(metered, second);
}
