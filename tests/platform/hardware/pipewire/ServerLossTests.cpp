#include <csignal>
#include <thread>

#include "PipeWireTestSupport.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

TEST(PipeWireServer, ThatIsMissingIsSaidAtOnce) {
  const TemporaryDirectory empty;
  setenv("PIPEWIRE_RUNTIME_DIR", empty.path().c_str(), 1);
  const auto start = std::chrono::steady_clock::now();
  std::string problem;
  EXPECT_EQ(connectToPipeWire(std::chrono::seconds(60), &problem), nullptr);
  EXPECT_NE(problem.find("no PipeWire server"), std::string::npos) << problem;
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(connectToPipeWire(std::chrono::seconds(60), nullptr), nullptr);
}

TEST_F(PipeWireTest, AServerThatDoesNotAnswerIsGivenUp) {
  server->pauseServer();
  std::string problem;
  EXPECT_EQ(connectToPipeWire(std::chrono::milliseconds(50), &problem), nullptr);
  EXPECT_NE(problem.find("in time"), std::string::npos) << problem;
  server->resumeServer();
}

TEST_F(PipeWireTest, PropertiesAreReadAndSetWhileTheServerHangs) {
  const AudioDeviceID sink = device("orv-sink-a");
  server->pauseServer();
  EXPECT_EQ(deviceText(*hardware, sink, kAudioDevicePropertyDeviceUID), "orv-sink-a");
  EXPECT_EQ(setDeviceValue(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 0.5F, 1), noErr);
  EXPECT_EQ(deviceValue<float>(*hardware, sink, false, kAudioDevicePropertyVolumeScalar, 1), 0.5F);
  server->resumeServer();
  EXPECT_TRUE(comesTrue([&] { return propsOf("orv-sink-a").find("0.125") != std::string::npos; }));
}

TEST_F(PipeWireTest, AServerThatIsKilledTakesItsDevicesWithIt) {
  const AudioDeviceID duplex = device("orv-duplex");
  CountingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(3);
  server->killServer();
  EXPECT_TRUE(comesTrue([&] { return devices().empty(); }));
  const auto before = sink.cycles();
  EXPECT_TRUE(comesTrue([&] {
    return wasTold(duplex, kAudioDevicePropertyDeviceIsAlive) && wasTold(duplex, kAudioDevicePropertyDeviceIsRunning) &&
           wasTold(0, kAudioHardwarePropertyDevices) && wasTold(0, kAudioHardwarePropertyDefaultInputDevice);
  }));
  EXPECT_EQ(hardwareDevice(*hardware, kAudioHardwarePropertyDefaultOutputDevice), kAudioDeviceUnknown);
  EXPECT_EQ(deviceStatus(*hardware, duplex, false, kAudioDevicePropertyDeviceIsAlive), kAudioHardwareBadDeviceError);
  EXPECT_EQ(hardware->stop(duplex), noErr);
  EXPECT_EQ(hardware->start(duplex, &sink), kAudioHardwareBadDeviceError);
  EXPECT_EQ(sink.cycles(), before);
}

TEST_F(PipeWireTest, AServerThatComesBackBringsTheSameDevicesWithIt) {
  const AudioDeviceID duplex = device("orv-duplex");
  const auto all = devices();
  CountingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(3);
  server->killServer();
  EXPECT_TRUE(comesTrue([&] { return devices().empty(); }));
  EXPECT_EQ(hardware->stop(duplex), noErr);
  events.take();
  server->restartServer();
  EXPECT_EQ(awaitDevice("orv-duplex"), duplex);
  EXPECT_EQ(devices(), all);
  EXPECT_TRUE(comesTrue([&] { return events.count(kAudioHardwarePropertyDevices) > 0; }));
  const auto before = sink.cycles();
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(before + 3);
  EXPECT_EQ(hardware->stop(duplex), noErr);
}

TEST_F(PipeWireTest, AServerMayGoWhileDevicesStartAndStop) {
  const AudioDeviceID duplex = device("orv-duplex");
  std::atomic<bool> isOver{false};
  std::thread starter([&] {
    CountingSink sink;
    while (!isOver) {
      hardware->start(duplex, &sink);
      hardware->stop(duplex);
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  server->killServer();
  EXPECT_TRUE(comesTrue([&] { return devices().empty(); }));
  isOver = true;
  starter.join();
}

TEST_F(PipeWireTest, ANodeThatGoesTakesTheCyclesWithIt) {
  PrivatePipeWire::addNode("guest", "media.class=Audio/Duplex audio.position=[ FL FR ]");
  const AudioDeviceID guest = awaitDevice("guest");
  CountingSink sink;
  ASSERT_EQ(hardware->start(guest, &sink), noErr);
  sink.waitForCycles(3);
  PrivatePipeWire::removeNode("guest");
  EXPECT_TRUE(comesTrue([&] { return device("guest") == kAudioDeviceUnknown; }));
  const auto before = sink.cycles();
  EXPECT_EQ(hardware->stop(guest), noErr);
  EXPECT_EQ(sink.cycles(), before);
}

TEST_F(PipeWireTest, ADeviceWhoseLinksAnotherProgramTakesAwayIsToldAsGone) {
  const AudioDeviceID duplex = device("orv-duplex");
  CountingSink sink;
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(3);
  run({"pw-cli", "destroy", nodeID("OrvCoreAudio: Duplex")});
  EXPECT_TRUE(comesTrue([&] { return wasTold(duplex, kAudioDevicePropertyDeviceIsAlive); }));
  EXPECT_EQ(hardware->stop(duplex), noErr);
  EXPECT_EQ(awaitDevice("orv-duplex"), duplex);
  const auto before = sink.cycles();
  ASSERT_EQ(hardware->start(duplex, &sink), noErr);
  sink.waitForCycles(before + 3);
  EXPECT_EQ(hardware->stop(duplex), noErr);
}

}  // namespace
}  // namespace orv::test
