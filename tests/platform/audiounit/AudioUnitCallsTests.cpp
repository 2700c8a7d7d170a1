#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/audiounit/AudioUnitTestSupport.h"
#include "support/LogCapture.h"

namespace orv::test {
namespace {

TEST(AudioUnitCalls, ComponentsAreFoundByWhatTheDescriptionSays) {
  const ComponentDescription anything = {0, 0, 0, 0, 0};
  const Component first = FindNextComponent(0, &anything);
  const Component second = FindNextComponent(first, &anything);
  EXPECT_NE(first, 0U);
  EXPECT_NE(second, 0U);
  EXPECT_EQ(FindNextComponent(second, &anything), 0U);
  EXPECT_EQ(FindNextComponent(0, &kConverterUnit), first);
  EXPECT_EQ(FindNextComponent(0, &kOutputUnit), second);
  EXPECT_EQ(FindNextComponent(0, nullptr), 0U);
}

TEST(AudioUnitCalls, TheDefaultOutputUnitTellsTheFormatItTakes) {
  AudioUnit unit = nullptr;
  ASSERT_EQ(OpenAComponent(FindNextComponent(0, &kOutputUnit), &unit), noErr);
  EXPECT_EQ(AudioUnitInitialize(unit), noErr);
  const AudioStreamBasicDescription format = formatOf(unit, kAudioUnitScope_Input);
  EXPECT_EQ(format.mSampleRate, 44100);
  EXPECT_EQ(format.mChannelsPerFrame, 2U);
  EXPECT_EQ(format.mBitsPerChannel, 32U);
  double rate = 0;
  std::uint32_t size = sizeof rate;
  EXPECT_EQ(AudioUnitGetProperty(unit, fourCC("nsrt"), kAudioUnitScope_Input, 0, &rate, &size), noErr);
  EXPECT_EQ(rate, 44100);
  EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
  EXPECT_EQ(render(unit, 10, 2).status, kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(CloseComponent(unit), noErr);
}

TEST(AudioUnitCalls, MissingHandlesAreRefused) {
  AudioUnit unit = nullptr;
  AUNode node = 0;
  bool isRunning = false;
  std::uint32_t size = 0;
  EXPECT_EQ(OpenAComponent(0, &unit), kAudioUnitErr_ComponentNotFound);
  EXPECT_EQ(OpenAComponent(1000, &unit), kAudioUnitErr_ComponentNotFound);
  EXPECT_EQ(OpenAComponent(1, nullptr), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(CloseComponent(nullptr), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AudioUnitInitialize(nullptr), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AudioUnitGetProperty(nullptr, 8, 1, 0, nullptr, &size), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(NewAUGraph(nullptr), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AUGraphNewNode(nullptr, &kConverterUnit, &node), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(AUGraphIsRunning(nullptr, &isRunning), kAudioUnitErr_InvalidParameter);
  EXPECT_EQ(DisposeAUGraph(nullptr), kAudioUnitErr_InvalidParameter);
}

/// A service whose one unit can't be made.
class Throwing final : public AudioUnitService {
 public:
  std::vector<ComponentDescription> components() const override { return {kConverterUnit}; }
  OSStatus make(std::size_t, std::unique_ptr<RenderUnit>*) override { throw std::runtime_error("no units today"); }
};

TEST(AudioUnitCalls, WhatAServiceThrowsBecomesAStatusAndALine) {
  const LogCapture log;
  const auto before = installAudioUnitService(std::make_shared<Throwing>());
  AudioUnit unit = nullptr;
  EXPECT_EQ(OpenAComponent(FindNextComponent(0, &kConverterUnit), &unit), kAudioUnitErr_OperationNotSupported);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"OpenAComponent: no units today"});
  installAudioUnitService(nullptr);
  EXPECT_EQ(audioUnitService(), before);
}

}  // namespace
}  // namespace orv::test
