// The I/O of devices of a PipeWire server, run by hand under a private one:
//   scripts/private-pipewire bench_pipewire [SECONDS [start|cost|stereo|wide]]
// Playing to a sink and recording its monitor, what our layer costs beside a bare filter, how fast a device starts, and
// many channels at a high rate. Everything depends on how busy the machine is; the server and its devices run on it
// too.
#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "hardware/pipewire/io/DeviceIO.h"
#include "platform/hardware/pipewire/io/GraphUnderTest.h"
#include "support/RatioTable.h"

namespace {

using orv::HardwareCycle;
using orv::bench::RatioTable;
using orv::pipewire::DeviceIO;
using orv::pipewire::DeviceIOSetup;
using orv::test::eventually;
using orv::test::GraphUnderTest;

constexpr std::uint32_t kRate = 48000;
constexpr std::uint32_t kFrames = 256;
constexpr std::uint32_t kCounts = 1U << 20;  // numbers that a float holds exactly

struct Events final : orv::pipewire::DeviceIOEvents {
  std::atomic<int> overloads{0};
  void overloaded() noexcept override { ++overloads; }
  void rateChanged(double /*rate*/) override {}
  void lost() override { std::fprintf(stderr, "the device is gone\n"); }
};

/// A device between a sink's monitor and that sink.
class Loop {
 public:
  Loop(GraphUnderTest& graph, const std::string& node, std::size_t channels, std::uint32_t frames, double rate)
      : graph_(graph) {
    DeviceIOSetup setup;
    setup.loop = graph.loop();
    setup.core = graph.core();
    setup.name = "bench";
    setup.input = graph.heard(node, channels);
    setup.output = graph.played(node, channels);
    setup.frames = frames;
    setup.rate = rate;
    const GraphUnderTest::Lock lock(graph_);
    io_ = DeviceIO::make(setup, events);
    if (io_ == nullptr) {
      throw std::runtime_error("there is no device");
    }
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop() {
    const GraphUnderTest::Lock lock(graph_);
    io_.reset();
  }
  DeviceIO* operator->() { return io_.get(); }
  void start(orv::HardwareCycleSink& sink) {
    if (io_->start(&sink) != noErr) {
      throw std::runtime_error("the device does not start");
    }
  }

  Events events;

 private:
  GraphUnderTest& graph_;
  std::unique_ptr<DeviceIO> io_;
};

std::uint32_t framesOf(const AudioBuffer& buffer) {
  return buffer.mDataByteSize / 4 / buffer.mNumberChannels;
}

/// Plays a count and compares what comes back with it.
class Echo final : public orv::HardwareCycleSink {
 public:
  std::atomic<std::uint64_t> heard{0};      ///< frames
  std::atomic<std::uint64_t> wrong{0};      ///< frames that are not the one that follows
  std::atomic<std::uint64_t> leftOut{0};    ///< frames between cycles
  std::atomic<std::uint64_t> roundTrip{0};  ///< frames
  std::uint64_t worstWake = 0;              ///< ns from the quantum's begin to the cycle

  void cycle(const HardwareCycle& cycle) noexcept override {
    worstWake = std::max(worstWake, AudioGetCurrentHostTime() - cycle.now.mHostTime);
    const AudioBuffer& in = cycle.input->mBuffers[0];
    const AudioBuffer& out = cycle.output->mBuffers[0];
    const std::uint32_t frames = framesOf(in);
    if (heard > 0) {
      leftOut += static_cast<std::uint64_t>(cycle.inputTime.mSampleTime - next_);
    }
    next_ = cycle.inputTime.mSampleTime + frames;
    const auto* heardSamples = static_cast<const float*>(in.mData);
    auto* playedSamples = static_cast<float*>(out.mData);
    for (std::uint32_t i = 0; i < frames; ++i, heardSamples += in.mNumberChannels) {
      check(heardSamples, in.mNumberChannels, heard + i);
      ++played_;
      for (std::uint32_t channel = 0; channel < out.mNumberChannels; ++channel) {
        *playedSamples++ = static_cast<float>(played_ % kCounts + channel);
      }
    }
    heard += frames;
  }

 private:
  void check(const float* frame, std::uint32_t channels, std::uint64_t at) noexcept {
    if (!hasHeard_) {
      if (frame[0] == 0.0F) {
        return;
      }
      hasHeard_ = true;
      roundTrip = at;
    }
    ++expected_;
    bool isRight = true;
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
      isRight = isRight && frame[channel] == static_cast<float>(expected_ % kCounts + channel);
    }
    if (!isRight) {
      ++wrong;
      expected_ = static_cast<std::uint64_t>(frame[0]);  // goes on from there
    }
  }

  double next_ = 0;
  bool hasHeard_ = false;
  std::uint64_t expected_ = 0;
  std::uint64_t played_ = 0;
};

void playAndRecord(GraphUnderTest& graph, const std::string& node, std::size_t channels, std::uint32_t frames,
                   double rate, double seconds) {
  Loop loop(graph, node, channels, frames, rate);
  Echo echo;
  loop.start(echo);
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  loop->stop();
  const std::string title = std::to_string(channels) + " channels at " + std::to_string(static_cast<int>(rate)) +
                            " Hz, cycles of " + std::to_string(frames) + " frames, " +
                            std::to_string(static_cast<int>(seconds)) + " s: played and recorded";
  RatioTable table(title);
  table.addLimit("frames left out by the server", static_cast<double>(echo.leftOut), 0, 0, "frames");
  table.addLimit("places that are not sample-exact", static_cast<double>(echo.wrong), 0, 0, "places");
  table.addLimit("overloads told", loop.events.overloads, 0, 0, "times");
  table.addLimit("round trip", static_cast<double>(echo.roundTrip) / frames, 0, 2, "cycles");
  table.print();
  std::printf("%.1f s heard; the latest cycle began %.2f ms after its quantum\n\n",
              static_cast<double>(echo.heard) / rate, static_cast<double>(echo.worstWake) * 1e-6);
}

/// Processor time of a thread until now, seconds.
class ThreadClock {
 public:
  /// In the thread.
  void find() noexcept {
    if (!isKnown_ && pthread_getcpuclockid(pthread_self(), &clock_) == 0) {
      isKnown_ = true;
    }
  }
  double now() const {
    timespec time{};
    clock_gettime(clock_, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  }
  bool isKnown() const { return isKnown_; }

 private:
  std::atomic<bool> isKnown_{false};
  clockid_t clock_{};
};

/// What a cycle costs the I/O thread, from when it wakes until it sleeps again: seconds.
double costOfACycle(const ThreadClock& clock, const std::atomic<std::uint64_t>& cycles) {
  const auto pause = [&](std::uint64_t count) {
    const std::uint64_t until = cycles + count;
    eventually([&] { return cycles >= until; });
  };
  eventually([&] { return clock.isKnown(); });
  pause(50);  // caches are warm, and the graph has settled
  const std::uint64_t before = cycles;
  const double begin = clock.now();
  pause(400);
  return (clock.now() - begin) / static_cast<double>(cycles - before);
}

/// Copies its input to its output.
class CopyingSink final : public orv::HardwareCycleSink {
 public:
  ThreadClock clock;
  std::atomic<std::uint64_t> cycles{0};
  void cycle(const HardwareCycle& cycle) noexcept override {
    clock.find();
    std::memcpy(cycle.output->mBuffers[0].mData, cycle.input->mBuffers[0].mData,
                cycle.input->mBuffers[0].mDataByteSize);
    ++cycles;
  }
};

double costOfOurs(GraphUnderTest& graph) {
  Loop loop(graph, "orv-sink-a", 2, kFrames, kRate);
  CopyingSink sink;
  loop.start(sink);
  const double cost = costOfACycle(sink.clock, sink.cycles);
  loop->stop();
  return cost;
}

/// The same by hand: a filter that copies each port's samples.
class BareFilter {
 public:
  explicit BareFilter(GraphUnderTest& graph) : graph_(graph) {
    const auto heard = graph.heard("orv-sink-a", 2);
    const auto played = graph.played("orv-sink-a", 2);
    events_.version = PW_VERSION_FILTER_EVENTS;
    events_.process = [](void* data, spa_io_position* position) {
      static_cast<BareFilter*>(data)->process(static_cast<std::uint32_t>(position->clock.duration));
    };
    {
      const GraphUnderTest::Lock lock(graph_);
      filter_ = pw_filter_new(graph.core(), "bare",
                              pw_properties_new(PW_KEY_NODE_NAME, "bare", PW_KEY_NODE_FORCE_QUANTUM, "256", nullptr));
      pw_filter_add_listener(filter_, &hook_, &events_, this);
      for (int i = 0; i < 4; ++i) {
        const bool isInput = i < 2;
        const std::string name = (isInput ? "in" : "out") + std::to_string(i % 2);
        ports_[i] = pw_filter_add_port(
            filter_, isInput ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(void*),
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name.c_str(), nullptr),
            nullptr, 0);
      }
      pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0);
    }
    eventually([&] {
      const GraphUnderTest::Lock lock(graph_);
      return pw_filter_get_state(filter_, nullptr) >= PW_FILTER_STATE_PAUSED;
    });
    const GraphUnderTest::Lock lock(graph_);
    const std::string own = std::to_string(pw_filter_get_node_id(filter_));
    for (int i = 0; i < 2; ++i) {
      const auto channel = static_cast<std::size_t>(i);
      link(std::to_string(heard.node), std::to_string(heard.ports.at(channel)), own, "in" + std::to_string(i));
      link(own, "out" + std::to_string(i), std::to_string(played.node), std::to_string(played.ports.at(channel)));
    }
  }
  BareFilter(const BareFilter&) = delete;
  BareFilter& operator=(const BareFilter&) = delete;
  ~BareFilter() {
    const GraphUnderTest::Lock lock(graph_);
    for (pw_proxy* const proxy : links_) {
      pw_proxy_destroy(proxy);
    }
    spa_hook_remove(&hook_);
    pw_filter_destroy(filter_);
  }

  ThreadClock clock;
  std::atomic<std::uint64_t> cycles{0};

 private:
  void link(const std::string& fromNode, const std::string& fromPort, const std::string& toNode,
            const std::string& toPort) {
    const spa_dict_item items[] = {{PW_KEY_LINK_OUTPUT_NODE, fromNode.c_str()},
                                   {PW_KEY_LINK_OUTPUT_PORT, fromPort.c_str()},
                                   {PW_KEY_LINK_INPUT_NODE, toNode.c_str()},
                                   {PW_KEY_LINK_INPUT_PORT, toPort.c_str()}};
    const spa_dict properties = {0, 4, items};
    links_.push_back(static_cast<pw_proxy*>(
        pw_core_create_object(graph_.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties, 0)));
  }
  void process(std::uint32_t frames) noexcept {
    bool isWhole = frames == kFrames;
    for (int i = 0; i < 2; ++i) {
      const void* const from = pw_filter_get_dsp_buffer(ports_[i], frames);
      void* const to = pw_filter_get_dsp_buffer(ports_[i + 2], frames);
      isWhole = isWhole && from != nullptr && to != nullptr;
      if (from != nullptr && to != nullptr) {
        std::memcpy(to, from, frames * sizeof(float));
      }
    }
    if (isWhole) {
      clock.find();
      ++cycles;
    }
  }

  GraphUnderTest& graph_;
  pw_filter_events events_{};
  spa_hook hook_{};
  pw_filter* filter_ = nullptr;
  void* ports_[4] = {};
  std::vector<pw_proxy*> links_;
};

double costOfBare(GraphUnderTest& graph) {
  const BareFilter bare(graph);
  return costOfACycle(bare.clock, bare.cycles);
}

double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

/// Both take turns, so that what disturbs the machine disturbs both.
void compareCost(GraphUnderTest& graph) {
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> added;
  for (int round = 0; round < 15; ++round) {
    bare.push_back(costOfBare(graph) * 1e6);
    ours.push_back(costOfOurs(graph) * 1e6);
    added.push_back(ours.back() - bare.back());
  }
  RatioTable table("processor time of the I/O thread for a stereo cycle of 256 frames; peer: a bare filter");
  table.addLimit("median of 15 rounds of 400 cycles", quantile(ours, 0.5), quantile(bare, 0.5), quantile(bare, 0.5) + 5,
                 "us");
  table.addLimit("best round", quantile(ours, 0), quantile(bare, 0), quantile(bare, 0) + 5, "us");
  table.addLimit("added, median of the rounds' differences", quantile(added, 0.5), 0, 5, "us");
  table.print();
}

/// Remembers when it was called first.
class FirstCycle final : public orv::HardwareCycleSink {
 public:
  std::atomic<std::uint64_t> at{0};
  void cycle(const HardwareCycle& /*cycle*/) noexcept override {
    if (at == 0) {
      at = AudioGetCurrentHostTime();
    }
  }
};

double milliseconds(std::uint64_t begin, std::uint64_t end) {
  return static_cast<double>(end - begin) * 1e-6;
}

void measureStart(GraphUnderTest& graph) {
  std::vector<double> made;
  std::vector<double> madeAndFirst;
  std::vector<double> started;
  std::vector<double> startedAndFirst;
  for (int round = 0; round < 30; ++round) {
    const std::uint64_t begin = AudioGetCurrentHostTime();
    Loop loop(graph, "orv-sink-a", 2, kFrames, kRate);
    FirstCycle first;
    loop.start(first);
    made.push_back(milliseconds(begin, AudioGetCurrentHostTime()));
    eventually([&] { return first.at > 0; });
    madeAndFirst.push_back(milliseconds(begin, first.at));
    for (int again = 0; again < 3; ++again) {
      loop->stop();
      FirstCycle next;
      const std::uint64_t beginAgain = AudioGetCurrentHostTime();
      loop.start(next);
      started.push_back(milliseconds(beginAgain, AudioGetCurrentHostTime()));
      eventually([&] { return next.at > 0; });
      startedAndFirst.push_back(milliseconds(beginAgain, next.at));
      loop->stop();
    }
  }
  RatioTable table("starting a device, stereo duplex, cycles of 256 frames (5.3 ms)");
  table.addLimit("linking and starting, until it returns: median", quantile(made, 0.5), 0, 10, "ms");
  table.addLimit("the same, worst of 30", quantile(made, 1), 0, 10, "ms");
  table.addLimit("linking and starting, until the first cycle: median", quantile(madeAndFirst, 0.5), 0, 10, "ms");
  table.addLimit("starting one that is linked, until it returns: worst of 90", quantile(started, 1), 0, 10, "ms");
  table.addLimit("the same, until the first cycle: median", quantile(startedAndFirst, 0.5), 0, 10, "ms");
  table.addLimit("the same, worst of 90", quantile(startedAndFirst, 1), 0, 10, "ms");
  std::vector<double> whileBusy;
  for (int round = 0; round < 30; ++round) {
    Loop other(graph, "orv-sink-a", 2, 1024, kRate);
    FirstCycle runs;
    other.start(runs);
    eventually([&] { return runs.at > 0; });
    const std::uint64_t begin = AudioGetCurrentHostTime();
    Loop loop(graph, "orv-sink-a", 2, kFrames, kRate);
    FirstCycle first;
    loop.start(first);
    whileBusy.push_back(milliseconds(begin, AudioGetCurrentHostTime()));
    loop->stop();
    other->stop();
  }
  table.addLimit("linking and starting while the sink runs in quanta of 21.3 ms: median", quantile(whileBusy, 0.5), 0,
                 10, "ms");
  table.print();
}

}  // namespace

int main(int count, char** arguments) {
  const double seconds = count > 1 ? std::max(1.0, std::strtod(arguments[1], nullptr)) : 60.0;
  try {
    GraphUnderTest graph;
    if (!graph.isConnected()) {
      std::fprintf(stderr, "there is no PipeWire server; run it as scripts/private-pipewire bench_pipewire\n");
      return 1;
    }
    const std::string part = count > 2 ? arguments[2] : "all";
    const auto isWanted = [&](const char* name) { return part == "all" || part == name; };
    if (isWanted("start")) {
      measureStart(graph);
    }
    if (isWanted("cost")) {
      compareCost(graph);
    }
    if (isWanted("stereo")) {
      playAndRecord(graph, "orv-sink-a", 2, kFrames, kRate, seconds);
    }
    if (isWanted("wide")) {
      GraphUnderTest::setSetting("clock.force-rate", "96000");
      graph.makeNode("bench-32", "Audio/Sink", 32);
      playAndRecord(graph, "bench-32", 32, 512, 96000, seconds);
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  return 0;
}
