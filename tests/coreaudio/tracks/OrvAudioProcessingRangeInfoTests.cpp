#include <OrvCoreAudio/OrvAudioProcessingRangeInfo.h>
#include <OrvCoreAudio/OrvAudioTrackInfo.h>
#include <gtest/gtest.h>

using Processing = OrvAudioProcessingRangeInfo;

namespace {

std::shared_ptr<Processing> make(const char* name, std::uint64_t start, std::uint64_t end) {
  return Processing::initWithProcessNameAndRange_processingStartFrame_processingEndFrame(name, start, end);
}

}  // namespace

TEST(OrvAudioProcessingRangeInfo, BeginsWithoutRangeAndSettings) {
  const auto processing = Processing::initWithProcessName("Gain");
  EXPECT_EQ(processing->processName(), "Gain");
  EXPECT_EQ(processing->processingStartFrame(), 0U);
  EXPECT_EQ(processing->processingEndFrame(), 0U);
  EXPECT_TRUE(processing->processingSettings()->empty());
  EXPECT_FALSE(Processing::initWithProcessName(std::nullopt)->processName());
}

TEST(OrvAudioProcessingRangeInfo, StartAndEndHaveAllTheir64Bits) {
  const auto processing = make("Gain", 1, 0x1'0000'0005);
  EXPECT_EQ(processing->processingEndFrame(), 0x1'0000'0005U);
  processing->setProcessingStartFrame(0x2'0000'0000);
  processing->setProcessingEndFrame(0x3'0000'0000);
  EXPECT_EQ(processing->processingStartFrame(), 0x2'0000'0000U);
  EXPECT_EQ(processing->processingEndFrame(), 0x3'0000'0000U);
}

TEST(OrvAudioProcessingRangeInfo, SettingsHaveTheirExactTypes) {
  const auto processing = Processing::initWithProcessName("Gain");
  processing->addProcessingSettingFloat_value("volume", 0.5F);
  processing->addProcessingSettingInt_value("passes", -3);
  EXPECT_EQ(*processing->processingSettings()->at("volume").as<float>(), 0.5F);
  EXPECT_EQ(*processing->processingSettings()->at("passes").as<std::int32_t>(), -3);
}

TEST(OrvAudioProcessingRangeInfo, AddingReplacesEqualKeysAndSettingReplacesAll) {
  const auto processing = Processing::initWithProcessName("Gain");
  processing->addProcessingSettings({{"a", 1}, {"b", 2}});
  processing->addProcessingSettings({{"b", 3}, {"c", 4}});
  EXPECT_EQ(processing->processingSettings()->size(), 3U);
  EXPECT_EQ(*processing->processingSettings()->at("b").as<std::int32_t>(), 3);
  processing->setProcessingSettings({{"d", 5}});
  EXPECT_EQ(processing->processingSettings()->size(), 1U);
  processing->setProcessingSettings(*processing->processingSettings());
  EXPECT_TRUE(processing->processingSettings()->contains("d"));
}

TEST(OrvAudioProcessingRangeInfo, TheSettingsAreTheDictionaryItself) {
  const auto processing = Processing::initWithProcessName("Gain");
  const auto settings = processing->processingSettings();
  (*settings)["direct"] = true;
  EXPECT_TRUE(processing->processingSettings()->contains("direct"));
  processing->setProcessingSettings({});
  EXPECT_TRUE(settings->empty());
}

TEST(OrvAudioProcessingRangeInfo, TheDescriptionHasNameStartAndEnd) {
  EXPECT_EQ(make("Gain", 0, 882000)->description(), "OrvAudioProcessingRangeInfo [Gain: IN:0 OUT:882000]");
}

TEST(OrvAudioProcessingRangeInfo, NameStartAndEndTakePartInEquality) {
  const auto processing = make("a", 1, 2);
  EXPECT_TRUE(processing->isEqual(processing));
  EXPECT_TRUE(processing->isEqual(make("a", 1, 2)));
  EXPECT_FALSE(processing->isEqual(make("b", 1, 2)));
  EXPECT_FALSE(processing->isEqual(make("a", 0, 2)));
  EXPECT_FALSE(processing->isEqual(make("a", 1, 3)));
}

TEST(OrvAudioProcessingRangeInfo, SettingsPlayNoPartInEquality) {
  const auto processing = make("a", 1, 2);
  processing->addProcessingSettingInt_value("passes", 1);
  EXPECT_TRUE(processing->isEqual(make("a", 1, 2)));
}

TEST(OrvAudioProcessingRangeInfo, AnObjectOfAnotherClassCountsAsEqual) {
  const auto track = OrvAudioTrackInfo::initWithTrackName("t");
  EXPECT_TRUE(make("a", 1, 2)->isEqual(track));
  EXPECT_TRUE(track->isEqual(make("a", 1, 2)));
  EXPECT_TRUE(make("a", 1, 2)->isEqual(nullptr));
}
