#include <OrvCoreAudio/OrvAudioChannelDescription.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "coreaudio/support/Translations.h"

using orv::test::Translations;

namespace {

std::string nameOf(AudioChannelLabel label) {
  const AudioChannelDescription record{label, 0, {}};
  return OrvAudioChannelDescription::initWithAudioChannelDescription(&record)->channelLabelName();
}

std::map<AudioChannelLabel, std::string> publishedLabels() {
  std::map<AudioChannelLabel, std::string> labels = {
      {0xFFFFFFFF, "Unknown"},
      {0, "Unused"},
      {100, "UseCoordinates"},
      {1, "Left"},
      {2, "Right"},
      {3, "Center"},
      {4, "LFEScreen"},
      {5, "LeftSurround"},
      {6, "RightSurround"},
      {7, "LeftCenter"},
      {8, "RightCenter"},
      {9, "CenterSurround"},
      {10, "LeftSurroundDirect"},
      {11, "RightSurroundDirect"},
      {12, "TopCenterSurround"},
      {13, "VerticalHeightLeft"},
      {14, "VerticalHeightCenter"},
      {15, "VerticalHeightRight"},
      {16, "TopBackLeft"},
      {17, "TopBackCenter"},
      {18, "TopBackRight"},
      {33, "RearSurroundLeft"},
      {34, "RearSurroundRight"},
      {35, "LeftWide"},
      {36, "RightWide"},
      {37, "LFE2"},
      {39, "RightTotal"},
      {40, "HearingImpaired"},
      {41, "Narration"},
      {42, "Mono"},
      {43, "DialogCentricMix"},
      {44, "CenterSurroundDirect"},
      {200, "Ambisonic_W"},
      {201, "Ambisonic_X"},
      {202, "Ambisonic_Y"},
      {203, "Ambisonic_Z"},
      {204, "MS_Mid"},
      {205, "MS_Side"},
      {206, "XY_X"},
      {207, "XY_Y"},
      {301, "HeadphonesLeft"},
      {302, "HeadphonesRight"},
      {304, "ClickTrack"},
      {305, "ForeignLanguage"},
      {400, "Discrete"},
      {131071, "Discrete_65535"},
  };
  for (std::uint32_t i = 0; i < 16; ++i) {
    labels[65536 + i] = "Discrete_" + std::to_string(i);
  }
  return labels;
}

}  // namespace

TEST(OrvAudioChannelDescription, KeepsLabelFlagsAndCoordinates) {
  const AudioChannelDescription record{kAudioChannelLabel_Right, 2, {0.5F, -1.0F, 90.0F}};
  const auto description = OrvAudioChannelDescription::initWithAudioChannelDescription(&record);
  EXPECT_EQ(description->channelLabel(), 2U);
  EXPECT_EQ(description->channelFlags(), 2U);
  EXPECT_EQ(description->coordinate(0), 0.5F);
  EXPECT_EQ(description->coordinate(1), -1.0F);
  EXPECT_EQ(description->coordinate(2), 90.0F);
}

TEST(OrvAudioChannelDescription, ACoordinateAboveTwoIsZero) {
  const AudioChannelDescription record{0, 0, {1, 2, 3}};
  const auto description = OrvAudioChannelDescription::initWithAudioChannelDescription(&record);
  EXPECT_EQ(description->coordinate(3), 0.0F);
  EXPECT_EQ(description->coordinate(0xFFFFFFFF), 0.0F);
}

TEST(OrvAudioChannelDescription, NullGivesAnObjectOfZeros) {
  const auto description = OrvAudioChannelDescription::initWithAudioChannelDescription(nullptr);
  ASSERT_NE(description, nullptr);
  EXPECT_EQ(description->channelLabel(), 0U);
  EXPECT_EQ(description->coordinate(0), 0.0F);
}

TEST(OrvAudioChannelDescription, WithoutATranslationTheNameIsEmpty) {
  EXPECT_EQ(nameOf(kAudioChannelLabel_Left), "");
}

TEST(OrvAudioChannelDescription, EveryPublishedLabelIsLookedUpUnderItsConstantsName) {
  const Translations translations;
  const auto labels = publishedLabels();
  ASSERT_EQ(labels.size(), 62U);
  for (const auto& [label, name] : labels) {
    EXPECT_EQ(nameOf(label), "<kAudioChannelLabel_" + name + ">");
  }
}

TEST(OrvAudioChannelDescription, LabelsOutsideTheSetAreUnknownAndNotLookedUp) {
  const Translations translations;
  for (const AudioChannelLabel label : {38U, 19U, 303U, 65552U, 131070U, 0xFFFFFFFEU}) {
    EXPECT_EQ(nameOf(label), "Unknown Audio Channel Label");
  }
  EXPECT_TRUE(translations.keys.empty());
}
