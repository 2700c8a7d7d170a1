#include "DeviceIOTestSupport.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace orv::test {
namespace {

/// Counts stay numbers that a float holds exactly.
constexpr std::uint32_t kCounts = 1U << 20;

float* samplesOf(const AudioBuffer& buffer) {
  return static_cast<float*>(buffer.mData);
}

std::uint32_t framesOf(const AudioBuffer& buffer) {
  return buffer.mNumberChannels == 0 ? 0 : buffer.mDataByteSize / 4 / buffer.mNumberChannels;
}

/// In every channel another number, different for each frame.
float countAt(std::uint32_t frame, std::uint32_t channel) {
  return static_cast<float>(frame % kCounts + 1 + channel * 16);
}

}  // namespace

IOUnderTest::IOUnderTest(GraphUnderTest& graph, const std::string& heard, const std::string& played,
                         std::size_t channels, std::uint32_t frames, double rate)
    : graph_(graph) {
  pipewire::DeviceIOSetup setup;
  setup.loop = graph.loop();
  setup.core = graph.core();
  setup.name = "io under test";
  if (!heard.empty()) {
    setup.input = graph.heard(heard, channels);
  }
  if (!played.empty()) {
    setup.output = graph.played(played, channels);
  }
  setup.frames = frames;
  setup.rate = rate;
  const GraphUnderTest::Lock lock(graph_);
  io_ = pipewire::DeviceIO::make(setup, events);
}

IOUnderTest::~IOUnderTest() {
  const GraphUnderTest::Lock lock(graph_);
  io_.reset();
}

void CheckingSink::cycle(const HardwareCycle& cycle) noexcept {
  const AudioBufferList& input = *cycle.input;
  const AudioBufferList& output = *cycle.output;
  require(input.mNumberBuffers + output.mNumberBuffers > 0);
  const AudioBuffer& buffer = input.mNumberBuffers > 0 ? input.mBuffers[0] : output.mBuffers[0];
  const std::uint32_t here = framesOf(buffer);
  require(here > 0 && buffer.mData != nullptr);
  require(output.mNumberBuffers == 0 || framesOf(output.mBuffers[0]) == here);
  require(cycles == 0 || here == frames || mayChange);
  require(cycle.now.mHostTime >= lastHostTime_);
  require(cycle.inputTime.mSampleTime >= nextSampleTime_);
  require(cycle.inputTime.mHostTime <= cycle.now.mHostTime && cycle.outputTime.mHostTime >= cycle.now.mHostTime);
  nextSampleTime_ = cycle.inputTime.mSampleTime + here;
  lastHostTime_ = cycle.now.mHostTime;
  channels = buffer.mNumberChannels;
  take(cycle, here);
  frames = here;
  ++cycles;
}

void Echo::take(const HardwareCycle& cycle, std::uint32_t here) noexcept {
  const AudioBuffer& played = cycle.output->mBuffers[0];
  const AudioBuffer& heard = cycle.input->mBuffers[0];
  for (std::uint32_t i = 0; i < here; ++i) {
    const float* const frame = samplesOf(heard) + std::size_t{i} * heard.mNumberChannels;
    if (!hasHeard_ && frame[0] != 0.0F) {
      hasHeard_ = true;
      firstHeard_ = heard_ + i;
    }
    const auto since = static_cast<std::uint32_t>(heard_ + i - firstHeard_);
    for (std::uint32_t channel = 0; hasHeard_ && channel < heard.mNumberChannels; ++channel) {
      isExact_ = isExact_ && frame[channel] == countAt(since, channel);
    }
    float* const next = samplesOf(played) + std::size_t{i} * played.mNumberChannels;
    for (std::uint32_t channel = 0; channel < played.mNumberChannels; ++channel) {
      next[channel] = countAt(played_ + i, channel);
    }
  }
  played_ += here;
  heard_ += here;
}

void TimedEcho::take(const HardwareCycle& cycle, std::uint32_t here) noexcept {
  const AudioBuffer& played = cycle.output->mBuffers[0];
  const AudioBuffer& heard = cycle.input->mBuffers[0];
  for (std::uint32_t i = 0; i < here; ++i) {
    const float sample = samplesOf(heard)[std::size_t{i} * heard.mNumberChannels];
    if (sample != 0.0F) {
      require(sample == static_cast<float>(cycle.inputTime.mSampleTime + i));
      ++compared;
    }
    for (std::uint32_t channel = 0; channel < played.mNumberChannels; ++channel) {
      samplesOf(played)[std::size_t{i} * played.mNumberChannels + channel] =
          static_cast<float>(cycle.outputTime.mSampleTime + i);
    }
  }
  // One clock for both: the same time between them in frames and in nanoseconds.
  const double apart = cycle.outputTime.mSampleTime - cycle.inputTime.mSampleTime;
  const auto nanoseconds = static_cast<double>(cycle.outputTime.mHostTime - cycle.inputTime.mHostTime);
  require(std::fabs(nanoseconds - apart * 1e9 / 48000 / cycle.now.mRateScalar) < 2.0);
  heard_ += here;
}

void Counter::take(const HardwareCycle& cycle, std::uint32_t here) noexcept {
  const AudioBuffer& played = cycle.output->mBuffers[0];
  for (std::uint32_t i = 0; i < here * played.mNumberChannels; ++i) {
    const std::uint32_t frame = i / played.mNumberChannels;
    samplesOf(played)[i] = static_cast<float>(played_ + frame + 1);
  }
  played_ += here;
}

void Tape::take(const HardwareCycle& cycle, std::uint32_t here) noexcept {
  const AudioBuffer& heard = cycle.input->mBuffers[0];
  for (std::uint32_t i = 0; i < here; ++i) {
    const float sample = samplesOf(heard)[std::size_t{i} * heard.mNumberChannels + channel_];
    if (sample != 0.0F) {
      skipped_ += last_ > 0.0F && sample != last_ + 1.0F ? 1 : 0;
      last_ = sample;
    }
  }
  heard_ += here;
}

void StoppingSink::cycle(const HardwareCycle& /*cycle*/) noexcept {
  ++cycles;
  if (stops) {
    io_.stop();
  }
}

void SlowSink::cycle(const HardwareCycle& /*cycle*/) noexcept {
  ++begun;
  std::this_thread::sleep_for(time_);
  ++ended;
}

}  // namespace orv::test
