// The I/O of a device on a real server: null sinks, whose monitors bring back what was played.
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

/// Runs `attempt` until the machine was not too busy for it, a few times at most. It returns how often the device was
/// overloaded, which is allowed to lose frames.
template <typename Attempt>
void untilNotOverloaded(const Attempt& attempt) {
  for (int i = 0; i < 8; ++i) {
    if (attempt() == 0) {
      return;
    }
  }
  GTEST_SKIP() << "the machine is too busy to play and record without a gap";
}

}  // namespace

TEST_F(DeviceIOTest, MakesCyclesOfExactlyTheFramesThatWereAskedForWhateverTheQuantum) {
  for (const std::uint32_t quantum : {256U, 1024U}) {
    GraphUnderTest::setSetting("clock.force-quantum", std::to_string(quantum));
    for (const std::uint32_t frames : {1U, 100U, 256U, 1000U, 8192U}) {
      untilNotOverloaded([&] {
        Echo echo(30000);
        IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, frames);
        EXPECT_EQ(io->start(&echo), noErr);
        EXPECT_TRUE(eventually([&] { return echo.isDone(); }));
        io->stop();
        if (io.events.overloads == 0) {
          EXPECT_EQ(echo.faults, 0) << quantum << " " << frames;
          EXPECT_EQ(echo.frames, frames);
          EXPECT_EQ(echo.firstHeard(), frames + io->latencyFrames(true) + io->latencyFrames(false))
              << quantum << " " << frames;
          EXPECT_TRUE(echo.isExact()) << quantum << " " << frames;
        }
        return io.events.overloads.load();
      });
    }
  }
}

TEST_F(DeviceIOTest, AddsNoDelayWhereTheServerTakesTheFramesForItsQuantum) {
  for (const std::uint32_t frames : {64U, 512U, 2048U}) {
    untilNotOverloaded([&] {
      Echo echo(20000);
      IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, frames);
      EXPECT_EQ(io->start(&echo), noErr);
      EXPECT_TRUE(eventually([&] { return echo.isDone(); }));
      io->stop();
      if (io.events.overloads == 0) {
        EXPECT_EQ(io->latencyFrames(true) + io->latencyFrames(false), 0U) << frames;
        EXPECT_EQ(echo.firstHeard(), frames);  // one cycle
        EXPECT_TRUE(echo.isExact()) << frames;
      }
      return io.events.overloads.load();
    });
  }
}

TEST_F(DeviceIOTest, BeginsOnceTheServerHasTakenItsFrames) {
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  for (const std::uint32_t frames : {256U, 2048U, 512U, 1024U}) {
    {
      const GraphUnderTest::Lock lock(*graph);
      io->setFrames(frames);
    }
    Echo echo(10000);
    ASSERT_EQ(io->start(&echo), noErr);
    ASSERT_TRUE(eventually([&] { return echo.isDone(); }));
    EXPECT_EQ(io->latencyFrames(true) + io->latencyFrames(false), 0U);
    EXPECT_EQ(echo.faults, 0);
    io->stop();
  }
}

TEST_F(DeviceIOTest, HearsWhatItPlayedAtTheSampleTimeAndHostTimeAtWhichItPlayedIt) {
  for (const std::uint32_t frames : {256U, 1000U}) {
    untilNotOverloaded([&] {
      TimedEcho echo(20000);
      IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, frames);
      EXPECT_EQ(io->start(&echo), noErr);
      EXPECT_TRUE(eventually([&] { return echo.isDone(); }));
      io->stop();
      if (io.events.overloads == 0) {
        EXPECT_GT(echo.compared, 10000);
        EXPECT_EQ(echo.faults, 0);
      }
      return io.events.overloads.load();
    });
  }
}

TEST_F(DeviceIOTest, MakesNoCycleAfterStop) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 64);
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(io->start(&echo), noErr);
    const int before = echo.cycles;
    ASSERT_TRUE(eventually([&] { return echo.cycles > before + 2; }));
    EXPECT_TRUE(io->isRunning());
    io->stop();
    EXPECT_FALSE(io->isRunning());
    const int after = echo.cycles;
    std::this_thread::sleep_for(std::chrono::milliseconds(8));
    EXPECT_EQ(echo.cycles, after);
  }
}

TEST_F(DeviceIOTest, WaitsInStopForTheCycleThatIsUnderWay) {
  SlowSink slow(std::chrono::milliseconds(50));
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&slow), noErr);
  ASSERT_TRUE(eventually([&] { return slow.begun > 0; }));
  io->stop();
  EXPECT_EQ(slow.begun, slow.ended);
}

TEST_F(DeviceIOTest, EndsWithTheCycleThatItIsStoppedIn) {
  for (const std::uint32_t frames : {1U, 256U}) {  // one of many in a quantum, and the only one
    IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, frames);
    StoppingSink sink(*io);
    ASSERT_EQ(io->start(&sink), noErr);
    ASSERT_TRUE(eventually([&] { return sink.cycles > 0; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(sink.cycles, 1);
    EXPECT_FALSE(io->isRunning());
    sink.stops = false;
    ASSERT_EQ(io->start(&sink), noErr);
    EXPECT_TRUE(eventually([&] { return sink.cycles > 3; }));
    io->stop();
  }
}

TEST_F(DeviceIOTest, RefusesToStartTwiceOrForNobody) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  EXPECT_EQ(io->start(nullptr), kAudioHardwareIllegalOperationError);
  EXPECT_EQ(io->start(&echo), noErr);
  EXPECT_EQ(io->start(&echo), kAudioHardwareIllegalOperationError);
  io->stop();
}

TEST_F(DeviceIOTest, KeepsItsCyclesAndLosesNoFrameWhenAnotherClientForcesTheQuantum) {
  for (const std::uint32_t frames : {256U, 1000U}) {
    untilNotOverloaded([&] {
      Counter counter;
      Tape tape(200000);
      // Linked to a source, which drives it then, so that the sink's monitor is not a quantum late.
      const IOUnderTest driven(*graph, "orv-source-a", "orv-sink-b", 2, frames);
      IOUnderTest player(*graph, "", "orv-sink-b", 2, frames);
      IOUnderTest recorder(*graph, "orv-sink-b", "", 2, frames);
      EXPECT_EQ(recorder->start(&tape), noErr);
      EXPECT_EQ(player->start(&counter), noErr);
      for (const char* const quantum : {"1024", "64", "2048", "128", "512"}) {
        GraphUnderTest::setSetting("clock.force-quantum", quantum);
        const std::size_t before = tape.heard();
        EXPECT_TRUE(eventually([&] { return tape.heard() > before + 10000; }));
      }
      player->stop();
      recorder->stop();
      GraphUnderTest::setSetting("clock.force-quantum", "0");
      const int overloads = player.events.overloads + recorder.events.overloads;
      if (overloads == 0) {
        EXPECT_EQ(tape.faults + counter.faults, 0);
        EXPECT_EQ(tape.frames, frames);
        EXPECT_EQ(tape.skipped(), 0U);
        EXPECT_GT(tape.lastCount(), 40000.0F);
      }
      return overloads;
    });
  }
}

TEST_F(DeviceIOTest, TellsAnOverloadWhenTheServerCutsTheMonitorOfADriverShort) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 1024);
  ASSERT_EQ(io->start(&echo), noErr);
  ASSERT_TRUE(eventually([&] { return echo.cycles > 3; }));
  GraphUnderTest::setSetting("clock.force-quantum", "4096");
  ASSERT_TRUE(eventually([&] { return io->latencyFrames(true) > 0; }));
  const int before = io.events.overloads;
  GraphUnderTest::setSetting("clock.force-quantum", "2048");
  const int cycles = echo.cycles;
  ASSERT_TRUE(eventually([&] { return echo.cycles > cycles + 20; }));
  EXPECT_GT(io.events.overloads, before);
  io->stop();
}

TEST_F(DeviceIOTest, TellsTheRateThatAnotherClientForces) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&echo), noErr);
  GraphUnderTest::setSetting("clock.force-rate", "96000");
  EXPECT_TRUE(eventually([&] { return io.events.rate == 96000; }));
  const int before = echo.cycles;
  EXPECT_TRUE(eventually([&] { return echo.cycles > before + 20; }));
  GraphUnderTest::setSetting("clock.force-rate", std::to_string(kRate));
  EXPECT_TRUE(eventually([&] { return io.events.rate == kRate; }));
  io->stop();
  EXPECT_EQ(echo.faults, 0);
  EXPECT_EQ(echo.frames, 256U);
}

TEST_F(DeviceIOTest, TellsTheRateWhenItIsAnotherThanTheSetUpSays) {
  Echo echo(1 << 20);
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256, 44100);
  EXPECT_TRUE(eventually([&] { return io.events.rate == kRate; }));
}

TEST_F(DeviceIOTest, PlaysAndHearsSixtyFourChannels) {
  graph->makeNode("wide", "Audio/Sink", 64);
  untilNotOverloaded([&] {
    Echo echo(10000);
    IOUnderTest io(*graph, "wide", "wide", 64, 256);
    EXPECT_EQ(io->start(&echo), noErr);
    EXPECT_TRUE(eventually([&] { return echo.isDone(); }));
    io->stop();
    if (io.events.overloads == 0) {
      EXPECT_EQ(echo.channels, 64U);
      EXPECT_EQ(echo.faults, 0);
      EXPECT_TRUE(echo.isExact());
    }
    return io.events.overloads.load();
  });
}

TEST_F(DeviceIOTest, WorksWithOneSideOnly) {
  Tape tape(5000);
  IOUnderTest heard(*graph, "orv-source-a", "", 2, 256);
  ASSERT_EQ(heard->start(&tape), noErr);
  EXPECT_TRUE(eventually([&] { return tape.isDone(); }));
  heard->stop();
  EXPECT_EQ(tape.faults, 0);
  Counter counter;
  IOUnderTest played(*graph, "", "orv-sink-b", 2, 256);
  ASSERT_EQ(played->start(&counter), noErr);
  EXPECT_TRUE(eventually([&] { return counter.cycles > 20; }));
  played->stop();
  EXPECT_EQ(counter.faults, 0);
}

TEST_F(DeviceIOTest, RunsTwoDevicesOfDifferentDriversInOneCycle) {
  Echo echo(5000);
  IOUnderTest io(*graph, "orv-source-a", "orv-sink-b", 2, 256);
  ASSERT_EQ(io->start(&echo), noErr);
  EXPECT_TRUE(eventually([&] { return echo.isDone(); }));
  io->stop();
  EXPECT_EQ(echo.faults, 0);
}

TEST_F(DeviceIOTest, TakesOtherFramesWhileItRuns) {
  for (int round = 0; round < 2; ++round) {
    Echo echo(1 << 20);
    echo.mayChange = true;
    IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
    ASSERT_EQ(io->start(&echo), noErr);
    for (const std::uint32_t frames : {1024U, 64U, 1000U, 1U, 256U}) {
      {
        const GraphUnderTest::Lock lock(*graph);
        io->setFrames(frames);
      }
      EXPECT_TRUE(eventually([&] { return echo.frames == frames; })) << frames;
    }
    io->stop();
    EXPECT_EQ(echo.faults, 0);
  }
}

TEST_F(DeviceIOTest, TakesNumbersOfFramesOutOfRangeForTheNearest) {
  Echo echo(1 << 20);
  echo.mayChange = true;
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 0);
  ASSERT_EQ(io->start(&echo), noErr);
  EXPECT_TRUE(eventually([&] { return echo.frames == 1; }));
  {
    const GraphUnderTest::Lock lock(*graph);
    io->setFrames(100'000);
  }
  EXPECT_TRUE(eventually([&] { return echo.frames == DeviceIO::kMostFrames; }));
  io->stop();
}

TEST_F(DeviceIOTest, TellsAnOverloadWhenACycleTakesTooLong) {
  SlowSink slow(std::chrono::milliseconds(12));
  IOUnderTest io(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  ASSERT_EQ(io->start(&slow), noErr);
  EXPECT_TRUE(eventually([&] { return io.events.overloads > 0; }));
  io->stop();
}

TEST_F(DeviceIOTest, RunsSeveralDevicesBesideEachOther) {
  Echo first(10000);
  Echo second(10000);
  IOUnderTest a(*graph, "orv-sink-a", "orv-sink-a", 2, 256);
  IOUnderTest b(*graph, "orv-sink-b", "orv-sink-b", 2, 512);
  ASSERT_EQ(a->start(&first), noErr);
  ASSERT_EQ(b->start(&second), noErr);
  EXPECT_TRUE(eventually([&] { return first.isDone() && second.isDone(); }));
  EXPECT_EQ(first.faults + second.faults, 0);
  EXPECT_EQ(first.frames, 256U);
  EXPECT_EQ(second.frames, 512U);
  a->stop();
  b->stop();
}

}  // namespace orv::test
