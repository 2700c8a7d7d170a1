#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "VirtualHardwareTestSupport.h"

namespace orv::test {
namespace {

using Format = AudioStreamBasicDescription;

constexpr bool kInput = true;
constexpr bool kOutput = false;

bool same(const Format& a, const Format& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

Format cycleFormat(std::uint32_t channels, double rate) {
  return pcm(channels, 32, rate, true, std::endian::native == std::endian::big);
}

class FormatProperties : public testing::Test {
 protected:
  FormatProperties() {
    hardware_->setEvents(&events_);
    VirtualDevice device = simpleDevice("formats");
    device.input.streams = {{{pcm(2, 24), pcm(2, 16)}, 0x0603},
                            {{pcm(1, 16, 44100), pcm(1, 24, 88200), pcm(1, 16, 88200)}, 0x0201}};
    device_ = hardware_->plug(device);
    streams_ = deviceList<AudioStreamID>(*hardware_, device_, kInput, kAudioDevicePropertyStreams);
    events_.take();
  }

  Format physical(std::uint32_t channel) {
    return deviceValue<Format>(*hardware_, device_, kInput, kAudioStreamPropertyPhysicalFormat, channel);
  }
  double rate() { return deviceValue<double>(*hardware_, device_, kInput, kAudioDevicePropertyNominalSampleRate); }
  template <typename T>
  OSStatus set(AudioDevicePropertyID property, const T& value, std::uint32_t channel = 0) {
    return setDeviceValue(*hardware_, device_, kInput, property, value, channel);
  }
  template <typename T>
  T streamValue(std::size_t stream, AudioStreamPropertyID property, std::uint32_t channel) {
    T value{};
    std::uint32_t size = sizeof value;
    EXPECT_EQ(hardware_->streamProperty(streams_[stream], channel, property, &size, &value), noErr);
    EXPECT_EQ(size, sizeof value);
    return value;
  }

  RecordedEvents events_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
  AudioDeviceID device_ = 0;
  std::vector<AudioStreamID> streams_;
};

TEST_F(FormatProperties, TheFormatOfAChannelIsThatOfTheStreamThatHoldsIt) {
  const auto format = [&](std::uint32_t channel) {
    return deviceValue<Format>(*hardware_, device_, kInput, kAudioDevicePropertyStreamFormat, channel);
  };
  EXPECT_TRUE(same(format(0), cycleFormat(2, 44100)));
  EXPECT_TRUE(same(format(2), cycleFormat(2, 44100)));
  EXPECT_TRUE(same(format(3), cycleFormat(1, 44100)));
  EXPECT_EQ(deviceStatus(*hardware_, device_, kInput, kAudioDevicePropertyStreamFormat, 4),
            kAudioHardwareUnknownPropertyError);
}

TEST_F(FormatProperties, AWildcardFormatHasTheDevicesRateWhenInForceAndNoneInTheList) {
  EXPECT_TRUE(same(physical(1), pcm(2, 24, 44100)));
  const auto formats = deviceList<Format>(*hardware_, device_, kInput, kAudioStreamPropertyPhysicalFormats, 1);
  ASSERT_EQ(formats.size(), 2U);
  EXPECT_TRUE(same(formats[1], pcm(2, 16, 0)));
}

TEST_F(FormatProperties, CycleFormatsAreListedForEveryRate) {
  const auto formats = deviceList<Format>(*hardware_, device_, kInput, kAudioDevicePropertyStreamFormats);
  ASSERT_EQ(formats.size(), 2U);
  EXPECT_TRUE(same(formats[0], cycleFormat(2, 44100)));
  EXPECT_TRUE(same(formats[1], cycleFormat(2, 88200)));
}

TEST_F(FormatProperties, ARangeOfRatesIsListedAsAWildcard) {
  VirtualDevice device = simpleDevice("range");
  device.nominalSampleRates = {{8000.0, 96000.0}};
  const AudioDeviceID id = hardware_->plug(device);
  const auto formats = deviceList<Format>(*hardware_, id, kOutput, kAudioDevicePropertyStreamFormats);
  ASSERT_EQ(formats.size(), 1U);
  EXPECT_EQ(formats[0].mSampleRate, 0.0);
  EXPECT_EQ(hardware_->setNominalSampleRate(id, 12345.5), noErr);
  EXPECT_EQ(deviceValue<double>(*hardware_, id, kOutput, kAudioDevicePropertyActualSampleRate), 12345.5);
}

TEST_F(FormatProperties, ANewNominalRateChangesEveryFormat) {
  EXPECT_EQ(set(kAudioDevicePropertyNominalSampleRate, 88200.0), noErr);
  EXPECT_TRUE(same(physical(1), pcm(2, 24, 88200)));
  EXPECT_TRUE(same(physical(3), pcm(1, 16, 88200)));
  EXPECT_EQ(deviceValue<Format>(*hardware_, device_, kOutput, kAudioDevicePropertyStreamFormat).mSampleRate, 88200.0);
  EXPECT_EQ(events_.count(kAudioDevicePropertyNominalSampleRate), 2U);
  EXPECT_EQ(events_.count(kAudioDevicePropertyActualSampleRate), 2U);
  EXPECT_EQ(events_.count(kAudioDevicePropertyStreamFormat), 2U);
  EXPECT_EQ(events_.count(kAudioStreamPropertyPhysicalFormat), 2U);
}

TEST_F(FormatProperties, ARateThatTheDeviceLacksIsRefused) {
  for (const double wrong : {0.0, -1.0, 48000.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(set(kAudioDevicePropertyNominalSampleRate, wrong), kAudioDeviceUnsupportedFormatError) << wrong;
  }
  EXPECT_EQ(rate(), 44100.0);
  EXPECT_TRUE(events_.take().empty());
}

TEST_F(FormatProperties, APhysicalFormatOfAnotherRateChangesTheNominalRate) {
  EXPECT_EQ(set(kAudioStreamPropertyPhysicalFormat, pcm(1, 24, 88200), 3), noErr);
  EXPECT_EQ(rate(), 88200.0);
  EXPECT_TRUE(same(physical(3), pcm(1, 24, 88200)));
  EXPECT_TRUE(same(physical(1), pcm(2, 24, 88200)));
}

TEST_F(FormatProperties, APhysicalFormatOfTheSameRateIsToldAlone) {
  EXPECT_EQ(set(kAudioStreamPropertyPhysicalFormat, pcm(2, 16, 44100)), noErr);
  EXPECT_TRUE(same(physical(0), pcm(2, 16, 44100)));
  EXPECT_EQ(events_.take(), (std::vector<ToldChange>{{device_, 0, kInput, kAudioStreamPropertyPhysicalFormat}}));
}

TEST_F(FormatProperties, AFormatThatIsNotOfferedIsRefused) {
  EXPECT_EQ(set(kAudioStreamPropertyPhysicalFormat, pcm(2, 20, 44100)), kAudioDeviceUnsupportedFormatError);
  EXPECT_EQ(set(kAudioStreamPropertyPhysicalFormat, pcm(1, 24, 44100), 3), kAudioDeviceUnsupportedFormatError);
  EXPECT_EQ(set(kAudioStreamPropertyPhysicalFormat, pcm(2, 24, 48000)), kAudioDeviceUnsupportedFormatError);
  EXPECT_EQ(set(kAudioDevicePropertyStreamFormat, pcm(2, 16, 44100)), kAudioDeviceUnsupportedFormatError);
  EXPECT_TRUE(same(physical(0), pcm(2, 24, 44100)));
}

TEST_F(FormatProperties, TheCycleFormatCanOnlyChangeItsRate) {
  EXPECT_EQ(set(kAudioDevicePropertyStreamFormat, cycleFormat(2, 88200)), noErr);
  EXPECT_EQ(rate(), 88200.0);
  EXPECT_EQ(set(kAudioDevicePropertyStreamFormat, cycleFormat(4, 88200)), kAudioDeviceUnsupportedFormatError);
}

TEST_F(FormatProperties, TheStatusSaysWhetherAFormatIsSupported) {
  const auto status = [&](Format format, std::uint32_t channel) {
    std::uint32_t size = sizeof format;
    return hardware_->deviceProperty(device_, channel, kInput, kAudioStreamPropertyPhysicalFormatSupported, &size,
                                     &format);
  };
  EXPECT_EQ(status(pcm(2, 16, 88200), 1), noErr);
  EXPECT_EQ(status(pcm(2, 16, 48000), 1), kAudioDeviceUnsupportedFormatError);
  EXPECT_EQ(status(pcm(1, 24, 44100), 3), kAudioDeviceUnsupportedFormatError);
}

TEST_F(FormatProperties, TheClosestFormatIsFound) {
  const auto match = [&](const Format& wanted, AudioDevicePropertyID property, std::uint32_t channel = 0) {
    return deviceValue<Format>(*hardware_, device_, kInput, property, channel, wanted);
  };
  EXPECT_TRUE(same(match(pcm(2, 20, 48000), kAudioStreamPropertyPhysicalFormatMatch), pcm(2, 24, 44100)));
  EXPECT_TRUE(same(match(pcm(6, 8, 90000), kAudioStreamPropertyPhysicalFormatMatch), pcm(2, 16, 88200)));
  EXPECT_TRUE(same(match(pcm(2, 16, 96000), kAudioDevicePropertyStreamFormatMatch), cycleFormat(2, 88200)));
}

TEST_F(FormatProperties, NothingMatchesWhatIsNoLinearPCM) {
  Format format = {44100, kAudioFormatIMA4, 0, 34, 64, 0, 1, 0, 0};
  std::uint32_t size = sizeof format;
  EXPECT_EQ(hardware_->deviceProperty(device_, 0, kInput, kAudioDevicePropertyStreamFormatMatch, &size, &format),
            kAudioDeviceUnsupportedFormatError);
  format = pcm(2, 16, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(hardware_->deviceProperty(device_, 0, kInput, kAudioDevicePropertyStreamFormatMatch, &size, &format),
            kAudioDeviceUnsupportedFormatError);
  size = 39;
  EXPECT_EQ(hardware_->deviceProperty(device_, 0, kInput, kAudioDevicePropertyStreamFormatMatch, &size, &format),
            kAudioHardwareBadPropertySizeError);
}

TEST_F(FormatProperties, StreamsTellWhereTheyBelong) {
  EXPECT_EQ(streamValue<AudioDeviceID>(1, kAudioStreamPropertyOwningDevice, 0), device_);
  EXPECT_EQ(streamValue<std::uint32_t>(1, kAudioStreamPropertyDirection, 3), 1U);
  EXPECT_EQ(streamValue<std::uint32_t>(0, kAudioStreamPropertyStartingChannel, 0), 1U);
  EXPECT_EQ(streamValue<std::uint32_t>(1, kAudioStreamPropertyStartingChannel, 0), 3U);
  EXPECT_EQ(streamValue<std::uint32_t>(1, kAudioStreamPropertyTerminalType, 3), 0x0201U);
  const auto outputs = deviceList<AudioStreamID>(*hardware_, device_, kOutput, kAudioDevicePropertyStreams);
  ASSERT_EQ(outputs.size(), 1U);
  std::uint32_t direction = 7;
  std::uint32_t size = sizeof direction;
  EXPECT_EQ(hardware_->streamProperty(outputs[0], 1, kAudioStreamPropertyDirection, &size, &direction), noErr);
  EXPECT_EQ(direction, 0U);
}

TEST_F(FormatProperties, AStreamsPhysicalFormatIsReadAndSetOnItsStartingChannel) {
  EXPECT_TRUE(same(streamValue<Format>(1, kAudioStreamPropertyPhysicalFormat, 3), pcm(1, 16, 44100)));
  std::uint32_t size = 0;
  bool writable = false;
  EXPECT_EQ(hardware_->streamPropertyInfo(streams_[1], 3, kAudioStreamPropertyPhysicalFormats, &size, &writable),
            noErr);
  EXPECT_EQ(size, 3 * sizeof(Format));
  EXPECT_FALSE(writable);
  const Format wanted = pcm(1, 24, 88200);
  EXPECT_EQ(hardware_->setStreamProperty(streams_[1], 3, kAudioStreamPropertyPhysicalFormat, sizeof wanted, &wanted),
            noErr);
  EXPECT_TRUE(same(physical(3), wanted));
  EXPECT_EQ(rate(), 88200.0);
}

TEST_F(FormatProperties, WrongStreamsChannelsSizesAndPropertiesHaveTheirStatus) {
  std::uint32_t size = 4;
  std::uint32_t data = 0;
  bool writable = false;
  EXPECT_EQ(hardware_->streamProperty(3, 0, kAudioStreamPropertyDirection, &size, &data), kAudioHardwareBadStreamError);
  EXPECT_EQ(hardware_->streamPropertyInfo(streams_[1] + 2, 0, kAudioStreamPropertyDirection, &size, &writable),
            kAudioHardwareBadStreamError);
  EXPECT_EQ(hardware_->streamProperty(streams_[0], 4, kAudioStreamPropertyDirection, &size, &data),
            kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(hardware_->streamProperty(streams_[0], 0, kAudioDevicePropertyVolumeScalar, &size, &data),
            kAudioHardwareUnknownPropertyError);
  size = 3;
  EXPECT_EQ(hardware_->streamProperty(streams_[0], 0, kAudioStreamPropertyDirection, &size, &data),
            kAudioHardwareBadPropertySizeError);
  EXPECT_EQ(hardware_->setStreamProperty(streams_[0], 0, kAudioStreamPropertyDirection, 4, &data),
            kAudioHardwareIllegalOperationError);
  EXPECT_EQ(hardware_->setStreamProperty(streams_[0], 0, kAudioStreamPropertyPhysicalFormat, 4, &data),
            kAudioHardwareBadPropertySizeError);
}

}  // namespace
}  // namespace orv::test
