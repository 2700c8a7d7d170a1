#include "hardware/virtual/CycleEngine.h"

#include <algorithm>
#include <cmath>

#include "OrvPlatform/AudioHardware.h"

namespace orv::virtualhardware {

void Surroundings::tellDevice(AudioDeviceID device, std::uint32_t channel, bool isInput,
                              AudioDevicePropertyID property) const noexcept {
  if (HardwareEvents* const told = events.load(std::memory_order_acquire)) {
    told->deviceChanged(device, channel, isInput, property);
  }
}

void Surroundings::tellHardware(AudioHardwarePropertyID property) const noexcept {
  if (HardwareEvents* const told = events.load(std::memory_order_acquire)) {
    told->hardwareChanged(property);
  }
}

CycleEngine::CycleEngine(const DeviceState& device, Surroundings& surroundings, std::atomic<std::uint64_t>& counter)
    : device_(device.id),
      inputDelay_(device.input.latency + device.input.safetyOffset),
      outputDelay_(device.output.latency + device.output.safetyOffset),
      surroundings_(surroundings),
      counter_(counter),
      inputGains_(device.input),
      outputGains_(device.output),
      random_(0x9E3779B97F4A7C15U ^ device.id) {}

void CycleEngine::setGains(const DeviceState& device) {
  inputGains_.set(device.input);
  outputGains_.set(device.output);
  playsThru_.store(device.playsThru, std::memory_order_relaxed);
}

void CycleEngine::begin() {
  CyclePlan& plan = *plans_.take();
  std::uint64_t host = AudioGetCurrentHostTime();
  if (surroundings_.options.clock != VirtualClock::realTime) {
    host = std::max(host, surroundings_.latestHostTime.load(std::memory_order_relaxed));
  }
  time_.begin(host, plan.rate * (1.0 + drift_.load(std::memory_order_relaxed) * 1e-6));
  position_ = 0.0;
  if (plan.feed != nullptr) {
    plan.feed->begin(plan.frames);
  }
}

void CycleEngine::prepare() noexcept {
  const CyclePlan& plan = *plans_.take();
  time_.setRate(position_, plan.rate * (1.0 + drift_.load(std::memory_order_relaxed) * 1e-6));
  for (std::uint32_t overloads = overloads_.exchange(0, std::memory_order_relaxed); overloads > 0; --overloads) {
    surroundings_.tellDevice(device_, 0, false, kAudioDeviceProcessorOverload);
    position_ += plan.frames;
  }
  lateness_ = randomBelow(jitter_.load(std::memory_order_relaxed));
}

bool CycleEngine::isReady() const noexcept {
  const CyclePlan& plan = *plans_.inForce();
  return (plan.feed == nullptr || plan.feed->isReady(plan.frames)) &&
         (plan.tap == nullptr || plan.tap->hasRoom(plan.frames));
}

std::uint64_t CycleEngine::dueTime() const noexcept {
  return time_.hostAt(position_ + plans_.inForce()->frames) + lateness_;
}

void CycleEngine::skipMissed(std::uint64_t now) noexcept {
  const std::uint32_t frames = plans_.inForce()->frames;
  const std::uint64_t due = time_.hostAt(position_ + frames);
  const double missed = now > due ? std::floor(time_.framesIn(now - due) / frames) : 0.0;
  if (missed >= 1.0) {
    position_ += missed * frames;
    surroundings_.tellDevice(device_, 0, false, kAudioDeviceProcessorOverload);
  }
}

void CycleEngine::cycle(HardwareCycleSink& sink, std::uint64_t now) noexcept {
  CyclePlan& plan = *plans_.inForce();
  const double due = position_ + plan.frames;
  const std::uint64_t dueHost = time_.hostAt(due);

  HardwareCycle cycle = {};
  cycle.now = stamp(due + inputDelay_ + time_.framesIn(now > dueHost ? now - dueHost : 0), 0.0);
  cycle.now.mHostTime = std::max(now, dueHost);
  cycle.inputTime = stamp(position_, position_ - inputDelay_);
  cycle.outputTime = stamp(due + inputDelay_ + plan.frames + outputDelay_, due + plan.frames + outputDelay_);
  input(plan);
  plan.output.silence();
  cycle.input = plan.input.list();
  cycle.output = plan.output.list();
  sink.cycle(cycle);
  if (isAlive_.load(std::memory_order_acquire)) {
    output(plan);
  }
  position_ = due;
  counter_.fetch_add(1, std::memory_order_relaxed);
  std::uint64_t latest = surroundings_.latestHostTime.load(std::memory_order_relaxed);
  while (latest < cycle.now.mHostTime &&
         !surroundings_.latestHostTime.compare_exchange_weak(latest, cycle.now.mHostTime, std::memory_order_relaxed)) {
  }
}

/// Sample times count from the first frame of the first input; `frame` is the same on the timeline.
AudioTimeStamp CycleEngine::stamp(double sampleTime, double frame) const noexcept {
  AudioTimeStamp stamp = {};
  stamp.mSampleTime = sampleTime;
  stamp.mHostTime = time_.hostAt(frame);
  stamp.mRateScalar = 1.0 + drift_.load(std::memory_order_relaxed) * 1e-6;
  stamp.mFlags = kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid | kAudioTimeStampRateScalarValid;
  return stamp;
}

void CycleEngine::input(CyclePlan& plan) noexcept {
  if (plan.feed == nullptr) {
    return;
  }
  if (!plan.feed->read(plan.input.interleaved(), plan.frames, plan.rate)) {
    surroundings_.tellDevice(device_, 0, false, kAudioDeviceProcessorOverload);
  }
  plan.input.scatter();
  inputGains_.apply(plan.input);
}

void CycleEngine::output(CyclePlan& plan) noexcept {
  if (plan.output.streams() == 0) {
    return;
  }
  if (playsThru_.load(std::memory_order_relaxed)) {
    playThru(plan);
  }
  outputGains_.apply(plan.output);
  if (plan.tap == nullptr && plan.cables.empty()) {
    return;
  }
  plan.output.gather();
  if (plan.tap != nullptr) {
    plan.tap->put(plan.output.interleaved(), plan.frames);
  }
  for (const auto& cable : plan.cables) {
    cable->send(plan.output.interleaved(), plan.frames, plan.output.sectionChannels(), plan.rate);
    if (surroundings_.options.clock != VirtualClock::byHand) {
      cable->deliver();
    }
  }
}

/// Adds the input, channel by channel, to what the procs play.
void CycleEngine::playThru(CyclePlan& plan) noexcept {
  if (plan.feed == nullptr) {
    return;
  }
  plan.input.gather();
  plan.output.gather();
  const std::size_t from = plan.input.sectionChannels();
  const std::size_t to = plan.output.sectionChannels();
  for (std::size_t frame = 0; frame < plan.frames; ++frame) {
    for (std::size_t channel = 0; channel < std::min(from, to); ++channel) {
      plan.output.interleaved()[frame * to + channel] += plan.input.interleaved()[frame * from + channel];
    }
  }
  plan.output.scatter();
}

/// Of 0: 0. By xorshift64.
std::uint64_t CycleEngine::randomBelow(std::uint64_t limit) noexcept {
  random_ ^= random_ << 13;
  random_ ^= random_ >> 7;
  random_ ^= random_ << 17;
  return limit == 0 ? 0 : random_ % limit;
}

}  // namespace orv::virtualhardware
