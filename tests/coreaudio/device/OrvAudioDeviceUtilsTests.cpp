#include <OrvCoreAudio/OrvAudioDeviceUtils.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;
using Utils = OrvAudioDeviceUtils;

namespace {

using Block = std::unique_ptr<void, decltype(&std::free)>;

constexpr std::uint32_t kVolume = kAudioDevicePropertyVolumeScalar;
constexpr std::uint32_t kChime = kAudioHardwarePropertyBootChimeVolumeScalar;
constexpr OSStatus kUnknown = kAudioHardwareUnknownPropertyError;

class OrvAudioDeviceUtilsTest : public orv::test::FakeDevices {
 protected:
  static bool setVolume(float volume, bool isInput = false) {
    return Utils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
        kDevice, kVolume, 1, isInput, sizeof volume, &volume);
  }

  const LogCapture log;
};

}  // namespace

TEST_F(OrvAudioDeviceUtilsTest, OnlyAWritableHardwarePropertyCanBeSet) {
  hardware->set(Place::ofHardware(kChime), bytesOf(0.5F), true);
  hardware->set(Place::ofHardware(fourCC("slep")), bytesOf(1U), false);
  EXPECT_TRUE(Utils::canSetHardwareProperty(kChime));
  EXPECT_FALSE(Utils::canSetHardwareProperty(fourCC("slep")));
  EXPECT_FALSE(Utils::canSetHardwareProperty(fourCC("zzzz")));
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyIsWrittenWithItsOwnSize) {
  hardware->set(Place::ofHardware(kChime), bytesOf(0.5F), true);
  const double more[2] = {1, 2};
  EXPECT_TRUE(Utils::setHardwareProperty_inData(kChime, more));
  ASSERT_EQ(hardware->written().size(), 1U);
  EXPECT_EQ(hardware->written()[0].second.size(), 4U);
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyThatIsReadOnlyIsRefusedWithALine) {
  hardware->set(Place::ofHardware(kChime), bytesOf(0.5F), false);
  const float value = 1;
  EXPECT_FALSE(Utils::setHardwareProperty_inData(kChime, &value));
  EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "ERR SET HW PROP: Property not writable (kAudioHardwarePropertyBootChimeVolumeScalar)"});
  EXPECT_TRUE(hardware->written().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyThatFailsToBeWrittenIsLogged) {
  const float value = 1;
  EXPECT_FALSE(Utils::setHardwareProperty_inData(kChime, &value));
  hardware->set(Place::ofHardware(kChime),
                FakeProperty{.bytes = bytesOf(0.5F), .isWritable = true, .writeStatus = kAudioDevicePermissionsError});
  EXPECT_FALSE(Utils::setHardwareProperty_inData(kChime, &value));
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "ERR SET HW PROP: Hardware unknown property error (kAudioHardwarePropertyBootChimeVolumeScalar)",
                "ERR SET HW PROP: Permission denied (kAudioHardwarePropertyBootChimeVolumeScalar)"}));
}

TEST_F(OrvAudioDeviceUtilsTest, TheSizeOfAHardwarePropertyIsToldAndItsFailureLogged) {
  hardware->set(Place::ofHardware(kChime), bytesOf(0.5F));
  EXPECT_EQ(Utils::hardwarePropertySize(kChime), 4U);
  EXPECT_EQ(Utils::lastReportedError(), noErr);
  EXPECT_EQ(Utils::hardwarePropertySize(fourCC("zzzz")), 0U);
  EXPECT_EQ(Utils::lastReportedError(), kUnknown);
  EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "ERR READ HW PROP SIZE: Hardware unknown property error (Unknown property: 'zzzz')"});
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyIsABlockThatTheCallerFrees) {
  hardware->set(Place::ofHardware(kChime), bytesOf(0.25F));
  const Block block(Utils::hardwareProperty(kChime), std::free);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(*static_cast<const float*>(block.get()), 0.25F);
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyThatFailsToBeReadIsNullAndLogged) {
  hardware->set(Place::ofHardware(kChime),
                FakeProperty{.bytes = bytesOf(1.0F), .readStatus = kAudioHardwareNotRunningError});
  EXPECT_EQ(Utils::hardwareProperty(kChime), nullptr);
  EXPECT_EQ(Utils::lastReportedError(), kAudioHardwareNotRunningError);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"ERR READ HW PROP: Hardware not running error "
                                                  "(kAudioHardwarePropertyBootChimeVolumeScalar)"});
}

TEST_F(OrvAudioDeviceUtilsTest, AHardwarePropertyWithoutASizeIsNullAndLoggedOnce) {
  EXPECT_EQ(Utils::hardwareProperty(fourCC("zzzz")), nullptr);
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(OrvAudioDeviceUtilsTest, OnlyAWritableDevicePropertyOfThatChannelAndSectionCanBeSet) {
  hardware->set(Place::ofOutput(kDevice, kVolume, 1), bytesOf(1.0F), true);
  hardware->set(Place::ofOutput(kDevice, kVolume, 2), bytesOf(1.0F), false);
  EXPECT_TRUE(Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(kDevice, kVolume, 1, false));
  EXPECT_FALSE(Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(kDevice, kVolume, 2, false));
  EXPECT_FALSE(Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(kDevice, kVolume, 1, true));
  EXPECT_FALSE(Utils::canSetDeviceProperty_inPropertyID_inChannel_isInput(99, kVolume, 1, false));
}

TEST_F(OrvAudioDeviceUtilsTest, ADevicePropertyIsWrittenWithTheCallersSize) {
  hardware->set(Place::ofOutput(kDevice, kVolume, 1), bytesOf(1.0), true);
  EXPECT_TRUE(setVolume(0.25F));
  ASSERT_EQ(hardware->written().size(), 1U);
  EXPECT_EQ(hardware->written()[0].first, Place::ofOutput(kDevice, kVolume, 1));
  EXPECT_EQ(hardware->written()[0].second, bytesOf(0.25F));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, WritingAReadOnlyDevicePropertyLogsOneLineThatTellsNoError) {
  hardware->set(Place::ofOutput(kDevice, kVolume, 1), bytesOf(1.0F), false);
  EXPECT_FALSE(setVolume(0.25F));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"ERR SET DEV PROP NO WRITE: No error (kAudioDevicePropertyVolumeScalar)"});
  EXPECT_TRUE(hardware->written().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, WritingADevicePropertyThatIsNotThereLogsBothLines) {
  EXPECT_FALSE(setVolume(0.25F));
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "ERR SET DEV PROP NO WRITE: Hardware unknown property error (kAudioDevicePropertyVolumeScalar)",
                "ERR SET DEV PROP: Hardware unknown property error (kAudioDevicePropertyVolumeScalar)"}));
}

TEST_F(OrvAudioDeviceUtilsTest, ADevicePropertyThatFailsToBeWrittenIsLogged) {
  hardware->set(Place::ofOutput(kDevice, kVolume, 1),
                FakeProperty{.bytes = bytesOf(1.0F), .isWritable = true, .writeStatus = kAudioDevicePermissionsError});
  EXPECT_FALSE(setVolume(0.25F));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"ERR SET DEV PROP: Permission denied (kAudioDevicePropertyVolumeScalar)"});
}

TEST_F(OrvAudioDeviceUtilsTest, WritingNullIsRefused) {
  hardware->set(Place::ofOutput(kDevice, kVolume, 1), bytesOf(1.0F), true);
  EXPECT_FALSE(Utils::setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
      kDevice, kVolume, 1, false, 4, nullptr));
  hardware->set(Place::ofHardware(kChime), bytesOf(1.0F), true);
  EXPECT_FALSE(Utils::setHardwareProperty_inData(kChime, nullptr));
  EXPECT_TRUE(hardware->written().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, WritingLeavesTheLastErrorAlone) {
  Utils::integerProperty_propertyID(99, kVolume);
  hardware->set(Place::ofOutput(kDevice, kVolume, 1), bytesOf(1.0F), true);
  EXPECT_TRUE(setVolume(0.5F));
  Utils::canSetHardwareProperty(kChime);
  EXPECT_FALSE(setVolume(0.5F, true));
  EXPECT_EQ(Utils::lastReportedError(), kAudioHardwareBadDeviceError);
}

TEST_F(OrvAudioDeviceUtilsTest, TheSizeOfADevicePropertyIsSilentWhenItFails) {
  hardware->set(Place::ofInput(kDevice, kVolume, 2), bytesOf(1.0));
  EXPECT_EQ(Utils::sizeOfPropertyData_propertyID_forChannel_isInput(kDevice, kVolume, 2, true), 8U);
  EXPECT_EQ(Utils::lastReportedError(), noErr);
  EXPECT_EQ(Utils::sizeOfPropertyData_propertyID_forChannel_isInput(kDevice, kVolume, 3, true), 0U);
  EXPECT_EQ(Utils::lastReportedError(), kUnknown);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, ADevicePropertyThatFailsIsNullWithoutALine) {
  hardware->set(Place::ofInput(kDevice, kVolume),
                FakeProperty{.bytes = bytesOf(1.0F), .readStatus = kAudioHardwareBadStreamError});
  EXPECT_EQ(Utils::anyProperty_propertyID(kDevice, kVolume), nullptr);
  EXPECT_EQ(Utils::lastReportedError(), kAudioHardwareBadStreamError);
  EXPECT_EQ(Utils::anyProperty_propertyID_isInput(kDevice, kVolume, false), nullptr);
  EXPECT_EQ(Utils::lastReportedError(), kUnknown);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceUtilsTest, AValueOfNoBytesIsLoggedAndReadsAsNullAndZero) {
  hardware->set(Place::ofInput(kDevice, kVolume), "");
  EXPECT_EQ(Utils::anyProperty_propertyID(kDevice, kVolume), nullptr);
  EXPECT_EQ(Utils::float32Property_propertyID(kDevice, kVolume), 0.0F);
  const std::string line = "Property (kAudioDevicePropertyVolumeScalar) value size is 0";
  EXPECT_EQ(log.lines(), (std::vector<std::string>{line, line}));
  EXPECT_EQ(Utils::lastReportedError(), noErr);
}

TEST_F(OrvAudioDeviceUtilsTest, ShorterFormsReadTheMasterChannelAndTheShortestTheInput) {
  hardware->set(Place::ofInput(kDevice, kVolume), bytesOf(1U));
  hardware->set(Place::ofOutput(kDevice, kVolume), bytesOf(2U));
  hardware->set(Place::ofOutput(kDevice, kVolume, 5), bytesOf(3U));
  EXPECT_EQ(Utils::integerProperty_propertyID(kDevice, kVolume), 1U);
  EXPECT_EQ(Utils::integerProperty_propertyID_isInput(kDevice, kVolume, false), 2U);
  EXPECT_EQ(Utils::integerProperty_propertyID_forChannel_isInput(kDevice, kVolume, 5, false), 3U);
  const Block block(Utils::anyProperty_propertyID_isInput(kDevice, kVolume, false), std::free);
  EXPECT_EQ(*static_cast<const std::uint32_t*>(block.get()), 2U);
}

TEST_F(OrvAudioDeviceUtilsTest, TheShortestFormFailsOnADeviceWithoutInput) {
  hardware->set(Place::ofOutput(kDevice, kVolume), bytesOf(2U));
  EXPECT_EQ(Utils::integerProperty_propertyID(kDevice, kVolume), 0U);
  EXPECT_EQ(Utils::lastReportedError(), kUnknown);
}

TEST_F(OrvAudioDeviceUtilsTest, FloatsOfBothWidthsAreRead) {
  hardware->set(Place::ofInput(kDevice, kVolume), bytesOf(0.75F));
  hardware->set(Place::ofInput(kDevice, fourCC("nsrt")), bytesOf(44100.5));
  hardware->set(Place::ofOutput(kDevice, fourCC("nsrt"), 1), bytesOf(8000.0));
  hardware->set(Place::ofOutput(kDevice, kVolume), bytesOf(-1.5F));
  EXPECT_EQ(Utils::float32Property_propertyID(kDevice, kVolume), 0.75F);
  EXPECT_EQ(Utils::float32Property_propertyID_isInput(kDevice, kVolume, false), -1.5F);
  EXPECT_EQ(Utils::float64Property_propertyID(kDevice, fourCC("nsrt")), 44100.5);
  EXPECT_EQ(Utils::float64Property_propertyID_isInput(kDevice, fourCC("nsrt"), true), 44100.5);
  EXPECT_EQ(Utils::float64Property_propertyID_forChannel_isInput(kDevice, fourCC("nsrt"), 1, false), 8000.0);
}

TEST_F(OrvAudioDeviceUtilsTest, AValueOfTooFewBytesIsFilledUpWithZeros) {
  hardware->set(Place::ofInput(kDevice, kVolume), "\x05");
  EXPECT_EQ(Utils::integerProperty_propertyID(kDevice, kVolume), 5U);
  EXPECT_EQ(Utils::float64Property_propertyID(kDevice, kVolume), 5 * 4.9406564584124654e-324);
}

TEST_F(OrvAudioDeviceUtilsTest, AValueThatHasGrownSinceItsSizeWasToldIsRefused) {
  hardware->set(Place::ofInput(kDevice, kVolume), FakeProperty{.bytes = std::string(64, 'x'), .announcedSize = 4});
  EXPECT_EQ(Utils::anyProperty_propertyID(kDevice, kVolume), nullptr);
  EXPECT_EQ(Utils::lastReportedError(), kAudioHardwareBadPropertySizeError);
}

TEST_F(OrvAudioDeviceUtilsTest, AnAbsurdSizeIsRefusedWithoutTakingTheMemory) {
  hardware->set(Place::ofInput(kDevice, kVolume), FakeProperty{.bytes = "x", .announcedSize = 0xFFFFFFFF});
  EXPECT_EQ(Utils::integerProperty_propertyID(kDevice, kVolume), 0U);
  EXPECT_EQ(Utils::lastReportedError(), kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(hardware->reads(Place::ofInput(kDevice, kVolume)), 0);
}

TEST_F(OrvAudioDeviceUtilsTest, TheExportedStatusIsTheLastReportedError) {
  Utils::integerProperty_propertyID(99, kVolume);
  EXPECT_EQ(___lastError, kAudioHardwareBadDeviceError);
  ___lastError = 17;
  EXPECT_EQ(Utils::lastReportedError(), 17);
}

TEST_F(OrvAudioDeviceUtilsTest, TheDebugSwitchChangesNothing) {
  Utils::setPrintDebug(true);
  hardware->set(Place::ofInput(kDevice, kVolume), bytesOf(1U));
  EXPECT_EQ(Utils::integerProperty_propertyID(kDevice, kVolume), 1U);
  EXPECT_TRUE(log.lines().empty());
  Utils::setPrintDebug(false);
}
