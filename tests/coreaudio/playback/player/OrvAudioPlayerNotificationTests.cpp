#include <OrvCoreAudio/OrvVUMeterDataProvider.h>

#include "PlayerFixture.h"

namespace {

class OrvAudioPlayerNotifications : public PlayerFixture {
 protected:
  void playStereo(std::size_t frames) {
    plug(2, 44100);
    makePlayer(2, 44100, frames);
    pump();
  }
  /// Of the player and the meters, in their order, the high-rate ones left out.
  static std::vector<std::string> states(const Listening& listening) {
    std::vector<std::string> names;
    for (const Listening::Heard& one : listening.heard) {
      const bool isOurs = one.name.rfind("OrvAudioPlayer", 0) == 0 || one.name.rfind("OrvVUMeter", 0) == 0;
      const bool isHighRate = one.name == OrvAudioPlayerPlayedSampleNotification ||
                              one.name == OrvVUMeterDataProviderNewDataIsAvailableNotification;
      if (isOurs && !isHighRate) {
        names.push_back(one.name);
      }
    }
    return names;
  }
  /// Played-sample notifications and peaks that each cycle brings.
  std::vector<std::pair<std::size_t, std::size_t>> perCycle(std::size_t count) {
    std::vector<std::pair<std::size_t, std::size_t>> all;
    for (std::size_t i = 0; i < count; ++i) {
      const Listening listening;
      cycle();
      pump();
      all.emplace_back(listening.count(OrvAudioPlayerPlayedSampleNotification),
                       listening.count(OrvVUMeterDataProviderNewDataIsAvailableNotification));
    }
    return all;
  }
  using Counts = std::vector<std::pair<std::size_t, std::size_t>>;
};

}  // namespace

TEST_F(OrvAudioPlayerNotifications, EachNameIsItsText) {
  EXPECT_STREQ(OrvAudioPlayerFinishedPlayingNotification, "OrvAudioPlayerFinishedPlayingNotification");
  EXPECT_STREQ(OrvAudioPlayerStartedPlayingNotification, "OrvAudioPlayerStartedPlayingNotification");
  EXPECT_STREQ(OrvAudioPlayerStoppedPlayingNotification, "OrvAudioPlayerStoppedPlayingNotification");
  EXPECT_STREQ(OrvAudioPlayerPlayedSampleNotification, "OrvAudioPlayerPlayedSampleNotification");
}

TEST_F(OrvAudioPlayerNotifications, StartAndStopAreToldTogetherWithTheMeters) {
  playStereo(5000);
  const Listening listening;
  player->play();
  player->stop();
  EXPECT_TRUE(listening.heard.empty());  // on the main thread, not at once
  pump();
  EXPECT_EQ(
      states(listening),
      (std::vector<std::string>{OrvAudioPlayerStartedPlayingNotification, OrvVUMeterDataProviderDidStartNotification,
                                OrvAudioPlayerStoppedPlayingNotification, OrvVUMeterDataProviderDidStopNotification}));
  for (const Listening::Heard& one : listening.heard) {
    if (one.name == OrvAudioPlayerStartedPlayingNotification) {
      EXPECT_EQ(one.object, player);
    }
  }
}

TEST_F(OrvAudioPlayerNotifications, TheEndIsToldByTheCycleAfterTheLast) {
  playStereo(kFrames);
  player->play();
  const Listening listening;
  cycle();
  pump();
  EXPECT_EQ(listening.count(OrvAudioPlayerFinishedPlayingNotification), 0U);
  cycle();
  pump();
  EXPECT_EQ(listening.count(OrvAudioPlayerFinishedPlayingNotification), 1U);
  EXPECT_EQ(listening.count(OrvAudioPlayerStoppedPlayingNotification), 0U);
}

TEST_F(OrvAudioPlayerNotifications, EachBitOfTheMaskSwitchesItsOwn) {
  playStereo(5000);
  for (const std::uint32_t mask : {0U, 1U, 2U, 4U, 8U}) {
    player->setEventMask(mask);
    EXPECT_EQ(player->eventMask(), mask);
    const Listening listening;
    player->playFromFrame_endFrame(0, 2);
    hardware->step(2);
    pump();
    player->playFromFrame_endFrame(0, 2);
    player->stop();
    pump();
    EXPECT_EQ(listening.count(OrvAudioPlayerFinishedPlayingNotification), mask == 1 ? 1U : 0U);
    EXPECT_EQ(listening.count(OrvAudioPlayerStartedPlayingNotification), mask == 2 ? 2U : 0U);
    EXPECT_EQ(listening.count(OrvVUMeterDataProviderDidStartNotification), mask == 2 ? 2U : 0U);
    EXPECT_EQ(listening.count(OrvAudioPlayerStoppedPlayingNotification), mask == 4 ? 1U : 0U);
    EXPECT_EQ(listening.count(OrvVUMeterDataProviderDidStopNotification), mask == 4 ? 1U : 0U);
    EXPECT_EQ(listening.count(OrvAudioPlayerPlayedSampleNotification), mask == 8 ? 1U : 0U);
  }
}

TEST_F(OrvAudioPlayerNotifications, EveryCycleBringsASampleAndPeaksAtIntervalOne) {
  playStereo(5000);
  player->play();
  EXPECT_EQ(perCycle(3), (Counts{{1, 1}, {1, 1}, {1, 1}}));
}

TEST_F(OrvAudioPlayerNotifications, SamplesAndPeaksShareOneCount) {
  playStereo(5000);
  player->setNotificationInterval(2);
  player->play();
  EXPECT_EQ(perCycle(4), (Counts{{1, 0}, {1, 0}, {1, 0}, {1, 0}}));
  player->stop();
  pump();
}

TEST_F(OrvAudioPlayerNotifications, AtIntervalThreeSamplesAndPeaksTakeTurns) {
  playStereo(5000);
  player->setNotificationInterval(3);
  player->play();
  EXPECT_EQ(perCycle(5), (Counts{{1, 0}, {0, 1}, {0, 0}, {1, 0}, {0, 1}}));
}

TEST_F(OrvAudioPlayerNotifications, PeaksAloneComeInEveryNthCycle) {
  playStereo(5000);
  player->setEventMask(7);
  player->setNotificationInterval(3);
  player->play();
  EXPECT_EQ(perCycle(7), (Counts{{0, 1}, {0, 0}, {0, 0}, {0, 1}, {0, 0}, {0, 0}, {0, 1}}));
}

TEST_F(OrvAudioPlayerNotifications, AtIntervalZeroNeitherSamplesNorPeaksCome) {
  playStereo(5000);
  player->setNotificationInterval(0);
  player->play();
  EXPECT_EQ(perCycle(3), (Counts{{0, 0}, {0, 0}, {0, 0}}));
}

TEST_F(OrvAudioPlayerNotifications, PeaksAreOfWhatIsHeard) {
  plug(2, 44100);
  std::vector<float> samples(2 * kFrames);
  for (std::size_t i = 0; i < samples.size(); i += 2) {
    samples[i] = 0.25F;
    samples[i + 1] = -0.5F;
  }
  samples[20] = 0.75F;
  makePlayer(write("peaks.wav", 2, 44100, samples, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
  player->play();
  const Listening listening;
  cycle();
  pump();
  std::size_t peaks = 0;
  for (const Listening::Heard& one : listening.heard) {
    if (const auto data = std::dynamic_pointer_cast<OrvVUMeterData>(one.object)) {
      ++peaks;
      EXPECT_EQ(data->floatValueForChannel(1), 0.75F);
      EXPECT_EQ(data->floatValueForChannel(2), 0.0F);  // below zero throughout
    }
  }
  EXPECT_EQ(peaks, 1U);
}

TEST_F(OrvAudioPlayerNotifications, ADeletedPlayerSaysNothing) {
  playStereo(5000);
  player->play();
  cycle();
  pump();
  const Listening listening;
  player = nullptr;
  pump();
  EXPECT_TRUE(states(listening).empty());
  EXPECT_FALSE(device->isRunning());
}
