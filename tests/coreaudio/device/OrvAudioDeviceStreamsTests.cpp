#include <OrvCoreAudio/OrvAudioStream.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

using Records = std::vector<AudioStreamBasicDescription>;

class OrvAudioDeviceStreamsTest : public orv::test::FakeDevices {
 protected:
  std::vector<AudioStreamID> streamsOf(const std::vector<AudioStreamID>& ids) {
    hardware->set(Place::ofInput(kDevice, fourCC("stm#")), bytesOf(ids));
    std::vector<AudioStreamID> made;
    for (const auto& stream : device()->streams(true)) {
      made.push_back(stream->streamID());
    }
    return made;
  }
};

}  // namespace

TEST_F(OrvAudioDeviceStreamsTest, RatesAreReadOfTheSection) {
  hardware->set(Place::ofInput(kDevice, fourCC("nsrt")), bytesOf(44100.0));
  hardware->set(Place::ofOutput(kDevice, fourCC("asrt")), bytesOf(47999.5));
  EXPECT_EQ(device()->nominalSampleRate(true), 44100.0);
  EXPECT_EQ(device()->nominalSampleRate(false), 0.0);
  EXPECT_EQ(device()->actualSampleRate(false), 47999.5);
}

TEST_F(OrvAudioDeviceStreamsTest, NominalRatesAreOneRangeForEachSixteenBytes) {
  hardware->set(Place::ofInput(kDevice, fourCC("nsr#")),
                bytesOf(std::vector<AudioValueRange>{{8000, 48000}, {96000, 96000}}) + "seven B");
  const auto ranges = device()->availableNominalSampleRates(true);
  ASSERT_EQ(ranges.size(), 2U);
  EXPECT_EQ(ranges[0]->mMaximum(), 48000);
  EXPECT_EQ(ranges[1]->mMinimum(), 96000);
  EXPECT_TRUE(device()->availableNominalSampleRates(false).empty());
}

TEST_F(OrvAudioDeviceStreamsTest, FormatsAreReadOfTheChannelAndSection) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfmt"), 3), bytesOf(format(1)));
  hardware->set(Place::ofOutput(kDevice, fourCC("pft "), 0), bytesOf(format(2)));
  EXPECT_EQ(device()->actualStreamFormat_isInput(3, true)->sampleRate(), 1);
  EXPECT_EQ(device()->actualStreamFormat_isInput(3, true)->bytesPerFrame(), 8U);
  EXPECT_EQ(device()->physicalStreamFormat_isInput(0, false)->sampleRate(), 2);
}

TEST_F(OrvAudioDeviceStreamsTest, AFormatThatCannotBeReadIsAllZero) {
  hardware->set(Place::ofOutput(kDevice, fourCC("sfmt")), bytesOf(format(1)).substr(0, 39));
  for (const auto& zero :
       {device()->actualStreamFormat_isInput(0, true), device()->physicalStreamFormat_isInput(0, true),
        device()->actualStreamFormat_isInput(0, false)}) {
    ASSERT_NE(zero, nullptr);
    EXPECT_TRUE(zero->isEqual(OrvAudioStreamBasicDescription::init()));
  }
}

TEST_F(OrvAudioDeviceStreamsTest, ADeviceAnswersForSingleFieldsOfItsFormat) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfmt")), bytesOf(format(48000)));
  EXPECT_EQ(device()->sampleRate(true), 48000);
  EXPECT_EQ(device()->channelsPerFrame(true), 2U);
  EXPECT_EQ(device()->formatIDName(false), "Unknown format");
}

TEST_F(OrvAudioDeviceStreamsTest, AFormatIsWrittenAsFortyBytes) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfmt"), 1), bytesOf(format(1)), true);
  hardware->set(Place::ofOutput(kDevice, fourCC("pft "), 2), bytesOf(format(1)), true);
  AudioStreamBasicDescription record = format(96000);
  record.mReserved = 5;
  const auto wanted = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
  EXPECT_TRUE(device()->canSetActualStreamFormat_isInput(1, true));
  EXPECT_TRUE(device()->canSetPhysicalStreamFormat_isInput(2, false));
  EXPECT_TRUE(device()->setActualStreamFormat_forChannel_isInput(wanted, 1, true));
  EXPECT_TRUE(device()->setPhysicalStreamFormat_forChannel_isInput(wanted, 2, false));
  const auto written = hardware->written();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(written[0], std::pair(Place::ofInput(kDevice, fourCC("sfmt"), 1), bytesOf(record)));
  EXPECT_EQ(written[1], std::pair(Place::ofOutput(kDevice, fourCC("pft "), 2), bytesOf(record)));
}

TEST_F(OrvAudioDeviceStreamsTest, AFormatThatCannotBeSetIsRefusedAtOnceWithoutALine) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfmt")), bytesOf(format(1)), false);
  const LogCapture log;
  EXPECT_FALSE(device()->canSetActualStreamFormat_isInput(0, true));
  EXPECT_FALSE(device()->setActualStreamFormat_forChannel_isInput(OrvAudioStreamBasicDescription::init(), 0, true));
  EXPECT_FALSE(device()->setPhysicalStreamFormat_forChannel_isInput(OrvAudioStreamBasicDescription::init(), 0, true));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioDeviceStreamsTest, NoFormatIsNotWritten) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfmt")), bytesOf(format(1)), true);
  EXPECT_FALSE(device()->setActualStreamFormat_forChannel_isInput(nullptr, 0, true));
  EXPECT_TRUE(hardware->written().empty());
}

TEST_F(OrvAudioDeviceStreamsTest, StreamFormatsAreOneForEachFortyBytes) {
  hardware->set(Place::ofInput(kDevice, fourCC("sfm#"), 1), bytesOf(Records{format(1), format(2)}) + "rest");
  const auto formats = device()->streamFormats_isInput(1, true);
  ASSERT_EQ(formats.size(), 2U);
  EXPECT_EQ(formats[1]->sampleRate(), 2);
  EXPECT_TRUE(device()->streamFormats_isInput(0, true).empty());
}

TEST_F(OrvAudioDeviceStreamsTest, AMatchIsWhatTheHardwareMakesOfTheFormatThatIsPassedIn) {
  hardware->set(Place::ofOutput(kDevice, fourCC("sfmm"), 1), FakeProperty{.read = [](std::uint32_t* size, void* data) {
                  EXPECT_EQ(*size, 40U);
                  static_cast<AudioStreamBasicDescription*>(data)->mSampleRate += 100;
                  return noErr;
                }});
  const AudioStreamBasicDescription record = format(44000);
  const auto asked = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
  const auto match = device()->findMatchingStreamFormat_forChannel_isInput(asked, 1, false);
  ASSERT_NE(match, nullptr);
  EXPECT_EQ(match->sampleRate(), 44100);
  EXPECT_EQ(asked->sampleRate(), 44000);
}

TEST_F(OrvAudioDeviceStreamsTest, ThereIsNoMatchWhereTheHardwareRefuses) {
  EXPECT_EQ(device()->findMatchingStreamFormat_forChannel_isInput(OrvAudioStreamBasicDescription::init(), 1, false),
            nullptr);
  EXPECT_EQ(device()->findMatchingStreamFormat_forChannel_isInput(nullptr, 1, false), nullptr);
}

TEST_F(OrvAudioDeviceStreamsTest, StreamIDsEndWithAZero) {
  hardware->set(Place::ofOutput(kDevice, fourCC("stm#")), bytesOf(std::vector<AudioStreamID>{100, 200}));
  AudioStreamID* const ids = device()->streamIDs(false);
  EXPECT_EQ(ids[0], 100U);
  EXPECT_EQ(ids[1], 200U);
  EXPECT_EQ(ids[2], 0U);
  std::free(ids);
  AudioStreamID* const none = device()->streamIDs(true);
  EXPECT_EQ(none[0], 0U);
  std::free(none);
}

TEST_F(OrvAudioDeviceStreamsTest, EveryStreamOfALargeIDIsTaken) {
  EXPECT_EQ(streamsOf({100, 200, 150}), (std::vector<AudioStreamID>{100, 200, 150}));
  EXPECT_EQ(streamsOf({0xFFFFFFFF, 0x80000000}), (std::vector<AudioStreamID>{0xFFFFFFFF, 0x80000000}));
}

TEST_F(OrvAudioDeviceStreamsTest, TheWalkEndsAtAnIDThatIsNotAboveTheNumberOfStreamsSoFar) {
  EXPECT_EQ(streamsOf({1, 1, 100}), (std::vector<AudioStreamID>{1}));
  EXPECT_EQ(streamsOf({1, 2, 3}), (std::vector<AudioStreamID>{1, 2, 3}));
  EXPECT_EQ(streamsOf({0, 100}), (std::vector<AudioStreamID>{}));
}

TEST_F(OrvAudioDeviceStreamsTest, AStreamBelongsToItsDevice) {
  hardware->set(Place::ofInput(kDevice, fourCC("stm#")), bytesOf(100U));
  const auto owner = device();
  EXPECT_EQ(owner->streams(true).at(0)->owningDevice(), owner);
}

TEST_F(OrvAudioDeviceStreamsTest, TheConfigurationHasABufferForEachStream) {
  hardware->set(Place::ofOutput(kDevice, fourCC("slay")), configuration({2, 6}));
  const auto asked = device();
  EXPECT_EQ(asked->streamConfiguration(false)->audioBuffer(1)->numberChannels(), 6U);
  EXPECT_EQ(asked->numberOfStreams(false), 2U);
  EXPECT_EQ(asked->numberOfChannels(false), 8U);
}

TEST_F(OrvAudioDeviceStreamsTest, AConfigurationThatCannotBeReadIsEmpty) {
  ASSERT_NE(device()->streamConfiguration(true), nullptr);
  EXPECT_EQ(device()->numberOfStreams(true), 0U);
  EXPECT_EQ(device()->numberOfChannels(true), 0U);
}

TEST_F(OrvAudioDeviceStreamsTest, AConfigurationThatClaimsMoreThanItHoldsHasWhatItHolds) {
  std::string claims = configuration({2, 6});
  claims[0] = 100;
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), claims);
  EXPECT_EQ(device()->numberOfStreams(true), 2U);
  claims.replace(0, 4, "\xFF\xFF\xFF\xFF");
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), claims);
  EXPECT_EQ(device()->numberOfChannels(true), 8U);
}

TEST_F(OrvAudioDeviceStreamsTest, ATruncatedConfigurationHasItsWholeBuffers) {
  const std::string whole = configuration({2, 6});
  for (std::size_t size = 1; size < whole.size(); ++size) {
    hardware->set(Place::ofInput(kDevice, fourCC("slay")), whole.substr(0, size));
    EXPECT_EQ(device()->numberOfStreams(true), size < 24 ? 0U : 1U);
  }
}

TEST_F(OrvAudioDeviceStreamsTest, DataPointersInAConfigurationAreNotFollowed) {
  const AudioBuffer wild{2, 4096, reinterpret_cast<void*>(std::uintptr_t{0x10})};
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), bytesOf(std::uint64_t{1}) + bytesOf(wild));
  EXPECT_EQ(device()->streamConfiguration(true)->audioBuffer(0)->data(), nullptr);
  EXPECT_EQ(device()->streamConfiguration(true)->audioBuffer(0)->dataByteSize(), 4096U);
}

TEST_F(OrvAudioDeviceStreamsTest, PreferredStereoChannelsAreTwoNumbers) {
  hardware->set(Place::ofOutput(kDevice, fourCC("dch2")), bytesOf(std::vector<std::uint32_t>{3, 4}));
  std::uint32_t* const channels = device()->preferredChannelsForStereo(false);
  ASSERT_NE(channels, nullptr);
  EXPECT_EQ(channels[0], 3U);
  EXPECT_EQ(channels[1], 4U);
  std::free(channels);
}

TEST_F(OrvAudioDeviceStreamsTest, PreferredStereoChannelsThatAreNotTwoNumbersAreNone) {
  hardware->set(Place::ofOutput(kDevice, fourCC("dch2")), bytesOf(3U));
  EXPECT_EQ(device()->preferredChannelsForStereo(false), nullptr);
  EXPECT_EQ(device()->preferredChannelsForStereo(true), nullptr);
}

TEST_F(OrvAudioDeviceStreamsTest, TheLayoutIsReadOfTheSection) {
  const AudioChannelDescription left{kAudioChannelLabel_Left, 0, {}};
  const AudioChannelDescription right{kAudioChannelLabel_Right, 0, {}};
  hardware->set(
      Place::ofOutput(kDevice, fourCC("srnd")),
      bytesOf(std::vector<std::uint32_t>{0, 0, 2}) + bytesOf(std::vector<AudioChannelDescription>{left, right}));
  const auto layout = device()->channelLayout(false);
  ASSERT_NE(layout, nullptr);
  ASSERT_EQ(layout->numberChannelDescriptions(), 2U);
  EXPECT_EQ(layout->channelDescription(1)->channelLabel(), kAudioChannelLabel_Right);
  EXPECT_EQ(device()->channelLayout(true), nullptr);
}

TEST_F(OrvAudioDeviceStreamsTest, ATruncatedLayoutHasItsWholeDescriptionsOrIsNone) {
  const std::string whole =
      bytesOf(std::vector<std::uint32_t>{0, 0, 0xFFFFFFFF}) + bytesOf(AudioChannelDescription{1, 0, {}}) + "rest";
  hardware->set(Place::ofOutput(kDevice, fourCC("srnd")), whole);
  EXPECT_EQ(device()->channelLayout(false)->numberChannelDescriptions(), 1U);
  hardware->set(Place::ofOutput(kDevice, fourCC("srnd")), whole.substr(0, 12));
  EXPECT_EQ(device()->channelLayout(false)->numberChannelDescriptions(), 0U);
  hardware->set(Place::ofOutput(kDevice, fourCC("srnd")), whole.substr(0, 11));
  EXPECT_EQ(device()->channelLayout(false), nullptr);
}

TEST_F(OrvAudioDeviceStreamsTest, NumbersOfBufferingAreReadOfTheSection) {
  hardware->set(Place::ofInput(kDevice, fourCC("tran")), bytesOf(fourCC("usb ")));
  hardware->set(Place::ofInput(kDevice, fourCC("ltnc")), bytesOf(31U));
  hardware->set(Place::ofInput(kDevice, fourCC("bsiz")), bytesOf(4096U));
  hardware->set(Place::ofInput(kDevice, fourCC("fsiz")), bytesOf(512U));
  hardware->set(Place::ofOutput(kDevice, fourCC("saft")), bytesOf(24U));
  EXPECT_EQ(device()->transportType(true), fourCC("usb "));
  EXPECT_EQ(device()->latency(true), 31U);
  EXPECT_EQ(device()->bufferSize(true), 4096U);
  EXPECT_EQ(device()->bufferFrameSize(true), 512U);
  EXPECT_EQ(device()->safetyOffset(false), 24U);
  EXPECT_EQ(device()->latency(false), 0U);
}
