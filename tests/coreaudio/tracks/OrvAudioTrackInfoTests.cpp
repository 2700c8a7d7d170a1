#include <OrvCoreAudio/OrvAudioStreamBasicDescription.h>
#include <OrvCoreAudio/OrvAudioTrackInfo.h>
#include <gtest/gtest.h>

using Track = OrvAudioTrackInfo;

namespace exposing {

/// Reads a private member, which an explicit instantiation may name: no operation tells the version.
template <auto member>
struct Version {
  friend std::uint32_t versionOf(const Track& track) { return track.*member; }
};
template struct Version<&Track::audioTrackInfoVersion>;

std::uint32_t versionOf(const Track& track);

}  // namespace exposing

using exposing::versionOf;

TEST(OrvAudioTrackInfo, PlainInitIsNamelessInactiveAndOfVersion2) {
  const auto track = Track::init();
  EXPECT_FALSE(track->trackName());
  EXPECT_EQ(track->trackBeginFrame(), 0U);
  EXPECT_EQ(track->trackEndFrame(), 0U);
  EXPECT_FALSE(track->isActive());
  EXPECT_EQ(versionOf(*track), 2U);
}

TEST(OrvAudioTrackInfo, TheOtherInitialisersLeaveTheVersion0) {
  EXPECT_EQ(versionOf(*Track::initWithTrackName("a")), 0U);
  EXPECT_EQ(versionOf(*Track::initWithTrackName_trackBeginFrame_trackEndFrame("a", 1, 2)), 0U);
  EXPECT_EQ(versionOf(*Track::initWithTrackName_trackBeginFrame_trackEndFrame_isActive("a", 1, 2, true)), 0U);
  EXPECT_FALSE(Track::initWithTrackName("a")->isActive());
}

TEST(OrvAudioTrackInfo, ConvenienceOperationsMakeWhatTheInitialisersMake) {
  EXPECT_EQ(Track::audioTrackInfoWithTrackName("a")->trackName(), "a");
  const auto ranged = Track::audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame("b", 3, 9);
  EXPECT_EQ(ranged->trackBeginFrame(), 3U);
  EXPECT_EQ(ranged->trackEndFrame(), 9U);
  EXPECT_FALSE(ranged->isActive());
  EXPECT_TRUE(Track::audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame_isActive("c", 0, 1, true)->isActive());
}

TEST(OrvAudioTrackInfo, SettingTheDurationMovesOnlyTheEnd) {
  const auto track = Track::init();
  track->setTrackBeginFrame(1000);
  track->setDurationInFrames(500);
  EXPECT_EQ(track->trackBeginFrame(), 1000U);
  EXPECT_EQ(track->trackEndFrame(), 1500U);
  EXPECT_EQ(track->durationInFrames(), 500U);
}

TEST(OrvAudioTrackInfo, ADurationWrapsWhenTheEndLiesBeforeTheBegin) {
  const auto track = Track::initWithTrackName_trackBeginFrame_trackEndFrame("a", 10, 9);
  EXPECT_EQ(track->durationInFrames(), ~std::uint64_t{0});
}

TEST(OrvAudioTrackInfo, TheDescriptionHasNameBeginAndEnd) {
  EXPECT_EQ(Track::initWithTrackName_trackBeginFrame_trackEndFrame("Intro", 0, 882000)->description(),
            "OrvAudioTrackInfo [Intro: IN:0 OUT:882000]");
}

TEST(OrvAudioTrackInfo, WhetherATrackIsActivePlaysNoPartInEquality) {
  EXPECT_TRUE(Track::initWithTrackName_trackBeginFrame_trackEndFrame_isActive("a", 1, 2, true)
                  ->isEqual(Track::initWithTrackName_trackBeginFrame_trackEndFrame_isActive("a", 1, 2, false)));
}

TEST(OrvAudioTrackInfo, NameBeginAndEndTakePartInEquality) {
  const auto track = Track::initWithTrackName_trackBeginFrame_trackEndFrame("a", 1, 2);
  EXPECT_TRUE(track->isEqual(track));
  EXPECT_FALSE(track->isEqual(Track::initWithTrackName_trackBeginFrame_trackEndFrame("b", 1, 2)));
  EXPECT_FALSE(track->isEqual(Track::initWithTrackName_trackBeginFrame_trackEndFrame("a", 0, 2)));
  EXPECT_FALSE(track->isEqual(Track::initWithTrackName_trackBeginFrame_trackEndFrame("a", 1, 3)));
}

TEST(OrvAudioTrackInfo, AnObjectOfAnotherClassCountsAsEqual) {
  EXPECT_TRUE(Track::init()->isEqual(OrvAudioStreamBasicDescription::init()));
}
