#include <OrvCoreAudio/OrvAudioValueRange.h>
#include <gtest/gtest.h>

#include <cstdlib>

TEST(OrvAudioValueRange, KeepsBothEnds) {
  const AudioValueRange record{-60.5, 6};
  const auto range = OrvAudioValueRange::initWithAudioValueRange(&record);
  EXPECT_EQ(range->mMinimum(), -60.5);
  EXPECT_EQ(range->mMaximum(), 6);
}

TEST(OrvAudioValueRange, NullGivesAnObjectOfZeros) {
  const auto range = OrvAudioValueRange::initWithAudioValueRange(nullptr);
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(range->mMinimum(), 0);
  EXPECT_EQ(range->mMaximum(), 0);
}

TEST(OrvAudioValueRange, TheRecordIsACopyThatTheCallerFrees) {
  AudioValueRange record{8000, 96000};
  const auto range = OrvAudioValueRange::initWithAudioValueRange(&record);
  record.mMinimum = 1;
  AudioValueRange* const copy = range->audioValueRange();
  EXPECT_EQ(copy->mMinimum, 8000);
  copy->mMaximum = 2;
  EXPECT_EQ(range->mMaximum(), 96000);
  std::free(copy);
}
