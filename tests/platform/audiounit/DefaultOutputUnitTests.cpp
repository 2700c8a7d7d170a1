#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/audiounit/AudioUnitTestSupport.h"
#include "support/RealTimeInterposer.h"
#include "support/SteppedHardware.h"

namespace orv::test {
namespace {

/// A source that may keep its notes in a cycle.
class NotedSource {
 public:
  NotedSource(std::vector<float> samples, std::uint32_t channels) : source_(std::move(samples), channels) {}
  OSStatus feed(AudioUnit unit) {
    const AURenderCallbackStruct callback{&NotedSource::supply, this};
    return AudioUnitSetProperty(unit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &callback,
                                sizeof callback);
  }
  std::size_t timesAsked() const { return source_.asked.size(); }

 private:
  static OSStatus supply(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* time, std::uint32_t bus,
                         std::uint32_t frames, AudioBufferList* data) {
    const AllowInCycle allowed;
    const AURenderCallbackStruct callback = static_cast<NotedSource*>(refCon)->source_.callback();
    return callback.inputProc(callback.inputProcRefCon, flags, time, bus, frames, data);
  }
  Source source_;
};

class OutputUnit : public testing::Test {
 protected:
  static constexpr AudioDeviceID kDefault = 3;
  static constexpr AudioDeviceID kOther = 4;

  OutputUnit() {
    hardware->add(kDefault).rate = 96000;
    hardware->add(kOther).outputChannels = 1;
    hardware->defaultOutput = kDefault;
    installAudioHardware(hardware);
    EXPECT_EQ(OpenAComponent(FindNextComponent(0, &kOutputUnit), &unit), noErr);
  }
  ~OutputUnit() override {
    if (unit != nullptr) {
      CloseComponent(unit);
    }
    installAudioHardware(std::make_shared<SteppedHardware>());
  }

  template <typename Value>
  Value get(AudioUnitPropertyID property, AudioUnitScope scope = kAudioUnitScope_Global) {
    Value value{};
    std::uint32_t size = sizeof value;
    EXPECT_EQ(AudioUnitGetProperty(unit, property, scope, 0, &value, &size), noErr);
    return value;
  }
  OSStatus setDevice(AudioDeviceID device) {
    return AudioUnitSetProperty(unit, kAudioOutputUnitProperty_CurrentDevice, kAudioUnitScope_Global, 0, &device,
                                sizeof device);
  }
  void begin() {
    ASSERT_EQ(source.feed(unit), noErr);
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    ASSERT_EQ(unit->start(), noErr);
  }

  const std::shared_ptr<SteppedHardware> hardware = std::make_shared<SteppedHardware>();
  AudioUnit unit = nullptr;
  NotedSource source{countedSamples(64), 2};
};

TEST_F(OutputUnit, ItTellsTheDefaultDevicesFormatAndRate) {
  for (const AudioUnitScope scope : {kAudioUnitScope_Input, kAudioUnitScope_Output}) {
    const AudioStreamBasicDescription format = formatOf(unit, scope);
    EXPECT_EQ(format.mSampleRate, 96000);
    EXPECT_EQ(format.mChannelsPerFrame, 2U);
    EXPECT_EQ(format.mBitsPerChannel, 32U);
  }
  EXPECT_EQ(get<double>(kAudioUnitProperty_NominalSampleRate, kAudioUnitScope_Input), 96000);
  EXPECT_EQ(get<AudioDeviceID>(kAudioOutputUnitProperty_CurrentDevice), kDefault);
  hardware->defaultOutput = kOther;
  EXPECT_EQ(formatOf(unit, kAudioUnitScope_Input).mSampleRate, 48000);
}

TEST_F(OutputUnit, ItTellsTheFormatOfTheDeviceThatItIsGiven) {
  EXPECT_EQ(setDevice(kOther), noErr);
  EXPECT_EQ(get<AudioDeviceID>(kAudioOutputUnitProperty_CurrentDevice), kOther);
  EXPECT_EQ(formatOf(unit, kAudioUnitScope_Input).mChannelsPerFrame, 1U);
  EXPECT_EQ(setDevice(99), kAudioUnitErr_InvalidPropertyValue);
  EXPECT_EQ(get<AudioDeviceID>(kAudioOutputUnitProperty_CurrentDevice), kOther);
}

TEST_F(OutputUnit, WithoutADeviceItIsStereoFloatsAndCantBeStarted) {
  hardware->defaultOutput = 0;
  const AudioStreamBasicDescription format = formatOf(unit, kAudioUnitScope_Input);
  EXPECT_EQ(format.mSampleRate, 44100);
  EXPECT_EQ(format.mChannelsPerFrame, 2U);
  EXPECT_EQ(get<double>(kAudioUnitProperty_NominalSampleRate, kAudioUnitScope_Input), 44100);
  source.feed(unit);
  EXPECT_EQ(AudioUnitInitialize(unit), noErr);
  EXPECT_NE(unit->start(), noErr);
  EXPECT_EQ(get<std::uint32_t>(kAudioOutputUnitProperty_IsRunning), 0U);
}

TEST_F(OutputUnit, TheDevicesCyclePullsWhatIsDue) {
  begin();
  EXPECT_EQ(get<std::uint32_t>(kAudioOutputUnitProperty_IsRunning), 1U);
  const auto all = countedSamples(64);
  EXPECT_EQ(hardware->cycle(kDefault), std::vector<float>(all.begin(), all.begin() + 32));
  EXPECT_EQ(hardware->cycle(kDefault), std::vector<float>(all.begin() + 32, all.end()));
  EXPECT_EQ(hardware->cycle(kDefault), std::vector<float>(32));  // it has run out
  EXPECT_EQ(unit->stop(), noErr);
  EXPECT_FALSE(hardware->isRunning(kDefault));
  EXPECT_EQ(get<std::uint32_t>(kAudioOutputUnitProperty_IsRunning), 0U);
}

TEST_F(OutputUnit, StartingAndStoppingTwiceIsHarmless) {
  begin();
  EXPECT_EQ(unit->start(), noErr);
  EXPECT_EQ(unit->stop(), noErr);
  EXPECT_EQ(unit->stop(), noErr);
}

TEST_F(OutputUnit, AnInputOfAnotherFormatIsConverted) {
  NotedSource mono{countedSamples(16), 1};
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Input, floatFormat(96000, 1)), noErr);
  EXPECT_EQ(formatOf(unit, kAudioUnitScope_Input).mChannelsPerFrame, 1U);
  mono.feed(unit);
  AudioUnitInitialize(unit);
  unit->start();
  const auto& heard = hardware->cycle(kDefault);
  EXPECT_EQ(heard[20], 0.011F);
  EXPECT_EQ(heard[21], 0.011F);
}

TEST_F(OutputUnit, NothingCanBeSetWhileItRuns) {
  begin();
  EXPECT_EQ(setDevice(kOther), kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Input, floatFormat(96000, 1)), kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(source.feed(unit), kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(unit->connect(0, nullptr, 0), kAudioUnitErr_OperationNotSupported);
}

TEST_F(OutputUnit, TheDevicesSideCantBeSet) {
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Output, floatFormat(96000, 1)), kAudioUnitErr_OperationNotSupported);
}

TEST_F(OutputUnit, AUnitThatIsNotInitializedCantBeStarted) {
  EXPECT_EQ(unit->start(), kAudioUnitErr_Uninitialized);
}

TEST_F(OutputUnit, ADeviceThatRefusesToStartLeavesNothingBehind) {
  source.feed(unit);
  AudioUnitInitialize(unit);
  hardware->startStatus = kAudioHardwareUnspecifiedError;
  EXPECT_EQ(unit->start(), kAudioHardwareUnspecifiedError);
  hardware->startStatus = noErr;
  EXPECT_EQ(unit->start(), noErr);
}

TEST_F(OutputUnit, ADeviceThatWentToAnotherRateIsFollowedAtTheNextStart) {
  begin();
  unit->stop();
  EXPECT_EQ(setFormat(unit, kAudioUnitScope_Input, floatFormat(96000, 2)), noErr);
  hardware->at(kDefault).outputChannels = 1;
  EXPECT_EQ(unit->start(), noErr);
  EXPECT_EQ(hardware->cycle(kDefault).size(), 16U);
  EXPECT_EQ(source.timesAsked(), 1U);
}

TEST_F(OutputUnit, AShapeThatChangesWhileItRunsIsSilence) {
  begin();
  hardware->at(kDefault).outputChannels = 4;
  EXPECT_EQ(hardware->cycle(kDefault), std::vector<float>(64));
}

TEST_F(OutputUnit, ADeviceThatVanishesDoesNotRun) {
  begin();
  hardware->at(kDefault).isGone = true;
  EXPECT_EQ(get<std::uint32_t>(kAudioOutputUnitProperty_IsRunning), 0U);
  unit->stop();
}

TEST_F(OutputUnit, AUnitThatRunsCanBeDeletedWhileTheDeviceCycles) {
  begin();
  std::atomic<bool> isDone{false};
  std::thread cycles([&] {
    while (!isDone) {
      hardware->cycle(kDefault);
    }
  });
  std::this_thread::yield();
  CloseComponent(unit);
  unit = nullptr;
  isDone = true;
  cycles.join();
  EXPECT_FALSE(hardware->isRunning(kDefault));
}

TEST_F(OutputUnit, NobodyElseRendersIt) {
  EXPECT_EQ(render(unit, 10, 2).status, kAudioUnitErr_OperationNotSupported);
}

TEST_F(OutputUnit, AGraphStartsAndStopsIt) {
  AUGraph graph = nullptr;
  AUNode converter = 0;
  AUNode output = 0;
  AudioUnit first = nullptr;
  bool isRunning = false;
  NewAUGraph(&graph);
  AUGraphOpen(graph);
  AUGraphNewNode(graph, &kConverterUnit, &converter);
  AUGraphNewNode(graph, &kOutputUnit, &output);
  AUGraphGetNodeInfo(graph, converter, nullptr, &first);
  setFormat(first, kAudioUnitScope_Input, floatFormat(96000, 2));
  setFormat(first, kAudioUnitScope_Output, floatFormat(96000, 2));
  source.feed(first);
  AUGraphConnectNodeInput(graph, converter, 0, output, 0);
  EXPECT_EQ(AUGraphInitialize(graph), noErr);
  EXPECT_EQ(AUGraphStart(graph), noErr);
  EXPECT_EQ(hardware->cycle(kDefault)[0], 0.001F);
  EXPECT_EQ(AUGraphIsRunning(graph, &isRunning), noErr);
  EXPECT_TRUE(isRunning);
  EXPECT_EQ(AUGraphStop(graph), noErr);
  EXPECT_FALSE(hardware->isRunning(kDefault));
  DisposeAUGraph(graph);
}

}  // namespace
}  // namespace orv::test
