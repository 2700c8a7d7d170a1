#include <gtest/gtest.h>
#include <sndfile.h>

#include "VirtualHardwareTestSupport.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

class Capture : public testing::Test {
 protected:
  AudioDeviceID plug(const std::string& file, std::uint32_t channels = 2) {
    VirtualDevice device = simpleDevice("a", channels);
    device.sink.file = file;
    std::string problem;
    const AudioDeviceID id = hardware_->plug(device, &problem);
    EXPECT_NE(id, 0U) << problem;
    return id;
  }

  /// What an independent reader finds in the file.
  static std::vector<float> samplesOf(const std::string& path) {
    const auto reading = readIndependently(path);
    if (!reading) {
      ADD_FAILURE() << path << " can't be read";
      return {};
    }
    EXPECT_EQ(reading->subFormat, SF_FORMAT_FLOAT);
    return {reading->doubles.begin(), reading->doubles.end()};
  }

  TemporaryDirectory folder_;
  std::shared_ptr<VirtualHardware> hardware_ = handHardware();
  const std::vector<float> played_ = countingSamples(64 * 3, 2, 1.0F / 1024.0F);
};

TEST_F(Capture, WavesAndAIFCsHoldWhatWasPlayedBitExactWhenTheDeviceHasStopped) {
  for (const char* const name : {"a.wav", "a.aifc", "a.aiff"}) {
    hardware_ = handHardware();
    const AudioDeviceID device = plug(folder_ / name);
    RecordingSink sink(playing(played_));
    hardware_->start(device, &sink);
    hardware_->step(3);
    hardware_->stop(device);
    EXPECT_EQ(samplesOf(folder_ / name), played_) << name;
  }
}

TEST_F(Capture, IsCompleteWhenTheDeviceIsUnplugged) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  RecordingSink sink(playing(played_));
  hardware_->start(device, &sink);
  hardware_->step(3);
  hardware_->unplug(device);
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), played_);
}

TEST_F(Capture, IsCompleteWhenTheDeviceIsUnpluggedInItsOwnCycle) {
  AudioDeviceID device = 0;
  std::size_t cycles = 0;
  auto play = playing(played_);
  RecordingSink sink([&](const HardwareCycle& cycle) {
    play(cycle);
    if (++cycles == 3) {
      hardware_->unplug(device);
    }
  });
  device = plug(folder_ / "a.wav");
  hardware_->start(device, &sink);
  hardware_->step(5);
  // The cycle in which it went plays nothing any more.
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), std::vector<float>(played_.begin(), played_.begin() + 256));
}

TEST_F(Capture, GoesOnInTheSameFileAfterAStop) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  RecordingSink sink(playing(played_));
  for (int i = 0; i < 3; ++i) {
    hardware_->start(device, &sink);
    hardware_->step();
    hardware_->stop(device);
  }
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), played_);
}

TEST_F(Capture, AnotherFileTakesWhatComesFromTheNextCycleOn) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  RecordingSink sink(playing(played_));
  hardware_->start(device, &sink);
  hardware_->step();
  EXPECT_TRUE(hardware_->setOutput(device, {folder_ / "b.wav"}));
  hardware_->step();
  EXPECT_TRUE(hardware_->setOutput(device, {}));
  hardware_->step();
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), std::vector<float>(played_.begin(), played_.begin() + 128));
  EXPECT_EQ(samplesOf(folder_ / "b.wav"), std::vector<float>(played_.begin() + 128, played_.begin() + 256));
}

TEST_F(Capture, TheSameFileBeginsAnew) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  RecordingSink sink(playing(played_));
  hardware_->start(device, &sink);
  hardware_->step();
  hardware_->stop(device);
  std::string problem;
  EXPECT_TRUE(hardware_->setOutput(device, {folder_ / "./a.wav"}, &problem)) << problem;
  hardware_->start(device, &sink);
  hardware_->step();
  hardware_->stop(device);
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), std::vector<float>(played_.begin() + 128, played_.begin() + 256));
}

TEST_F(Capture, AFileThatIsWrittenAlreadyIsRefused) {
  plug(folder_ / "a.wav");
  VirtualDevice other = simpleDevice("b");
  other.sink.file = folder_ / "a.wav";
  std::string problem;
  EXPECT_EQ(hardware_->plug(other, &problem), 0U);
  EXPECT_NE(problem.find("captured there already"), std::string::npos) << problem;
}

TEST_F(Capture, AnUnknownTypeOfFileOrAFolderThatIsNotThereIsRefusedAndTheOldFileStays) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  std::string problem;
  EXPECT_FALSE(hardware_->setOutput(device, {folder_ / "a.mp3"}, &problem));
  EXPECT_NE(problem.find(".mp3"), std::string::npos);
  EXPECT_FALSE(hardware_->setOutput(device, {folder_ / "nowhere/a.wav"}, &problem));
  EXPECT_NE(problem.find("nowhere"), std::string::npos);
  RecordingSink sink(playing(played_));
  hardware_->start(device, &sink);
  hardware_->step(3);
  hardware_->stop(device);
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), played_);
}

TEST_F(Capture, AChangeOfTheRateIsConvertedToTheFiles) {
  const AudioDeviceID device = plug(folder_ / "a.wav", 1);
  std::vector<float> constant(64 * 300, 0.25F);
  RecordingSink sink(playing(constant));
  hardware_->start(device, &sink);
  hardware_->step(100);
  hardware_->setNominalSampleRate(device, 88200.0);
  hardware_->step(200);
  hardware_->unplug(device);
  const std::vector<float> captured = samplesOf(folder_ / "a.wav");
  EXPECT_NEAR(static_cast<double>(captured.size()), 64.0 * 200, 1.0);
  EXPECT_NEAR(captured[64 * 150], 0.25F, 1e-4);
}

TEST_F(Capture, SeveralStreamsGoIntoOneFile) {
  VirtualDevice described = simpleDevice("a");
  described.output.streams = {{{pcm(1, 16)}, 0}, {{pcm(2, 16)}, 0}};
  described.sink.file = folder_ / "a.wav";
  const AudioDeviceID device = hardware_->plug(described);
  RecordingSink sink([](const HardwareCycle& cycle) {
    static_cast<float*>(cycle.output->mBuffers[0].mData)[1] = 0.125F;
    static_cast<float*>(cycle.output->mBuffers[1].mData)[2] = 0.25F;
    static_cast<float*>(cycle.output->mBuffers[1].mData)[3] = 0.5F;
  });
  hardware_->start(device, &sink);
  hardware_->step();
  hardware_->unplug(device);
  const std::vector<float> captured = samplesOf(folder_ / "a.wav");
  ASSERT_EQ(captured.size(), 64U * 3);
  EXPECT_EQ(std::vector<float>(captured.begin() + 3, captured.begin() + 6), (std::vector<float>{0.125F, 0.25F, 0.5F}));
}

TEST_F(Capture, MoreThanIsHeldInMemoryLosesNothingByHand) {
  const AudioDeviceID device = plug(folder_ / "a.wav");
  const std::vector<float> played = countingSamples(64 * 4000, 2, 1e-6F);
  RecordingSink sink(playing(played));
  hardware_->start(device, &sink);
  hardware_->step(4000);
  hardware_->stop(device);
  EXPECT_EQ(samplesOf(folder_ / "a.wav"), played);
}

}  // namespace
}  // namespace orv::test
