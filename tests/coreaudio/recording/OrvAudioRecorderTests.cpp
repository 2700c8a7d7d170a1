#include <cstring>
#include <limits>

#include "RecorderFixture.h"
#include "support/LogCapture.h"

using namespace orv::test;

namespace {

class OrvAudioRecorderTest : public RecorderFixture {};

constexpr const char* kStarted = "OrvAudioRecorderStartedRecordingNotification";
constexpr const char* kStopped = "OrvAudioRecorderStoppedRecordingNotification";
constexpr const char* kSample = "OrvAudioRecorderSampleRecordedNotification";
constexpr const char* kPaused = "OrvAudioRecorderPausedRecordingNotification";

/// Turns the signal round.
class Inverter final : public OrvAudioProcessor {
 public:
  int calls = 0;
  bool result = true;
  void reset() override {}
  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channels,
                                                                 std::uint32_t* frames) override {
    ++calls;
    for (std::size_t i = 0; i < std::size_t{channels} * *frames; ++i) {
      output[i] = -input[i];
    }
    return result;
  }
};

}  // namespace

TEST_F(OrvAudioRecorderTest, ThereIsNoRecorderWithoutADeviceOrAPath) {
  EXPECT_EQ(OrvAudioRecorder::initWithAudioDevice(nullptr), nullptr);
  EXPECT_EQ(OrvAudioRecorder::initWithAudioDevice_filePath(nullptr, path), nullptr);
  EXPECT_EQ(OrvAudioRecorder::initWithAudioDevice_filePath(device, std::nullopt), nullptr);
  EXPECT_EQ(OrvAudioRecorder::initWithAudioDevice_audioFile(nullptr, nullptr), nullptr);
}

TEST_F(OrvAudioRecorderTest, ANewRecorderHasTheDevicesFormatsAndNoFile) {
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(recorder->inputDevice(), device);
  EXPECT_EQ(recorder->inputDeviceID(), LineInput::kDevice);
  EXPECT_EQ(recorder->audioFilePath(), path);
  EXPECT_TRUE(recorder->inputDeviceStreamFormat()->isFloat());
  EXPECT_EQ(recorder->audioFile(), nullptr);
  EXPECT_EQ(recorder->fileStreamFormat(), nullptr);
  EXPECT_EQ(recorder->eventMask(), 15U);
  EXPECT_EQ(recorder->audioProcessor(), nullptr);
  EXPECT_EQ(recorder->sampleRate(), 0.0);
  EXPECT_EQ(recorder->formatIDName(), std::nullopt);
  EXPECT_EQ(recorder->lengthInFrames(), 0U);
  EXPECT_EQ(recorder->lengthInBytes(), 0U);
  EXPECT_EQ(recorder->lengthInMilliSeconds(), 0U);
}

TEST_F(OrvAudioRecorderTest, OnlyARecorderThatRecordsCanBePausedOrStopped) {
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->pause());
  EXPECT_FALSE(recorder->stop());
  EXPECT_FALSE(recorder->flush());
  EXPECT_FALSE(recorder->finishRecording());
  EXPECT_EQ(count(kStopped) + count(kPaused), 0U);
}

TEST_F(OrvAudioRecorderTest, ARecordingGoesThroughItsStatesAndTellsThem) {
  const auto recorder = makeRecorder();
  EXPECT_TRUE(recorder->record());
  EXPECT_TRUE(recorder->isRecording());
  EXPECT_FALSE(recorder->record());
  EXPECT_TRUE(hardware->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 1U);
  EXPECT_TRUE(recorder->pause());
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_FALSE(hardware->isRunning());
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  EXPECT_FALSE(recorder->pause());
  EXPECT_TRUE(recorder->record());
  EXPECT_TRUE(recorder->stop());
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_FALSE(hardware->isRunning());
  pump();
  EXPECT_EQ(heard, (std::vector<std::string>{kStarted, kPaused, kStarted, kStopped}));
  EXPECT_EQ(senders, (std::vector<const orv::Object*>(4, recorder.get())));
}

TEST_F(OrvAudioRecorderTest, RecordAfterStopIsRefused) {
  const auto recorder = makeRecorder();
  recorder->record();
  recorder->stop();
  EXPECT_FALSE(recorder->record());
  EXPECT_FALSE(recorder->startRecording());
  EXPECT_FALSE(recorder->pause());
  EXPECT_FALSE(recorder->stop());
  EXPECT_TRUE(recorder->flush());  // which only a stopped one accepts
}

TEST_F(OrvAudioRecorderTest, NotificationsWhoseBitIsClearAreNotPosted) {
  const auto recorder = makeRecorder();
  recorder->setEventMask(0);
  recorder->record();
  deliver(512);
  recorder->pause();
  recorder->stop();
  pump();
  EXPECT_TRUE(heard.empty());
}

TEST_F(OrvAudioRecorderTest, WithAnIntervalOfThreeTheFirstFourthAndSeventhSampleIsTold) {
  const auto recorder = makeRecorder();
  recorder->setNotificationInterval(3);
  recorder->record();
  std::vector<bool> told;
  for (int block = 0; block < 8; ++block) {
    const std::size_t before = count(kSample);
    deliver(16);
    told.push_back(count(kSample) > before);
  }
  EXPECT_EQ(told, (std::vector<bool>{true, false, false, true, false, false, true, false}));
}

TEST_F(OrvAudioRecorderTest, AnIntervalOfZeroTellsEverySample) {
  const auto recorder = makeRecorder();
  recorder->setNotificationInterval(0);
  recorder->record();
  deliver(16);
  deliver(16);
  EXPECT_EQ(count(kSample), 2U);
}

TEST_F(OrvAudioRecorderTest, WithoutAPathItRecordsToTheTemporaryDirectoryAndRemovesTheOlderFile) {
  OrvAudioRecorder::setTemporaryDirectory(folder.path());
  writeWholeFile(folder / "audiotemp.aif", "an older recording");
  const auto recorder = OrvAudioRecorder::initWithAudioDevice(device);
  EXPECT_TRUE(recorder->record());
  EXPECT_EQ(recorder->audioFilePath(), folder / "audiotemp.aif");
  recorder->stop();
  OrvAudioRecorder::setTemporaryDirectory("/tmp/");
  const auto reading = readIndependently(folder / "audiotemp.aif");
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, 0);
}

TEST_F(OrvAudioRecorderTest, StopWritesWholeBuffersAndLeavesTheRest) {
  const auto recorder = makeRecorder();
  recorder->record();
  deliver(2 * kFramesInBuffer + 1000);
  EXPECT_TRUE(recorder->stop());
  EXPECT_EQ(recorder->lengthInFrames(), 2 * kFramesInBuffer + 1000);
  expectFrames(std::uint64_t{2} * kFramesInBuffer);
}

TEST_F(OrvAudioRecorderTest, FlushAfterStopWritesNothingIntoTheClosedFile) {
  const auto recorder = makeRecorder();
  recorder->record();
  deliver(kFramesInBuffer + 1000);
  recorder->stop();
  EXPECT_TRUE(recorder->flush());
  EXPECT_TRUE(recorder->flush());
  expectFrames(kFramesInBuffer);
  EXPECT_EQ(recorder->lastProblem(), "");
}

TEST_F(OrvAudioRecorderTest, ABlockThatOverflowsTheBufferIsSplitAndTakenWhole) {
  const auto recorder = makeRecorder();
  recorder->record();
  for (const std::uint32_t frames : {kFramesInBuffer - 10, 30U, 3 * kFramesInBuffer - 20}) {
    const std::vector<float> samples = hardware->nextFrames(frames);
    auto length = static_cast<std::uint32_t>(samples.size() * sizeof(float));
    EXPECT_TRUE(recorder->insertIntoBuffer_length(samples.data(), &length));
    EXPECT_EQ(length, samples.size() * sizeof(float));
  }
  recorder->stop();
  expectFrames(std::uint64_t{4} * kFramesInBuffer);
}

TEST_F(OrvAudioRecorderTest, ABlockThatFillsTheBufferExactlyIsHandedOver) {
  const auto recorder = makeRecorder();
  recorder->record();
  hardware->deliver(kFramesInBuffer);
  recorder->stop();
  expectFrames(kFramesInBuffer);
}

TEST_F(OrvAudioRecorderTest, NoBytesAreRefused) {
  const auto recorder = makeRecorder();
  std::uint32_t length = 8;
  EXPECT_FALSE(recorder->insertIntoBuffer_length(nullptr, &length));
  EXPECT_EQ(length, 0U);
}

TEST_F(OrvAudioRecorderTest, LittleEndianIntegersForTheFileBecomeBigEndian) {
  const auto recorder = makeRecorder();
  const auto format = pcm(44100, 2, 16, 12);
  EXPECT_TRUE(recorder->setFileStreamFormat(format));
  EXPECT_EQ(format->formatFlags(), 14U);
}

TEST_F(OrvAudioRecorderTest, NormalizingKeepsOnlyTheKindOfSampleAndPacked) {
  const auto normalized = [](std::uint32_t flags) {
    const auto format = pcm(44100, 2, 32, flags);
    OrvAudioRecorder::normalizeFileStreamFormat(format);
    return format->formatFlags();
  };
  EXPECT_EQ(normalized(9), 11U);
  EXPECT_EQ(normalized(1 + 16), 3U);
  EXPECT_EQ(normalized(4 + 8 + 32), 14U);
  EXPECT_EQ(normalized(4 + 16), 6U);
  EXPECT_EQ(normalized(8), 8U);
  EXPECT_EQ(normalized(0), 0U);
}

TEST_F(OrvAudioRecorderTest, NoFormatForTheFileIsTakenToo) {
  const auto recorder = makeRecorder();
  EXPECT_TRUE(recorder->setFileStreamFormat(nullptr));
  EXPECT_TRUE(recorder->record());
  deliver(kFramesInBuffer + 5);
  EXPECT_TRUE(recorder->stop());
  EXPECT_NE(recorder->lastProblem(), "");
}

TEST_F(OrvAudioRecorderTest, NoFormatForTheDeviceIsIgnored) {
  const auto recorder = makeRecorder();
  const auto before = recorder->inputDeviceStreamFormat();
  recorder->setDeviceStreamFormat(nullptr);
  EXPECT_EQ(recorder->inputDeviceStreamFormat(), before);
}

TEST_F(OrvAudioRecorderTest, ARecorderOfAFileReportsNoPath) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(pcm(44100, 2, 16, 14));
  file->open();
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_audioFile(device, file);
  EXPECT_FALSE(file->isOpen());
  EXPECT_EQ(recorder->audioFilePath(), std::nullopt);
  EXPECT_EQ(recorder->audioFile(), file);
  EXPECT_EQ(recorder->fileStreamFormat(), file->fileStreamFormat());
  EXPECT_EQ(recorder->bitsPerChannel(), 16U);
  EXPECT_TRUE(recorder->record());
  deliver(kFramesInBuffer);
  recorder->stop();
  expectFrames(kFramesInBuffer);
}

TEST_F(OrvAudioRecorderTest, FieldsOfTheFormatAreTheFiles) {
  const auto recorder = makeRecorder();
  recorder->record();
  EXPECT_EQ(recorder->sampleRate(), 44100.0);
  EXPECT_EQ(recorder->formatID(), orv::fourCC("lpcm"));
  EXPECT_EQ(recorder->formatIDName(), "Linear PCM");
  EXPECT_EQ(recorder->formatFlags(), 14U);
  EXPECT_EQ(recorder->bytesPerPacket(), 4U);
  EXPECT_EQ(recorder->framesPerPacket(), 1U);
  EXPECT_EQ(recorder->bytesPerFrame(), 4U);
  EXPECT_EQ(recorder->channelsPerFrame(), 2U);
  EXPECT_EQ(recorder->bitsPerChannel(), 16U);
}

TEST_F(OrvAudioRecorderTest, ASecondOfFramesIsAThousandMilliSeconds) {
  const auto recorder = makeRecorder();
  recorder->record();
  deliver(44100);
  EXPECT_EQ(recorder->lengthInFrames(), 44100U);
  EXPECT_EQ(recorder->lengthInBytes(), 44100U * 4);
  EXPECT_EQ(recorder->lengthInMilliSeconds(), 1000U);
}

TEST_F(OrvAudioRecorderTest, TheReportHasALineForEachField) {
  const auto recorder = makeRecorder();
  recorder->record();
  deliver(44100);
  const std::string report = recorder->dumpDebugInfo();
  const std::string expected = "\nAudio File Path: " + path +
                               "\n"
                               "\n         inputDeviceID: 0x7\n"
                               "\n        lengthInFrames: 44100"
                               "\n         lengthInBytes: 176400"
                               "\n  lengthInMilliSeconds: 1000\n"
                               "\n            sampleRate: 44100.000000"
                               "\n              formatID: 0x6C70636D"
                               "\n          formatIDName: Linear PCM"
                               "\n           formatFlags: 0xE"
                               "\n        bytesPerPacket: 4"
                               "\n       framesPerPacket: 1"
                               "\n         bytesPerFrame: 4"
                               "\n      channelsPerFrame: 2"
                               "\n        bitsPerChannel: 16"
                               "\n\n" +
                               recorder->audioFile()->dumpDebugInfo();
  EXPECT_EQ(report.rfind("\n\nDebug information <OrvAudioRecorder: 0x", 0), 0U);
  const std::size_t head = report.find(">:\n") + 3;
  EXPECT_EQ(report.substr(head), expected);
}

TEST_F(OrvAudioRecorderTest, TheReportOfARecorderWithoutAFileSaysSo) {
  const std::string report = OrvAudioRecorder::initWithAudioDevice(device)->dumpDebugInfo();
  EXPECT_NE(report.find("\nAudio File Path: (null)\n"), std::string::npos);
  EXPECT_NE(report.find("\n          formatIDName: (null)"), std::string::npos);
  EXPECT_EQ(report.substr(report.size() - 8), "\n\n(null)");
}

TEST_F(OrvAudioRecorderTest, AProcessorTreatsEveryBlockAndItsResultIsNotLookedAt) {
  const auto recorder = makeRecorder();
  const auto inverter = std::make_shared<Inverter>();
  inverter->result = false;
  recorder->setAudioProcessor(inverter);
  EXPECT_EQ(recorder->audioProcessor(), inverter);
  recorder->record();
  deliver(kFramesInBuffer);
  recorder->stop();
  EXPECT_EQ(inverter->calls, static_cast<int>(kFramesInBuffer / 512));
  EXPECT_EQ(recorder->lengthInFrames(), kFramesInBuffer);
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  for (std::size_t i = 0; i < reading->ints.size(); ++i) {
    const int sample = lineSample(i / 2, static_cast<std::uint32_t>(i % 2));
    ASSERT_EQ(reading->ints[i] >> 16, std::min(-sample, 32767));
  }
}

TEST_F(OrvAudioRecorderTest, AProcessorThatIsTakenAwayIsReleased) {
  const auto recorder = makeRecorder();
  auto inverter = std::make_shared<Inverter>();
  recorder->setAudioProcessor(inverter);
  recorder->setAudioProcessor(inverter);
  recorder->setAudioProcessor(nullptr);
  EXPECT_EQ(inverter.use_count(), 1);
  EXPECT_EQ(recorder->audioProcessor(), nullptr);
}

TEST_F(OrvAudioRecorderTest, ABlockWithoutChannelsOrSamplesIsTakenAsNothing) {
  const auto recorder = makeRecorder();
  recorder->record();
  hardware->deliver({1.0F, 2.0F}, 0);
  hardware->deliver({1.0F, 2.0F}, 0xFFFFFFFF);
  hardware->deliver({}, 2);
  AudioTimeStamp time{};
  const AudioBufferList noData{1, {{2, 64, nullptr}}};
  const AudioBufferList noBuffers{0, {{0, 0, nullptr}}};
  for (const AudioBufferList* list : {&noData, &noBuffers, static_cast<const AudioBufferList*>(nullptr)}) {
    EXPECT_EQ(recorder->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
                  device.get(), &time, list, &time, nullptr, &time, nullptr),
              0);
  }
  EXPECT_EQ(recorder->lengthInFrames(), 0U);
  EXPECT_EQ(count(kSample), 4U);
}

TEST_F(OrvAudioRecorderTest, NothingIsTakenBeforeAndBehindARecordingAndInAPause) {
  const auto recorder = makeRecorder();
  device->addAudioIOSubscriber_forInput(recorder, true);
  device->start();
  deliver(512);
  recorder->record();
  recorder->pause();
  device->addAudioIOSubscriber_forInput(recorder, true);
  device->start();
  deliver(512);
  recorder->stop();
  deliver(512);
  EXPECT_EQ(recorder->lengthInFrames(), 0U);
  device->stop();
}

TEST_F(OrvAudioRecorderTest, AnotherDeviceEndsTheRecordingAndBringsItsFormats) {
  const auto recorder = makeRecorder();
  recorder->setInputDevice(nullptr);
  EXPECT_EQ(recorder->inputDevice(), device);
  recorder->record();
  hardware->rate = 96000;
  const auto other = OrvAudioDevice::initWithDeviceID(LineInput::kDevice);
  recorder->setInputDevice(other);
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  EXPECT_EQ(recorder->inputDevice(), other);
  EXPECT_EQ(recorder->inputDeviceStreamFormat()->sampleRate(), 96000.0);
  EXPECT_FALSE(recorder->record());
  EXPECT_EQ(count(kStopped), 1U);
}

TEST_F(OrvAudioRecorderTest, TheTimerStopsTheRecording) {
  const auto recorder = makeRecorder();
  recorder->record();
  EXPECT_TRUE(recorder->recordForDuration(0));
  EXPECT_TRUE(recorder->isRecording());
  orv::RunLoop::main().runUntil([&] { return !recorder->isRecording(); }, std::chrono::seconds(60));
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_EQ(count(kStopped), 1U);
}

TEST_F(OrvAudioRecorderTest, ADurationDoesNotStartARecording) {
  const auto recorder = makeRecorder();
  EXPECT_TRUE(recorder->recordForDuration(-1));
  pump();
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_TRUE(recorder->record());
}

TEST_F(OrvAudioRecorderTest, APauseEndsTheTimer) {
  const auto recorder = makeRecorder();
  recorder->record();
  recorder->recordForDuration(0);
  recorder->pause();
  recorder->record();
  pump();
  pump();
  EXPECT_TRUE(recorder->isRecording());
}

TEST_F(OrvAudioRecorderTest, ADurationThatIsNoNumberIsRefusedAndAnEndlessOneIsLong) {
  const auto recorder = makeRecorder();
  recorder->record();
  EXPECT_FALSE(recorder->recordForDuration(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(recorder->recordForDuration(std::numeric_limits<double>::infinity()));
  pump();
  EXPECT_TRUE(recorder->isRecording());
}

TEST_F(OrvAudioRecorderTest, ATimerWhoseRecorderIsGoneDoesNothing) {
  auto recorder = makeRecorder();
  recorder->recordForDuration(0);
  recorder = nullptr;
  pump();
  EXPECT_TRUE(heard.empty());
}

TEST_F(OrvAudioRecorderTest, MovingAndCopyingAreTheFiles) {
  const auto recorder = makeRecorder();
  EXPECT_FALSE(recorder->moveToPath_handler(folder / "moved.aif", nullptr));
  EXPECT_FALSE(recorder->copyToPath_handler(folder / "copy.aif", nullptr));
  recorder->record();
  recorder->stop();
  EXPECT_TRUE(recorder->copyToPath_handler(folder / "copy.aif", nullptr));
  EXPECT_TRUE(recorder->moveToPath_handler(folder / "moved.aif", nullptr));
  EXPECT_TRUE(readIndependently(folder / "copy.aif"));
  EXPECT_TRUE(readIndependently(folder / "moved.aif"));
  EXPECT_FALSE(readIndependently(path));
}

TEST_F(OrvAudioRecorderTest, RecordWritesIntoAFileThatExistsFromItsBeginning) {
  {
    const auto first = makeRecorder();
    first->record();
    deliver(std::uint64_t{3} * kFramesInBuffer);
    first->stop();
  }
  const auto second = makeRecorder();
  second->record();
  hardware->deliver(std::vector<float>(kFramesInBuffer * 2), 2);
  second->stop();
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, std::int64_t{3} * kFramesInBuffer);
  EXPECT_EQ(reading->ints[2], 0);
  EXPECT_NE(reading->ints[std::size_t{2} * kFramesInBuffer + 2], 0);
}

TEST_F(OrvAudioRecorderTest, WithoutAConversionTheDevicesBytesAreWritten) {
  hardware->rate = 0;
  const auto recorder = makeRecorder();
  recorder->setFileStreamFormat(pcm(44100, 2, 32, 11));
  recorder->record();
  const std::vector<float> samples = hardware->nextFrames(kFramesInBuffer);
  hardware->deliver(samples, 2);
  recorder->stop();
  const std::string bytes = readWholeFile(path);
  ASSERT_GE(bytes.size(), std::size_t{0x60000});
  const std::size_t at = bytes.size() - 0x60000;
  EXPECT_EQ(std::memcmp(bytes.data() + at, samples.data(), 0x60000), 0);
}

TEST_F(OrvAudioRecorderTest, WhileItRecordsTheDeviceKeepsTheRecorder) {
  auto recorder = makeRecorder();
  recorder->record();
  const std::weak_ptr<OrvAudioRecorder> observed = recorder;
  recorder = nullptr;
  pump();
  ASSERT_FALSE(observed.expired());
  EXPECT_TRUE(observed.lock()->stop());
  pump();
  EXPECT_TRUE(observed.expired());
}

TEST_F(OrvAudioRecorderTest, ADeviceThatDoesNotStartOrStopChangesTheStateAllTheSame) {
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  const auto recorder = makeRecorder();
  EXPECT_TRUE(recorder->record());
  EXPECT_TRUE(recorder->isRecording());
  hardware->stopStatus = kAudioHardwareUnspecifiedError;
  EXPECT_TRUE(recorder->stop());
  EXPECT_FALSE(recorder->isRecording());
  hardware->stopStatus = noErr;
}
