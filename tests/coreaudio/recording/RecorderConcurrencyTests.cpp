// Recorders that are controlled and released while their device's cycles go on.
#include <atomic>
#include <thread>

#include "RecorderFixture.h"
#include "support/RealTimeInterposer.h"

using namespace orv::test;

namespace {

class RecorderConcurrency : public RecorderFixture {
 protected:
  ~RecorderConcurrency() override { endCycles(); }

  /// Cycles of 16 frames on a thread of their own, one after the other.
  void beginCycles() {
    isCycling_ = true;
    cycles_ = std::thread([this] {
      while (isCycling_) {
        hardware->cycle();
        std::this_thread::yield();
      }
    });
  }
  void endCycles() {
    isCycling_ = false;
    if (cycles_.joinable()) {
      cycles_.join();
    }
  }
  std::string numbered(int number) const { return folder / ("take" + std::to_string(number) + ".aif"); }
  std::shared_ptr<OrvAudioRecorder> recorderOf(int number) const {
    return OrvAudioRecorder::initWithAudioDevice_filePath(device, numbered(number));
  }

 private:
  std::atomic<bool> isCycling_{false};
  std::thread cycles_;
};

void waitForFrames(const OrvAudioRecorder& recorder, std::uint64_t frames) {
  while (recorder.recordedFrames() < frames) {
    std::this_thread::yield();
  }
}

/// Cycles come faster than any device makes them: the saver need not keep up, but then that must be told.
void expectToBeWholeOrToldOf(OrvAudioRecorder& recorder) {
  const bool isWhole = recorder.finishRecording();
  EXPECT_EQ(isWhole, recorder.droppedBlocks() == 0) << recorder.lastProblem();
}

}  // namespace

TEST_F(RecorderConcurrency, EveryFrameThatWasTakenIsInTheFile) {
  beginCycles();
  for (int take = 0; take < 10; ++take) {
    const auto recorder = recorderOf(take);
    ASSERT_TRUE(recorder->startRecording());
    waitForFrames(*recorder, 3000);
    ASSERT_TRUE(recorder->finishRecording());
    const auto reading = readIndependently(numbered(take));
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->frames, static_cast<std::int64_t>(recorder->recordedFrames()));
  }
}

TEST_F(RecorderConcurrency, RecordersMayBeReleasedFromEveryStateWhileCyclesGoOn) {
  device->start();  // the device runs whatever becomes of the recorders
  beginCycles();
  for (int take = 0; take < 60; ++take) {
    auto recorder = recorderOf(take);
    const bool isSafe = take % 2 == 0;
    if (take % 6 >= 1) {
      EXPECT_TRUE(isSafe ? recorder->startRecording() : recorder->record());
    }
    if (take % 6 == 2) {
      recorder->pause();
    } else if (take % 6 == 3) {
      recorder->stop();
      recorder->flush();
    } else if (take % 6 == 4) {
      recorder->finishRecording();
    } else if (take % 6 == 5) {
      recorder->recordForDuration(1000);
      device->removeAudioIOSubscriber_forInput(recorder, true);  // nothing keeps it any more
    } else if (take % 6 == 1) {
      recorder->stop();
    }
    recorder = nullptr;
    pump();
  }
  EXPECT_EQ(device->audioSubscribersForInput(true).size(), 0U);
  while (device->stop() && hardware->isRunning()) {
  }
}

TEST_F(RecorderConcurrency, ControlsFromSeveralThreadsAreSafe) {
  beginCycles();
  const auto recorder = makeRecorder();
  recorder->setReplacesExistingFile(true);
  ASSERT_TRUE(recorder->startRecording());
  std::vector<std::thread> hosts;
  for (int host = 0; host < 3; ++host) {
    hosts.emplace_back([&] {
      for (int i = 0; i < 60; ++i) {
        recorder->pause();
        recorder->startRecording();
        recorder->setNotificationInterval(static_cast<std::uint32_t>(i % 4));
        recorder->lengthInMilliSeconds();
        recorder->dumpDebugInfo();
        recorder->inputDeviceStreamFormat();
        recorder->lastProblem();
      }
    });
  }
  for (int i = 0; i < 100; ++i) {
    pump();
    std::this_thread::yield();
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  expectToBeWholeOrToldOf(*recorder);
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, static_cast<std::int64_t>(recorder->recordedFrames()));
}

TEST_F(RecorderConcurrency, TheProcessorMayChangeInTheMidstOfCycles) {
  class Gain final : public OrvAudioProcessor {
   public:
    void reset() override {}
    bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                   std::uint32_t channels,
                                                                   std::uint32_t* frames) override {
      for (std::size_t i = 0; i < std::size_t{channels} * *frames; ++i) {
        output[i] = input[i] * gain_;
      }
      return true;
    }

   private:
    const float gain_ = 0.5F;
  };
  beginCycles();
  const auto recorder = makeRecorder();
  ASSERT_TRUE(recorder->startRecording());
  for (int i = 0; i < 300; ++i) {
    recorder->setAudioProcessor(i % 5 == 0 ? nullptr : std::make_shared<Gain>());
    pump();
  }
  expectToBeWholeOrToldOf(*recorder);
}

TEST_F(RecorderConcurrency, TheLastReferenceMayGoAwayInACycle) {
  class Holder final : public OrvObject, public OrvCoreAudioIOSubscriber {
   public:
    std::shared_ptr<OrvAudioRecorder> recorder;
    OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
        const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
        void* /*clientData*/) noexcept override {
      recorder.reset();
      return noErr;
    }
  };
  const auto holder = std::make_shared<Holder>();
  holder->recorder = makeRecorder();
  ASSERT_TRUE(holder->recorder->startRecording());
  hardware->deliver(700);
  holder->recorder->pause();
  const std::weak_ptr<OrvAudioRecorder> observed = holder->recorder;
  device->addAudioIOSubscriber_forInput(holder, true);
  device->start();
  pump();
  hardware->cycle();
  EXPECT_TRUE(observed.expired());
  pump();
  expectFrames(700);
  device->removeAudioIOSubscriber_forInput(holder, true);
  device->stop();
}

TEST_F(RecorderConcurrency, ControlsThatAreCalledInACycleAreDoneByTheMainThread) {
  class Stopper final : public OrvObject, public OrvCoreAudioIOSubscriber {
   public:
    std::shared_ptr<OrvAudioRecorder> recorder;
    OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
        const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
        void* /*clientData*/) noexcept override {
      recorder->finishRecording();
      return noErr;
    }
  };
  const auto stopper = std::make_shared<Stopper>();
  stopper->recorder = makeRecorder();
  ASSERT_TRUE(stopper->recorder->startRecording());
  device->addAudioIOSubscriber_forInput(stopper, true);
  hardware->deliver(700);
  EXPECT_TRUE(stopper->recorder->isRecording());
  pump();
  EXPECT_FALSE(stopper->recorder->isRecording());
  expectFrames(700);
  device->removeAudioIOSubscriber_forInput(stopper, true);
}
