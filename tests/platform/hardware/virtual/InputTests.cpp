#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "OrvPlatform/AudioFile.h"
#include "VirtualHardwareTestSupport.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class FileInput : public testing::Test {
 protected:
  static VirtualInput files(std::vector<std::string> paths, double gapSeconds = 0.0) {
    VirtualInput input;
    input.kind = VirtualInput::Kind::files;
    input.files = std::move(paths);
    input.gapSeconds = gapSeconds;
    return input;
  }

  AudioDeviceID plug(const VirtualInput& source, std::uint32_t channels = 2, double rate = 44100.0,
                     std::uint32_t frames = 64) {
    VirtualDevice device = simpleDevice("a", channels, rate, frames);
    device.source = source;
    std::string problem;
    const AudioDeviceID id = hardware_->plug(device, &problem);
    EXPECT_NE(id, 0U) << problem;
    return id;
  }

  /// Runs the device for so many cycles.
  std::vector<float> hear(AudioDeviceID device, std::size_t cycles) {
    RecordingSink sink;
    EXPECT_EQ(hardware_->start(device, &sink), noErr);
    EXPECT_EQ(hardware_->step(cycles), cycles);
    EXPECT_EQ(hardware_->stop(device), noErr);
    return sink.input();
  }

  /// `samples` and then silence, `count` in all.
  static std::vector<float> padded(std::vector<float> samples, std::size_t count) {
    samples.resize(count);
    return samples;
  }

  TemporaryDirectory folder_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
};

TEST_F(FileInput, SamplesOf16And24BitsArriveBitExactToTheLastFrameAndSilenceFollows) {
  for (const std::uint32_t bits : {16U, 24U}) {
    for (const char* const type : {".wav", ".aiff"}) {
      const std::string path = folder_ / (std::to_string(bits) + type);
      const std::vector<float> written = writeAudioFile(path, bits, 2, 40007);
      hardware_ = handHardware();
      const AudioDeviceID device = plug(files({path}));
      EXPECT_FALSE(hardware_->inputIsAtEnd(device));
      EXPECT_EQ(hear(device, 700), padded(written, 700 * 128)) << path;
      EXPECT_TRUE(hardware_->inputIsAtEnd(device));
    }
  }
}

TEST_F(FileInput, AFileLongerThanTheReadAheadLosesNothing) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 300000);
  EXPECT_EQ(hear(plug(files({folder_ / "a.wav"}), 2, 44100.0, 4096), 75), padded(written, 75 * 8192));
}

TEST_F(FileInput, MonoIsHeardOnAllChannels) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 1, 64);
  const std::vector<float> heard = hear(plug(files({folder_ / "a.wav"}), 3), 1);
  for (std::size_t i = 0; i < heard.size(); ++i) {
    EXPECT_EQ(heard[i], written[i / 3]);
  }
}

TEST_F(FileInput, ChannelsThatTheFileLacksAreSilent) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 64);
  const std::vector<float> heard = hear(plug(files({folder_ / "a.wav"}), 4), 1);
  for (std::size_t frame = 0; frame < 64; ++frame) {
    EXPECT_EQ(heard[frame * 4], written[frame * 2]);
    EXPECT_EQ(heard[frame * 4 + 1], written[frame * 2 + 1]);
    EXPECT_EQ(heard[frame * 4 + 2], 0.0F);
    EXPECT_EQ(heard[frame * 4 + 3], 0.0F);
  }
}

TEST_F(FileInput, FilesFollowEachOtherWithTheGapBetweenThem) {
  const std::vector<float> first = writeAudioFile(folder_ / "a.wav", 16, 2, 100, 44100.0, 1);
  const std::vector<float> second = writeAudioFile(folder_ / "b.aiff", 24, 2, 50, 44100.0, 2);
  const double gap = 441.0 / 44100.0;
  std::vector<float> expected = padded(first, (100 + 441) * 2);
  expected.insert(expected.end(), second.begin(), second.end());
  EXPECT_EQ(hear(plug(files({folder_ / "a.wav", folder_ / "b.aiff"}, gap)), 10), padded(expected, 10 * 128));
}

TEST_F(FileInput, RepeatsFromTheBegin) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 100);
  VirtualInput input = files({folder_ / "a.wav"});
  input.repeats = true;
  const AudioDeviceID device = plug(input);
  const std::vector<float> heard = hear(device, 20);
  for (std::size_t i = 0; i < heard.size(); ++i) {
    ASSERT_EQ(heard[i], written[i % 200]) << i;
  }
  EXPECT_FALSE(hardware_->inputIsAtEnd(device));
}

TEST_F(FileInput, FilesWithoutFramesThatRepeatComeToAnEnd) {
  writeAudioFile(folder_ / "a.wav", 16, 2, 0);
  VirtualInput input = files({folder_ / "a.wav", folder_ / "a.wav"});
  input.repeats = true;
  const AudioDeviceID device = plug(input);
  EXPECT_EQ(hear(device, 2), std::vector<float>(256, 0.0F));
  EXPECT_TRUE(hardware_->inputIsAtEnd(device));
}

TEST_F(FileInput, GoesOnWhereItWasAfterAStop) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 256);
  const AudioDeviceID device = plug(files({folder_ / "a.wav"}));
  std::vector<float> heard = hear(device, 2);
  const std::vector<float> rest = hear(device, 2);
  heard.insert(heard.end(), rest.begin(), rest.end());
  EXPECT_EQ(heard, written);
}

TEST_F(FileInput, GoesOnThroughAChangeOfTheBufferSize) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 64 + 256);
  const AudioDeviceID device = plug(files({folder_ / "a.wav"}));
  RecordingSink sink;
  hardware_->start(device, &sink);
  hardware_->step();
  hardware_->setBufferFrameSize(device, 256);
  hardware_->step();
  EXPECT_EQ(sink.input(), written);
}

/// The sine's frequency as the number of its rising zero crossings a second.
double crossingsPerSecond(const std::vector<float>& samples, std::uint32_t channels, double rate) {
  double crossings = 0;
  for (std::size_t i = channels; i < samples.size(); i += channels) {
    crossings += samples[i - channels] < 0.0F && samples[i] >= 0.0F ? 1 : 0;
  }
  return crossings * rate * channels / static_cast<double>(samples.size());
}

void writeSine(const std::string& path, double rate, std::size_t frames) {
  std::unique_ptr<AudioFileSession> session;
  ASSERT_EQ(audioFileService()->create(path, kAudioFileWAVEType, pcm(1, 32, rate, true), &session), noErr);
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    samples[i] = static_cast<float>(0.5 * std::sin(2.0 * M_PI * 440.0 * static_cast<double>(i) / rate));
  }
  auto size = static_cast<std::uint32_t>(frames * sizeof(float));
  ASSERT_EQ(session->writeBytes(0, &size, samples.data()), noErr);
  ASSERT_EQ(session->close(), noErr);
}

TEST_F(FileInput, AnotherRateIsConvertedToTheDevices) {
  writeSine(folder_ / "a.wav", 48000.0, 48000);
  const std::vector<float> heard = hear(plug(files({folder_ / "a.wav"}), 1, 44100.0, 441), 100);
  EXPECT_NEAR(crossingsPerSecond(heard, 1, 44100.0), 440.0, 2.0);
}

TEST_F(FileInput, AnotherRateIsDeliveredToTheLastFrame) {
  writeSine(folder_ / "a.wav", 48000.0, 48000);
  const AudioDeviceID device = plug(files({folder_ / "a.wav"}), 1, 44100.0, 441);
  const std::vector<float> heard = hear(device, 101);
  EXPECT_TRUE(hardware_->inputIsAtEnd(device));
  EXPECT_TRUE(std::any_of(heard.begin() + 44090, heard.begin() + 44100, [](float sample) { return sample != 0.0F; }));
  EXPECT_TRUE(std::all_of(heard.begin() + 44110, heard.end(), [](float sample) { return sample == 0.0F; }));
}

TEST_F(FileInput, AChangeOfTheRateGoesOnAtTheSamePlaceInTheFile) {
  writeSine(folder_ / "a.wav", 44100.0, 44100 * 4);
  const AudioDeviceID device = plug(files({folder_ / "a.wav"}), 1, 44100.0, 441);
  RecordingSink sink;
  hardware_->start(device, &sink);
  hardware_->step(100);
  EXPECT_EQ(hardware_->setNominalSampleRate(device, 88200.0), noErr);
  hardware_->step(200);
  const std::vector<float> heard = sink.input();
  for (std::size_t i = 1000; i < 88200; i += 97) {
    const double second = 1.0 + static_cast<double>(i) / 88200.0;
    ASSERT_NEAR(heard[44100 + i], 0.5 * std::sin(2.0 * M_PI * 440.0 * second), 1e-3) << i;
  }
}

TEST_F(FileInput, AChangeOfTheRateInAGapKeepsWhatIsLeftOfIt) {
  writeAudioFile(folder_ / "a.wav", 16, 1, 441);
  writeSine(folder_ / "b.wav", 88200.0, 4410);
  const AudioDeviceID device = plug(files({folder_ / "a.wav", folder_ / "b.wav"}, 0.1), 1, 44100.0, 441);
  RecordingSink sink;
  hardware_->start(device, &sink);
  hardware_->step(6);  // 10 ms of the first file, half of the gap
  EXPECT_EQ(hardware_->setNominalSampleRate(device, 88200.0), noErr);
  hardware_->step(20);
  const std::vector<float> heard = sink.input();
  const auto second = std::find_if(heard.begin() + 441, heard.end(), [](float sample) { return sample != 0.0F; });
  // The sine's first sample is 0.
  EXPECT_EQ(second - heard.begin(), 6 * 441 + 4410 + 1);
}

TEST_F(FileInput, AFileThatCannotBeOpenedIsAProblemAndChangesNothing) {
  std::string problem;
  VirtualDevice device = simpleDevice("b");
  device.source = files({folder_ / "missing.wav"});
  EXPECT_EQ(hardware_->plug(device, &problem), 0U);
  EXPECT_NE(problem.find("missing.wav"), std::string::npos) << problem;
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 64);
  const AudioDeviceID id = plug(files({folder_ / "a.wav"}));
  EXPECT_FALSE(hardware_->setInput(id, files({folder_ / "missing.wav"}), &problem));
  EXPECT_EQ(hear(id, 1), written);
}

TEST_F(FileInput, AFileThatIsGoneWhenItsTurnComesIsPassedOver) {
  const LogCapture log;
  const std::vector<float> first = writeAudioFile(folder_ / "a.wav", 16, 2, 100000);
  writeAudioFile(folder_ / "b.wav", 16, 2, 64);
  const AudioDeviceID device = plug(files({folder_ / "a.wav", folder_ / "b.wav"}), 2, 44100.0, 4096);
  writeWholeFile(folder_ / "b.wav", "no audio");
  EXPECT_EQ(hear(device, 25), padded(first, 25 * 8192));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_NE(log.lines()[0].find("b.wav"), std::string::npos);
}

TEST_F(FileInput, AnotherInputIsHeardFromTheNextCycleOn) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 2, 64);
  const AudioDeviceID device = plug({});
  RecordingSink sink;
  hardware_->start(device, &sink);
  hardware_->step();
  std::string problem;
  EXPECT_TRUE(hardware_->setInput(device, files({folder_ / "a.wav"}), &problem)) << problem;
  hardware_->step();
  EXPECT_EQ(sink.cycles()[0].input[0], std::vector<float>(128, 0.0F));
  EXPECT_EQ(sink.cycles()[1].input[0], written);
}

TEST_F(FileInput, SeveralStreamsShareTheChannelsOfTheSection) {
  const std::vector<float> written = writeAudioFile(folder_ / "a.wav", 16, 3, 64);
  VirtualDevice described = simpleDevice("a");
  described.input.streams = {{{pcm(1, 16)}, 0}, {{pcm(2, 16)}, 0}};
  described.source = files({folder_ / "a.wav"});
  const AudioDeviceID device = hardware_->plug(described);
  RecordingSink sink;
  hardware_->start(device, &sink);
  hardware_->step();
  for (std::size_t frame = 0; frame < 64; ++frame) {
    EXPECT_EQ(sink.cycles()[0].input[0][frame], written[frame * 3]);
    EXPECT_EQ(sink.cycles()[0].input[1][frame * 2], written[frame * 3 + 1]);
    EXPECT_EQ(sink.cycles()[0].input[1][frame * 2 + 1], written[frame * 3 + 2]);
  }
}

TEST_F(FileInput, IsRefusedWhereThereIsNoInputAndForADeviceThatIsNotThere) {
  VirtualDevice outputOnly = simpleDevice("out");
  outputOnly.input = {};
  std::string problem;
  EXPECT_FALSE(hardware_->setInput(hardware_->plug(outputOnly), {}, &problem));
  EXPECT_EQ(problem, "the device has no input");
  EXPECT_FALSE(hardware_->setInput(12345, {}, &problem));
  EXPECT_EQ(problem, "the device is not there");
}

}  // namespace
}  // namespace orv::test
