#pragma once

#include <cstdint>

#include "OrvPlatform/AudioTypes.h"

namespace orv::pipewire {

/// One stretch of time of the server, as its driver tells it.
struct Quantum {
  std::uint64_t host = 0;      ///< host time at which it begins: its input is there, its output is due
  std::uint64_t position = 0;  ///< the driver's own count of frames
  std::uint32_t frames = 0;
  std::uint32_t rate = 0;  ///< nominal, frames per second
  double scalar = 1.0;     ///< real frames per nominal frame
  std::uint32_t driver = 0;

  /// Host time so many frames later.
  std::uint64_t hostAfter(std::uint32_t count) const noexcept;
  /// Host time at which the next one begins.
  std::uint64_t deadline() const noexcept { return hostAfter(frames); }
};

/// Counts a device's frames and stamps its cycles.
///
/// Sample times count the frames of input since `begin`, those that the server left out included. Host times belong to
/// sample times one to one: at a quantum's begin its last frame of input is there, or was there as long ago as the
/// device's latency exceeds the quantum. (A latency that the server tells may cover the quantum or not; a frame can't
/// be there sooner than when it is over.) So what leaves a device without latency at a sample time and is looped back
/// comes in at the same sample time.
///
/// One thread at a time. Real-time safe.
class CycleClock {
 public:
  void begin() noexcept;

  /// A quantum begins. False when frames were left out since the one before.
  bool follow(const Quantum& quantum) noexcept;

  struct Stamps {
    AudioTimeStamp now;
    AudioTimeStamp inputTime;
    AudioTimeStamp outputTime;
  };
  /// Of a cycle in the quantum that has begun last. `age`, `ahead`: see `Rebuffering::Cycle`. The latencies are the
  /// device's, in frames.
  Stamps stamps(std::uint32_t age, std::uint32_t ahead, std::uint32_t inputLatency,
                std::uint32_t outputLatency) const noexcept;

 private:
  AudioTimeStamp stamp(double sampleTime, double framesFromNow) const noexcept;

  Quantum quantum_;
  bool isFirst_ = true;
  double end_ = 0.0;  // sample time behind the quantum's last frame of input
};

}  // namespace orv::pipewire
