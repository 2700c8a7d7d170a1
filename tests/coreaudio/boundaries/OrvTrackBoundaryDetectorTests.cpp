#include <OrvCoreAudio/OrvTrackBoundaryDetector.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "coreaudio/boundaries/Side.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

using Detector = OrvTrackBoundaryDetector;
using Options = Detector::Options;
using Result = Detector::Result;

/// Three pieces of 80 s; gaps from 82 to 84 s and from 164 to 165.5 s; groove of 2 s at both ends.
Side threePieces() {
  Side side;
  side.silence(2).music(80).silence(2).music(80).silence(1.5).music(80).silence(2);
  return side;
}

Result detect(const OrvLevelEnvelope& envelope, const Options& options = {}) {
  Result result = Detector::detectInEnvelope(envelope, options);
  EXPECT_TRUE(result.done) << result.problem;
  EXPECT_EQ(result.tracks.size(), result.boundaries.size() + 1);
  for (std::size_t i = 0; i < result.boundaries.size(); ++i) {
    EXPECT_EQ(result.tracks[i].end, result.boundaries[i].frame);
    EXPECT_EQ(result.tracks[i + 1].begin, result.boundaries[i].frame);
    EXPECT_FALSE(result.boundaries[i].reason.empty());
  }
  return result;
}

std::vector<double> cutsOf(const Result& result) {
  std::vector<double> seconds;
  for (const Detector::Boundary& boundary : result.boundaries) {
    seconds.push_back(static_cast<double>(boundary.frame) / result.sampleRate);
  }
  return seconds;
}

void expectTheTwoGaps(const Result& result) {
  const std::vector<double> cuts = cutsOf(result);
  ASSERT_EQ(cuts.size(), 2U);
  EXPECT_GT(cuts[0], 81.9);
  EXPECT_LT(cuts[0], 84.1);
  EXPECT_GT(cuts[1], 163.9);
  EXPECT_LT(cuts[1], 165.6);
}

TEST(TrackBoundaryDetector, FindsTheGapsOfACleanSide) {
  const Result result = detect(threePieces().envelope());
  expectTheTwoGaps(result);
  for (const Detector::Boundary& boundary : result.boundaries) {
    EXPECT_GT(boundary.confidence, 0.9);
    EXPECT_LT(boundary.aboveFloor, 2.0);
    EXPECT_GT(boundary.depth, 20.0);
    EXPECT_LT(boundary.quietBegin, boundary.frame);
    EXPECT_GT(boundary.quietEnd, boundary.frame);
  }
}

TEST(TrackBoundaryDetector, FindsThemUnderHissAndClicks) {
  for (const double hiss : {-70.0, -60.0, -50.0, -45.0}) {
    Side side = threePieces();
    side.noise(hiss);
    for (int click = 1; 0.37 * click < side.seconds(); ++click) {
      side.click(0.37 * click, 0.4F);
    }
    SCOPED_TRACE(hiss);
    expectTheTwoGaps(detect(side.envelope()));
  }
}

TEST(TrackBoundaryDetector, SaysInOneLineWhyItCut) {
  const Result result = detect(threePieces().noise(-60).envelope());
  ASSERT_EQ(result.boundaries.size(), 2U);
  const std::string& reason = result.boundaries[0].reason;
  EXPECT_NE(reason.find(" s on the noise floor, "), std::string::npos) << reason;
  EXPECT_NE(reason.find(" dB below the music"), std::string::npos) << reason;
  EXPECT_EQ(reason.find('\n'), std::string::npos);
}

TEST(TrackBoundaryDetector, CutsInTheLastQuietBlockBeforeTheNextTrack) {
  const std::vector<double> cuts = cutsOf(detect(threePieces().noise(-60).envelope()));
  ASSERT_EQ(cuts.size(), 2U);
  EXPECT_NEAR(cuts[0], 84.0, 0.15);
  EXPECT_NEAR(cuts[1], 165.5, 0.15);
}

TEST(TrackBoundaryDetector, CutsInTheMiddleOnRequest) {
  Options options;
  options.cutPosition = Detector::CutPosition::middle;
  // A note's end is below the hiss before it is over: the quiet stretch begins a little before the gap.
  const std::vector<double> cuts = cutsOf(detect(threePieces().noise(-60).envelope(), options));
  ASSERT_EQ(cuts.size(), 2U);
  EXPECT_NEAR(cuts[0], 83.0, 0.3);
  EXPECT_NEAR(cuts[1], 164.75, 0.3);
}

TEST(TrackBoundaryDetector, AFadeIsPartOfItsTrack) {
  Side side;
  side.silence(2).music(70).fadingMusic(10).silence(2).music(80).silence(2).noise(-60);
  const std::vector<double> cuts = cutsOf(detect(side.envelope()));
  ASSERT_EQ(cuts.size(), 1U);
  EXPECT_NEAR(cuts[0], 84.0, 0.2);
}

TEST(TrackBoundaryDetector, OnePieceIsNotCut) {
  Side side;
  side.silence(3).music(300).silence(3).noise(-60);
  EXPECT_TRUE(detect(side.envelope()).boundaries.empty());
}

TEST(TrackBoundaryDetector, PausesOfASpeakerAreNotBoundaries) {
  Side side;
  side.silence(1);
  for (int sentence = 0; sentence < 60; ++sentence) {
    side.music(3.5).silence(0.8);
  }
  side.noise(-60);
  EXPECT_TRUE(detect(side.envelope()).boundaries.empty());
}

TEST(TrackBoundaryDetector, GroovesAtTheEndsAreNotTracks) {
  Side side;
  side.silence(1).click(0.5, 0.9F);
  side.tone(0.1, 60, 0.8).silence(12).music(100).silence(2).music(100).silence(20).noise(-55);
  const std::vector<double> cuts = cutsOf(detect(side.envelope()));
  ASSERT_EQ(cuts.size(), 1U);
  EXPECT_NEAR(cuts[0], 115.1, 0.3);
}

TEST(TrackBoundaryDetector, LeavesTheGroovesOutOnRequest) {
  Options options;
  options.trimEnds = true;
  const Result result = detect(threePieces().noise(-60).envelope(), options);
  EXPECT_NEAR(static_cast<double>(result.tracks.front().begin) / result.sampleRate, 2.0, 0.2);
  EXPECT_NEAR(static_cast<double>(result.tracks.back().end) / result.sampleRate, 245.5, 0.5);
  const Result whole = detect(threePieces().noise(-60).envelope());
  EXPECT_EQ(whole.tracks.front().begin, 0U);
  EXPECT_EQ(whole.tracks.back().end, whole.lengthInFrames);
}

TEST(TrackBoundaryDetector, FindsExactlyAsManyTracksAsAskedFor) {
  const OrvLevelEnvelope envelope = threePieces().noise(-60).envelope();
  for (const int tracks : {1, 2, 3, 4, 6}) {
    Options options;
    options.numberOfTracks = tracks;
    EXPECT_EQ(detect(envelope, options).tracks.size(), static_cast<std::size_t>(tracks));
  }
}

TEST(TrackBoundaryDetector, TheBestOfAllAreTakenFirst) {
  Options options;
  options.numberOfTracks = 3;
  expectTheTwoGaps(detect(threePieces().noise(-45).envelope(), options));
}

TEST(TrackBoundaryDetector, SaysWhenThereAreFewerPlacesThanTracks) {
  Options options;
  options.numberOfTracks = 900;
  Side side;
  side.silence(1).music(5).silence(1).noise(-60);
  const Result result = detect(side.envelope(), options);
  EXPECT_LT(result.tracks.size(), 900U);
  ASSERT_EQ(result.notes.size(), 1U);
  EXPECT_EQ(result.notes[0].find("asked for 900 tracks; the recording has places for "), 0U) << result.notes[0];
}

TEST(TrackBoundaryDetector, FollowsATrackListing) {
  // Two pauses inside the first piece look better than the gaps.
  Side side;
  side.silence(2).music(60).silence(2).music(60).silence(3).music(60).silence(0.6).music(90).silence(0.6).music(75);
  side.silence(2).noise(-60);
  Options options;
  options.durations = {185, 90, 75};
  const std::vector<double> cuts = cutsOf(detect(side.envelope(), options));
  ASSERT_EQ(cuts.size(), 2U);
  EXPECT_NEAR(cuts[0], 187.6, 0.3);
  EXPECT_NEAR(cuts[1], 278.2, 0.3);
}

TEST(TrackBoundaryDetector, SaysWhenTheListingIsLongerThanTheRecording) {
  Options options;
  options.durations = {80, 80, 80, 300, 300};
  const Result result = detect(threePieces().noise(-60).envelope(), options);
  ASSERT_EQ(result.notes.size(), 1U);
  EXPECT_EQ(result.notes[0], "the durations add up to more than the recording's 248 s; 4 of 5 tracks fit");
}

TEST(TrackBoundaryDetector, SaysWhenTheListingDoesNotFit) {
  Options options;
  options.durations = {4, 4, 4};
  const Result result = detect(threePieces().noise(-60).envelope(), options);
  ASSERT_EQ(result.notes.size(), 1U);
  EXPECT_EQ(result.notes[0], "the durations do not fit to the quiet places of the recording; they are not used");
  expectTheTwoGaps(result);
}

TEST(TrackBoundaryDetector, TracksAreAtLeastAsLongAsAskedFor) {
  Options options;
  options.minimumTrackLength = 100;
  const Result result = detect(threePieces().noise(-60).envelope(), options);
  for (const Detector::Span& track : result.tracks) {
    EXPECT_GE(static_cast<double>(track.end - track.begin) / result.sampleRate, 100);
  }
}

TEST(TrackBoundaryDetector, MoreSensitivityFindsMore) {
  Side side;
  side.silence(2).music(80).silence(0.35).music(80).silence(2).music(80).silence(0.3).music(80).silence(2).noise(-50);
  const OrvLevelEnvelope envelope = side.envelope();
  std::size_t found = 0;
  for (const double sensitivity : {0.0, 50.0, 100.0}) {
    Options options;
    options.sensitivity = sensitivity;
    const std::size_t count = detect(envelope, options).boundaries.size();
    EXPECT_GE(count, found) << sensitivity;
    found = count;
  }
  EXPECT_GE(found, 3U);
}

TEST(TrackBoundaryDetector, DoubtfulPlacesAreToldAndNotCut) {
  Side side;
  side.silence(2).music(80).silence(0.6).music(80).silence(2).noise(-60);
  const Result result = detect(side.envelope());
  EXPECT_TRUE(result.boundaries.empty());
  ASSERT_EQ(result.doubtful.size(), 1U);
  EXPECT_LT(result.doubtful[0].confidence, 0.5);
  EXPECT_NE(result.doubtful[0].reason.find(", but "), std::string::npos) << result.doubtful[0].reason;
}

TEST(TrackBoundaryDetector, TellsTheFloorOnceASecond) {
  const Result result = detect(threePieces().noise(-60).envelope());
  EXPECT_NEAR(static_cast<double>(result.floor.size()), 248, 3);
  for (const Detector::FloorPoint& point : result.floor) {
    // The floor is the lower half of the quietest third of a second of white noise of -60 dB.
    EXPECT_NEAR(point.level, -66, 2);
  }
}

TEST(TrackBoundaryDetector, SilenceNoiseClickAndConstantAreOneTrack) {
  const std::vector<float> constant(200'000, 0.5F);
  std::vector<float> square(400'000);
  for (std::size_t i = 0; i < square.size(); ++i) {
    square[i] = i / 50 % 2 == 0 ? 1.0F : -1.0F;
  }
  const std::vector<OrvLevelEnvelope> envelopes{
      Side().silence(60).envelope(),
      Side().silence(60).noise(-40).envelope(),
      Side().silence(60).click(30, 0.9F).envelope(),
      envelopeOf(constant, Side::kRate),
      envelopeOf(square, Side::kRate),
      envelopeOf(std::vector<float>(400'000, std::numeric_limits<float>::quiet_NaN()), Side::kRate),
  };
  for (const OrvLevelEnvelope& envelope : envelopes) {
    EXPECT_TRUE(detect(envelope).boundaries.empty());
    Options options;
    options.numberOfTracks = 5;
    EXPECT_LE(detect(envelope, options).tracks.size(), 5U);
    options = {};
    options.durations = {10, 10, 10};
    EXPECT_LE(detect(envelope, options).tracks.size(), 3U);
    options.trimEnds = true;
    EXPECT_LE(detect(envelope, options).tracks.size(), 3U);
  }
}

TEST(TrackBoundaryDetector, SaysThatThereIsNoMusic) {
  const Result result = detect(Side().silence(60).noise(-40).envelope());
  ASSERT_EQ(result.notes.size(), 1U);
  EXPECT_EQ(result.notes[0], "nothing but noise or silence is in the recording");
}

TEST(TrackBoundaryDetector, TakesATenthOfASecond) {
  EXPECT_EQ(detect(Side().music(0.1).envelope()).tracks.size(), 1U);
}

TEST(TrackBoundaryDetector, TakesADay) {
  // Of levels only: 180 s of music, 2 s of noise, and so on for 24 hours.
  OrvLevelEnvelope envelope;
  envelope.sampleRate = 44'100;
  envelope.framesPerBlock = 1'024;
  const auto blocks = static_cast<std::size_t>(24 * 3'600 * envelope.sampleRate / envelope.framesPerBlock);
  const double period = 182 * envelope.sampleRate / envelope.framesPerBlock;
  for (std::size_t i = 0; i < blocks; ++i) {
    const double where = std::fmod(static_cast<double>(i), period) * envelope.framesPerBlock / envelope.sampleRate;
    const auto track = static_cast<int>(static_cast<double>(i) / period);
    OrvLevelEnvelope::Block block{};
    for (std::size_t band = 0; band < OrvLevelEnvelope::kBands; ++band) {
      const int timbre = (track * 7 + static_cast<int>(band) * 5) % 11;
      const int flutter = static_cast<int>(i * 37 % 61);
      block.bands[band] =
          static_cast<std::int16_t>(where < 180 ? -2'500 - 100 * timbre - 4 * flutter : -7'000 - flutter);
    }
    envelope.blocks.push_back(block);
  }
  envelope.lengthInFrames = std::uint64_t{blocks} * envelope.framesPerBlock;
  EXPECT_EQ(detect(envelope).boundaries.size(), 474U);
  Options options;
  options.numberOfTracks = 400;
  EXPECT_EQ(detect(envelope, options).tracks.size(), 400U);
}

TEST(TrackBoundaryDetector, RefusesAnEnvelopeThatContradictsItself) {
  const OrvLevelEnvelope sound = Side().music(1).envelope();
  std::vector<OrvLevelEnvelope> envelopes(6, sound);
  envelopes[0].sampleRate = 0;
  envelopes[1].sampleRate = std::numeric_limits<double>::quiet_NaN();
  envelopes[2].framesPerBlock = 0;
  envelopes[3].blocks.clear();
  envelopes[4].blocks.pop_back();
  envelopes[5].lengthInFrames = 0;
  for (OrvLevelEnvelope& envelope : envelopes) {
    const Result result = Detector::detectInEnvelope(std::move(envelope), {});
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.problem, "the envelope contradicts itself");
  }
}

TEST(TrackBoundaryDetector, TakesAnEnvelopeOfAbsurdRates) {
  OrvLevelEnvelope envelope = Side().music(3).envelope();
  for (const double rate : {1e-300, 1e-3, 1e9, 1e300}) {
    envelope.sampleRate = rate;
    const Result result = Detector::detectInEnvelope(envelope, {});
    EXPECT_TRUE(result.done) << rate;
  }
}

TEST(TrackBoundaryDetector, RefusesOptionsThatMakeNoSense) {
  const OrvLevelEnvelope envelope = Side().music(1).envelope();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<std::pair<Options, std::string>> cases(7);
  cases[0].first.numberOfTracks = -1;
  cases[0].second = "the number of tracks is negative";
  cases[1].first.durations = {10, 0};
  cases[2].first.durations = {nan};
  cases[1].second = cases[2].second = "a duration is not a positive number of seconds";
  cases[3].first.minimumTrackLength = -1;
  cases[3].second = "the minimum track length is not a number of seconds";
  cases[4].first.sensitivity = 100.5;
  cases[5].first.sensitivity = -1;
  cases[6].first.sensitivity = nan;
  cases[4].second = cases[5].second = cases[6].second = "the sensitivity is not between 0 and 100";
  for (const auto& [options, problem] : cases) {
    const Result result = Detector::detectInEnvelope(envelope, options);
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.problem, problem);
  }
}

TEST(TrackBoundaryDetector, AnEnvelopeThatWasKeptGivesTheSameAnswer) {
  const Result first = detect(threePieces().noise(-60).envelope());
  const Result again = detect(first.envelope);
  EXPECT_EQ(cutsOf(first), cutsOf(again));
}

TEST(TrackBoundaryDetector, CutsAFileWhereTheLouderChannelCrossesZero) {
  const TemporaryDirectory folder;
  Side side = threePieces();
  side.noise(-60);
  side.write(folder / "side.aiff");
  const Result result = Detector::detectInFile(folder / "side.aiff", {});
  ASSERT_TRUE(result.done) << result.problem;
  expectTheTwoGaps(result);
  for (const Detector::Boundary& boundary : result.boundaries) {
    const float before = std::round(32'768 * side.samples()[boundary.frame - 1]);
    const float here = std::round(32'768 * side.samples()[boundary.frame]);
    EXPECT_TRUE(here == 0 || (before < 0) != (here < 0)) << before << " and " << here;
  }
}

TEST(TrackBoundaryDetector, ReadsNaNInFloatFiles) {
  const TemporaryDirectory folder;
  Side side = threePieces();
  side.noise(-60);
  for (std::size_t i = 0; i < side.samples().size(); i += 5'003) {
    side.samples()[i] = std::numeric_limits<float>::quiet_NaN();
  }
  side.writeFloat(folder / "side.aifc");
  const Result result = Detector::detectInFile(folder / "side.aifc", {});
  ASSERT_TRUE(result.done) << result.problem;
  expectTheTwoGaps(result);
}

TEST(TrackBoundaryDetector, SaysWhatIsWrongWithAFile) {
  const Result result = Detector::detectInFile("/nowhere/at/all", {});
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, "no such file or directory");
}

TEST(TrackBoundaryDetector, StopsWhenItIsCancelled) {
  const TemporaryDirectory folder;
  Side().music(5).write(folder / "a.aiff");
  const std::atomic<bool> cancel{true};
  Options options;
  options.cancel = &cancel;
  const Result result = Detector::detectInFile(folder / "a.aiff", options);
  EXPECT_FALSE(result.done);
  EXPECT_TRUE(result.cancelled);
  EXPECT_TRUE(Detector::detectInEnvelope(Side().music(1).envelope(), options).cancelled);
}

}  // namespace
}  // namespace orv::test
