#include <set>

#include "NodeMaker.h"
#include "PipeWireTestSupport.h"

namespace orv::test {
namespace {

TEST_F(PipeWireTest, EveryNodeThatPlaysOrHearsIsADevice) {
  EXPECT_EQ(devices().size(), 9U);
  for (const char* const uid : {"orv-sink-a", "orv-sink-b", "orv-sink-51", "orv-source-a", "orv-source-b", "orv-duplex",
                                "orv-sink-a.monitor", "orv-sink-b.monitor", "orv-sink-51.monitor"}) {
    EXPECT_NE(device(uid), kAudioDeviceUnknown) << uid;
  }
}

TEST_F(PipeWireTest, ADeviceTellsWhatItIs) {
  const AudioDeviceID sink = device("orv-sink-51");
  EXPECT_EQ(deviceText(*hardware, sink, kAudioDevicePropertyDeviceUID), "orv-sink-51");
  EXPECT_EQ(deviceText(*hardware, sink, kAudioDevicePropertyDeviceNameCFString), "Sink 5.1");
  EXPECT_EQ(deviceText(*hardware, sink, kAudioDevicePropertyDeviceManufacturerCFString), "Example Vendor");
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, sink, false, kAudioDevicePropertyTransportType), fourCC("virt"));
  EXPECT_EQ(deviceList<AudioStreamID>(*hardware, sink, false, kAudioDevicePropertyStreams).size(), 1U);
  EXPECT_TRUE(deviceList<AudioStreamID>(*hardware, sink, true, kAudioDevicePropertyStreams).empty());
  const auto format =
      deviceValue<AudioStreamBasicDescription>(*hardware, sink, false, kAudioDevicePropertyStreamFormat);
  EXPECT_EQ(format.mChannelsPerFrame, 6U);
  EXPECT_EQ(format.mSampleRate, 48000);
}

TEST_F(PipeWireTest, WhatTheServerCantAnswerIsUnknown) {
  const AudioDeviceID sink = device("orv-sink-a");
  for (const AudioDevicePropertyID property :
       {kAudioDevicePropertyDataSource, kAudioDevicePropertyDataSources, kAudioDevicePropertyClockSource,
        kAudioDevicePropertyHogMode, kAudioDevicePropertyPlayThru}) {
    EXPECT_EQ(deviceStatus(*hardware, sink, false, property), kAudioHardwareUnknownPropertyError)
        << fourCCText(property);
  }
  EXPECT_EQ(deviceStatus(*hardware, sink, false, kAudioDevicePropertyJackIsConnected, 1),
            kAudioHardwareUnknownPropertyError);
  float chime = 0;
  std::uint32_t size = sizeof chime;
  EXPECT_EQ(hardware->hardwareProperty(kAudioHardwarePropertyBootChimeVolumeScalar, &size, &chime),
            kAudioHardwareUnknownPropertyError);
}

TEST_F(PipeWireTest, AMonitorHearsAndDoesNotPlay) {
  const AudioDeviceID monitor = device("orv-sink-51.monitor");
  EXPECT_EQ(deviceText(*hardware, monitor, kAudioDevicePropertyDeviceNameCFString), "Monitor of Sink 5.1");
  EXPECT_EQ(deviceList<AudioStreamID>(*hardware, monitor, true, kAudioDevicePropertyStreams).size(), 1U);
  EXPECT_TRUE(deviceList<AudioStreamID>(*hardware, monitor, false, kAudioDevicePropertyStreams).empty());
}

TEST_F(PipeWireTest, AStreamBelongsToOneDeviceOnly) {
  std::set<AudioStreamID> all;
  for (const AudioDeviceID each : devices()) {
    for (const bool isInput : {true, false}) {
      for (const AudioStreamID stream :
           deviceList<AudioStreamID>(*hardware, each, isInput, kAudioDevicePropertyStreams)) {
        EXPECT_TRUE(all.insert(stream).second);
        AudioDeviceID owner = kAudioDeviceUnknown;
        std::uint32_t size = sizeof owner;
        EXPECT_EQ(hardware->streamProperty(stream, 0, kAudioStreamPropertyOwningDevice, &size, &owner), noErr);
        EXPECT_EQ(owner, each);
      }
    }
  }
  EXPECT_EQ(all.size(), 10U);
}

TEST_F(PipeWireTest, ADeviceThatComesAndGoesIsToldAndHasItsIDAgain) {
  PrivatePipeWire::addNode("guest", "media.class=Audio/Source/Virtual audio.position=[ MONO ]");
  const AudioDeviceID first = awaitDevice("guest");
  EXPECT_TRUE(comesTrue([&] { return wasTold(0, kAudioHardwarePropertyDevices); }));
  PrivatePipeWire::removeNode("guest");
  EXPECT_TRUE(comesTrue([&] { return device("guest") == kAudioDeviceUnknown; }));
  EXPECT_TRUE(comesTrue([&] { return wasTold(first, kAudioDevicePropertyDeviceIsAlive); }));
  PrivatePipeWire::addNode("guest", "media.class=Audio/Source/Virtual audio.position=[ MONO ]");
  EXPECT_EQ(awaitDevice("guest"), first);
}

TEST_F(PipeWireTest, AnotherBackendHasTheSameIDs) {
  std::string problem;
  const auto second = connectToPipeWire(std::chrono::seconds(10), &problem);
  ASSERT_NE(second, nullptr) << problem;
  const auto ids = devices();
  std::vector<AudioDeviceID> others(ids.size());
  auto size = static_cast<std::uint32_t>(others.size() * sizeof(AudioDeviceID));
  EXPECT_EQ(second->hardwareProperty(kAudioHardwarePropertyDevices, &size, others.data()), noErr);
  EXPECT_EQ(others, ids);
}

TEST_F(PipeWireTest, ASinkWith64ChannelsRunsWithAllOfThem) {
  std::string channels;
  for (int i = 0; i < 64; ++i) {
    channels += " AUX" + std::to_string(i);
  }
  PrivatePipeWire::addNode("wide", "media.class=Audio/Sink audio.channels=64 audio.position=[" + channels + " ]");
  const AudioDeviceID wide = awaitDevice("wide");
  EXPECT_EQ(deviceValue<AudioStreamBasicDescription>(*hardware, wide, false, kAudioDevicePropertyStreamFormat)
                .mChannelsPerFrame,
            64U);
  EXPECT_EQ(deviceStatus(*hardware, wide, false, kAudioDevicePropertyPreferredChannelLayout),
            kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(setDeviceValue(*hardware, wide, false, kAudioDevicePropertyVolumeScalar, 0.5F, 64), noErr);
  EXPECT_TRUE(comesTrue([&] { return propsOf("wide").find("0.125") != std::string::npos; }));
  CountingSink sink;
  ASSERT_EQ(hardware->start(wide, &sink), noErr);
  sink.waitForCycles(3);
  EXPECT_EQ(hardware->stop(wide), noErr);
}

TEST_F(PipeWireTest, NamesThatAreNoUTF8AreMadeValid) {
  ASSERT_TRUE(addNodeWithBytes("bad\xFFname", "Worse \xC3"));
  const AudioDeviceID bad = awaitDevice("bad\xEF\xBF\xBDname");
  EXPECT_EQ(deviceText(*hardware, bad, kAudioDevicePropertyDeviceNameCFString), "Worse \xEF\xBF\xBD");
}

TEST_F(PipeWireTest, StartingADeviceThatIsNotThereFailsAndStoppingItIsNoFailure) {
  CountingSink sink;
  EXPECT_EQ(hardware->start(0xDEADBEEF, &sink), kAudioHardwareBadDeviceError);
  EXPECT_EQ(hardware->stop(0xDEADBEEF), noErr);
}

TEST_F(PipeWireTest, ADeviceRunsForAsLongAsItIsStartedAndTellsSo) {
  const AudioDeviceID duplex = device("orv-duplex");
  CountingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, duplex, false, kAudioDevicePropertyDeviceIsRunning), 1U);
  EXPECT_NE(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(3);
  EXPECT_TRUE(comesTrue([&] { return wasTold(duplex, kAudioDevicePropertyDeviceIsRunningSomewhere); }));
  EXPECT_EQ(hardware->stop(duplex), noErr);
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, duplex, false, kAudioDevicePropertyDeviceIsRunning), 0U);
  const auto before = sink.cycles();
  EXPECT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(before + 3);
  EXPECT_EQ(hardware->stop(duplex), noErr);
  EXPECT_FALSE(sink.overlapped());
}

TEST_F(PipeWireTest, ABackendThatGoesWhileADeviceRunsMakesNoMoreCycles) {
  CountingSink sink;
  ASSERT_EQ(hardware->start(device("orv-duplex"), &sink), noErr);
  sink.waitForCycles(3);
  hardware = nullptr;
  const auto before = sink.cycles();
  std::string problem;
  hardware = connectToPipeWire(std::chrono::seconds(10), &problem);
  EXPECT_EQ(sink.cycles(), before);
}

}  // namespace
}  // namespace orv::test
