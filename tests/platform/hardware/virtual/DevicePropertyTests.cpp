#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

constexpr bool kInput = true;
constexpr bool kOutput = false;

class DeviceProperties : public testing::Test {
 protected:
  DeviceProperties() {
    hardware_->setEvents(&events_);
    VirtualDevice device = simpleDevice("interface");
    device.id = 40;
    device.transport = fourCC("usb ");
    device.hasPlayThru = true;
    device.input.dataSources = {{fourCC("line"), "Line In"}, {fourCC("imic"), std::nullopt}};
    device.input.preferredStereo[0] = 2;
    device.input.preferredStereo[1] = 1;
    device.input.channelLabels = {kAudioChannelLabel_Left, kAudioChannelLabel_Right};
    device.input.latency = 11;
    device.input.safetyOffset = 5;
    device.output.controls[1].isWritable = false;
    device.output.controls.pop_back();
    hardware_->plug(device);
    VirtualDevice outputOnly = simpleDevice("out");
    outputOnly.id = 41;
    outputOnly.input = {};
    outputOnly.name = std::nullopt;
    hardware_->plug(outputOnly);
    events_.take();
  }

  template <typename T>
  T value(bool isInput, AudioDevicePropertyID property, std::uint32_t channel = 0, T in = {}) {
    return deviceValue<T>(*hardware_, 40, isInput, property, channel, in);
  }
  template <typename T>
  OSStatus set(bool isInput, AudioDevicePropertyID property, const T& value, std::uint32_t channel = 0) {
    return setDeviceValue(*hardware_, 40, isInput, property, value, channel);
  }
  OSStatus status(AudioDeviceID device, bool isInput, AudioDevicePropertyID property, std::uint32_t channel = 0) {
    return deviceStatus(*hardware_, device, isInput, property, channel);
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
};

TEST_F(DeviceProperties, IdentityIsAnsweredInBothSectionsOfEveryDevice) {
  for (const bool isInput : {kInput, kOutput}) {
    EXPECT_EQ(deviceText(*hardware_, 40, kAudioDevicePropertyDeviceUID, isInput), "interface");
    EXPECT_EQ(deviceText(*hardware_, 40, kAudioDevicePropertyDeviceNameCFString, isInput), "Device interface");
    EXPECT_EQ(deviceText(*hardware_, 40, kAudioDevicePropertyDeviceName, isInput), "Device interface");
    EXPECT_EQ(deviceText(*hardware_, 40, kAudioDevicePropertyDeviceManufacturerCFString, isInput), "Makers");
    EXPECT_EQ(value<FourCharCode>(isInput, kAudioDevicePropertyTransportType), fourCC("usb "));
    for (const auto flag : {kAudioDevicePropertyDeviceIsAlive, kAudioDevicePropertyDeviceCanBeDefaultDevice,
                            kAudioDevicePropertyDeviceCanBeDefaultSystemDevice, kAudioDevicePropertySupportsMixing}) {
      EXPECT_EQ(value<std::uint32_t>(isInput, flag), 1U) << fourCCText(flag);
      EXPECT_EQ(deviceValue<std::uint32_t>(*hardware_, 41, isInput, flag), 1U) << fourCCText(flag);
    }
  }
}

TEST_F(DeviceProperties, ADeviceWithoutANameHasNone) {
  EXPECT_EQ(status(41, kInput, kAudioDevicePropertyDeviceNameCFString), kAudioHardwareUnknownPropertyError);
}

TEST_F(DeviceProperties, RunningIsToldAndRead) {
  RecordingSink sink;
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyDeviceIsRunning), 0U);
  hardware_->start(40, &sink);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyDeviceIsRunning), 1U);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, false, kAudioDevicePropertyDeviceIsRunning}}));
  hardware_->stop(40);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyDeviceIsRunning), 0U);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, false, kAudioDevicePropertyDeviceIsRunning}}));
}

TEST_F(DeviceProperties, ASectionWithoutStreamsHasAnEmptyConfigurationAndNothingElse) {
  EXPECT_TRUE(deviceList<AudioStreamID>(*hardware_, 41, kInput, kAudioDevicePropertyStreams).empty());
  EXPECT_EQ(deviceList<std::uint32_t>(*hardware_, 41, kInput, kAudioDevicePropertyStreamConfiguration),
            (std::vector<std::uint32_t>{0, 0}));
  for (const auto property :
       {kAudioDevicePropertyBufferFrameSize, kAudioDevicePropertyBufferSize, kAudioDevicePropertyLatency,
        kAudioDevicePropertySafetyOffset, kAudioDevicePropertyNominalSampleRate, kAudioDevicePropertyActualSampleRate,
        kAudioDevicePropertyAvailableNominalSampleRates, kAudioDevicePropertyStreamFormat,
        kAudioStreamPropertyPhysicalFormat, kAudioDevicePropertyVolumeScalar, kAudioDevicePropertyMute,
        kAudioDevicePropertyDataSource, kAudioDevicePropertyPreferredChannelsForStereo}) {
    EXPECT_EQ(status(41, kInput, property), kAudioHardwareUnknownPropertyError) << fourCCText(property);
  }
  EXPECT_EQ(status(41, kInput, kAudioDevicePropertyJackIsConnected, 1), kAudioHardwareUnknownPropertyError);
}

TEST_F(DeviceProperties, WrongDevicesChannelsPropertiesAndSizesHaveTheirStatus) {
  EXPECT_EQ(status(42, kInput, kAudioDevicePropertyDeviceIsAlive), kAudioHardwareBadDeviceError);
  EXPECT_EQ(status(0, kInput, kAudioDevicePropertyDeviceIsAlive), kAudioHardwareBadDeviceError);
  EXPECT_EQ(status(40, kInput, fourCC("zzzz")), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyDeviceIsAlive, 1), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyLatency, 1), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyVolumeScalar, 3), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyVolumeScalar, kAudioPropertyWildcardChannel),
            kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyJackIsConnected, 0), kAudioHardwareUnknownPropertyError);
  std::uint32_t size = 3;
  std::uint32_t data = 0;
  EXPECT_EQ(hardware_->deviceProperty(40, 0, kInput, kAudioDevicePropertyLatency, &size, &data),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(size, 3U);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyMute, std::uint8_t{1}), kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyMute, std::uint64_t{1}), kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyLatency, 1U), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kInput, fourCC("zzzz"), 1U), kAudioHardwareUnknownPropertyError);
}

TEST_F(DeviceProperties, MoreRoomThanNeededIsFine) {
  std::array<std::uint32_t, 4> data = {};
  std::uint32_t size = sizeof data;
  EXPECT_EQ(hardware_->deviceProperty(40, 0, kInput, kAudioDevicePropertyLatency, &size, data.data()), noErr);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(data[0], 11U);
}

TEST_F(DeviceProperties, LatencyAndSafetyOffsetAreTheSectionsOwn) {
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertySafetyOffset), 5U);
  EXPECT_EQ(value<std::uint32_t>(kOutput, kAudioDevicePropertyLatency), 0U);
}

TEST_F(DeviceProperties, TheBufferSizeIsToldInFramesAndInBytes) {
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyBufferFrameSize), 64U);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyBufferSize), 512U);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyBufferFrameSize, 128U), noErr);
  EXPECT_EQ(value<std::uint32_t>(kOutput, kAudioDevicePropertyBufferSize), 1024U);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, kInput, kAudioDevicePropertyBufferFrameSize},
                                                     {40, 0, kOutput, kAudioDevicePropertyBufferFrameSize},
                                                     {40, 0, kInput, kAudioDevicePropertyBufferSize},
                                                     {40, 0, kOutput, kAudioDevicePropertyBufferSize}}));
  EXPECT_EQ(set(kInput, kAudioDevicePropertyBufferSize, 256U), noErr);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyBufferFrameSize), 32U);
}

TEST_F(DeviceProperties, ABufferSizeOutOfRangeOrOfPartsOfAFrameIsRefused) {
  EXPECT_EQ(set(kInput, kAudioDevicePropertyBufferFrameSize, 15U), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyBufferFrameSize, 4097U), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyBufferSize, 257U), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(value<AudioValueRange>(kInput, kAudioDevicePropertyBufferFrameSizeRange).mMaximum, 4096.0);
  EXPECT_EQ(value<AudioValueRange>(kInput, kAudioDevicePropertyBufferSizeRange).mMaximum, 4096.0 * 8);
  EXPECT_TRUE(events_.take().empty());
}

TEST_F(DeviceProperties, PreferredStereoChannelsAndTheLayoutAreThereWhereDescribed) {
  const auto stereo = value<std::array<std::uint32_t, 2>>(kInput, kAudioDevicePropertyPreferredChannelsForStereo);
  EXPECT_EQ(stereo, (std::array<std::uint32_t, 2>{2, 1}));
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyPreferredChannelsForStereo), kAudioHardwareUnknownPropertyError);
  const auto words = deviceList<std::uint32_t>(*hardware_, 40, kInput, kAudioDevicePropertyPreferredChannelLayout);
  EXPECT_EQ(words, (std::vector<std::uint32_t>{0, 0, 2, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0}));
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyPreferredChannelLayout), kAudioHardwareUnknownPropertyError);
}

TEST_F(DeviceProperties, PreferredStereoChannelsCanBeSet) {
  const std::array<std::uint32_t, 2> straight = {1, 2};
  EXPECT_EQ(set(kInput, kAudioDevicePropertyPreferredChannelsForStereo, straight), noErr);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, kInput, kAudioDevicePropertyPreferredChannelsForStereo}}));
  const std::array<std::uint32_t, 2> none = {0, 3};
  EXPECT_EQ(set(kInput, kAudioDevicePropertyPreferredChannelsForStereo, none), kAudioHardwareIllegalOperationError);
}

TEST_F(DeviceProperties, BothFormsOfAVolumeAreToldWhenOneIsSet) {
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeScalar, 0.5F, 1), noErr);
  EXPECT_EQ(value<float>(kInput, kAudioDevicePropertyVolumeDecibels, 1), -30.0F);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 1, kInput, kAudioDevicePropertyVolumeScalar},
                                                     {40, 1, kInput, kAudioDevicePropertyVolumeDecibels}}));
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeDecibels, -6.5F, 1), noErr);
  EXPECT_EQ(value<float>(kInput, kAudioDevicePropertyVolumeDecibels, 1), -6.5F);
  EXPECT_EQ(events_.take().size(), 2U);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeDecibels, -6.5F, 1), noErr);
  EXPECT_TRUE(events_.take().empty());
}

TEST_F(DeviceProperties, VolumesOutOfRangeAreBroughtIntoItAndNoNumberIsRefused) {
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeScalar, -3.0F), noErr);
  EXPECT_EQ(value<float>(kInput, kAudioDevicePropertyVolumeScalar), 0.0F);
  EXPECT_EQ(value<float>(kInput, kAudioDevicePropertyVolumeDecibels), -60.0F);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeDecibels, std::numeric_limits<float>::infinity()), noErr);
  EXPECT_EQ(value<float>(kInput, kAudioDevicePropertyVolumeScalar), 1.0F);
  const float noNumber = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeScalar, noNumber), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(set(kInput, kAudioDevicePropertyVolumeDecibels, noNumber), kAudioHardwareIllegalOperationError);
}

TEST_F(DeviceProperties, VolumesAreTranslated) {
  EXPECT_EQ(value(kInput, kAudioDevicePropertyVolumeScalarToDecibels, 0, 0.25F), -45.0F);
  EXPECT_EQ(value(kInput, kAudioDevicePropertyVolumeDecibelsToScalar, 0, -45.0F), 0.25F);
  const auto range = value<AudioValueRange>(kInput, kAudioDevicePropertyVolumeRangeDecibels);
  EXPECT_EQ(range.mMinimum, -60.0);
  EXPECT_EQ(range.mMaximum, 0.0);
}

TEST_F(DeviceProperties, AChannelWithoutAControlHasNoVolumeAndOneThatIsNotWritableCannotBeSet) {
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyVolumeScalar, 2), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyMute, 2), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(set(kOutput, kAudioDevicePropertyVolumeScalar, 0.5F, 2), kAudioHardwareUnknownPropertyError);
  EXPECT_FALSE(isWritable(*hardware_, 40, kOutput, kAudioDevicePropertyVolumeScalar, 1));
  EXPECT_EQ(set(kOutput, kAudioDevicePropertyVolumeScalar, 0.5F, 1), kAudioHardwareIllegalOperationError);
  EXPECT_TRUE(isWritable(*hardware_, 40, kOutput, kAudioDevicePropertyVolumeScalar, 0));
}

TEST_F(DeviceProperties, MuteIsToldOnce) {
  EXPECT_EQ(set(kOutput, kAudioDevicePropertyMute, 17U), noErr);
  EXPECT_EQ(value<std::uint32_t>(kOutput, kAudioDevicePropertyMute), 1U);
  EXPECT_EQ(set(kOutput, kAudioDevicePropertyMute, 1U), noErr);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, kOutput, kAudioDevicePropertyMute}}));
}

TEST_F(DeviceProperties, PlayThroughIsOfTheFirstInputChannelWhereTheDeviceHasIt) {
  EXPECT_EQ(set(kInput, kAudioDevicePropertyPlayThru, 1U, 1), noErr);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyPlayThru, 1), 1U);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 1, kInput, kAudioDevicePropertyPlayThru}}));
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyPlayThru, 1), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kInput, kAudioDevicePropertyPlayThru, 0), kAudioHardwareUnknownPropertyError);
}

TEST_F(DeviceProperties, TheJackIsOfTheFirstChannel) {
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyJackIsConnected, 1), 1U);
  EXPECT_EQ(hardware_->setJack(40, kInput, false), noErr);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyJackIsConnected, 1), 0U);
  EXPECT_EQ(value<std::uint32_t>(kOutput, kAudioDevicePropertyJackIsConnected, 1), 1U);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 1, kInput, kAudioDevicePropertyJackIsConnected}}));
  EXPECT_EQ(hardware_->setJack(41, kInput, false), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(hardware_->setJack(42, kInput, false), kAudioHardwareBadDeviceError);
}

TEST_F(DeviceProperties, DataSourcesAreListedAndTheCurrentOneCanBeSet) {
  EXPECT_EQ(deviceList<std::uint32_t>(*hardware_, 40, kInput, kAudioDevicePropertyDataSources),
            (std::vector<std::uint32_t>{fourCC("line"), fourCC("imic")}));
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyDataSource), fourCC("line"));
  EXPECT_EQ(set(kInput, kAudioDevicePropertyDataSource, fourCC("imic")), noErr);
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{40, 0, kInput, kAudioDevicePropertyDataSource}}));
  EXPECT_EQ(set(kInput, kAudioDevicePropertyDataSource, fourCC("tape")), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(value<std::uint32_t>(kInput, kAudioDevicePropertyDataSource), fourCC("imic"));
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyDataSource), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(status(40, kOutput, kAudioDevicePropertyDataSources), kAudioHardwareUnknownPropertyError);
}

class DataSourceNames : public DeviceProperties {
 protected:
  OSStatus translate(FourCharCode id, std::uint32_t room) {
    text_.fill('#');
    translation_ = {&id, sizeof id, text_.data(), room};
    std::uint32_t size = sizeof translation_;
    return hardware_->deviceProperty(40, 0, kInput, kAudioDevicePropertyDataSourceNameForIDCFString, &size,
                                     &translation_);
  }

  std::array<char, 16> text_ = {};
  AudioValueTranslation translation_ = {};
};

TEST_F(DataSourceNames, TheNameOfASourceIsTranslated) {
  EXPECT_EQ(translate(fourCC("line"), 16), noErr);
  EXPECT_EQ(std::string(text_.data(), translation_.mOutputDataSize), "Line In");
  EXPECT_EQ(text_[7], '#');
}

TEST_F(DataSourceNames, TooLittleRoomTellsHowMuchIsNeeded) {
  EXPECT_EQ(translate(fourCC("line"), 6), kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(translation_.mOutputDataSize, 7U);
  EXPECT_EQ(text_[0], '#');
}

TEST_F(DataSourceNames, ASourceWithoutANameAndOneThatIsNotThereHaveNone) {
  EXPECT_EQ(translate(fourCC("imic"), 16), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(translate(fourCC("tape"), 16), kAudioHardwareUnknownPropertyError);
}

}  // namespace
}  // namespace orv::test
