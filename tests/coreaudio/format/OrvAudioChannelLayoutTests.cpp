#include <OrvCoreAudio/OrvAudioChannelLayout.h>
#include <OrvCoreAudio/OrvAudioDeviceInfoOutput.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "coreaudio/support/Translations.h"

using orv::test::Translations;

namespace {

struct TwoChannels {
  AudioChannelLayoutTag tag = kAudioChannelLayoutTag_UseChannelDescriptions;
  std::uint32_t bitmap = 0x603;
  std::uint32_t count = 2;
  AudioChannelDescription descriptions[2] = {{kAudioChannelLabel_Left, 1, {-1, 0, 0.5F}},
                                             {kAudioChannelLabel_Right, 1, {1, 0, 0.5F}}};
  std::shared_ptr<OrvAudioChannelLayout> layout() const {
    return OrvAudioChannelLayout::initWithAudioChannelLayout(reinterpret_cast<const AudioChannelLayout*>(this));
  }
};
static_assert(offsetof(TwoChannels, descriptions) == offsetof(AudioChannelLayout, mChannelDescriptions));

std::string nameOf(AudioChannelLayoutTag tag) {
  AudioChannelLayout record{};
  record.mChannelLayoutTag = tag;
  return OrvAudioChannelLayout::initWithAudioChannelLayout(&record)->channelLayoutTagName();
}

/// From index 100 on, with the number of channels.
const std::vector<std::pair<std::string, std::uint32_t>> kPublishedTags = {{"Mono", 1},
                                                                           {"Stereo", 2},
                                                                           {"StereoHeadphones", 2},
                                                                           {"MatrixStereo", 2},
                                                                           {"MidSide", 2},
                                                                           {"XY", 2},
                                                                           {"Binaural", 2},
                                                                           {"Ambisonic_B_Format", 4},
                                                                           {"Quadraphonic", 4},
                                                                           {"Pentagonal", 5},
                                                                           {"Hexagonal", 6},
                                                                           {"Octagonal", 8},
                                                                           {"Cube", 8},
                                                                           {"MPEG_3_0_A", 3},
                                                                           {"MPEG_3_0_B", 3},
                                                                           {"MPEG_4_0_A", 4},
                                                                           {"MPEG_4_0_B", 4},
                                                                           {"MPEG_5_0_A", 5},
                                                                           {"MPEG_5_0_B", 5},
                                                                           {"MPEG_5_0_C", 5},
                                                                           {"MPEG_5_0_D", 5},
                                                                           {"MPEG_5_1_A", 6},
                                                                           {"MPEG_5_1_B", 6},
                                                                           {"MPEG_5_1_C", 6},
                                                                           {"MPEG_5_1_D", 6},
                                                                           {"MPEG_6_1_A", 7},
                                                                           {"MPEG_7_1_A", 8},
                                                                           {"MPEG_7_1_B", 8},
                                                                           {"MPEG_7_1_C", 8},
                                                                           {"Emagic_Default_7_1", 8},
                                                                           {"SMPTE_DTV", 8},
                                                                           {"ITU_2_1", 3},
                                                                           {"ITU_2_2", 4},
                                                                           {"DVD_4", 3},
                                                                           {"DVD_5", 4},
                                                                           {"DVD_6", 5},
                                                                           {"DVD_10", 4},
                                                                           {"DVD_11", 5},
                                                                           {"DVD_18", 5},
                                                                           {"AudioUnit_6_0", 6},
                                                                           {"AudioUnit_7_0", 7},
                                                                           {"AAC_6_0", 6},
                                                                           {"AAC_6_1", 7},
                                                                           {"AAC_7_0", 7},
                                                                           {"AAC_Octagonal", 8},
                                                                           {"TMH_10_2_std", 16},
                                                                           {"TMH_10_2_full", 21}};

}  // namespace

TEST(OrvAudioChannelLayout, KeepsTagBitmapAndDescriptions) {
  TwoChannels record;
  const auto layout = record.layout();
  record.descriptions[1].mChannelLabel = 99;
  EXPECT_EQ(layout->channelLayoutTag(), 0U);
  EXPECT_EQ(layout->channelBitmap(), 0x603U);
  ASSERT_EQ(layout->numberChannelDescriptions(), 2U);
  EXPECT_EQ(layout->channelDescription(0)->channelLabel(), 1U);
  EXPECT_EQ(layout->channelDescription(1)->channelLabel(), 2U);
  EXPECT_EQ(layout->channelDescription(1)->coordinate(0), 1.0F);
}

TEST(OrvAudioChannelLayout, EachCallMakesANewDescription) {
  const auto layout = TwoChannels().layout();
  EXPECT_NE(layout->channelDescription(0), layout->channelDescription(0));
}

TEST(OrvAudioChannelLayout, TheIndexEqualToTheCountIsNull) {
  EXPECT_EQ(TwoChannels().layout()->channelDescription(2), nullptr);
}

TEST(OrvAudioChannelLayout, NullGivesAnObjectOfZeros) {
  const auto layout = OrvAudioChannelLayout::initWithAudioChannelLayout(nullptr);
  ASSERT_NE(layout, nullptr);
  EXPECT_EQ(layout->channelLayoutTag(), 0U);
  EXPECT_EQ(layout->numberChannelDescriptions(), 0U);
  EXPECT_EQ(layout->channelDescription(0), nullptr);
}

TEST(OrvAudioChannelLayout, WithoutATranslationTheTagsNameIsEmpty) {
  EXPECT_EQ(nameOf(kAudioChannelLayoutTag_Stereo), "");
}

TEST(OrvAudioChannelLayout, TheStereoTagIsLookedUpUnderItsConstantsName) {
  const Translations translations;
  EXPECT_EQ(nameOf(0x650002), "<kAudioChannelLayoutTag_Stereo>");
  EXPECT_EQ(translations.keys, std::vector<std::string>{"kAudioChannelLayoutTag_Stereo"});
}

TEST(OrvAudioChannelLayout, EveryPublishedTagIsLookedUpUnderItsConstantsName) {
  const Translations translations;
  EXPECT_EQ(nameOf(0), "<kAudioChannelLayoutTag_UseChannelDescriptions>");
  EXPECT_EQ(nameOf(0x10000), "<kAudioChannelLayoutTag_UseChannelBitmap>");
  ASSERT_EQ(kPublishedTags.size(), 47U);
  std::uint32_t index = 100;
  for (const auto& [name, channels] : kPublishedTags) {
    EXPECT_EQ(nameOf((index++ << 16) | channels), "<kAudioChannelLayoutTag_" + name + ">");
  }
}

TEST(OrvAudioChannelLayout, TagsOutsideTheSetAreUnknownAndNotLookedUp) {
  const Translations translations;
  for (const AudioChannelLayoutTag tag : {0x650003U, (147U << 16) | 2U, 1U}) {
    EXPECT_EQ(nameOf(tag), "Unknown Channel Layout");
  }
  EXPECT_TRUE(translations.keys.empty());
}

TEST(OrvAudioChannelLayout, TheDescriptionIsTheReport) {
  const Translations translations;
  const auto layout = TwoChannels().layout();
  EXPECT_EQ(layout->description(), OrvAudioDeviceInfoOutput::printChannelLayoutInfo(*layout));
  EXPECT_NE(layout->description(), "");
}
