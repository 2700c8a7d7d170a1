#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "PlayerFixture.h"

namespace {

class OrvAudioPlayerPlaying : public PlayerFixture {
 protected:
  void playStereo(std::size_t frames) {
    plug(2, 44100);
    makePlayer(2, 44100, frames);
  }

  /// Makes a small WAVE file one of so many bytes of audio, silence in a hole, and moves its audio to a place in it.
  static void growHeader(const std::string& path, std::uint32_t bytes, std::uint32_t place) {
    constexpr std::size_t kHeader = 44;
    std::string content = orv::test::readWholeFile(path);
    const std::string audio = content.substr(kHeader);
    content.resize(kHeader);
    const std::uint32_t formBytes = bytes + kHeader - 8;
    std::memcpy(content.data() + 4, &formBytes, sizeof formBytes);
    std::memcpy(content.data() + 40, &bytes, sizeof bytes);
    orv::test::writeWholeFile(path, content);
    std::filesystem::resize_file(path, kHeader + bytes);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(kHeader + place));
    file.write(audio.data(), static_cast<std::streamsize>(audio.size()));
  }
};

using Length = std::size_t;
class OrvAudioPlayerOfLength : public PlayerFixture, public testing::WithParamInterface<Length> {
 protected:
  /// The end is a position in seconds of single precision: 65 frames become 64, and the cycle that would hold the last
  /// frame is not played.
  std::vector<float> upToTheRoundedEnd() const {
    const std::size_t end = player->calculateLogicalFrameOffset(static_cast<std::uint32_t>(GetParam()));
    return sourceFrames(0, std::min(GetParam(), (end + kFrames - 1) / kFrames * kFrames), 2);
  }
};

using Case = std::tuple<std::uint32_t, int, std::uint32_t>;  // channels, format of the file, frames in a cycle
class OrvAudioPlayerOfFormat : public PlayerFixture, public testing::WithParamInterface<Case> {};

using Rates = std::tuple<double, double>;
class OrvAudioPlayerAtRates : public PlayerFixture, public testing::WithParamInterface<Rates> {};

/// Ranges of a file of 5000 frames.
using Range = std::tuple<std::uint32_t, std::uint32_t>;
class OrvAudioPlayerRange : public PlayerFixture, public testing::WithParamInterface<Range> {};

}  // namespace

TEST_P(OrvAudioPlayerOfLength, TheCyclesUpToTheRoundedEndAreComplete) {
  plug(2, 44100);
  makePlayer(2, 44100, GetParam());
  ASSERT_TRUE(player->play());
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(upToTheRoundedEnd()));
}

TEST_P(OrvAudioPlayerOfLength, TheCyclesUpToTheRoundedEndGoThroughAVolumeControl) {
  plug(2, 44100);
  makePlayer(2, 44100, GetParam());
  player->setVolumeControl(OrvSoftwareVolumeControl::init());
  player->setVolumeScalar(0.5F);
  ASSERT_TRUE(player->play());
  listen();
  playOut();
  for (float& sample : source) {
    sample *= 0.5F;
  }
  EXPECT_EQ(capture->samples, followedBySilence(upToTheRoundedEnd()));
}

TEST_P(OrvAudioPlayerOfLength, EveryFrameIsPlayedExactly) {
  plug(2, 44100);
  makePlayer(2, 44100, GetParam());
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, 0xFFFFFFFF));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

// Around the cycle of 64 frames and the buffer of 1024.
INSTANTIATE_TEST_SUITE_P(Lengths, OrvAudioPlayerOfLength,
                         testing::Values<Length>(1, 63, 64, 65, 1023, 1024, 1025, 2047, 2048, 2049, 5000, 44101));

TEST_P(OrvAudioPlayerOfFormat, SamplesAreBitExact) {
  const auto& [channels, format, frames] = GetParam();
  plug(channels, 48000, frames);
  source = noise(std::size_t{7001} * channels);
  makePlayer(write("source", channels, 48000, source, format));
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, 7001));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, OrvAudioPlayerOfFormat,
    testing::Combine(testing::Values(1U, 2U),
                     testing::Values(SF_FORMAT_AIFF | SF_FORMAT_PCM_16, SF_FORMAT_AIFF | SF_FORMAT_PCM_24,
                                     SF_FORMAT_WAV | SF_FORMAT_PCM_32, SF_FORMAT_WAV | SF_FORMAT_FLOAT,
                                     SF_FORMAT_AIFF | SF_FORMAT_DOUBLE),
                     testing::Values(16U, 100U, 4096U)));

TEST_P(OrvAudioPlayerAtRates, AToneIsConvertedWithoutAudibleLoss) {
  constexpr double kHertz = 997.0;
  const auto [fileRate, deviceRate] = GetParam();
  plug(1, deviceRate);
  makePlayer(write("tone.wav", 1, fileRate, tone(static_cast<std::size_t>(fileRate), fileRate, kHertz),
                   SF_FORMAT_WAV | SF_FORMAT_FLOAT));
  ASSERT_TRUE(player->play());
  listen();
  playOut();
  const auto expected = static_cast<std::size_t>(deviceRate);
  ASSERT_GE(capture->samples.size(), expected);
  const auto edge = static_cast<std::size_t>(deviceRate / 20);
  double signal = 0;
  double noise = 0;
  for (std::size_t i = edge; i + edge < expected; ++i) {
    const double wanted = 0.5 * std::sin(2 * M_PI * kHertz * static_cast<double>(i) / deviceRate);
    signal += wanted * wanted;
    noise += (capture->samples[i] - wanted) * (capture->samples[i] - wanted);
  }
  EXPECT_GT(10 * std::log10(signal / noise), 110.0);
}

TEST_P(OrvAudioPlayerAtRates, MovingStartsWithoutAnyOfWhatCameBefore) {
  const auto [fileRate, deviceRate] = GetParam();
  plug(1, deviceRate);
  auto samples = noise(static_cast<std::size_t>(fileRate));
  std::fill(samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2), samples.end(), 0.0F);
  makePlayer(write("half.wav", 1, fileRate, samples, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
  ASSERT_TRUE(player->play());
  cycles(10);
  player->setCurrentFrameOffset(static_cast<std::uint32_t>(fileRate * 0.75));
  listen();
  cycles(10);
  EXPECT_TRUE(isSilent(capture->samples));
}

INSTANTIATE_TEST_SUITE_P(Rates, OrvAudioPlayerAtRates,
                         testing::Values(Rates{44100, 48000}, Rates{48000, 44100}, Rates{96000, 44100},
                                         Rates{22050, 48000}, Rates{8000, 96000}, Rates{192000, 8000}));

TEST_P(OrvAudioPlayerRange, IsPlayedToTheFrame) {
  const auto [begin, end] = GetParam();
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(begin, end));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(sourceFrames(begin, std::min(end, 5000U), 2)));
}

TEST_P(OrvAudioPlayerRange, IsPlayedToTheFrameThroughAProcessor) {
  const auto [begin, end] = GetParam();
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  player->setAudioProcessor(OrvSoftwareVolumeControl::init());
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(begin, end));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(sourceFrames(begin, std::min(end, 5000U), 2)));
}

INSTANTIATE_TEST_SUITE_P(Ranges, OrvAudioPlayerRange,
                         testing::Values(Range{0, 5000}, Range{1, 2}, Range{441, 1000}, Range{63, 129},
                                         Range{1024, 2048}, Range{999, 4999}, Range{4999, 5000}, Range{100, 99999},
                                         Range{2500, 2500}));

TEST_F(OrvAudioPlayerPlaying, TheLastCycleOfARangeIsPlayedToItsEnd) {
  playStereo(5000);
  ASSERT_TRUE(player->playFromFrame_endFrame(0, 100));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(sourceFrames(0, 128, 2)));
}

TEST_F(OrvAudioPlayerPlaying, AnEndPastTheFileIsTheEndOfTheFile) {
  playStereo(500);
  ASSERT_TRUE(player->playFromFrame_endFrame(0, 0xFFFFFFFF));
  EXPECT_EQ(player->playOut(), player->calculateFileFrameOffset(player->calculateLogicalFrameOffset(500)));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerPlaying, AnEndBeforeTheBeginIsRefusedAndChangesNothing) {
  playStereo(500);
  const Listening listening;
  player->setCurrentFrameOffset(100);
  EXPECT_FALSE(player->playFromFrame_endFrame(10, 5));
  EXPECT_FALSE(player->playExactlyFromFrame_endFrame(10, 5));
  pump();
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(player->currentFrameOffset(), 100U);
  EXPECT_EQ(listening.count(OrvAudioPlayerStartedPlayingNotification), 0U);
}

TEST_F(OrvAudioPlayerPlaying, AfterTheEndOfTheFileReadsFailUntilThePositionWasAsked) {
  playStereo(500);
  ASSERT_TRUE(player->playFromFrame(0));
  playOut();
  ASSERT_TRUE(player->playFromFrame(0));  // plays, but nothing
  listen();
  cycles(2);
  EXPECT_FALSE(player->isPlaying());
  EXPECT_TRUE(isSilent(capture->samples));

  player->currentFrameOffset();
  capture->samples.clear();
  ASSERT_TRUE(player->playFromFrame(0));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerPlaying, PlayAndTheReportForgetTheEndOfTheFile) {
  playStereo(500);
  for (const bool byReport : {false, true}) {
    player->playFromFrame(0);
    playOut();
    player->rewind();
    if (byReport) {
      player->dumpDebugInfo();
      ASSERT_TRUE(player->playFromFrame(0));
    } else {
      ASSERT_TRUE(player->play());
    }
    listen();
    capture->samples.clear();
    playOut();
    EXPECT_EQ(capture->samples, followedBySilence(source));
    player->currentFrameOffset();
  }
}

TEST_F(OrvAudioPlayerPlaying, ExactPlayingStartsAgainAfterTheEnd) {
  playStereo(500);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(player->playExactlyFromFrame_endFrame(0, 500));
    listen();
    capture->samples.clear();
    playOut();
    EXPECT_EQ(capture->samples, followedBySilence(source));
  }
}

TEST_F(OrvAudioPlayerPlaying, WhatWasStoppedGoesOnWhereItWas) {
  playStereo(5000);
  ASSERT_TRUE(player->play());
  listen();
  cycles(21);
  ASSERT_TRUE(player->stop());
  EXPECT_FALSE(device->isRunning());
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(21 * kFrames, 5000));
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}

TEST_F(OrvAudioPlayerPlaying, TheFirstCycleAfterAMoveIsTheNewPlace) {
  plug(2, 44100, 512);
  makePlayer(2, 44100, 44100);
  ASSERT_TRUE(player->play());
  listen();
  cycles(3);
  for (const std::uint32_t place : {30000U, 10U, 44000U, 20000U}) {
    player->setCurrentFrameOffset(place);
    const std::uint32_t at = player->currentFrameOffset();
    const std::uint64_t late = player->lateCycles();
    capture->samples.clear();
    hardware->stepDevice(deviceID);
    EXPECT_EQ(player->lateCycles(), late);
    const std::uint32_t end = std::min(at + 512, 44100U);
    EXPECT_EQ(capture->samples, followedBySilence(sourceFrames(at, end, 2)));
  }
}

TEST_F(OrvAudioPlayerPlaying, AMoveInALongFileIsThereWithTheNextCycle) {
  plug(2, 44100, 512);
  constexpr std::uint32_t kLength = 44100 * 7200;
  constexpr std::uint32_t kPlace = 44100 * 7000;
  constexpr std::uint32_t kFrameBytes = 4;
  const auto there = noise(2 * 512);
  const std::string path = write("long.wav", 2, 44100, there, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  growHeader(path, kLength * kFrameBytes, kPlace * kFrameBytes);
  makePlayer(path);
  ASSERT_EQ(player->lengthInFrames(), kLength);
  ASSERT_TRUE(player->play());
  cycles(5);
  listen();
  ASSERT_TRUE(player->playExactlyFromFrame_endFrame(kPlace, kPlace + 512));
  hardware->stepDevice(deviceID);
  EXPECT_EQ(capture->samples, there);
}

TEST_F(OrvAudioPlayerPlaying, RewindingMovesToTheBegin) {
  playStereo(5000);
  ASSERT_TRUE(player->play());
  cycles(5);
  player->rewind();
  EXPECT_EQ(player->currentFrameOffset(), 0U);
  listen();
  cycles(5);
  EXPECT_EQ(capture->samples, sourceFrames(0, 5 * kFrames, 2));
  player->stop();
  player->rewind();
  EXPECT_EQ(player->currentFrameOffset(), 0U);
}

TEST_F(OrvAudioPlayerPlaying, PlayingAnewWhilePlayingIsStoppedByOneStop) {
  playStereo(5000);
  ASSERT_TRUE(player->play());
  cycles(3);
  ASSERT_TRUE(player->playFromFrame(0));
  listen();
  cycles(3);
  EXPECT_EQ(capture->samples, sourceFrames(0, 3 * kFrames, 2));
  EXPECT_TRUE(player->stop());
  EXPECT_FALSE(device->isRunning());
}

TEST_F(OrvAudioPlayerPlaying, TheEndStopsTheDeviceAndLeavesTheSubscription) {
  playStereo(100);
  ASSERT_TRUE(player->play());
  playOut();
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 1U);
  EXPECT_TRUE(player->stop());  // does not play, so that nothing is done
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 1U);
  player = nullptr;
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 0U);
}

TEST_F(OrvAudioPlayerPlaying, StoppingTakesTheSubscriptionBack) {
  playStereo(5000);
  ASSERT_TRUE(player->play());
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 1U);
  EXPECT_TRUE(player->stop());
  EXPECT_EQ(device->audioSubscribersForInput(false).size(), 0U);
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerPlaying, AnotherFileOfTheSameFormatIsPlayedAsLongAsItIs) {
  playStereo(200);
  ASSERT_TRUE(player->play());
  cycles(2);
  const auto longer = noise(2 * 3000);
  player->setAudioFilePath(write("longer.aiff", 2, 44100, longer));
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(player->currentFrameOffset(), 0U);
  ASSERT_TRUE(player->play());
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(longer));
}

TEST_F(OrvAudioPlayerPlaying, AnotherDeviceIsPlayedOnAfterAStop) {
  playStereo(3000);
  const auto first = device;
  ASSERT_TRUE(player->play());
  plug(1, 22050, 100);
  player->setOutputDevice(device);
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(first->isRunning());
  EXPECT_EQ(first->audioSubscribersForInput(false).size(), 0U);
  EXPECT_EQ(player->outputDeviceID(), deviceID);
  EXPECT_EQ(player->calculateLogicalFrameOffset(44100), 22050U);
  ASSERT_TRUE(player->play());
  playOut();
}

TEST_F(OrvAudioPlayerPlaying, AChangeOfTheDevicesCycleIsFollowedWhenPlayingBegins) {
  playStereo(5000);
  ASSERT_EQ(hardware->setBufferFrameSize(deviceID, 100), noErr);
  orv::waitForHardwareNotifications();
  ASSERT_TRUE(player->play());
  listen();
  playOut();
  EXPECT_EQ(capture->samples, followedBySilence(source));
}
