#include <OrvCoreAudio/OrvTrackAndProcessingInfo.h>
#include <gtest/gtest.h>

using Info = OrvTrackAndProcessingInfo;

TEST(OrvTrackAndProcessingInfo, BeginsWithoutListsAndNotProcessed) {
  const auto info = Info::init();
  EXPECT_EQ(info->trackInfos(), nullptr);
  EXPECT_EQ(info->processingInfos(), nullptr);
  EXPECT_FALSE(info->fileHasBeenProcessed());
}

TEST(OrvTrackAndProcessingInfo, TheFirstAddMakesTheListAndClearingDropsIt) {
  const auto info = Info::init();
  info->addTrackInfo(OrvAudioTrackInfo::initWithTrackName("a"));
  info->addTrackInfoForAllTracks(
      {OrvAudioTrackInfo::initWithTrackName("b"), OrvAudioTrackInfo::initWithTrackName("c")});
  ASSERT_EQ(info->trackInfos()->size(), 3U);
  EXPECT_EQ(info->trackInfos()->back()->trackName(), "c");
  info->clearTrackInfos();
  EXPECT_EQ(info->trackInfos(), nullptr);

  info->addAudioProcessingInfo(OrvAudioProcessingRangeInfo::initWithProcessName("p"));
  info->addAudioProcessingForAllTracks({OrvAudioProcessingRangeInfo::initWithProcessName("q")});
  ASSERT_EQ(info->processingInfos()->size(), 2U);
  info->clearProcessingInfos();
  EXPECT_EQ(info->processingInfos(), nullptr);
}

TEST(OrvTrackAndProcessingInfo, AddingAnEmptyArrayMakesAnEmptyList) {
  const auto info = Info::init();
  info->addTrackInfoForAllTracks({});
  ASSERT_NE(info->trackInfos(), nullptr);
  EXPECT_TRUE(info->trackInfos()->empty());
}

TEST(OrvTrackAndProcessingInfo, NullIsNotAdded) {
  const auto info = Info::init();
  info->addTrackInfo(nullptr);
  info->addTrackInfoForAllTracks({nullptr});
  info->addAudioProcessingInfo(nullptr);
  EXPECT_TRUE(info->trackInfos()->empty());
  EXPECT_TRUE(info->processingInfos()->empty());
}

TEST(OrvTrackAndProcessingInfo, TheListCanBeAddedToItself) {
  const auto info = Info::init();
  info->addTrackInfo(OrvAudioTrackInfo::initWithTrackName("a"));
  info->addTrackInfoForAllTracks(*info->trackInfos());
  EXPECT_EQ(info->trackInfos()->size(), 2U);
}

TEST(OrvTrackAndProcessingInfo, RemembersThatTheFileHasBeenProcessed) {
  const auto info = Info::init();
  info->setFileHasBeenProcessed(true);
  EXPECT_TRUE(info->fileHasBeenProcessed());
}
