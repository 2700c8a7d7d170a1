#include <OrvCoreAudio/OrvAudioStream.h>
#include <gtest/gtest.h>

#include <limits>

#include "coreaudio/support/FakeDevices.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;

namespace {

using Records = std::vector<AudioStreamBasicDescription>;
using Ranges = std::vector<AudioValueRange>;
using Rates = std::vector<double>;

class OrvAudioStreamTest : public orv::test::FakeDevices {
 protected:
  static constexpr AudioStreamID kStream = 100;
  static constexpr std::uint32_t kStart = 3;

  OrvAudioStreamTest() {
    hardware->set(Place::ofStream(kStream, fourCC("schn")), bytesOf(kStart));
    hardware->set(Place::ofStream(kStream, fourCC("sdir"), kStart), bytesOf(1U));
  }

  std::shared_ptr<OrvAudioStream> stream() { return OrvAudioStream::initWithAudioDevice_streamID(device(), kStream); }

  Rates expandedRates(const Rates& formats, const Ranges& ranges) {
    Records records;
    for (const double rate : formats) {
      records.push_back(format(rate));
    }
    hardware->set(Place::ofStream(kStream, fourCC("pft#"), kStart), bytesOf(records));
    hardware->set(Place::ofInput(kDevice, fourCC("nsr#")), bytesOf(ranges));
    Rates rates;
    for (const auto& expanded : stream()->expandedPhysicalFormats()) {
      rates.push_back(expanded->sampleRate());
    }
    return rates;
  }
};

}  // namespace

TEST_F(OrvAudioStreamTest, KnowsItsDeviceAndID) {
  const auto owner = device();
  const auto made = OrvAudioStream::initWithAudioDevice_streamID(owner, kStream);
  EXPECT_EQ(made->owningDevice(), owner);
  EXPECT_EQ(made->owningDeviceID(), kDevice);
  EXPECT_EQ(made->streamID(), kStream);
}

TEST_F(OrvAudioStreamTest, KeepsItsDevice) {
  auto owner = device();
  const std::weak_ptr<OrvAudioDevice> watched = owner;
  auto made = OrvAudioStream::initWithAudioDevice_streamID(owner, kStream);
  owner.reset();
  EXPECT_FALSE(watched.expired());
  made.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(OrvAudioStreamTest, WithoutADeviceThereIsAnEmptyObject) {
  const auto made = OrvAudioStream::initWithAudioDevice_streamID(nullptr, kStream);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->owningDevice(), nullptr);
  EXPECT_EQ(made->owningDeviceID(), 0U);
  EXPECT_EQ(made->streamID(), 0U);
  EXPECT_EQ(made->numberOfChannels(), 0U);
  EXPECT_TRUE(made->expandedPhysicalFormats().empty());
}

TEST_F(OrvAudioStreamTest, TheFirstChannelIsReadOnTheStreamAndTheRestOnThatChannel) {
  hardware->set(Place::ofStream(kStream, fourCC("term"), kStart), bytesOf(fourCC("line")));
  hardware->set(Place::ofStream(kStream, fourCC("term"), 0), bytesOf(1U));
  EXPECT_EQ(stream()->startingChannel(), 3U);
  EXPECT_EQ(stream()->streamDirection(), 1U);
  EXPECT_EQ(stream()->terminalType(), fourCC("line"));
}

TEST_F(OrvAudioStreamTest, EachStreamCountsTheChannelsOfTheWholeSection) {
  hardware->set(Place::ofOutput(kDevice, fourCC("slay")), configuration({2, 6}));
  hardware->set(Place::ofInput(kDevice, fourCC("slay")), configuration({1}));
  hardware->set(Place::ofStream(101, fourCC("schn")), bytesOf(1U));
  hardware->set(Place::ofStream(101, fourCC("sdir"), 1), bytesOf(0U));
  hardware->set(Place::ofStream(102, fourCC("schn")), bytesOf(3U));
  hardware->set(Place::ofStream(102, fourCC("sdir"), 3), bytesOf(0U));
  const auto owner = device();
  EXPECT_EQ(OrvAudioStream::initWithAudioDevice_streamID(owner, 101)->numberOfChannels(), 8U);
  EXPECT_EQ(OrvAudioStream::initWithAudioDevice_streamID(owner, 102)->numberOfChannels(), 8U);
  EXPECT_EQ(stream()->numberOfChannels(), 1U);
}

TEST_F(OrvAudioStreamTest, ThePhysicalFormatIsReadOnTheStartingChannel) {
  hardware->set(Place::ofStream(kStream, fourCC("pft "), kStart), bytesOf(format(96000)));
  EXPECT_EQ(stream()->physicalFormat()->sampleRate(), 96000);
}

TEST_F(OrvAudioStreamTest, WhatCannotBeReadIsZeroOrEmptyAndSilent) {
  const LogCapture log;
  const auto unknown = OrvAudioStream::initWithAudioDevice_streamID(device(), 999);
  EXPECT_EQ(unknown->startingChannel(), 0U);
  EXPECT_EQ(unknown->streamDirection(), 0U);
  EXPECT_EQ(unknown->terminalType(), 0U);
  EXPECT_TRUE(unknown->physicalFormat()->isEqual(OrvAudioStreamBasicDescription::init()));
  EXPECT_TRUE(unknown->physicalFormats().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(OrvAudioStreamTest, PhysicalFormatsAreOneForEachWholeFortyBytes) {
  hardware->set(Place::ofStream(kStream, fourCC("pft#"), kStart), bytesOf(Records{format(1), format(2)}) + "rest");
  EXPECT_EQ(stream()->physicalFormats().size(), 2U);
  hardware->set(Place::ofStream(kStream, fourCC("pft#"), kStart), bytesOf(format(1)).substr(0, 39));
  EXPECT_TRUE(stream()->physicalFormats().empty());
}

TEST_F(OrvAudioStreamTest, AStreamsSizeThatChangesBetweenTheCallsIsHandled) {
  hardware->set(Place::ofStream(kStream, fourCC("pft "), kStart),
                FakeProperty{.bytes = bytesOf(format(1)), .announcedSize = 8});
  EXPECT_EQ(stream()->physicalFormat()->sampleRate(), 0);
  hardware->set(Place::ofStream(kStream, fourCC("pft#"), kStart),
                FakeProperty{.bytes = bytesOf(format(1)), .announcedSize = 4000});
  EXPECT_EQ(stream()->physicalFormats().size(), 1U);
}

TEST_F(OrvAudioStreamTest, FormatsOfFixedRatesAreReturnedUnchangedAndInOrder) {
  EXPECT_EQ(expandedRates({48000, 44100, 48000}, {{8000, 96000}}), (Rates{48000, 44100, 48000}));
}

TEST_F(OrvAudioStreamTest, AFormatOfAnyRateBecomesOneForEveryTwentyFiveHertz) {
  const Rates rates = expandedRates({0}, {{44100, 48000}});
  ASSERT_EQ(rates.size(), 157U);
  for (std::size_t i = 0; i < rates.size(); ++i) {
    EXPECT_EQ(rates[i], 44100 + 25 * static_cast<double>(i));
  }
}

TEST_F(OrvAudioStreamTest, ExpandedFormatsKeepTheirOtherFields) {
  expandedRates({0}, {{44100, 44100}});
  EXPECT_TRUE(stream()->expandedPhysicalFormats().at(0)->isEqual([] {
    const AudioStreamBasicDescription record = format(44100);
    return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
  }()));
}

TEST_F(OrvAudioStreamTest, WhatAFormatOfAnyRateBecomesFollowsTheFixedRates) {
  EXPECT_EQ(expandedRates({96000, 0, 192000}, {{8000, 8050}, {44100, 44100}}),
            (Rates{96000, 192000, 8000, 8025, 8050, 44100}));
}

TEST_F(OrvAudioStreamTest, RatesThatRangesHaveInCommonComeTwice) {
  EXPECT_EQ(expandedRates({0, 0}, {{100, 125}, {125, 125}}), (Rates{100, 125, 125, 100, 125, 125}));
}

TEST_F(OrvAudioStreamTest, ARangeOfOneRateGivesOneAndOneThatRunsBackwardsNone) {
  EXPECT_EQ(expandedRates({0}, {{48000, 48000}, {2, 1}}), (Rates{48000}));
}

TEST_F(OrvAudioStreamTest, WithoutNominalRatesAFormatOfAnyRateIsRemovedAndNothingTakesItsPlace) {
  EXPECT_EQ(expandedRates({0, 44100}, {}), (Rates{44100}));
}

TEST_F(OrvAudioStreamTest, NominalRatesAreThoseOfTheStreamsDirection) {
  hardware->set(Place::ofStream(kStream, fourCC("sdir"), kStart), bytesOf(0U));
  hardware->set(Place::ofOutput(kDevice, fourCC("nsr#")), bytesOf(AudioValueRange{8000, 8000}));
  EXPECT_EQ(expandedRates({0}, {{1, 1}}), (Rates{8000}));
}

TEST_F(OrvAudioStreamTest, ARateOfZeroInARangeIsLeftOutBecauseItWouldNeverEnd) {
  EXPECT_EQ(expandedRates({0}, {{0, 50}, {-25, 0}}), (Rates{25, 50, -25}));
}

TEST_F(OrvAudioStreamTest, AbsurdRangesEndSomewhereWithALine) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const AudioValueRange& range :
       {AudioValueRange{1, kInfinity}, AudioValueRange{-kInfinity, 0}, AudioValueRange{1e300, 1e301}}) {
    const LogCapture log;
    EXPECT_EQ(expandedRates({0}, {range}).size(), 1'000'000U);
    EXPECT_EQ(log.lines().size(), 1U);
  }
  EXPECT_TRUE(expandedRates({0}, {{std::numeric_limits<double>::quiet_NaN(), 48000}}).empty());
}
