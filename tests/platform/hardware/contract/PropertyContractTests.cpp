#include <array>
#include <set>

#include "HardwareContract.h"

namespace orv::test {

TEST_P(HardwareContract, EveryDeviceOfTheListHasAnIdentityOfItsOwn) {
  std::set<std::string> uids;
  for (const AudioDeviceID device : devices()) {
    EXPECT_NE(device, kAudioDeviceUnknown);
    EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyDeviceIsAlive), 1U);
    EXPECT_TRUE(uids.insert(text(device, kAudioDevicePropertyDeviceUID)).second);
  }
  EXPECT_EQ(uids.count(""), 0U);
  EXPECT_FALSE(uids.empty());
}

TEST_P(HardwareContract, ADeviceIsFoundByItsUIDAndAnUnknownOneIsNot) {
  std::string uid = text(backend->duplexDevice(), kAudioDevicePropertyDeviceUID);
  AudioDeviceID found = 99;
  AudioValueTranslation translation{uid.data(), static_cast<std::uint32_t>(uid.size()), &found, sizeof found};
  std::uint32_t size = sizeof translation;
  EXPECT_EQ(AudioHardwareGetProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation), noErr);
  EXPECT_EQ(found, backend->duplexDevice());
  uid = "nobody has this one";
  translation.mInputData = uid.data();
  found = 99;
  AudioHardwareGetProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation);
  EXPECT_EQ(found, kAudioDeviceUnknown);
}

TEST_P(HardwareContract, TheDefaultDevicesAreOnTheList) {
  const auto all = devices();
  const std::set<AudioDeviceID> known(all.begin(), all.end());
  for (const AudioHardwarePropertyID property :
       {kAudioHardwarePropertyDefaultInputDevice, kAudioHardwarePropertyDefaultOutputDevice,
        kAudioHardwarePropertyDefaultSystemOutputDevice}) {
    AudioDeviceID device = kAudioDeviceUnknown;
    std::uint32_t size = sizeof device;
    EXPECT_EQ(AudioHardwareGetProperty(property, &size, &device), noErr);
    EXPECT_TRUE(device == kAudioDeviceUnknown || known.count(device) == 1);
  }
}

TEST_P(HardwareContract, WhatIsNotThereIsToldByItsStatus) {
  std::uint32_t number = 0;
  std::uint32_t size = sizeof number;
  EXPECT_EQ(AudioDeviceGetProperty(0xDEADBEEF, 0, true, kAudioDevicePropertyDeviceIsAlive, &size, &number),
            kAudioHardwareBadDeviceError);
  EXPECT_EQ(AudioDeviceGetProperty(backend->duplexDevice(), 0, true, fourCC("zzzz"), &size, &number),
            kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(AudioHardwareGetProperty(fourCC("zzzz"), &size, &number), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(AudioStreamGetProperty(0xDEADBEEF, 0, kAudioStreamPropertyDirection, &size, &number),
            kAudioHardwareBadStreamError);
}

TEST_P(HardwareContract, TooLittleRoomIsRefusedAndNothingIsWritten) {
  std::array<unsigned char, 8> room{};
  room.fill(0xAA);
  for (const AudioDevicePropertyID property : {kAudioDevicePropertyNominalSampleRate, kAudioDevicePropertyStreamFormat,
                                               kAudioDevicePropertyBufferFrameSize, kAudioDevicePropertyStreams}) {
    std::uint32_t size = 3;
    EXPECT_EQ(AudioDeviceGetProperty(backend->duplexDevice(), 0, true, property, &size, room.data()),
              kAudioHardwareBadPropertySizeError);
  }
  for (const unsigned char byte : room) {
    EXPECT_EQ(byte, 0xAA);
  }
}

TEST_P(HardwareContract, ThePropertyInfoTellsTheSizeThatIsRead) {
  const AudioDeviceID device = backend->duplexDevice();
  for (const AudioDevicePropertyID property : {kAudioDevicePropertyDeviceUID,
                                               kAudioDevicePropertyDeviceNameCFString,
                                               kAudioDevicePropertyDeviceManufacturerCFString,
                                               kAudioDevicePropertyTransportType,
                                               kAudioDevicePropertyDeviceIsAlive,
                                               kAudioDevicePropertyDeviceIsRunning,
                                               kAudioDevicePropertyDeviceCanBeDefaultDevice,
                                               kAudioDevicePropertyLatency,
                                               kAudioDevicePropertySafetyOffset,
                                               kAudioDevicePropertyBufferSize,
                                               kAudioDevicePropertyBufferFrameSize,
                                               kAudioDevicePropertyBufferFrameSizeRange,
                                               kAudioDevicePropertyStreams,
                                               kAudioDevicePropertySupportsMixing,
                                               kAudioDevicePropertyStreamConfiguration,
                                               kAudioDevicePropertyNominalSampleRate,
                                               kAudioDevicePropertyActualSampleRate,
                                               kAudioDevicePropertyAvailableNominalSampleRates,
                                               kAudioDevicePropertyStreamFormat,
                                               kAudioDevicePropertyStreamFormats,
                                               kAudioStreamPropertyPhysicalFormat}) {
    for (const bool isInput : {true, false}) {
      std::uint32_t told = 0;
      ASSERT_EQ(AudioDeviceGetPropertyInfo(device, 0, isInput, property, &told, nullptr), noErr)
          << fourCCText(property);
      std::vector<char> room(told + 64);
      auto read = static_cast<std::uint32_t>(room.size());
      ASSERT_EQ(AudioDeviceGetProperty(device, 0, isInput, property, &read, room.data()), noErr)
          << fourCCText(property);
      EXPECT_EQ(read, told) << fourCCText(property);
    }
  }
}

TEST_P(HardwareContract, StreamsKnowTheirDeviceDirectionAndFormats) {
  const AudioDeviceID device = backend->duplexDevice();
  for (const bool isInput : {true, false}) {
    const auto streams = list<AudioStreamID>(device, isInput, kAudioDevicePropertyStreams);
    const auto channels = configuration(device, isInput);
    ASSERT_EQ(streams.size(), channels.size());
    ASSERT_FALSE(streams.empty());
    std::uint32_t next = 1;
    for (std::size_t i = 0; i < streams.size(); ++i) {
      EXPECT_EQ(streamValue<std::uint32_t>(streams[i], kAudioStreamPropertyDirection), isInput ? 1U : 0U);
      EXPECT_EQ(streamValue<AudioDeviceID>(streams[i], kAudioStreamPropertyOwningDevice), device);
      EXPECT_EQ(streamValue<std::uint32_t>(streams[i], kAudioStreamPropertyStartingChannel), next);
      const auto format = streamValue<AudioStreamBasicDescription>(streams[i], kAudioStreamPropertyPhysicalFormat);
      ASSERT_TRUE(format.has_value());
      EXPECT_EQ(format->mChannelsPerFrame, channels[i]);
      next += channels[i];
    }
  }
}

TEST_P(HardwareContract, CyclesAreInFloatsAtTheNominalRate) {
  const AudioDeviceID device = backend->duplexDevice();
  const auto rate = value<double>(device, true, kAudioDevicePropertyNominalSampleRate);
  for (const bool isInput : {true, false}) {
    const auto format = value<AudioStreamBasicDescription>(device, isInput, kAudioDevicePropertyStreamFormat);
    ASSERT_TRUE(format.has_value());
    EXPECT_EQ(format->mSampleRate, rate);
    EXPECT_EQ(format->mFormatID, kAudioFormatLinearPCM);
    EXPECT_NE(format->mFormatFlags & kAudioFormatFlagIsFloat, 0U);
    EXPECT_EQ(format->mBitsPerChannel, 32U);
  }
}

TEST_P(HardwareContract, TheBufferFrameSizeCanBeSetWithinItsRangeAndIsTold) {
  const AudioDeviceID device = backend->duplexDevice();
  hear(device);
  const auto range = value<AudioValueRange>(device, true, kAudioDevicePropertyBufferFrameSizeRange);
  ASSERT_TRUE(range.has_value());
  const auto before = value<std::uint32_t>(device, true, kAudioDevicePropertyBufferFrameSize);
  const std::uint32_t wanted = before == 256U ? 512 : 256;
  ASSERT_GE(wanted, range->mMinimum);
  ASSERT_LE(wanted, range->mMaximum);
  EXPECT_EQ(
      AudioDeviceSetProperty(device, nullptr, 0, true, kAudioDevicePropertyBufferFrameSize, sizeof wanted, &wanted),
      noErr);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyBufferFrameSize), wanted);
  EXPECT_TRUE(wasTold(device, kAudioDevicePropertyBufferFrameSize));
  const auto channels = configuration(device, true);
  EXPECT_EQ(value<std::uint32_t>(device, true, kAudioDevicePropertyBufferSize), wanted * channels[0] * 4);
}

TEST_P(HardwareContract, AnAbsurdBufferFrameSizeIsRefusedOrBroughtIntoRange) {
  const AudioDeviceID device = backend->duplexDevice();
  for (const std::uint32_t absurd : {0U, 0xFFFFFFFFU}) {
    AudioDeviceSetProperty(device, nullptr, 0, true, kAudioDevicePropertyBufferFrameSize, sizeof absurd, &absurd);
    const auto range = value<AudioValueRange>(device, true, kAudioDevicePropertyBufferFrameSizeRange);
    const auto frames = value<std::uint32_t>(device, true, kAudioDevicePropertyBufferFrameSize);
    ASSERT_TRUE(range && frames);
    EXPECT_GE(*frames, range->mMinimum);
    EXPECT_LE(*frames, range->mMaximum);
  }
}

TEST_P(HardwareContract, WritingWhatCantBeWrittenIsRefused) {
  const std::uint32_t number = 1;
  bool isWritable = true;
  EXPECT_EQ(AudioDeviceGetPropertyInfo(backend->duplexDevice(), 0, true, kAudioDevicePropertyDeviceIsAlive, nullptr,
                                       &isWritable),
            noErr);
  EXPECT_FALSE(isWritable);
  EXPECT_NE(AudioDeviceSetProperty(backend->duplexDevice(), nullptr, 0, true, kAudioDevicePropertyDeviceIsAlive,
                                   sizeof number, &number),
            noErr);
}

TEST_P(HardwareContract, AValueOfTheWrongSizeIsRefused) {
  const std::uint16_t half = 512;
  EXPECT_EQ(AudioDeviceSetProperty(backend->duplexDevice(), nullptr, 0, true, kAudioDevicePropertyBufferFrameSize,
                                   sizeof half, &half),
            kAudioHardwareBadPropertySizeError);
}

}  // namespace orv::test
