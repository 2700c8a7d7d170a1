#include <gtest/gtest.h>

#include <cstdlib>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

class OrvAudioDeviceControlsTest : public orv::test::FakeDevices {
 protected:
  /// Sources of a section, with the names of some of them.
  void setSources(bool isInput, const std::vector<std::uint32_t>& ids,
                  const std::map<std::uint32_t, std::string>& names) {
    hardware->set(place(isInput, "ssc#"), bytesOf(ids));
    hardware->set(place(isInput, "lscn"), FakeProperty{.read = [this, names](std::uint32_t* size, void* data) {
                    EXPECT_EQ(*size, sizeof(AudioValueTranslation));
                    return translate(names, static_cast<AudioValueTranslation*>(data));
                  }});
  }

  OSStatus translate(const std::map<std::uint32_t, std::string>& names, AudioValueTranslation* translation) {
    rooms.push_back(translation->mOutputDataSize);
    EXPECT_EQ(translation->mInputDataSize, 4U);
    const auto found = names.find(*static_cast<const std::uint32_t*>(translation->mInputData));
    if (found == names.end()) {
      return kAudioHardwareIllegalOperationError;
    }
    if (translation->mOutputDataSize < found->second.size()) {
      return kAudioHardwareBadPropertySizeError;
    }
    std::memcpy(translation->mOutputData, found->second.data(), found->second.size());
    translation->mOutputDataSize = static_cast<std::uint32_t>(found->second.size());
    return noErr;
  }

  static Place place(bool isInput, const char* property) {
    const std::uint32_t code = (static_cast<std::uint32_t>(property[0]) << 24) |
                               (static_cast<std::uint32_t>(property[1]) << 16) |
                               (static_cast<std::uint32_t>(property[2]) << 8) | static_cast<std::uint32_t>(property[3]);
    return isInput ? Place::ofInput(kDevice, code) : Place::ofOutput(kDevice, code);
  }

  std::vector<std::uint32_t> rooms;
};

}  // namespace

TEST_F(OrvAudioDeviceControlsTest, AVolumeIsReadOfTheChannelThatIsNamed) {
  hardware->set(Place::ofInput(kDevice, fourCC("vold"), 2), bytesOf(-12.5F));
  hardware->set(Place::ofOutput(kDevice, fourCC("volm"), 0), bytesOf(0.5F));
  EXPECT_EQ(device()->volumeDecibels_isInput(2, true), -12.5F);
  EXPECT_EQ(device()->volumeDecibels_isInput(0, true), 0.0F);
  EXPECT_EQ(device()->volumeScalar_isInput(0, false), 0.5F);
  EXPECT_EQ(device()->volumeScalar_isInput(1, false), 0.0F);
}

TEST_F(OrvAudioDeviceControlsTest, AVolumeIsWrittenToTheChannelThatIsNamed) {
  hardware->set(Place::ofInput(kDevice, fourCC("vold"), 2), bytesOf(0.0F), true);
  hardware->set(Place::ofOutput(kDevice, fourCC("volm"), 1), bytesOf(0.0F), true);
  EXPECT_TRUE(device()->setVolumeDecibels_forChannel_isInput(-3.0F, 2, true));
  EXPECT_TRUE(device()->setVolumeScalar_forChannel_isInput(0.25F, 1, false));
  const auto written = hardware->written();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(written[0], std::pair(Place::ofInput(kDevice, fourCC("vold"), 2), bytesOf(-3.0F)));
  EXPECT_EQ(written[1], std::pair(Place::ofOutput(kDevice, fourCC("volm"), 1), bytesOf(0.25F)));
}

TEST_F(OrvAudioDeviceControlsTest, AVolumeThatCannotBeWrittenIsAFailure) {
  const LogCapture log;
  EXPECT_FALSE(device()->setVolumeScalar_forChannel_isInput(0.25F, 1, false));
}

TEST_F(OrvAudioDeviceControlsTest, AVolumeControlIsOneThatCanBeSetInEitherUnit) {
  hardware->set(Place::ofInput(kDevice, fourCC("vold"), 1), bytesOf(0.0F), true);
  hardware->set(Place::ofInput(kDevice, fourCC("volm"), 2), bytesOf(0.0F), true);
  hardware->set(Place::ofInput(kDevice, fourCC("volm"), 3), bytesOf(0.0F), false);
  const auto asked = device();
  EXPECT_TRUE(asked->canSetVolumeDecibels_isInput(1, true));
  EXPECT_FALSE(asked->canSetVolumeScalar_isInput(1, true));
  EXPECT_TRUE(asked->canSetVolumeScalar_isInput(2, true));
  EXPECT_TRUE(asked->hasVolumeControl_isInput(1, true));
  EXPECT_TRUE(asked->hasVolumeControl_isInput(2, true));
  EXPECT_FALSE(asked->hasVolumeControl_isInput(3, true));
  EXPECT_FALSE(asked->hasVolumeControl_isInput(1, false));
}

TEST_F(OrvAudioDeviceControlsTest, TheVolumesRangeIsAValueRangeAndZerosWhenItCannotBeRead) {
  hardware->set(Place::ofOutput(kDevice, fourCC("vdb#"), 1), bytesOf(AudioValueRange{-80, 6}));
  EXPECT_EQ(device()->volumeRangeDecibels_isInput(1, false)->mMinimum(), -80);
  EXPECT_EQ(device()->volumeRangeDecibels_isInput(1, false)->mMaximum(), 6);
  ASSERT_NE(device()->volumeRangeDecibels_isInput(2, false), nullptr);
  EXPECT_EQ(device()->volumeRangeDecibels_isInput(2, false)->mMinimum(), 0);
}

TEST_F(OrvAudioDeviceControlsTest, TranslationsOfVolumesAreReadAsPlainNumbers) {
  hardware->set(Place::ofOutput(kDevice, fourCC("v2db"), 1), bytesOf(-7.0F));
  hardware->set(Place::ofOutput(kDevice, fourCC("db2v"), 1), bytesOf(0.75F));
  EXPECT_EQ(device()->volumeScalarToDecibels_isInput(1, false), -7.0F);
  EXPECT_EQ(device()->volumeDecibelsToScalar_isInput(1, false), 0.75F);
}

TEST_F(OrvAudioDeviceControlsTest, MuteIsReadFromTheInputAndWrittenToTheOutput) {
  hardware->set(Place::ofInput(kDevice, fourCC("mute")), bytesOf(1U));
  hardware->set(Place::ofOutput(kDevice, fourCC("mute")), bytesOf(0U), true);
  const auto asked = device();
  EXPECT_TRUE(asked->isMuted());
  EXPECT_FALSE(asked->canMute());
  EXPECT_TRUE(asked->mute(true));
  EXPECT_TRUE(asked->mute(false));
  const auto written = hardware->written();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(written[0], std::pair(Place::ofOutput(kDevice, fourCC("mute")), bytesOf(1U)));
  EXPECT_EQ(written[1], std::pair(Place::ofOutput(kDevice, fourCC("mute")), bytesOf(0U)));
}

TEST_F(OrvAudioDeviceControlsTest, WhetherItCanBeMutedIsAskedOfTheInput) {
  hardware->set(Place::ofInput(kDevice, fourCC("mute")), bytesOf(0U), true);
  EXPECT_TRUE(device()->canMute());
  EXPECT_FALSE(device()->isMuted());
}

TEST_F(OrvAudioDeviceControlsTest, OnlyExactlyOneIsMuted) {
  hardware->set(Place::ofInput(kDevice, fourCC("mute")), bytesOf(2U));
  EXPECT_FALSE(device()->isMuted());
}

TEST_F(OrvAudioDeviceControlsTest, SourceIDsEndWithAZero) {
  setSources(true, {7, 9}, {});
  std::uint32_t* const ids = device()->dataSourceIDs(true);
  EXPECT_EQ(ids[0], 7U);
  EXPECT_EQ(ids[1], 9U);
  EXPECT_EQ(ids[2], 0U);
  std::free(ids);
}

TEST_F(OrvAudioDeviceControlsTest, SourceIDsThatCannotBeReadAreOnlyTheZero) {
  std::uint32_t* const ids = device()->dataSourceIDs(true);
  ASSERT_NE(ids, nullptr);
  EXPECT_EQ(ids[0], 0U);
  std::free(ids);
}

TEST_F(OrvAudioDeviceControlsTest, BytesThatAreNoWholeIDAreLeftOut) {
  hardware->set(Place::ofInput(kDevice, fourCC("ssc#")), bytesOf(7U) + "xyz");
  std::uint32_t* const ids = device()->dataSourceIDs(true);
  EXPECT_EQ(ids[0], 7U);
  EXPECT_EQ(ids[1], 0U);
  std::free(ids);
}

TEST_F(OrvAudioDeviceControlsTest, SourceNamesComeInTheOrderOfTheIDs) {
  setSources(true, {9, 7}, {{7, "Line"}, {9, "Microphone"}});
  setSources(false, {7}, {{7, "Headphones"}});
  EXPECT_EQ(device()->dataSourceNames(true), (std::vector<std::string>{"Microphone", "Line"}));
  EXPECT_EQ(device()->dataSourceNames(false), (std::vector<std::string>{"Headphones"}));
  EXPECT_EQ(device()->dataSourceNameForID_isInput(7, true), "Line");
}

TEST_F(OrvAudioDeviceControlsTest, SourcesWithoutNamesAreListedByTheirPlace) {
  setSources(true, {70, 90}, {});
  EXPECT_EQ(device()->dataSourceNames(true),
            (std::vector<std::string>{"Unnamed data source 0", "Unnamed data source 1"}));
  EXPECT_EQ(device()->dataSourceNameForID_isInput(70, true), std::nullopt);
}

TEST_F(OrvAudioDeviceControlsTest, WithoutSourcesThereAreNoNames) {
  EXPECT_TRUE(device()->dataSourceNames(true).empty());
}

TEST_F(OrvAudioDeviceControlsTest, ALongSourceNameIsGivenMoreRoom) {
  const std::string name(5000, 'n');
  setSources(true, {7}, {{7, name}});
  EXPECT_EQ(device()->dataSourceNameForID_isInput(7, true), name);
  EXPECT_EQ(rooms, (std::vector<std::uint32_t>{1024, 2048, 4096, 8192}));
}

TEST_F(OrvAudioDeviceControlsTest, ASourceNameThatNeverFitsIsNil) {
  setSources(true, {7}, {{7, std::string((1U << 20) + 1, 'n')}});
  EXPECT_EQ(device()->dataSourceNameForID_isInput(7, true), std::nullopt);
}

TEST_F(OrvAudioDeviceControlsTest, ASourceNameOfAStatedLengthBeyondTheRoomEndsWithTheRoom) {
  hardware->set(Place::ofInput(kDevice, fourCC("lscn")), FakeProperty{.read = [](std::uint32_t*, void* data) {
                  static_cast<AudioValueTranslation*>(data)->mOutputDataSize = 0xFFFFFFFF;
                  return noErr;
                }});
  EXPECT_EQ(device()->dataSourceNameForID_isInput(7, true)->size(), 1024U);
}

TEST_F(OrvAudioDeviceControlsTest, TheCurrentSourceIsReadAndNamed) {
  setSources(false, {7, 9}, {{9, "Speaker"}});
  hardware->set(Place::ofOutput(kDevice, fourCC("ssrc")), bytesOf(9U), true);
  const auto asked = device();
  EXPECT_EQ(asked->currentDataSourceID(false), 9U);
  EXPECT_EQ(asked->currentDataSourceName(false), "Speaker");
  EXPECT_TRUE(asked->canSetCurrentDataSourceID(false));
  EXPECT_FALSE(asked->canSetCurrentDataSourceID(true));
  EXPECT_EQ(asked->currentDataSourceName(true), std::nullopt);
}

TEST_F(OrvAudioDeviceControlsTest, TheCurrentSourceIsWrittenAsFourBytes) {
  hardware->set(Place::ofInput(kDevice, fourCC("ssrc")), bytesOf(9U), true);
  EXPECT_TRUE(device()->setCurrentDataSourceID_isInput(7, true));
  EXPECT_EQ(hardware->written()[0], std::pair(Place::ofInput(kDevice, fourCC("ssrc")), bytesOf(7U)));
}
