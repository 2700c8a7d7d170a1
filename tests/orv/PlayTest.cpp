#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <tuple>

#include "PlayFixture.h"

namespace orv::test {
namespace {

constexpr std::int64_t kFrames = 20011;

/// Tones of another pitch in each channel.
double toneAt(double seconds, int channel) {
  return 0.3 * std::sin(2 * std::numbers::pi * (997 + 100 * channel) * seconds) +
         0.3 * std::sin(2 * std::numbers::pi * (7919 - 100 * channel) * seconds + 1);
}

Recording tones(std::int64_t frames, int channels, int rate) {
  Recording recording{rate, channels, {}};
  for (std::int64_t frame = 0; frame < frames; ++frame) {
    for (int channel = 0; channel < channels; ++channel) {
      recording.samples.push_back(toneAt(static_cast<double>(frame) / rate, channel));
    }
  }
  return recording;
}

using Shape = std::tuple<int, int>;  // rate and channels of the recording
class OrvPlayOf : public PlayFixture, public testing::WithParamInterface<Shape> {
 protected:
  void SetUp() override {
    std::tie(rate, channels) = GetParam();
    writeRecording(path, noise(kFrames, channels, rate));
    source = readIndependently(path).value();
  }
  std::vector<double> sourceFor(int deviceChannel) const {
    return channelOf(source, channels == 1 ? 0 : deviceChannel);
  }

  int rate = 0;
  int channels = 0;
  const std::string path = scratch / "music.aiff";
  IndependentReading source;
};

/// As the volume control does it.
std::vector<double> louder(std::vector<double> samples, double decibels) {
  const auto factor = static_cast<float>(std::pow(10.0, decibels / 20));
  for (double& sample : samples) {
    sample = static_cast<double>(static_cast<float>(sample) * factor);
  }
  return samples;
}

class OrvPlay : public PlayFixture {};

}  // namespace

TEST_P(OrvPlayOf, EverySampleIsHeardAsItIs) {
  describe(rate, 2);
  const IndependentReading heard = heardOf({path});
  EXPECT_EQ(heard.sampleRate, rate);
  expectThenSilence(channelOf(heard, 0), sourceFor(0));
  expectThenSilence(channelOf(heard, 1), sourceFor(1));
}

TEST_P(OrvPlayOf, ARangeIsHeardToTheFrameAndItsGainApplied) {
  describe(rate, 2);
  const IndependentReading heard = heardOf({path, "--from", "1001", "--to", "17777", "--gain-db", "-6.5"});
  for (const int channel : {0, 1}) {
    expectThenSilence(channelOf(heard, channel), louder(cut(sourceFor(channel), 1001, 17777), -6.5));
  }
}

TEST_P(OrvPlayOf, ADeviceOfSixChannelsPlaysTheFirstTwo) {
  describe(rate, 6);
  const IndependentReading heard = heardOf({path});
  ASSERT_EQ(heard.channels, 6);
  for (const int channel : {0, 1}) {
    expectThenSilence(channelOf(heard, channel), sourceFor(channel));
  }
  for (int channel = 2; channel < 6; ++channel) {
    EXPECT_TRUE(isSilent(channelOf(heard, channel)));
  }
}

TEST_P(OrvPlayOf, TheGraphPlaysARangeInAllChannelsOfTheDevice) {
  describe(rate, channels);
  const IndependentReading heard = heardOf({path, "--graph", "--from", "1001", "--to", "17777", "--gain-db", "-6.5"});
  for (int channel = 0; channel < channels; ++channel) {
    const auto samples = channelOf(heard, channel);
    // The device runs before the graph does.
    const auto begin = std::find_if(samples.begin(), samples.end(), [](double sample) { return sample != 0; });
    expectThenSilence({begin, samples.end()}, louder(cut(channelOf(source, channel), 1001, 17777), -6.5));
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, OrvPlayOf,
                         testing::Combine(testing::Values(44100, 48000, 96000), testing::Values(1, 2, 6)),
                         [](const auto& each) {
                           return std::to_string(std::get<0>(each.param)) + "HzChannels" +
                                  std::to_string(std::get<1>(each.param));
                         });

using Rates = std::tuple<int, int>;  // of the recording and the device
class OrvPlayAtRates : public PlayFixture, public testing::WithParamInterface<Rates> {};

TEST_P(OrvPlayAtRates, AnotherRateIsConvertedWithoutDelay) {
  const auto [rate, deviceRate] = GetParam();
  const std::string path = scratch / "tones.wav";
  constexpr int length = 30000;
  writeRecording(path, tones(length, 2, rate), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  describe(deviceRate, 2);
  const IndependentReading heard = heardOf({path, "--from", "1470", "--to", "25000"});
  const double begin = 1470.0 / rate;
  const auto frames = static_cast<std::size_t>((25000 - 1470.0) * deviceRate / rate);
  constexpr std::size_t edge = 500;  // where the resampler hears the silence around the range
  for (const int channel : {0, 1}) {
    const auto samples = channelOf(heard, channel);
    double signal = 0;
    double error = 0;
    for (std::size_t i = edge; i < frames - edge; ++i) {
      const double wanted = toneAt(begin + static_cast<double>(i) / deviceRate, channel);
      signal += wanted * wanted;
      error += (samples.at(i) - wanted) * (samples.at(i) - wanted);
    }
    EXPECT_GT(10 * std::log10(signal / error), 90);
    EXPECT_TRUE(isSilent(cut(samples, frames + 1, samples.size())));
  }
}

INSTANTIATE_TEST_SUITE_P(Pairs, OrvPlayAtRates,
                         testing::Values(Rates{44100, 48000}, Rates{48000, 44100}, Rates{96000, 44100},
                                         Rates{44100, 96000}, Rates{22050, 48000}),
                         [](const auto& each) {
                           return std::to_string(std::get<0>(each.param)) + "On" +
                                  std::to_string(std::get<1>(each.param));
                         });

TEST_F(OrvPlay, InRealTimeEveryFrameIsHeard) {
  const std::string path = scratch / "music.aiff";
  writeRecording(path, noise(15000, 2, 44100));
  describe(44100, 2, "realTime");
  const IndependentReading heard = heardOf({path});
  const IndependentReading source = readIndependently(path).value();
  for (const int channel : {0, 1}) {
    expectThenSilence(channelOf(heard, channel), channelOf(source, channel));
  }
}

TEST_F(OrvPlay, ALongRecordingHasNoGapHoweverFastTheDeviceIs) {
  const std::string path = scratch / "long.aiff";
  writeRecording(path, noise(std::int64_t{20} * 44100, 2, 44100));
  const IndependentReading source = readIndependently(path).value();
  for (const char* clock : {"asFastAsItGoes", "accelerated"}) {
    describe(44100, 2, clock);
    auto description = nlohmann::json::parse(readWholeFile(devices));
    description["acceleration"] = 200;
    writeWholeFile(devices, description.dump());
    expectThenSilence(channelOf(heardOf({path}), 0), channelOf(source, 0));
  }
}

TEST_F(OrvPlay, FilesOfEveryKindArePlayed) {
  describe(44100, 2);
  const Recording music = noise(9999, 2, 44100);
  for (const auto& [name, format] :
       std::vector<std::pair<std::string, int>>{{"music.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
                                                {"music.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
                                                {"music.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
                                                {"music.aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT}}) {
    writeRecording(scratch / name, music, format);
    const IndependentReading source = readIndependently(scratch / name).value();
    const IndependentReading heard = heardOf({scratch / name});
    expectThenSilence(channelOf(heard, 1), channelOf(source, 1));
  }
}

TEST_F(OrvPlay, ATrackIsPlayedAndARangeCountsFromItsBegin) {
  describe(44100, 2);
  const Recording music = noise(44100, 2, 44100);
  for (const char* name : {"music.aiff", "music.wav"}) {  // tracks inside it, and beside it
    const std::string path = scratch / name;
    writeRecording(path, music, name[6] == 'a' ? SF_FORMAT_AIFF | SF_FORMAT_PCM_16 : SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ASSERT_EQ(runOrv({"tracks", path, "--add", "One:0:10000", "--add", "Two:12000:40000"}).status, 0);
    const auto source = channelOf(readIndependently(path).value(), 0);
    expectThenSilence(channelOf(heardOf({path, "--track", "2"}), 0), cut(source, 12000, 40000));
    expectThenSilence(channelOf(heardOf({path, "--track", "2", "--from", "100ms", "--to", "20000"}), 0),
                      cut(source, 12000 + 4410, 32000));
  }
}

TEST_F(OrvPlay, TheDeviceIsTheOneThatIsNamed) {
  const std::string path = scratch / "music.aiff";
  writeRecording(path, noise(5000, 2, 44100));
  const std::string other = scratch / "other.wav";
  const nlohmann::json stereo = {{"streams", {{{"channels", 2}}}}};
  const nlohmann::json both = {
      {{"uid", "first"}, {"output", stereo}},
      {{"uid", "second"}, {"name", "Headphones"}, {"output", stereo}, {"sink", {{"file", other}}}}};
  writeWholeFile(devices, nlohmann::json({{"clock", "asFastAsItGoes"}, {"devices", both}}).dump());
  const auto result =
      runOrv({"play", path, "--hardware", "virtual", "--virtual-devices", devices, "--device", "Headphones"});
  ASSERT_EQ(result.status, 0) << result.errors;
  expectThenSilence(channelOf(readIndependently(other).value(), 0), channelOf(readIndependently(path).value(), 0));
}

TEST_F(OrvPlay, WithoutATerminalOneLineSaysHowFarItCame) {
  const std::string path = scratch / "music.aiff";
  writeRecording(path, noise(22050, 2, 44100));
  describe(44100, 2);
  EXPECT_EQ(runOrv(command({path})).output, path + ": played to the end, 0:00.500\n");
  EXPECT_EQ(runOrv(command({path, "--quiet"})).output, "");
}

}  // namespace orv::test
