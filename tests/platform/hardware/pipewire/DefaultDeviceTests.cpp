#include "PipeWireTestSupport.h"

namespace orv::test {
namespace {

constexpr auto kInput = kAudioHardwarePropertyDefaultInputDevice;
constexpr auto kOutput = kAudioHardwarePropertyDefaultOutputDevice;
constexpr auto kSystem = kAudioHardwarePropertyDefaultSystemOutputDevice;

OSStatus choose(AudioHardware& hardware, AudioHardwarePropertyID property, AudioDeviceID device) {
  return hardware.setHardwareProperty(property, sizeof device, &device);
}

TEST_F(PipeWireTest, TheDefaultDevicesAreTheServers) {
  EXPECT_EQ(hardwareDevice(*hardware, kInput), device("orv-source-a"));
  EXPECT_EQ(hardwareDevice(*hardware, kOutput), device("orv-sink-a"));
  EXPECT_EQ(hardwareDevice(*hardware, kSystem), device("orv-sink-a"));
}

TEST_F(PipeWireTest, ADefaultDeviceThatAnotherProgramChoosesIsTold) {
  run({"pw-metadata", "0", "default.audio.sink", "{ \"name\": \"orv-sink-51\" }", "Spa:String:JSON"});
  EXPECT_TRUE(comesTrue([&] { return wasTold(0, kOutput) && wasTold(0, kSystem); }));
  EXPECT_EQ(hardwareDevice(*hardware, kOutput), device("orv-sink-51"));
  EXPECT_EQ(hardwareDevice(*hardware, kSystem), device("orv-sink-51"));
}

TEST_F(PipeWireTest, ADefaultSourceThatIsASinkIsItsMonitor) {
  run({"pw-metadata", "0", "default.audio.source", "{ \"name\": \"orv-sink-b\" }", "Spa:String:JSON"});
  EXPECT_TRUE(comesTrue([&] { return hardwareDevice(*hardware, kInput) == device("orv-sink-b.monitor"); }));
}

TEST_F(PipeWireTest, WithoutADefaultTheFirstDeviceThatCanIsIt) {
  run({"pw-metadata", "-d", "0", "default.audio.source"});
  run({"pw-metadata", "0", "default.audio.sink", "{ \"name\": \"nobody\" }", "Spa:String:JSON"});
  PrivatePipeWire::removeNode("orv-sink-a");
  EXPECT_TRUE(comesTrue([&] { return hardwareDevice(*hardware, kOutput) == device("orv-sink-b"); }));
  EXPECT_EQ(hardwareDevice(*hardware, kInput), device("orv-source-a"));
}

TEST_F(ManagedPipeWireTest, ADefaultDeviceThatIsChosenHereIsEverybodys) {
  const AudioDeviceID wanted = device("orv-sink-51");
  EXPECT_EQ(choose(*hardware, kOutput, wanted), noErr);
  EXPECT_EQ(hardwareDevice(*hardware, kOutput), wanted);
  EXPECT_TRUE(comesTrue([&] {
    const std::string named = run({"pw-metadata", "0", "default.audio.sink"}).output;
    return named.find("orv-sink-51") != std::string::npos;
  }));
  EXPECT_EQ(choose(*hardware, kInput, device("orv-source-b")), noErr);
  EXPECT_TRUE(comesTrue([&] {
    const std::string named = run({"pw-metadata", "0", "default.audio.source"}).output;
    return named.find("orv-source-b") != std::string::npos;
  }));
  EXPECT_EQ(hardwareDevice(*hardware, kInput), device("orv-source-b"));
}

TEST_F(ManagedPipeWireTest, WhatTheDesktopChoosesIsTold) {
  ASSERT_EQ(run({"wpctl", "set-default", nodeID("orv-sink-b")}).status, 0);
  EXPECT_TRUE(comesTrue([&] { return wasTold(0, kOutput); }));
  EXPECT_EQ(hardwareDevice(*hardware, kOutput), device("orv-sink-b"));
}

TEST_F(PipeWireTest, AChoiceThatNobodyCarriesOutIsGivenUp) {
  EXPECT_EQ(choose(*hardware, kOutput, device("orv-sink-51")), noErr);
  EXPECT_EQ(hardwareDevice(*hardware, kOutput), device("orv-sink-51"));
  EXPECT_TRUE(comesTrue([&] { return hardwareDevice(*hardware, kOutput) == device("orv-sink-a"); }));
}

TEST_F(PipeWireTest, AChoiceThatCantBeIsRefused) {
  EXPECT_EQ(choose(*hardware, kOutput, device("orv-source-a")), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(choose(*hardware, kInput, device("orv-sink-a")), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(choose(*hardware, kOutput, 0xDEADBEEF), kAudioHardwareBadDeviceError);
  EXPECT_EQ(choose(*hardware, kSystem, device("orv-sink-b")), kAudioHardwareIllegalOperationError);
  const std::uint16_t half = 1;
  EXPECT_EQ(hardware->setHardwareProperty(kOutput, sizeof half, &half), kAudioHardwareBadPropertySizeError);
}

}  // namespace
}  // namespace orv::test
