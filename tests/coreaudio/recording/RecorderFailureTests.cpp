// What can go wrong while recording: the disk, the device, the file.
#include "RecorderFixture.h"
#include "support/LogCapture.h"

using namespace orv::test;

namespace {

constexpr const char* kDropped = "OrvAudioRecorderDroppedBlocksNotification";
constexpr const char* kInterrupted = "OrvAudioRecorderInterruptedRecordingNotification";
constexpr const char* kStopped = "OrvAudioRecorderStoppedRecordingNotification";

class RecorderFailure : public RecorderFixture {
 protected:
  const std::shared_ptr<TroubledDisk> disk = std::make_shared<TroubledDisk>();

  void useTroubledDisk() const { orv::installFileManager(disk); }
  /// Blocks of 512 until one is refused; how many frames were taken.
  std::uint64_t deliverUntilADrop(const OrvAudioRecorder& recorder) const {
    while (recorder.droppedBlocks() == 0) {
      deliver(512);
    }
    return recorder.recordedFrames();
  }
  std::int64_t framesInFile() const {
    const auto reading = readIndependently(path);
    return reading ? reading->frames : -1;
  }
};

}  // namespace

TEST_F(RecorderFailure, ADiskThatStallsForTwoSecondsDropsNothing) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  disk->stall();
  deliver(88200);
  EXPECT_EQ(recorder->droppedBlocks(), 0U);
  disk->goOn();
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(88200);
}

TEST_F(RecorderFailure, SixtyFourChannelsSurviveAStallOfThirteenHundredthsOfASecond) {
  useTroubledDisk();
  const auto recorder = makeRecorder(64, 48000);
  ASSERT_TRUE(recorder->startRecording());
  deliver(10000);
  disk->stall();
  deliver(48000 * 13 / 100);
  disk->goOn();
  EXPECT_EQ(recorder->droppedBlocks(), 0U);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(10000 + 48000 * 13 / 100, 64);
}

TEST_F(RecorderFailure, ABlockThatFindsNoBufferIsRefusedCountedLoggedAndTold) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  const LogCapture log;
  disk->stall();
  const std::uint64_t taken = deliverUntilADrop(*recorder);
  EXPECT_GE(taken, 88200U);
  EXPECT_TRUE(log.lines().empty());  // not in the cycle
  deliver(512);
  EXPECT_EQ(recorder->droppedBlocks(), 2U);
  EXPECT_EQ(recorder->droppedFrames(), 1024U);
  EXPECT_EQ(count(kDropped), 1U);
  const std::string problem = "the disk does not keep up: 2 blocks with 1024 frames are missing from the recording";
  EXPECT_TRUE(log.contains("OrvAudioRecorder: " + problem));
  deliver(512);
  EXPECT_EQ(count(kDropped), 2U);
  disk->goOn();
  EXPECT_FALSE(recorder->finishRecording());
  EXPECT_EQ(recorder->lastProblem(),
            "the disk does not keep up: 3 blocks with 1536 frames are missing from the recording");
  expectFrames(taken);  // what waited was not overwritten
}

TEST_F(RecorderFailure, ARecordingWithDroppedBlocksIsNotWholeAlsoBeforeTheMainThreadHasHeardOfThem) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  disk->stall();
  while (recorder->droppedBlocks() == 0) {
    hardware->deliver(512);
  }
  disk->goOn();
  EXPECT_FALSE(recorder->finishRecording());
  EXPECT_EQ(recorder->lastProblem(),
            "the disk does not keep up: 1 blocks with 512 frames are missing from the recording");
}

TEST_F(RecorderFailure, RecordingGoesOnBehindDroppedBlocks) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->record());
  disk->stall();
  const std::uint64_t taken = deliverUntilADrop(*recorder);
  disk->goOn();
  const std::uint64_t dropped = recorder->droppedBlocks();
  while (recorder->recordedFrames() == taken) {  // until the saver has given a buffer back
    deliver(512);
  }
  EXPECT_GE(recorder->droppedBlocks(), dropped);
  recorder->finishRecording();
  EXPECT_EQ(framesInFile(), static_cast<std::int64_t>(recorder->recordedFrames()));
}

TEST_F(RecorderFailure, AFullDiskEndsTheRecordingWithAValidFile) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  disk->leave(200000);
  const LogCapture log;
  while (recorder->isRecording()) {
    deliver(512);
    pump();
  }
  EXPECT_EQ(count(kInterrupted), 1U);
  EXPECT_EQ(count(kStopped), 1U);
  EXPECT_FALSE(recorder->audioFile()->isOpen());
  EXPECT_EQ(recorder->lastProblem(), path + ": disk full");
  EXPECT_TRUE(log.contains("OrvAudioRecorder: " + recorder->lastProblem()));
  const std::int64_t frames = framesInFile();
  EXPECT_GE(frames, 49000);
  EXPECT_LE(frames, 50000);
  expectFrames(static_cast<std::uint64_t>(frames));
}

TEST_F(RecorderFailure, ADiskThatIsFullFromTheFirstByteRefusesToStartAndLeavesNoFile) {
  useTroubledDisk();
  disk->leave(0);
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_NE(recorder->lastProblem().find("disk full"), std::string::npos) << recorder->lastProblem();
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_FALSE(disk->exists(path));
}

TEST_F(RecorderFailure, RecordOnAFullDiskGoesOnAndTellsOnce) {
  useTroubledDisk();
  const auto recorder = makeRecorder();
  recorder->record();
  disk->leave(0);
  deliver(std::uint64_t{3} * kFramesInBuffer);
  EXPECT_TRUE(recorder->isRecording());
  EXPECT_TRUE(recorder->stop());
  EXPECT_EQ(count(kInterrupted), 1U);
  EXPECT_NE(recorder->lastProblem(), "");
}

TEST_F(RecorderFailure, AnUnpluggedDeviceEndsTheRecordingWithAllThatItDelivered) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(12345);
  unplug();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(count(kInterrupted), 1U);
  EXPECT_EQ(recorder->lastProblem(), "the device: was unplugged while it was recorded");
  expectFrames(12345);
}

TEST_F(RecorderFailure, AChangedSampleRateEndsTheRecording) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(12345);
  announceDeviceChange(kAudioDevicePropertyNominalSampleRate);
  EXPECT_TRUE(recorder->isRecording());
  hardware->rate = 96000;
  announceDeviceChange(kAudioDevicePropertyNominalSampleRate);
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(count(kInterrupted), 1U);
  EXPECT_EQ(recorder->lastProblem(),
            "the device: the sample rate changed from 44100 to 96000 Hz while it was recorded");
  expectFrames(12345);
}

TEST_F(RecorderFailure, AChangedSampleRateIsNoticedInAPauseToo) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(12345);
  recorder->pause();
  hardware->rate = 96000;
  announceDeviceChange(kAudioDevicePropertyStreamFormat);
  EXPECT_FALSE(recorder->startRecording());
  expectFrames(12345);
}

TEST_F(RecorderFailure, BlocksOfAnotherWidthEndTheRecording) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(12345);
  hardware->deliver(std::vector<float>(300), 3);
  deliver(512);
  pump();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(count(kInterrupted), 1U);
  expectFrames(12345);
}

TEST_F(RecorderFailure, RecordGoesOnWhenTheSampleRateChanges) {
  const auto recorder = makeRecorder();
  recorder->record();
  hardware->rate = 96000;
  announceDeviceChange(kAudioDevicePropertyNominalSampleRate);
  EXPECT_TRUE(recorder->isRecording());
  EXPECT_EQ(count(kInterrupted), 1U);
  recorder->stop();
}

TEST_F(RecorderFailure, AFileThatIsDeletedIsMissedAtTheEnd) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(60000);
  orv::fileManager()->remove(path);
  deliver(60000);
  EXPECT_FALSE(recorder->finishRecording());
  EXPECT_EQ(recorder->lastProblem(), path + ": was deleted while it was recorded");
}

TEST_F(RecorderFailure, ADeviceWithoutChannelsOrARateIsNotRecorded) {
  for (const auto& [channels, rate] : {std::pair{0U, 44100.0}, std::pair{2U, 0.0}, std::pair{2U, -1.0}}) {
    const auto recorder = makeRecorder(channels, rate);
    ASSERT_NE(recorder, nullptr);
    EXPECT_FALSE(recorder->startRecording());
    EXPECT_EQ(recorder->lastProblem(), "the device: there is no input to record");
    EXPECT_FALSE(orv::fileManager()->exists(path));
  }
}

TEST_F(RecorderFailure, RecordOnADeviceWithoutChannelsOrARateDoesNoHarm) {
  for (const auto& [channels, rate] : {std::pair{0U, 44100.0}, std::pair{2U, 0.0}}) {
    const auto recorder = makeRecorder(channels, rate);
    EXPECT_TRUE(recorder->record());
    hardware->deliver(std::vector<float>(1024), channels);
    EXPECT_EQ(recorder->lengthInMilliSeconds(), 0U);
    EXPECT_TRUE(recorder->stop());
  }
}

TEST_F(RecorderFailure, ADeviceThatDoesNotStartLeavesNoFile) {
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_EQ(recorder->lastProblem(), "the device: the device does not start");
  EXPECT_EQ(count("OrvAudioRecorderStartedRecordingNotification"), 0U);
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_FALSE(orv::fileManager()->exists(path));
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  hardware->startStatus = noErr;
  EXPECT_TRUE(recorder->startRecording());
  deliver(100);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(100);
}

TEST_F(RecorderFailure, ADeviceThatDoesNotRunAgainLeavesThePauseAndWhatWasRecorded) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(777);
  recorder->pause();
  hardware->runs = false;
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(recorder->lastProblem(), "the device: the device does not start");
  hardware->runs = true;
  EXPECT_TRUE(recorder->startRecording());
  deliver(100);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(877);
}

TEST_F(RecorderFailure, AFormatThatNothingConvertsToIsRefused) {
  const auto recorder = makeRecorder();
  recorder->setFileStreamFormat(pcm(44100, 0, 16, 14));
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_NE(recorder->lastProblem().find("can't be converted"), std::string::npos);
  EXPECT_FALSE(orv::fileManager()->exists(path));
}
