#include "OrvCoreAudio/OrvAudioDeviceController.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "MonitorFixture.h"
#include "OrvCoreAudio/OrvAudioDeviceInfoOutput.h"
#include "support/LogCapture.h"

namespace {

class Controller : public MonitorFixture {
 protected:
  Controller() {
    hardware->defaultInput = kMicrophone;
    hardware->defaultOutput = kSpeaker;
  }
  ~Controller() override {
    if (made_ && made_->playThroughHandler()) {
      made_->playThroughHandler()->stop();
    }
  }

  OrvAudioDeviceController& controller() {
    made_ = made_ ? made_ : OrvAudioDeviceController::init();
    return *made_;
  }
  void useDuplex() {
    hardware->defaultInput = kDuplex;
    hardware->defaultOutput = kDuplex;
  }
  std::uint32_t hardwarePlaysThrough() { return hardware->at(kDuplex).playThru; }

 private:
  std::shared_ptr<OrvAudioDeviceController> made_;
};

constexpr std::uint32_t kNotFound = 0xFFFFFFFF;

}  // namespace

TEST_F(Controller, TheSharedOneIsAlwaysTheSame) {
  const auto shared = OrvAudioDeviceController::sharedController();
  ASSERT_NE(shared, nullptr);
  EXPECT_EQ(OrvAudioDeviceController::sharedController(), shared);
  // It outlives this test's devices.
  shared->playThroughHandler()->setAudioDevice_isInput(nullptr, true);
  shared->playThroughHandler()->setAudioDevice_isInput(nullptr, false);
}

TEST_F(Controller, ItBeginsWithTheDefaultDevicesAndHandsThemToMonitoring) {
  EXPECT_EQ(controller().currentDevice(true), OrvAudioDevice::defaultInputDevice());
  EXPECT_EQ(controller().currentDevice(false)->deviceID(), kSpeaker);
  EXPECT_EQ(controller().playThroughHandler()->audioDevice(true)->deviceID(), kMicrophone);
  EXPECT_EQ(controller().playThroughHandler()->audioDevice(false)->deviceID(), kSpeaker);
  EXPECT_EQ(controller().playThroughHandler()->volumeControl(), controller().masterVolumeControl());
  EXPECT_EQ(controller().masterVolumeControl()->volumeScalar(), 1.0F);
  EXPECT_EQ(controller().defaultInputDevice(), controller().currentDevice(true));
  EXPECT_EQ(controller().defaultOutputDevice(), controller().currentDevice(false));
  EXPECT_EQ(controller().defaultSystemOutputDevice(), controller().currentDevice(false));
}

TEST_F(Controller, WithoutDefaultDevicesThereIsNothingToMonitor) {
  hardware->defaultInput = 0;
  hardware->defaultOutput = 0;
  EXPECT_EQ(controller().currentDevice(true), nullptr);
  EXPECT_EQ(controller().playThroughHandler()->audioDevice(true), nullptr);
  EXPECT_FALSE(controller().setPlayThroughOn(true));
  EXPECT_TRUE(controller().setPlayThroughOn(false));
  EXPECT_EQ(controller().currentDeviceIndex(true), kNotFound);
}

TEST_F(Controller, TheCurrentDevicesIndexIsThatOfTheInputAlsoAmongTheOutputs) {
  useDuplex();
  EXPECT_EQ(controller().currentDeviceIndex(true), 1U);   // microphone, duplex
  EXPECT_EQ(controller().currentDeviceIndex(false), 1U);  // speaker, duplex
  controller().setCurrentDeviceToDeviceAtIndex_isInput(0, false);
  EXPECT_EQ(controller().currentDeviceIndex(false), 1U);
  controller().setCurrentDeviceToDeviceAtIndex_isInput(0, true);
  EXPECT_EQ(controller().currentDeviceIndex(false), kNotFound);
}

TEST_F(Controller, ADeviceThatIsChosenIsMonitored) {
  controller().setCurrentDeviceToDeviceAtIndex_isInput(1, true);
  EXPECT_EQ(controller().currentDevice(true)->deviceID(), kDuplex);
  EXPECT_EQ(controller().playThroughHandler()->audioDevice(true), controller().currentDevice(true));
  EXPECT_EQ(controller().currentDevice(false)->deviceID(), kSpeaker);
}

TEST_F(Controller, AnIndexBehindTheLastIsLoggedAndChangesNothing) {
  const auto before = controller().currentDevice(true);
  const orv::test::LogCapture log;
  controller().setCurrentDeviceToDeviceAtIndex_isInput(2, true);
  EXPECT_EQ(controller().currentDevice(true), before);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"OrvAudioDeviceController: no input device at index 2"});
}

TEST_F(Controller, DevicesAreFoundInTheRegistry) {
  EXPECT_EQ(controller().audioDeviceForAudioDeviceID(kSpeaker), controller().currentDevice(false));
  EXPECT_EQ(controller().audioDeviceForAudioDeviceID(99), nullptr);
  EXPECT_TRUE(controller().audioDeviceExists(deviceOf(kDuplex)));
  EXPECT_FALSE(controller().audioDeviceExists(deviceOf(99)));
  EXPECT_FALSE(controller().audioDeviceExists(nullptr));
  EXPECT_EQ(controller().audioDeviceForAudioDeviceUID(std::nullopt), nullptr);
  EXPECT_EQ(controller().audioDeviceForAudioDeviceUID("nobody"), nullptr);
  EXPECT_EQ(controller().allDevicesArray().count(), 3U);
  EXPECT_EQ(controller().allDevicesDictionary().count(), 3U);
  EXPECT_EQ(controller().deviceList(true).count(), 2U);
}

TEST_F(Controller, AnUnknownIDIsAtIndexZeroLikeTheFirstDevice) {
  EXPECT_EQ(controller().findAudioDeviceIndexWithID_isInput(kDuplex, true), 1U);
  EXPECT_EQ(controller().findAudioDeviceIndexWithID_isInput(kMicrophone, true), 0U);
  EXPECT_EQ(controller().findAudioDeviceIndexWithID_isInput(99, true), 0U);
}

TEST_F(Controller, TwoDevicesAreMonitoredByTheHandler) {
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_TRUE(controller().playThroughIsOn());
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_TRUE(controller().setPlayThroughOn(false));
  EXPECT_FALSE(controller().playThroughIsOn());
}

TEST_F(Controller, TheMasterVolumeIsThatOfMonitoring) {
  controller().masterVolumeControl()->setVolumeScalar(0.5F);
  controller().setPlayThroughOn(true);
  hear(2);
  EXPECT_EQ(play()[0], 1.0F);
}

TEST_F(Controller, OneDeviceMonitorsByItsOwnHardwareWithoutTheHandler) {
  useDuplex();
  hardware->at(kDuplex).hasPlayThru = true;
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_EQ(hardwarePlaysThrough(), 1U);
  EXPECT_FALSE(controller().playThroughHandler()->isRunning());
  EXPECT_FALSE(controller().playThroughIsOn());  // tells of the handler alone
}

TEST_F(Controller, SwitchingOnHardwareMonitoringTwiceAsksTheHardwareOnce) {
  useDuplex();
  hardware->at(kDuplex).hasPlayThru = true;
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_EQ(hardware->at(kDuplex).playThruWrites, 1);
}

TEST_F(Controller, OnAndOffByHardwareLeavesBothFlagsOff) {
  useDuplex();
  hardware->at(kDuplex).hasPlayThru = true;
  controller().setPlayThroughOn(true);
  EXPECT_TRUE(controller().setPlayThroughOn(false));
  EXPECT_EQ(hardwarePlaysThrough(), 0U);
  EXPECT_TRUE(controller().setPlayThroughOn(true));  // so this one gets to the hardware
  EXPECT_EQ(hardwarePlaysThrough(), 1U);
}

TEST_F(Controller, SwitchingOffWhatIsOffTogglesTheFlagsOn) {
  useDuplex();
  hardware->at(kDuplex).hasPlayThru = true;
  EXPECT_TRUE(controller().setPlayThroughOn(false));
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_EQ(hardware->at(kDuplex).playThruWrites, 1);
  EXPECT_EQ(hardwarePlaysThrough(), 0U);
}

TEST_F(Controller, OneDeviceWithoutHardwareMonitoringIsMonitoredByTheHandler) {
  useDuplex();
  const orv::test::LogCapture log;
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_TRUE(controller().playThroughIsOn());
  hardware->at(kDuplex).input = ramp(32, 1);
  EXPECT_EQ(hardware->cycle(kDuplex), hardware->at(kDuplex).input);
}

TEST_F(Controller, ANewHandlerTellsWhetherMonitoringIsOn) {
  useDuplex();
  hardware->at(kDuplex).hasPlayThru = true;
  const auto running = OrvPlayThroughHandler::init();
  running->setAudioDevice_isInput(deviceOf(kMicrophone), true);
  running->setAudioDevice_isInput(deviceOf(kSpeaker), false);
  running->start();
  controller().setPlayThroughHandler(running);
  EXPECT_EQ(controller().playThroughHandler(), running);
  EXPECT_TRUE(controller().setPlayThroughOn(true));
  EXPECT_EQ(hardwarePlaysThrough(), 0U);  // on already
  running->stop();
  controller().setPlayThroughHandler(nullptr);
  EXPECT_FALSE(controller().playThroughIsOn());
  hardware->at(kDuplex).hasPlayThru = false;
  EXPECT_FALSE(controller().setPlayThroughOn(true));
}

TEST_F(Controller, AnotherMasterVolumeIsNotTheHandlers) {
  const auto before = controller().masterVolumeControl();
  controller().setMasterVolumeControl(OrvSoftwareVolumeControl::init());
  EXPECT_NE(controller().masterVolumeControl(), before);
  EXPECT_EQ(controller().playThroughHandler()->volumeControl(), before);
}

TEST_F(Controller, ADeviceThatWasUnpluggedIsStillCurrent) {
  hardware->at(kMicrophone).isGone = true;
  OrvAudioDevice::initializeListOfDevices();
  EXPECT_EQ(controller().currentDevice(true), nullptr);  // was gone before the controller came
  const auto speaker = controller().currentDevice(false);
  hardware->at(kSpeaker).isGone = true;
  OrvAudioDevice::initializeListOfDevices();
  EXPECT_EQ(controller().currentDevice(false), speaker);
  EXPECT_FALSE(controller().audioDeviceExists(speaker));
}

TEST_F(Controller, AControllerThatGoesAwayLeavesMonitoringOn) {
  auto other = OrvAudioDeviceController::init();
  other->setPlayThroughOn(true);
  const auto handler = other->playThroughHandler();
  other = nullptr;
  EXPECT_TRUE(handler->isRunning());
  handler->stop();
}

TEST_F(Controller, TheListOfDevicesHasDuplexDevicesTwice) {
  using Info = OrvAudioDeviceInfoOutput;
  std::string expected;
  for (const AudioDeviceID id : {kMicrophone, kDuplex, kSpeaker, kDuplex}) {
    const auto device = controller().audioDeviceForAudioDeviceID(id);
    expected += Info::printGlobalDeviceInfo(device) + Info::printDirectionalDeviceInfo_isInput(device, true) +
                Info::printDirectionalDeviceInfo_isInput(device, false);
  }
  EXPECT_EQ(controller().printListOfDevices(), expected);
}

TEST_F(Controller, TheSystemReportCountsDuplexDevicesTwice) {
  EXPECT_EQ(controller().printSystemInfo(),
            "\nTotal number of devices attached to system: 4\n\n"
            "Boot Chime Volume Scalar:        0.00\n"
            "Boot Chime Volume Decibels:      0.00\n");
}

TEST_F(Controller, TheSystemReportHasTheRangeWhereItCanBeRead) {
  hardware->chimeRange = AudioValueRange{-40, 0};
  EXPECT_NE(controller().printSystemInfo().find("Boot Chime Volume Range Decibels: \n\t-40.00 <= x <= 0.00\n"),
            std::string::npos);
}
