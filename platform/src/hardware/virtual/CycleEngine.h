#pragma once

#include <atomic>
#include <cstdint>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/VirtualHardware.h"
#include "hardware/virtual/CyclePlan.h"
#include "hardware/virtual/Gains.h"
#include "hardware/virtual/Model.h"
#include "hardware/virtual/Timeline.h"

namespace orv::virtualhardware {

/// What all devices of a virtual hardware have in common. Set up once.
struct Surroundings {
  VirtualHardwareOptions options;
  std::atomic<HardwareEvents*> events{nullptr};
  /// The latest host time of clocks that do not follow the machine's.
  std::atomic<std::uint64_t> latestHostTime{0};

  void tellDevice(AudioDeviceID device, std::uint32_t channel, bool isInput,
                  AudioDevicePropertyID property) const noexcept;
  void tellHardware(AudioHardwarePropertyID property) const noexcept;
};

/// Makes a device's cycles, one after the other, when it is asked to: input, the sink, output, and what time it is.
/// When a cycle is due is its runner's business.
class CycleEngine {
 public:
  CycleEngine(const DeviceState& device, Surroundings& surroundings, std::atomic<std::uint64_t>& counter);

  // Any thread.
  PlanExchange& plans() noexcept { return plans_; }
  void setGains(const DeviceState& device);
  void setDrift(double partsPerMillion) noexcept { drift_.store(partsPerMillion, std::memory_order_relaxed); }
  void setJitter(std::uint64_t nanoseconds) noexcept { jitter_.store(nanoseconds, std::memory_order_relaxed); }
  void overload() noexcept { overloads_.fetch_add(1, std::memory_order_relaxed); }
  /// The device is gone: a cycle that is under way leaves its output alone.
  void die() noexcept { isAlive_.store(false, std::memory_order_release); }

  /// Before the first cycle, while there is no I/O thread.
  void begin();

  // I/O thread only; real-time safe.
  /// Takes over what has changed. To be called before each cycle, first of all.
  void prepare() noexcept;
  /// Whether the input has its frames and the output has room: what clocks other than the machine's wait for.
  bool isReady() const noexcept;
  /// Host time at which the cycle is due, jitter included.
  std::uint64_t dueTime() const noexcept;
  /// By the machine's clock: leaves out the cycles that are over already, which is an overload.
  void skipMissed(std::uint64_t now) noexcept;
  /// Makes one cycle. `now`: the host time.
  void cycle(HardwareCycleSink& sink, std::uint64_t now) noexcept;

 private:
  AudioTimeStamp stamp(double sampleTime, double frame) const noexcept;
  void input(CyclePlan& plan) noexcept;
  void output(CyclePlan& plan) noexcept;
  void playThru(CyclePlan& plan) noexcept;
  std::uint64_t randomBelow(std::uint64_t limit) noexcept;

  const AudioDeviceID device_;
  const std::uint32_t inputDelay_;  // frames: latency and safety offset
  const std::uint32_t outputDelay_;
  Surroundings& surroundings_;
  std::atomic<std::uint64_t>& counter_;  // of cycles

  PlanExchange plans_;
  Gains inputGains_;
  Gains outputGains_;
  std::atomic<bool> playsThru_{false};
  std::atomic<double> drift_{0.0};
  std::atomic<std::uint64_t> jitter_{0};
  std::atomic<std::uint32_t> overloads_{0};  // to come
  std::atomic<bool> isAlive_{true};

  // I/O thread only.
  Timeline time_;
  double position_ = 0.0;  // frames of input until the next cycle, those that were left out included
  std::uint64_t lateness_ = 0;
  std::uint64_t random_;
};

}  // namespace orv::virtualhardware
