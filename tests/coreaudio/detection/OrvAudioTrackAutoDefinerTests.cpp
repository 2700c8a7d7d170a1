#include <OrvCoreAudio/OrvAudioTrackAutoDefiner.h>
#include <OrvCoreAudio/OrvSplitDetection.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Recording.h"
#include "detection/CrossingAnalysis.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using Definer = OrvAudioTrackAutoDefiner;
using orv::test::LogCapture;
using orv::test::pcm;
using orv::test::Stretch;
using orv::test::TemporaryDirectory;
using orv::test::threePieces;
using orv::test::writeRecording;

namespace {

/// Takes the progress; can cancel at the first value it gets.
class Delegate final : public OrvObject, public OrvAutoDefineProgressDelegate {
 public:
  void autoDefineProgress(float progress) override {
    values.push_back(progress);
    if (cancels) {
      Definer::cancel();
    }
  }
  std::vector<float> values;
  bool cancels = false;
};

class Indifferent final : public OrvObject {};

class AutoDefiner : public testing::Test {
 protected:
  void TearDown() override { Definer::setDelegate(nullptr); }

  std::string record(const std::vector<Stretch>& stretches,
                     const orv::test::FormatPointer& format = pcm(44100, 2, 16, 14), AudioFileTypeID type = 0,
                     std::uint32_t silentBefore = 0) {
    writeRecording(folder / "side", format, stretches, type, silentBefore);
    return folder / "side";
  }

  LogCapture log;
  TemporaryDirectory folder;
};

/// Begins of the tracks in seconds at 44.1 kHz.
std::vector<double> begins(const Definer::TrackList& tracks, double rate = 44100) {
  std::vector<double> seconds;
  for (const auto& track : tracks) {
    seconds.push_back(static_cast<double>(track->trackBeginFrame()) / rate);
  }
  return seconds;
}

}  // namespace

TEST_F(AutoDefiner, TwoLongPausesMakeThreeTracksThatMeet) {
  const auto tracks = Definer::autoDefineTracksInFile(record(threePieces()));
  ASSERT_TRUE(tracks);
  ASSERT_EQ(tracks->size(), 3U);
  EXPECT_EQ((*tracks)[0]->trackBeginFrame(), 0U);
  EXPECT_EQ((*tracks)[1]->trackBeginFrame(), (*tracks)[0]->trackEndFrame());
  EXPECT_EQ((*tracks)[2]->trackBeginFrame(), (*tracks)[1]->trackEndFrame());
  EXPECT_EQ((*tracks)[2]->trackEndFrame(), 32U * 44100);
  EXPECT_EQ(begins(*tracks), (std::vector<double>{0, 10, 22}));
}

TEST_F(AutoDefiner, TheNumbersInTheNamesAreDoubled) {
  const auto tracks = Definer::autoDefineTracksInFile(record(threePieces()));
  ASSERT_TRUE(tracks && tracks->size() == 3);
  EXPECT_EQ((*tracks)[0]->trackName(), "Untitled Track 0");
  EXPECT_EQ((*tracks)[1]->trackName(), "Untitled Track 2");
  EXPECT_EQ((*tracks)[2]->trackName(), "Untitled Track 4");
  EXPECT_FALSE((*tracks)[0]->isActive());
}

TEST_F(AutoDefiner, OneTrackAskedForCoversTheWholeFile) {
  const auto tracks = Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(
      record(threePieces()), 71, 1400, 500, 1);
  ASSERT_TRUE(tracks && tracks->size() == 1);
  EXPECT_EQ((*tracks)[0]->trackBeginFrame(), 0U);
  EXPECT_EQ((*tracks)[0]->trackEndFrame(), 32U * 44100);
}

TEST_F(AutoDefiner, TheShorterFormsUseTheDefaults) {
  const std::string path = record(threePieces());
  const std::size_t expected = 3;
  EXPECT_EQ(Definer::autoDefineTracksInFile_lengthOfSilence(path, 1400)->size(), expected);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity(path, 71)->size(), expected);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence(path, 71, 1400)->size(), expected);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity_zeroOffset(path, 71, 500)->size(), expected);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset(path, 71, 1400, 500)->size(),
            expected);
}

TEST_F(AutoDefiner, TheGivenSettingsAreUsed) {
  const std::string path = record(threePieces());
  EXPECT_EQ(Definer::autoDefineTracksInFile_lengthOfSilence(path, 5000)->size(), 1U);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity(path, 0)->size(), 1U);
  EXPECT_EQ(Definer::autoDefineTracksInFile_sensitivity_zeroOffset(path, 71, 32767)->size(), 1U);
}

TEST_F(AutoDefiner, SilenceIsTruncatedToBlocks) {
  EXPECT_EQ(orv::crossings::silenceInBlocks(1400.0F), 7);
  EXPECT_EQ(orv::crossings::silenceInBlocks(1399.0F), 6);
  EXPECT_EQ(orv::crossings::silenceInBlocks(199.0F), 0);
  EXPECT_EQ(orv::crossings::silenceInBlocks(std::nanf("")), 0);
}

TEST_F(AutoDefiner, CancellingWhileReadingReturnsNothingAndTheNextRunStartsAfresh) {
  const std::string path = record(threePieces());
  const auto delegate = std::make_shared<Delegate>();
  delegate->cancels = true;
  Definer::setDelegate(delegate);
  EXPECT_FALSE(Definer::autoDefineTracksInFile(path));
  EXPECT_EQ(delegate->values.size(), 2U);  // the block at whose end the run stopped, and the last value
  EXPECT_EQ(delegate->values.back(), 1.0F);
  delegate->cancels = false;
  EXPECT_TRUE(Definer::autoDefineTracksInFile(path));
}

TEST_F(AutoDefiner, ProgressRisesToExactly1) {
  const auto delegate = std::make_shared<Delegate>();
  Definer::setDelegate(delegate);
  ASSERT_TRUE(Definer::autoDefineTracksInFile(record(threePieces())));
  EXPECT_TRUE(std::is_sorted(delegate->values.begin(), delegate->values.end()));
  EXPECT_GT(delegate->values[delegate->values.size() - 2], 0.98F);
  EXPECT_EQ(delegate->values.back(), 1.0F);
}

TEST_F(AutoDefiner, InCountedModeProgressStaysNearHalfUntilTheEnd) {
  const auto delegate = std::make_shared<Delegate>();
  Definer::setDelegate(delegate);
  Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(record(threePieces()), 71, 1400,
                                                                                        500, 3);
  EXPECT_NEAR(delegate->values[delegate->values.size() - 2], 0.5, 0.02);
  EXPECT_EQ(delegate->values.back(), 1.0F);
}

TEST_F(AutoDefiner, ADelegateThatDoesNotListenIsLeftAlone) {
  Definer::setDelegate(std::make_shared<Indifferent>());
  Definer::autoDefineProgress(0.5F);
  EXPECT_TRUE(Definer::autoDefineTracksInFile(record(threePieces())));
}

TEST_F(AutoDefiner, AFileThatCannotBeOpenedIsOneTrackOfNoLength) {
  const auto tracks = Definer::autoDefineTracksInFile(folder / "none");
  ASSERT_TRUE(tracks && tracks->size() == 1);
  EXPECT_EQ((*tracks)[0]->trackEndFrame(), 0U);
}

TEST_F(AutoDefiner, MoreThan97TracksAreClamped) {
  const auto tracks = Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(
      record(threePieces()), 71, 1400, 500, 1000);
  ASSERT_TRUE(tracks);
  EXPECT_EQ(tracks->size(), 97U);
}

TEST_F(AutoDefiner, DefiningTracksGivesTheSameOnStereoRecordings) {
  const std::string path = record({{5, 0.5}, {2, 0}, {7, 0.3}, {1, 0}, {4, 0.2}, {3, 0.001}, {6, 0.9}});
  for (const int count : {0, 1, 2, 3, 5, 40}) {
    SCOPED_TRACE(count);
    Definer::Request request;
    request.path = path;
    request.numberOfTracks = count;
    const auto expected = Definer::autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(
        path, 71, 1400, 500, static_cast<std::int16_t>(count));
    const Definer::Result result = Definer::defineTracks(request);
    ASSERT_TRUE(result.done) << result.problem;
    ASSERT_EQ(result.tracks.size(), expected->size());
    for (std::size_t i = 0; i < expected->size(); ++i) {
      EXPECT_TRUE(result.tracks[i]->isEqual((*expected)[i]));
    }
  }
}

TEST_F(AutoDefiner, DefiningTracksCutsRecordingsOfAnyChannelCountInTheRightPlaces) {
  for (const std::uint32_t channels : {1U, 2U, 3U, 4U, 8U}) {
    for (const std::uint32_t bits : {16U, 24U}) {
      SCOPED_TRACE(testing::Message() << channels << " channels, " << bits << " bits");
      Definer::Request request;
      request.path = record(threePieces(), pcm(44100, channels, bits, 14));
      const Definer::Result result = Definer::defineTracks(request);
      ASSERT_TRUE(result.done) << result.problem;
      EXPECT_EQ(begins(result.tracks), (std::vector<double>{0, 10, 22}));
      EXPECT_EQ(result.tracks.back()->trackEndFrame(), 32U * 44100);
    }
  }
}

TEST_F(AutoDefiner, DefiningTracksLooksAtEveryChannel) {
  Definer::Request request;
  request.path = record(threePieces(), pcm(44100, 4, 16, 14), 0, 3);  // only the last channel sounds
  const Definer::Result result = Definer::defineTracks(request);
  EXPECT_EQ(begins(result.tracks), (std::vector<double>{0, 10, 22}));
}

TEST_F(AutoDefiner, DefiningTracksReadsEveryFormat) {
  const std::pair<orv::test::FormatPointer, AudioFileTypeID> cases[] = {{pcm(48000, 2, 16, 12), orv::fourCC("WAVE")},
                                                                        {pcm(96000, 2, 32, 11), 0},
                                                                        {pcm(22050, 1, 8, 14), 0},
                                                                        {pcm(11025, 1, 8, 8), orv::fourCC("WAVE")},
                                                                        {pcm(48000, 2, 24, 12), orv::fourCC("WAVE")},
                                                                        {pcm(48000, 1, 64, 9), orv::fourCC("WAVE")},
                                                                        {pcm(32000, 2, 20, 14), 0}};
  for (const auto& [format, type] : cases) {
    SCOPED_TRACE(format->debugDescription());
    Definer::Request request;
    request.path = record(threePieces(), format, type);
    const Definer::Result result = Definer::defineTracks(request);
    ASSERT_TRUE(result.done) << result.problem;
    EXPECT_EQ(begins(result.tracks, format->sampleRate()), (std::vector<double>{0, 10, 22}));
  }
}

TEST_F(AutoDefiner, DefiningTracksFindsMoreThanTheSplitArrayHolds) {
  std::vector<Stretch> stretches;
  for (int i = 0; i < 120; ++i) {
    stretches.push_back({0.6, 0.5});
    stretches.push_back({0.6, 0});
  }
  stretches.push_back({1, 0.5});
  Definer::Request request;
  request.path = record(stretches, pcm(8000, 2, 16, 14));
  request.lengthOfSilence = 400;
  EXPECT_EQ(Definer::defineTracks(request).tracks.size(), 121U);
}

TEST_F(AutoDefiner, DefiningTracksSaysWhyItCannot) {
  Definer::Request request;
  request.path = folder / "none";
  EXPECT_EQ(Definer::defineTracks(request).problem, "no such file or directory");
  request.path = record({});
  EXPECT_EQ(Definer::defineTracks(request).problem, "the file holds no audio");
  request.path = record({{10, 0.5}}, pcm(4, 2, 16, 14));
  EXPECT_EQ(Definer::defineTracks(request).problem, "a sample rate of 4 Hz is too low to look for tracks");
}

TEST_F(AutoDefiner, ACountedRunOnTooLongARecordingIsRefused) {
  Definer::Request request;
  request.path = record({{6600, 0}}, pcm(50, 1, 8, 14));  // 110 minutes
  request.numberOfTracks = 3;
  EXPECT_EQ(Definer::defineTracks(request).problem,
            "the recording is too long for a given number of tracks: at most 109 minutes");
  request.numberOfTracks = 0;
  EXPECT_TRUE(Definer::defineTracks(request).done);
}

TEST_F(AutoDefiner, AReadErrorIsToldAndNotTakenAsTheEnd) {
  const orv::test::InstalledFake fake;
  fake->data.assign(4 * 44100 * 4, '\0');
  Definer::Request request;
  request.path = "fake.aiff";
  request.progress = [&](float) {
    const std::lock_guard guard(fake->mutex);
    fake->readStatus = kInputOutputErrorStatus;
  };
  const Definer::Result result = Definer::defineTracks(request);
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, "input/output error");
}

TEST_F(AutoDefiner, EachRunHasItsOwnProgressAndCancelSwitch) {
  const std::string path = record(threePieces());
  std::atomic<bool> cancel{true};
  Definer::Request cancelled;
  cancelled.path = path;
  cancelled.cancel = &cancel;
  Definer::Request other;
  other.path = path;
  std::vector<float> progress;
  other.progress = [&](float value) { progress.push_back(value); };
  Definer::Result first;
  Definer::Result second;
  std::thread one([&] { first = Definer::defineTracks(cancelled); });
  std::thread two([&] { second = Definer::defineTracks(other); });
  one.join();
  two.join();
  EXPECT_TRUE(first.cancelled);
  EXPECT_FALSE(first.done);
  EXPECT_TRUE(first.tracks.empty());
  EXPECT_TRUE(second.done);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(progress.back(), 1.0F);
}
