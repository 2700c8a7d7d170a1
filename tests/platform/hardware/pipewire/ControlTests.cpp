#include <cmath>

#include "PipeWireTestSupport.h"

namespace orv::test {
namespace {

float volume(AudioHardware& hardware, AudioDeviceID device, std::uint32_t channel) {
  return deviceValue<float>(hardware, device, false, kAudioDevicePropertyVolumeScalar, channel);
}

TEST_F(PipeWireTest, AVolumeThatIsSetIsReadAtOnceAndReachesTheServer) {
  const AudioDeviceID sink = device("orv-sink-a");
  EXPECT_EQ(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 0.5F, 2), noErr);
  EXPECT_EQ(volume(*hardware, sink, 2), 0.5F);
  EXPECT_EQ(volume(*hardware, sink, 1), 1.0F);
  EXPECT_TRUE(wasTold(sink, kAudioDevicePropertyVolumeScalar));
  EXPECT_TRUE(wasTold(sink, kAudioDevicePropertyVolumeDecibels));
  EXPECT_TRUE(comesTrue([&] { return propsOf("orv-sink-a").find("0.125") != std::string::npos; }));
}

TEST_F(PipeWireTest, AVolumeInDecibelsIsTheServersAmplitude) {
  const AudioDeviceID sink = device("orv-sink-a");
  EXPECT_EQ(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeDecibels, -20.0F, 1), noErr);
  EXPECT_NEAR(deviceValue<float>(*hardware, sink, false, kAudioDevicePropertyVolumeDecibels, 1), -20.0F, 1e-3);
  EXPECT_TRUE(comesTrue([&] { return propsOf("orv-sink-a").find("0.100") != std::string::npos; }));
}

TEST_F(PipeWireTest, AVolumeThatIsSetStaysOnceTheServerHasIt) {
  const AudioDeviceID sink = device("orv-sink-a");
  setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 0.3F, 1);
  EXPECT_TRUE(comesTrue([&] { return propsOf("orv-sink-a").find("0.027") != std::string::npos; }));
  events.take();
  PrivatePipeWire::addNode("later", "media.class=Audio/Source/Virtual audio.position=[ MONO ]");
  awaitDevice("later");
  EXPECT_EQ(volume(*hardware, sink, 1), 0.3F);
  EXPECT_EQ(events.count(kAudioDevicePropertyVolumeScalar), 0U);
}

TEST_F(PipeWireTest, AVolumeThatAnotherProgramSetsIsTold) {
  const AudioDeviceID sink = device("orv-sink-a");
  run({"pw-cli", "set-param", nodeID("orv-sink-a"), "Props", "{ channelVolumes: [ 0.125, 0.001 ] }"});
  EXPECT_TRUE(comesTrue([&] { return wasTold(sink, kAudioDevicePropertyVolumeScalar); }));
  EXPECT_NEAR(volume(*hardware, sink, 1), 0.5F, 1e-4);
  EXPECT_NEAR(volume(*hardware, sink, 2), 0.1F, 1e-4);
}

TEST_F(ManagedPipeWireTest, TheVolumeIsTheOneThatDesktopsShow) {
  const AudioDeviceID sink = device("orv-sink-a");
  ASSERT_EQ(run({"wpctl", "set-volume", nodeID("orv-sink-a"), "0.5"}).status, 0);
  EXPECT_TRUE(comesTrue([&] { return wasTold(sink, kAudioDevicePropertyVolumeScalar); }));
  EXPECT_NEAR(volume(*hardware, sink, 1), 0.5F, 1e-3);
  setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 0.25F, 1);
  setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 0.25F, 2);
  EXPECT_TRUE(comesTrue([&] {
    return run({"wpctl", "get-volume", nodeID("orv-sink-a")}).output.find("0.25") != std::string::npos;
  }));
}

TEST_F(PipeWireTest, AMuteIsOfTheWholeSectionAndGoesBothWays) {
  const AudioDeviceID sink = device("orv-sink-a");
  EXPECT_EQ(deviceValue<std::uint32_t>(*hardware, sink, false, kAudioDevicePropertyMute), 0U);
  EXPECT_EQ(deviceStatus(*hardware, sink, false, kAudioDevicePropertyMute, 1), kAudioHardwareUnknownPropertyError);
  EXPECT_EQ(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyMute, std::uint32_t{1}), noErr);
  EXPECT_TRUE(comesTrue([&] { return propsOf("orv-sink-a").find("Bool true") != std::string::npos; }));
  EXPECT_TRUE(wasTold(sink, kAudioDevicePropertyMute));
  run({"pw-cli", "set-param", nodeID("orv-sink-a"), "Props", "{ mute: false }"});
  EXPECT_TRUE(
      comesTrue([&] { return deviceValue<std::uint32_t>(*hardware, sink, false, kAudioDevicePropertyMute) == 0; }));
}

TEST_F(PipeWireTest, AVolumeThatIsNoNumberIsRefused) {
  const AudioDeviceID sink = device("orv-sink-a");
  EXPECT_NE(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, NAN, 1), noErr);
  EXPECT_EQ(volume(*hardware, sink, 1), 1.0F);
}

TEST_F(PipeWireTest, AMonitorHasNoVolumeOfItsOwn) {
  EXPECT_EQ(deviceStatus(*hardware, device("orv-sink-a.monitor"), true, kAudioDevicePropertyVolumeScalar, 1),
            kAudioHardwareUnknownPropertyError);
}

}  // namespace
}  // namespace orv::test
