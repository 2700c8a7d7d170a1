#include <OrvCoreAudio/OrvAudioValueTranslation.h>
#include <gtest/gtest.h>

#include <string>

TEST(OrvAudioValueTranslation, CopiesBothSides) {
  std::string input = "in";
  std::string output = "output";
  const AudioValueTranslation record{input.data(), 2, output.data(), 6};
  const auto translation = OrvAudioValueTranslation::initWithAudioValueTranslation(&record);
  input = "--";
  output = "------";
  EXPECT_EQ(translation->mInputDataSize(), 2U);
  EXPECT_EQ(translation->mOutputDataSize(), 6U);
  EXPECT_EQ(std::string(static_cast<const char*>(translation->mInputData()), 2), "in");
  EXPECT_EQ(std::string(static_cast<const char*>(translation->mOutputData()), 6), "output");
}

TEST(OrvAudioValueTranslation, TheRecordBelongsToTheObjectAndPointsToItsCopies) {
  char value[4] = {};
  const AudioValueTranslation record{value, 4, value, 4};
  const auto translation = OrvAudioValueTranslation::initWithAudioValueTranslation(&record);
  const AudioValueTranslation* const own = translation->audioValueTranslation();
  EXPECT_EQ(own, translation->audioValueTranslation());
  EXPECT_EQ(own->mInputData, translation->mInputData());
  EXPECT_EQ(own->mOutputData, translation->mOutputData());
  EXPECT_NE(own->mInputData, own->mOutputData);
}

TEST(OrvAudioValueTranslation, ANullBlockOfAStatedSizeIsZeros) {
  const AudioValueTranslation record{nullptr, 3, nullptr, 0};
  const auto translation = OrvAudioValueTranslation::initWithAudioValueTranslation(&record);
  EXPECT_EQ(std::string(static_cast<const char*>(translation->mInputData()), 3), std::string(3, '\0'));
  EXPECT_EQ(translation->mOutputDataSize(), 0U);
}

TEST(OrvAudioValueTranslation, NullGivesNull) {
  EXPECT_EQ(OrvAudioValueTranslation::initWithAudioValueTranslation(nullptr), nullptr);
}
