// Recording from virtual hardware: music in, a file out.
#include <gtest/gtest.h>

#include <OrvCoreAudio/OrvAudioRecorder.h>

#include <memory>
#include <string>

#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

using namespace orv::test;

namespace {

class VirtualInterface : public testing::Test {
 protected:
  VirtualInterface() {
    id = hardware->plug(orv::virtualStereoInterface());
    orv::installAudioHardware(hardware);
    settle();
    device = OrvAudioDevice::initWithDeviceID(id);
  }
  ~VirtualInterface() override {
    device = nullptr;
    settle();
    orv::installAudioHardware(nullptr);
    settle();
  }

  static void settle() {
    orv::waitForHardwareNotifications();
    while (orv::RunLoop::main().pump() > 0) {
    }
  }
  /// 16-bit stereo, every frame different from its neighbours.
  static void makeMusic(const std::string& musicPath, std::uint32_t frames) {
    const auto file = OrvAudioFile::initWithPath_accessMode(musicPath, OrvAudioFile::kModeWrite);
    file->setFileStreamFormat(OrvAudioStreamBasicDescription::defaultStandardFileFormat());
    ASSERT_TRUE(file->open());
    std::string bytes(std::size_t{frames} * 4, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<char>(i * 37 + i / 251);
    }
    auto length = static_cast<std::uint32_t>(bytes.size());
    ASSERT_TRUE(file->write_length(bytes.data(), &length));
    ASSERT_TRUE(file->close());
  }

  const std::shared_ptr<orv::VirtualHardware> hardware =
      orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  AudioDeviceID id = 0;
  std::shared_ptr<OrvAudioDevice> device;
  const TemporaryDirectory folder;
  const std::string path = folder / "take.aif";
};

}  // namespace

TEST_F(VirtualInterface, AnEightChannelDeviceIsRecorded) {
  const AudioDeviceID eight = hardware->plug(orv::virtualEightChannelInterface());
  settle();
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(OrvAudioDevice::initWithDeviceID(eight), path);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  hardware->step(300);
  EXPECT_TRUE(recorder->finishRecording()) << recorder->lastProblem();
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->channels, 8);
  EXPECT_EQ(reading->frames, static_cast<std::int64_t>(300 * device->bufferFrameSize(true)));
}

TEST_F(VirtualInterface, MusicOnTheLineIsRecordedSampleBySample) {
  const std::string music = folder / "music.aif";
  constexpr std::uint32_t kFrames = 200000;
  makeMusic(music, kFrames);
  orv::VirtualInput line;
  line.kind = orv::VirtualInput::Kind::files;
  line.files = {music};
  ASSERT_TRUE(hardware->setInput(id, line));
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  recorder->setFileStreamFormat(OrvAudioStreamBasicDescription::defaultStandardFileFormat());
  recorder->setFrameLimit(kFrames);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  while (recorder->isRecording()) {
    hardware->step(10);
    settle();
  }
  EXPECT_EQ(recorder->lastProblem(), "");
  const auto source = readIndependently(music);
  const auto take = readIndependently(path);
  ASSERT_TRUE(source && take);
  EXPECT_EQ(take->frames, kFrames);
  EXPECT_EQ(take->ints, source->ints);
}

TEST_F(VirtualInterface, UnpluggingItEndsTheRecordingWithAValidFile) {
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  hardware->step(100);
  const std::uint64_t frames = recorder->recordedFrames();
  hardware->unplug(id);
  settle();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_NE(recorder->lastProblem().find("was unplugged"), std::string::npos) << recorder->lastProblem();
  const auto take = readIndependently(path);
  ASSERT_TRUE(take);
  EXPECT_EQ(take->frames, static_cast<std::int64_t>(frames));
  EXPECT_GT(frames, 0U);
}

TEST_F(VirtualInterface, AnotherSampleRateEndsTheRecordingWithAValidFile) {
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  hardware->step(100);
  ASSERT_EQ(hardware->setNominalSampleRate(id, 96000), noErr);
  settle();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_NE(recorder->lastProblem().find("from 44100 to 96000 Hz"), std::string::npos) << recorder->lastProblem();
  const auto take = readIndependently(path);
  ASSERT_TRUE(take);
  EXPECT_EQ(take->frames, static_cast<std::int64_t>(recorder->recordedFrames()));
}

TEST_F(VirtualInterface, ADeviceThatRefusesToStartIsToldAndLeavesNoFile) {
  orv::VirtualFault fault;
  fault.kind = orv::VirtualFault::Kind::start;
  hardware->addFault(id, fault);
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_NE(recorder->lastProblem().find("does not start"), std::string::npos) << recorder->lastProblem();
  EXPECT_FALSE(orv::fileManager()->exists(path));
  EXPECT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  hardware->step(2);
  EXPECT_TRUE(recorder->finishRecording());
}

TEST_F(VirtualInterface, ADeviceWithoutAnInputIsRefused) {
  const AudioDeviceID outputOnly = hardware->plug(orv::virtualSixChannelOutput());
  settle();
  const auto recorder =
      OrvAudioRecorder::initWithAudioDevice_filePath(OrvAudioDevice::initWithDeviceID(outputOnly), path);
  ASSERT_NE(recorder, nullptr);
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_NE(recorder->lastProblem().find("there is no input to record"), std::string::npos);
}
