#pragma once

#include <atomic>
#include <cstdint>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "hardware/pipewire/io/CycleClock.h"
#include "hardware/pipewire/io/Interleaving.h"
#include "hardware/pipewire/io/Rebuffering.h"

namespace orv::pipewire {

/// Who takes the cycles, if anybody: opened and closed on any thread, looked at before each cycle.
class CycleGate {
 public:
  void open(HardwareCycleSink* sink) noexcept {
    openings_.fetch_add(1);
    sink_.store(sink);
  }
  void close() noexcept { sink_.store(nullptr); }

  HardwareCycleSink* sink() const noexcept { return sink_.load(); }
  /// Another number for each opening.
  std::uint32_t openings() const noexcept { return openings_.load(); }

 private:
  std::atomic<HardwareCycleSink*> sink_{nullptr};
  std::atomic<std::uint32_t> openings_{0};
};

/// Makes a device's cycles out of the server's quanta. I/O thread and real-time safe, except where it says otherwise.
class CycleMaker {
 public:
  /// `quantum`: see `setFrames`.
  CycleMaker(std::uint32_t inputChannels, std::uint32_t outputChannels, std::uint32_t frames,
             std::uint32_t quantum = 0);

  /// Makes the cycles of a quantum that begins, none where the gate is closed: then the output is silent. Behind
  /// a gate that was just opened they begin once the server has the quantum that it was asked for, or won't take it.
  /// False when the device was overloaded: frames were left out before, or the quantum was over before this was done.
  bool make(const Quantum& quantum, const HeardPorts& heard, const PlayedPorts& played, const CycleGate& gate) noexcept;

  /// Any thread. Frames of each cycle from the next quantum on; `quantum` is what the server is being asked for at the
  /// same time, 0 for nothing: the change waits for it a little, so that nothing need be rebuffered.
  void setFrames(std::uint32_t frames, std::uint32_t quantum) noexcept;
  /// Any thread.
  std::uint32_t wantedFrames() const noexcept { return static_cast<std::uint32_t>(wanted_.load()); }
  /// Any thread.
  void setDeviceLatency(bool isInput, std::uint32_t frames) noexcept { deviceLatency_[isInput ? 1 : 0] = frames; }
  /// Any thread. What rebuffering adds.
  std::uint64_t latencyFrames(bool isInput) const noexcept { return latency_[isInput ? 1 : 0]; }

 private:
  /// Of one stream with all channels of its section, or none.
  struct List {
    AudioBufferList list{};
    std::uint32_t channels = 0;
    AudioBufferList* of(float* samples, std::uint32_t frames) noexcept;
  };
  bool hasQuantum(const Quantum& quantum) noexcept;
  bool hasBegun(const CycleGate& gate, bool isDue) noexcept;
  void makePart(const Quantum& part, std::uint32_t first, const HeardPorts& heard, const PlayedPorts& played,
                const CycleGate& gate) noexcept;
  void cycle(HardwareCycleSink& sink, const Rebuffering::Cycle& cycle) noexcept;
  void tellLatency() noexcept;

  Rebuffering rebuffering_;
  CycleClock clock_;
  List input_;
  List output_;
  std::uint32_t opening_ = 0;          // of the gate, that is being served
  bool isBeginning_ = false;           // it waits for the server's quantum
  std::uint64_t lastWanted_ = 0;       // of `wanted_`
  std::uint64_t wantedSince_ = 0;      // host time
  std::atomic<std::uint64_t> wanted_;  // frames of a cycle in the lower half, the quantum for them in the upper
  std::atomic<std::uint32_t> deviceLatency_[2] = {0, 0};  // [isInput]
  std::atomic<std::uint32_t> latency_[2] = {0, 0};
};

}  // namespace orv::pipewire
