#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "GraphUnderTest.h"
#include "OrvPlatform/AudioHardwareBackend.h"
#include "hardware/pipewire/io/DeviceIO.h"
#include "support/PrivatePipeWire.h"

namespace orv::test {

inline constexpr std::uint32_t kRate = 48000;  ///< of the server

/// Counts what it is told.
struct Events : pipewire::DeviceIOEvents {
  std::atomic<int> overloads{0};
  std::atomic<int> losses{0};
  std::atomic<double> rate{0};  ///< told last; 0: none
  void overloaded() noexcept override { ++overloads; }
  void rateChanged(double told) override { rate = told; }
  void lost() override { ++losses; }
};

/// A device's I/O between a node's output ports and another's input ports; empty names for none.
class IOUnderTest {
 public:
  IOUnderTest(GraphUnderTest& graph, const std::string& heard, const std::string& played, std::size_t channels,
              std::uint32_t frames, double rate = 48000);
  IOUnderTest(const IOUnderTest&) = delete;
  IOUnderTest& operator=(const IOUnderTest&) = delete;
  ~IOUnderTest();

  pipewire::DeviceIO* operator->() { return io_.get(); }
  pipewire::DeviceIO& operator*() { return *io_; }

  Events events;

 private:
  GraphUnderTest& graph_;
  std::unique_ptr<pipewire::DeviceIO> io_;
};

/// Counts cycles, and what is wrong with them: another number of frames, sample times with a gap, lists that don't
/// agree, host times that go back.
class CheckingSink : public HardwareCycleSink {
 public:
  void cycle(const HardwareCycle& cycle) noexcept override;

  std::atomic<int> cycles{0};
  std::atomic<int> faults{0};
  std::atomic<std::uint32_t> frames{0};    ///< of the last cycle
  std::atomic<std::uint32_t> channels{0};  ///< of the last cycle
  std::atomic<bool> mayChange{false};      ///< the number of frames

 protected:
  virtual void take(const HardwareCycle& cycle, std::uint32_t here) noexcept = 0;
  void require(bool isTrue) noexcept { faults += isTrue ? 0 : 1; }

 private:
  double nextSampleTime_ = 0;
  std::uint64_t lastHostTime_ = 0;
};

/// Plays a count in each channel, and keeps what it hears until it has enough.
class Echo : public CheckingSink {
 public:
  explicit Echo(std::size_t enough) : enough_(enough) {}
  bool isDone() const { return heard_.load() >= enough_; }
  /// Frames before the first of what it played came back.
  std::size_t firstHeard() const { return firstHeard_; }
  /// Whether all came back from there on, in every channel and in order.
  bool isExact() const { return isExact_ && hasHeard_; }

 protected:
  void take(const HardwareCycle& cycle, std::uint32_t here) noexcept override;

 private:
  const std::size_t enough_;
  std::atomic<std::size_t> heard_{0};
  std::atomic<std::size_t> firstHeard_{0};
  std::atomic<bool> hasHeard_{false};
  std::atomic<bool> isExact_{true};
  std::uint32_t played_ = 0;
};

/// Plays the sample time at which each frame is to be heard, and compares it with that at which it comes back.
class TimedEcho : public CheckingSink {
 public:
  explicit TimedEcho(std::size_t enough) : enough_(enough) {}
  bool isDone() const { return heard_.load() >= enough_; }
  std::atomic<int> compared{0};

 protected:
  void take(const HardwareCycle& cycle, std::uint32_t here) noexcept override;

 private:
  const std::size_t enough_;
  std::atomic<std::size_t> heard_{0};
};

/// Plays a count.
class Counter : public CheckingSink {
 protected:
  void take(const HardwareCycle& cycle, std::uint32_t here) noexcept override;

 private:
  std::uint32_t played_ = 0;
};

/// Listens to a count: what is missing in it.
class Tape : public CheckingSink {
 public:
  explicit Tape(std::size_t enough, std::size_t channel = 0) : enough_(enough), channel_(channel) {}
  bool isDone() const { return heard_.load() >= enough_; }
  std::size_t heard() const { return heard_; }
  std::size_t skipped() const { return skipped_; }
  float lastCount() const { return last_; }

 protected:
  void take(const HardwareCycle& cycle, std::uint32_t here) noexcept override;

 private:
  const std::size_t enough_;
  const std::size_t channel_;
  std::atomic<std::size_t> heard_{0};
  std::atomic<std::size_t> skipped_{0};
  std::atomic<float> last_{0};
};

/// Stops its device in its cycle.
class StoppingSink : public HardwareCycleSink {
 public:
  explicit StoppingSink(pipewire::DeviceIO& io) : io_(io) {}
  void cycle(const HardwareCycle& cycle) noexcept override;
  std::atomic<int> cycles{0};
  std::atomic<bool> stops{true};

 private:
  pipewire::DeviceIO& io_;
};

/// Takes its time.
class SlowSink : public HardwareCycleSink {
 public:
  explicit SlowSink(std::chrono::milliseconds time) : time_(time) {}
  void cycle(const HardwareCycle& cycle) noexcept override;
  std::atomic<int> begun{0};
  std::atomic<int> ended{0};

 private:
  const std::chrono::milliseconds time_;
};

/// Each test has a server for itself.
class DeviceIOTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    server = PrivatePipeWire::start(false, &reason);
    if (server == nullptr) {
      GTEST_SKIP() << reason;
    }
    graph = std::make_unique<GraphUnderTest>();
    ASSERT_TRUE(graph->isConnected());
  }

  std::unique_ptr<PrivatePipeWire> server;
  std::unique_ptr<GraphUnderTest> graph;
};

}  // namespace orv::test
