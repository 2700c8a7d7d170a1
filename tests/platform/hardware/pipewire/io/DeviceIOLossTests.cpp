// Devices, ports, servers and connections that go away, or were never there.
#include "hardware/pipewire/io/DeviceIO.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "DeviceIOTestSupport.h"
#include "OrvPlatform/AudioHardware.h"
#include "support/PrivatePipeWire.h"
#include "support/Process.h"

namespace orv::test {
namespace {

using pipewire::DeviceIO;

}  // namespace

TEST_F(DeviceIOTest, CanBeDestroyedWhileItRuns) {
  for (int round = 0; round < 10; ++round) {
    Echo echo(1 << 20);
    {
      IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 64);
      ASSERT_EQ(io->start(&echo), noErr);
      ASSERT_TRUE(eventually([&] { return echo.cycles > 0; }));
    }
    const int after = echo.cycles;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(echo.cycles, after);
  }
}

TEST_F(DeviceIOTest, CanBeDestroyedBeforeItIsLinked) {
  for (int round = 0; round < 20; ++round) {
    const IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
    std::this_thread::sleep_for(std::chrono::microseconds(200 * round));
  }
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  EXPECT_EQ(io->start(&echo), noErr);
  EXPECT_TRUE(eventually([&] { return echo.cycles > 0; }));
  EXPECT_EQ(io.events.losses, 0);
}

TEST_F(DeviceIOTest, TellsThatItIsLostWhenItsDeviceGoesAndMakesNoMoreCycles) {
  for (int round = 0; round < 10; ++round) {
    graph->makeNode("short-lived", "Audio/Sink", 2);
    Echo echo(1 << 20);
    IOUnderTest io(*graph, "short-lived", "short-lived", 2, 64);
    ASSERT_EQ(io->start(&echo), noErr);
    ASSERT_TRUE(eventually([&] { return echo.cycles > 10 + round; }));
    graph->destroyNode(graph->nodeNamed("short-lived"));
    ASSERT_TRUE(eventually([&] { return io.events.losses > 0; }));
    const int after = echo.cycles;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_LE(echo.cycles, after + 1);  // the one that was under way
    EXPECT_EQ(io.events.losses, 1);
    EXPECT_FALSE(io->isRunning());
    EXPECT_EQ(io->start(&echo), kAudioHardwareBadDeviceError);
    io->stop();
    EXPECT_EQ(echo.faults, 0);
  }
}

TEST_F(DeviceIOTest, MakesNoCycleOnTheDriverThatGoesOnWhenTheDeviceIsGone) {
  graph->makeNode("short-lived", "Audio/Sink", 2);
  Echo echo(1 << 20);
  // Servers differ in whether a node runs on that nothing is linked to. This one is made to let it.
  setenv("PIPEWIRE_PROPS", "{ node.always-process = true }", 1);
  IOUnderTest io(*graph, "short-lived", "short-lived", 2, 64);
  unsetenv("PIPEWIRE_PROPS");
  ASSERT_EQ(io->start(&echo), noErr);
  ASSERT_TRUE(eventually([&] { return echo.cycles > 100; }));
  int whileAway = 0;
  {
    // The loop hears of nothing meanwhile, so only the I/O thread can notice.
    const GraphUnderTest::Lock lock(*graph);
    run({"pw-cli", "destroy", "short-lived"});
    const int after = echo.cycles;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    whileAway = echo.cycles - after;
  }
  EXPECT_LE(whileAway, 2);
  EXPECT_TRUE(eventually([&] { return io.events.losses == 1; }));
}

TEST_F(DeviceIOTest, TellsThatItIsLostWhenTheServerTakesItsOwnNodeAway) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&echo), noErr);
  ASSERT_TRUE(eventually([&] { return echo.cycles > 10; }));
  graph->destroyNode(graph->nodeNamed("io under test"));
  EXPECT_TRUE(eventually([&] { return io.events.losses == 1; }));
  EXPECT_FALSE(io->isRunning());
}

TEST_F(DeviceIOTest, IsNotMadeWithoutAnyPort) {
  Events events;
  pipewire::DeviceIOSetup setup;
  setup.loop = graph->loop();
  setup.core = graph->core();
  setup.name = "nothing";
  setup.frames = 256;
  setup.rate = kRate;
  const GraphUnderTest::Lock lock(*graph);
  EXPECT_EQ(DeviceIO::make(setup, events), nullptr);
}

TEST_F(DeviceIOTest, HearsSilenceFromAPortThatIsNotThere) {
  Events events;
  pipewire::DeviceIOSetup setup;
  setup.loop = graph->loop();
  setup.core = graph->core();
  setup.name = "half";
  setup.input = graph->heard("orv-sink-a", 2);
  setup.output = graph->played("orv-sink-a", 2);
  setup.input.ports[1] = 999999;
  setup.frames = 256;
  setup.rate = kRate;
  std::unique_ptr<DeviceIO> io;
  {
    const GraphUnderTest::Lock lock(*graph);
    io = DeviceIO::make(setup, events);
  }
  ASSERT_NE(io, nullptr);
  Tape left(5000, 0);
  ASSERT_EQ(io->start(&left), noErr);
  EXPECT_TRUE(eventually([&] { return left.isDone(); }));
  io->stop();
  EXPECT_EQ(left.faults, 0);
  Tape right(5000, 1);
  ASSERT_EQ(io->start(&right), noErr);
  EXPECT_TRUE(eventually([&] { return right.isDone(); }));
  io->stop();
  EXPECT_EQ(right.lastCount(), 0.0F);
  const GraphUnderTest::Lock lock(*graph);
  io.reset();
}

TEST_F(DeviceIOTest, DoesNotStartWhenNoPortIsThere) {
  Events events;
  pipewire::DeviceIOSetup setup;
  setup.loop = graph->loop();
  setup.core = graph->core();
  setup.name = "none";
  setup.input = {999998, {999997, 999996}};
  setup.frames = 256;
  setup.rate = kRate;
  std::unique_ptr<DeviceIO> io;
  {
    const GraphUnderTest::Lock lock(*graph);
    io = DeviceIO::make(setup, events);
  }
  ASSERT_NE(io, nullptr);
  Tape tape(5000);
  EXPECT_NE(io->start(&tape), noErr);
  EXPECT_FALSE(io->isRunning());
  const GraphUnderTest::Lock lock(*graph);
  io.reset();
}

TEST_F(DeviceIOTest, TellsThatItIsLostWhenTheServerDies) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&echo), noErr);
  ASSERT_TRUE(eventually([&] { return echo.cycles > 10; }));
  server->killServer();
  EXPECT_TRUE(eventually([&] { return io.events.losses == 1; }));
  EXPECT_FALSE(io->isRunning());
  EXPECT_EQ(io->start(&echo), kAudioHardwareBadDeviceError);
  EXPECT_EQ(echo.faults, 0);
}

TEST_F(DeviceIOTest, OutlivesItsConnection) {
  for (const bool isStarted : {false, true}) {
    graph = std::make_unique<GraphUnderTest>();
    Echo echo(1 << 20);
    IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
    if (isStarted) {
      ASSERT_EQ(io->start(&echo), noErr);
      ASSERT_TRUE(eventually([&] { return echo.cycles > 10; }));
    }
    graph->disconnect();
    EXPECT_NE(io->start(&echo), noErr);
    const int after = echo.cycles;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(echo.cycles, after);
  }
}

TEST_F(DeviceIOTest, StopsWhileTheServerHangs) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&echo), noErr);
  ASSERT_TRUE(eventually([&] { return echo.cycles > 10; }));
  server->pauseServer();
  io->stop();
  const int after = echo.cycles;
  server->resumeServer();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(echo.cycles, after);
  EXPECT_EQ(io->start(&echo), noErr);
  EXPECT_TRUE(eventually([&] { return echo.cycles > after + 10; }));
  io->stop();
}

}  // namespace orv::test
