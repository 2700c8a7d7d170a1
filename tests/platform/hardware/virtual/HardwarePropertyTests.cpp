#include <gtest/gtest.h>

#include <limits>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

class HardwareProperties : public testing::Test {
 protected:
  HardwareProperties() {
    hardware_->setEvents(&events_);
    first_ = hardware_->plug(simpleDevice("first"));
    VirtualDevice outputOnly = simpleDevice("second");
    outputOnly.input = {};
    second_ = hardware_->plug(outputOnly);
    events_.take();
  }

  template <typename T>
  T value(AudioHardwarePropertyID property, T in = {}) {
    std::uint32_t size = sizeof in;
    EXPECT_EQ(hardware_->hardwareProperty(property, &size, &in), noErr);
    EXPECT_EQ(size, sizeof in);
    return in;
  }
  template <typename T>
  OSStatus set(AudioHardwarePropertyID property, T value) {
    return hardware_->setHardwareProperty(property, sizeof value, &value);
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
  AudioDeviceID first_ = 0;
  AudioDeviceID second_ = 0;
};

TEST_F(HardwareProperties, DefaultDevicesCanBeSetAndAreTold) {
  EXPECT_EQ(set(kAudioHardwarePropertyDefaultOutputDevice, second_), noErr);
  EXPECT_EQ(value<AudioDeviceID>(kAudioHardwarePropertyDefaultOutputDevice), second_);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{0, 0, false, kAudioHardwarePropertyDefaultOutputDevice}}));
  EXPECT_EQ(set(kAudioHardwarePropertyDefaultOutputDevice, second_), noErr);
  EXPECT_TRUE(events_.take().empty());
}

TEST_F(HardwareProperties, ADeviceWithoutInputCannotBeTheDefaultInput) {
  EXPECT_EQ(set(kAudioHardwarePropertyDefaultInputDevice, second_), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kAudioHardwarePropertyDefaultInputDevice, AudioDeviceID{0}), kAudioHardwareBadDeviceError);
  EXPECT_EQ(value<AudioDeviceID>(kAudioHardwarePropertyDefaultInputDevice), first_);
}

TEST_F(HardwareProperties, AUIDIsTranslatedToItsDevice) {
  char uid[] = "second";
  AudioDeviceID id = 99;
  AudioValueTranslation translation = {uid, sizeof uid - 1, &id, sizeof id};
  translation = value(kAudioHardwarePropertyDeviceForUID, translation);
  EXPECT_EQ(id, second_);
  EXPECT_EQ(translation.mOutputDataSize, sizeof id);
}

TEST_F(HardwareProperties, AnUnknownUIDGivesTheIDZeroAndNoData) {
  char uid[] = "nobody";
  AudioDeviceID id = 99;
  AudioValueTranslation translation = {uid, sizeof uid - 1, &id, sizeof id};
  std::uint32_t size = sizeof translation;
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation), noErr);
  EXPECT_EQ(id, 0U);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(translation.mOutputDataSize, 0U);
}

TEST_F(HardwareProperties, ATranslationWithoutRoomOrWithoutBlocksIsRefused) {
  char uid[] = "first";
  AudioDeviceID id = 0;
  AudioValueTranslation translation = {uid, 5, &id, 3};
  std::uint32_t size = sizeof translation;
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation),
            kAudioHardwareBadPropertySizeError);
  translation = {nullptr, 5, &id, 4};
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation),
            kAudioHardwareIllegalOperationError);
  size = sizeof translation - 1;
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation),
            kAudioHardwareBadPropertySizeError);
}

TEST_F(HardwareProperties, TheBootChimeHasAVolumeInTwoForms) {
  EXPECT_EQ(set(kAudioHardwarePropertyBootChimeVolumeScalar, 0.25F), noErr);
  EXPECT_EQ(value<float>(kAudioHardwarePropertyBootChimeVolumeScalar), 0.25F);
  EXPECT_EQ(value<float>(kAudioHardwarePropertyBootChimeVolumeDecibels), -45.0F);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{0, 0, false, kAudioHardwarePropertyBootChimeVolumeScalar},
                                                     {0, 0, false, kAudioHardwarePropertyBootChimeVolumeDecibels}}));
  EXPECT_EQ(set(kAudioHardwarePropertyBootChimeVolumeDecibels, -200.0F), noErr);
  EXPECT_EQ(value<float>(kAudioHardwarePropertyBootChimeVolumeScalar), 0.0F);
  EXPECT_EQ(set(kAudioHardwarePropertyBootChimeVolumeScalar, std::numeric_limits<float>::quiet_NaN()),
            kAudioHardwareIllegalOperationError);
  const auto range = value<AudioValueRange>(kAudioHardwarePropertyBootChimeVolumeRangeDecibels);
  EXPECT_EQ(range.mMinimum, -60.0);
  EXPECT_EQ(range.mMaximum, 0.0);
  EXPECT_EQ(value(kAudioHardwarePropertyBootChimeVolumeScalarToDecibels, 0.5F), -30.0F);
  EXPECT_EQ(value(kAudioHardwarePropertyBootChimeVolumeDecibelsToScalar, -30.0F), 0.5F);
}

TEST_F(HardwareProperties, WrongPropertiesSizesAndWritesHaveTheirStatus) {
  std::uint32_t size = 4;
  std::uint32_t data = 0;
  EXPECT_EQ(hardware_->hardwareProperty(fourCC("zzzz"), &size, &data), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(set(fourCC("zzzz"), 1U), kAudioHardwareUnknownPropertyError);
  size = 3;
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDefaultInputDevice, &size, &data),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(hardware_->hardwareProperty(kAudioHardwarePropertyDevices, &size, &data),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(set(kAudioHardwarePropertyDevices, 1U), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kAudioHardwarePropertyDefaultInputDevice, std::uint16_t{1}), kAudioHardwareBadPropertySizeError);
}

}  // namespace
}  // namespace orv::test
