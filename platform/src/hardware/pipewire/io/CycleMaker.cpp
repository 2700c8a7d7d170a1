#include "hardware/pipewire/io/CycleMaker.h"

#include <algorithm>
#include <cstddef>

#include "OrvPlatform/AudioHardware.h"

namespace orv::pipewire {
namespace {

/// Nanoseconds that a change of frames waits at most for the server's.
constexpr std::uint64_t kPatience = 100'000'000;

constexpr std::uint64_t paired(std::uint32_t frames, std::uint32_t quantum) {
  return std::uint64_t{quantum} << 32 | frames;
}

}  // namespace

AudioBufferList* CycleMaker::List::of(float* samples, std::uint32_t frames) noexcept {
  list.mNumberBuffers = channels > 0 ? 1 : 0;
  list.mBuffers[0] = {channels, static_cast<std::uint32_t>(std::size_t{frames} * channels * sizeof(float)), samples};
  return &list;
}

CycleMaker::CycleMaker(std::uint32_t inputChannels, std::uint32_t outputChannels, std::uint32_t frames,
                       std::uint32_t quantum)
    : rebuffering_(inputChannels, outputChannels), wanted_(paired(frames, quantum)) {
  input_.channels = inputChannels;
  output_.channels = outputChannels;
  rebuffering_.begin(frames);
}

void CycleMaker::setFrames(std::uint32_t frames, std::uint32_t quantum) noexcept {
  wanted_.store(paired(frames, quantum));
}

bool CycleMaker::make(const Quantum& quantum, const HeardPorts& heard, const PlayedPorts& played,
                      const CycleGate& gate) noexcept {
  const bool isDue = hasQuantum(quantum);
  if (gate.sink() == nullptr || !hasBegun(gate, isDue)) {
    deinterleave(nullptr, 0, quantum.frames, played);
    return true;
  }
  if (isDue) {
    rebuffering_.setFrames(wantedFrames());
  }
  bool isWhole = true;
  for (std::uint32_t first = 0; first < quantum.frames; first += Rebuffering::kMostFrames) {
    Quantum part = quantum;
    part.host = quantum.hostAfter(first);
    part.position += first;
    part.frames = std::min(quantum.frames - first, Rebuffering::kMostFrames);
    isWhole = clock_.follow(part) && isWhole;
    makePart(part, first, heard, played, gate);
  }
  tellLatency();
  return isWhole && AudioGetCurrentHostTime() <= quantum.deadline();
}

/// Whether the server has the quantum that it was asked for, or has shown that it will not take it.
bool CycleMaker::hasQuantum(const Quantum& quantum) noexcept {
  const std::uint64_t wanted = wanted_.load();
  if (wanted != lastWanted_) {
    lastWanted_ = wanted;
    wantedSince_ = quantum.host;
  }
  const std::uint64_t asked = wanted >> 32;
  return asked == 0 || asked == quantum.frames || quantum.host - wantedSince_ >= kPatience;
}

/// Whether the gate's opening is being served.
bool CycleMaker::hasBegun(const CycleGate& gate, bool isDue) noexcept {
  if (opening_ != gate.openings()) {
    opening_ = gate.openings();
    isBeginning_ = true;
  }
  if (isBeginning_ && isDue) {
    isBeginning_ = false;
    rebuffering_.begin(wantedFrames());
    clock_.begin();
  }
  return !isBeginning_;
}

/// `part`: as much of a quantum as fits, from its frame `first` on.
void CycleMaker::makePart(const Quantum& part, std::uint32_t first, const HeardPorts& heard, const PlayedPorts& played,
                          const CycleGate& gate) noexcept {
  float* const place = rebuffering_.open(part.frames);
  if (place != nullptr) {
    interleave(heard, first, part.frames, place);
  }
  Rebuffering::Cycle next;
  HardwareCycleSink* sink = gate.sink();
  while (sink != nullptr && gate.openings() == opening_ && rebuffering_.next(&next)) {
    cycle(*sink, next);
    sink = gate.sink();
  }
  deinterleave(rebuffering_.close(), first, part.frames, played);
}

void CycleMaker::cycle(HardwareCycleSink& sink, const Rebuffering::Cycle& cycle) noexcept {
  const CycleClock::Stamps stamps =
      clock_.stamps(cycle.age, cycle.ahead, deviceLatency_[1].load(), deviceLatency_[0].load());
  const std::uint32_t frames = rebuffering_.frames();
  HardwareCycle made = {};
  made.now = stamps.now;
  made.inputTime = stamps.inputTime;
  made.outputTime = stamps.outputTime;
  made.input = input_.of(cycle.input, frames);
  made.output = output_.of(cycle.output, frames);
  sink.cycle(made);
}

void CycleMaker::tellLatency() noexcept {
  latency_[1].store(rebuffering_.inputLatency(), std::memory_order_relaxed);
  latency_[0].store(rebuffering_.outputLatency(), std::memory_order_relaxed);
}

}  // namespace orv::pipewire
