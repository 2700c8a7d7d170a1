// Recording that keeps every frame: startRecording and finishRecording.
#include <cmath>
#include <tuple>

#include "RecorderFixture.h"

using namespace orv::test;

namespace {

constexpr const char* kStopped = "OrvAudioRecorderStoppedRecordingNotification";

class FinishRecording : public RecorderFixture {};

/// Numbers of frames around the size of a capture buffer, and of what is handed over early.
class EveryFill : public RecorderFixture, public testing::WithParamInterface<std::uint64_t> {};

/// Device rate, file rate, frames.
class EveryRate : public RecorderFixture,
                  public testing::WithParamInterface<std::tuple<double, double, std::uint64_t>> {};

class EveryWidth : public RecorderFixture, public testing::WithParamInterface<std::uint32_t> {};

}  // namespace

TEST_P(EveryFill, EveryFrameIsInTheFile) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  deliver(GetParam());
  EXPECT_TRUE(recorder->finishRecording()) << recorder->lastProblem();
  EXPECT_EQ(recorder->recordedFrames(), GetParam());
  expectFrames(GetParam());
}

TEST_P(EveryFill, EveryFrameIsInTheFileOfARecordingThatRecordBegan) {
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->record());
  deliver(GetParam());
  EXPECT_TRUE(recorder->finishRecording()) << recorder->lastProblem();
  expectFrames(GetParam());
}

INSTANTIATE_TEST_SUITE_P(FinishRecording, EveryFill,
                         testing::Values(0, 1, 511, 512, 513, 8819, 8820, 8821, 49151, 49152, 49153, 98303, 98304,
                                         98305, 150000));

TEST_P(EveryRate, EveryFrameAndTheResamplersLastOnesAreInTheFile) {
  const auto [deviceRate, fileRate, frames] = GetParam();
  const auto recorder = makeRecorder(2, deviceRate);
  recorder->setFileStreamFormat(pcm(fileRate, 2, 16, 14));
  ASSERT_TRUE(recorder->startRecording());
  deliver(frames);
  EXPECT_TRUE(recorder->finishRecording()) << recorder->lastProblem();
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->sampleRate, fileRate);
  const double expected = std::round(static_cast<double>(frames) * fileRate / deviceRate);
  EXPECT_NEAR(static_cast<double>(reading->frames), expected, 1.0);
}

INSTANTIATE_TEST_SUITE_P(FinishRecording, EveryRate,
                         testing::Combine(testing::Values(44100.0, 48000.0, 96000.0),
                                          testing::Values(44100.0, 48000.0, 8000.0),
                                          testing::Values(1U, 8000U, 49153U, 100000U)));

TEST_P(EveryWidth, FramesThatDoNotDivideABufferStayWhole) {
  const std::uint32_t channels = GetParam();
  const auto recorder = makeRecorder(channels, 48000);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  const std::uint64_t frames = 3 * (0x60000 / 4 / channels) + 77;
  deliver(frames);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(frames, channels);
}

TEST_P(EveryWidth, WholeBuffersOfARecordingThatRecordBeganHoldWholeFrames) {
  const std::uint32_t channels = GetParam();
  const auto recorder = makeRecorder(channels, 48000);
  ASSERT_TRUE(recorder->record());
  deliver(3 * (0x60000 / 4 / channels) + 77);
  recorder->stop();
  expectFrames(3 * 0x60000 / (4 * channels), channels);
}

INSTANTIATE_TEST_SUITE_P(FinishRecording, EveryWidth, testing::Values(1, 2, 3, 5, 6, 7, 10, 32, 64));

TEST_F(FinishRecording, TheStopIsToldWhenTheFileIsClosed) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(1000);
  recorder->finishRecording();
  EXPECT_FALSE(recorder->audioFile()->isOpen());
  EXPECT_EQ(count(kStopped), 1U);
  EXPECT_FALSE(recorder->finishRecording());
  EXPECT_EQ(count(kStopped), 1U);
}

TEST_F(FinishRecording, APauseLeavesOutWhatIsDeliveredInIt) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(1000);
  recorder->pause();
  EXPECT_TRUE(recorder->startRecording());
  deliver(60000);
  recorder->pause();
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(61000);
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(FinishRecording, FinishingFromAPauseLeavesTheStartsOfOthersAlone) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  device->start();
  recorder->pause();
  recorder->finishRecording();
  EXPECT_TRUE(hardware->isRunning());
  device->stop();
}

TEST_F(FinishRecording, AFileThatExistsIsLeftAlone) {
  writeWholeFile(path, "somebody's only copy");
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_EQ(recorder->lastProblem(), path + ": exists already");
  EXPECT_EQ(readWholeFile(path), "somebody's only copy");
  EXPECT_FALSE(recorder->isRecording());
  recorder->setAudioFilePath(folder / "other.aif");
  EXPECT_TRUE(recorder->startRecording());
  EXPECT_EQ(recorder->lastProblem(), "");
  EXPECT_TRUE(recorder->finishRecording());
}

TEST_F(FinishRecording, AFileThatExistsIsReplacedOnRequest) {
  writeWholeFile(path, std::string(1000000, 'x'));
  const auto recorder = makeRecorder();
  recorder->setReplacesExistingFile(true);
  ASSERT_TRUE(recorder->startRecording());
  deliver(1000);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(1000);
  EXPECT_LT(readWholeFile(path).size(), 5000U);
}

TEST_F(FinishRecording, WithoutAPathOrADirectoryItDoesNotStart) {
  const auto recorder = OrvAudioRecorder::initWithAudioDevice(device);
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_EQ(recorder->lastProblem(), "no path was given for the recording");
  recorder->setAudioFilePath(folder / "missing/take.aif");
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_NE(recorder->lastProblem(), "");
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(FinishRecording, TheFrameLimitIsMetToTheFrame) {
  const auto recorder = makeRecorder();
  recorder->setFrameLimit(50001);
  recorder->startRecording();
  deliver(60000);
  EXPECT_TRUE(recorder->isRecording());  // until the main thread comes
  EXPECT_EQ(count(kStopped), 1U);
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(recorder->recordedFrames(), 50001U);
  expectFrames(50001);
}

TEST_F(FinishRecording, TheTimerFinishesWhatStartRecordingBegan) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(777);
  recorder->recordForDuration(0);
  orv::RunLoop::main().runUntil([&] { return !recorder->isRecording(); }, std::chrono::seconds(60));
  expectFrames(777);
}

TEST_F(FinishRecording, ReleasingAPausedRecorderFinishesTheFile) {
  auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(777);
  recorder->pause();
  recorder = nullptr;
  pump();  // what waits there to be told keeps it
  expectFrames(777);
}

TEST_F(FinishRecording, AnotherDeviceFinishesTheFile) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(777);
  recorder->setInputDevice(OrvAudioDevice::initWithDeviceID(LineInput::kDevice));
  expectFrames(777);
}

TEST_F(FinishRecording, FormatsDoNotChangeWhileItRecords) {
  const auto recorder = makeRecorder();
  recorder->startRecording();
  deliver(777);
  recorder->setFileStreamFormat(pcm(8000, 1, 8, 14));
  recorder->setDeviceStreamFormat(pcm(8000, 1, 8, 14));
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(777);
}

TEST_F(FinishRecording, AGivenFileIsRecordedInItsOwnTypeAndFormat) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(pcm(44100, 2, 16, 12));
  file->setFileType(kAudioFileWAVEType);
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_audioFile(device, file);
  ASSERT_TRUE(recorder->startRecording()) << recorder->lastProblem();
  deliver(1234);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(1234);
  EXPECT_EQ(readWholeFile(path).substr(8, 4), "WAVE");
}

TEST_F(FinishRecording, ThirtyTwoChannelsGoIntoAStereoFileByPosition) {
  const auto recorder = makeRecorder(32, 48000);
  recorder->setFileStreamFormat(pcm(48000, 2, 16, 14));
  ASSERT_TRUE(recorder->startRecording());
  deliver(10000);
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(10000);
}

TEST_F(FinishRecording, TwoRecordersOnOneDeviceGetTheSameFrames) {
  const auto first = makeRecorder();
  const std::string otherPath = folder / "other.aif";
  const auto second = OrvAudioRecorder::initWithAudioDevice_filePath(device, otherPath);
  ASSERT_TRUE(first->startRecording());
  ASSERT_TRUE(second->startRecording());
  deliver(70000);
  EXPECT_TRUE(first->finishRecording());
  deliver(512);
  EXPECT_TRUE(second->finishRecording());
  expectFrames(70000);
  const auto reading = readIndependently(otherPath);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, 70512);
  EXPECT_FALSE(hardware->isRunning());
}

TEST_F(FinishRecording, AProcessorOfAnyBlockSizeNeedsNoMemoryInTheCycle) {
  class Copier final : public OrvAudioProcessor {
   public:
    void reset() override {}
    bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                   std::uint32_t channels,
                                                                   std::uint32_t* frames) override {
      std::copy_n(input, std::size_t{channels} * *frames, output);
      return true;
    }
  };
  const auto recorder = makeRecorder();
  recorder->setAudioProcessor(std::make_shared<Copier>());
  ASSERT_TRUE(recorder->startRecording());
  for (int block = 0; block < 100; ++block) {
    hardware->deliver(LineInput::kFrames);  // the device's own size
  }
  EXPECT_TRUE(recorder->finishRecording());
  expectFrames(std::uint64_t{100} * LineInput::kFrames);
}
