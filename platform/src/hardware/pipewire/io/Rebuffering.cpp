#include "hardware/pipewire/io/Rebuffering.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace orv::pipewire {
namespace {

/// What is gathered before a quantum, or queued after it, is less than the longest cycle; the quantum comes on top.
constexpr std::size_t kRoom = std::size_t{2} * Rebuffering::kMostFrames;

}  // namespace

float* Rebuffering::Row::at(std::uint32_t frame) noexcept {
  return channels == 0 ? nullptr : samples.data() + (std::size_t{first} + frame) * channels;
}

void Rebuffering::Row::moveToFront() noexcept {
  if (first > 0 && frames > 0 && channels > 0) {
    std::memmove(samples.data(), at(0), std::size_t{frames} * channels * sizeof(float));
  }
  first = 0;
}

void Rebuffering::Row::appendSilence(std::uint32_t count) noexcept {
  if (channels > 0) {
    std::fill_n(at(frames), std::size_t{count} * channels, 0.0F);
  }
  frames += count;
}

Rebuffering::Rebuffering(std::uint32_t inputChannels, std::uint32_t outputChannels) {
  input_.channels = inputChannels;
  output_.channels = outputChannels;
  input_.samples.resize(kRoom * inputChannels);
  output_.samples.resize(kRoom * outputChannels);
}

void Rebuffering::begin(std::uint32_t frames) noexcept {
  input_.first = 0;
  input_.frames = 0;
  output_.first = 0;
  output_.frames = 0;
  due_ = 0;
  quantum_ = 0;
  setFrames(frames);
}

void Rebuffering::setFrames(std::uint32_t frames) noexcept {
  const std::uint32_t inRange = std::clamp(frames, std::uint32_t{1}, kMostFrames);
  if (inRange != frames_) {
    frames_ = inRange;
    quantum_ = 0;
  }
}

float* Rebuffering::open(std::uint32_t quantum) noexcept {
  due_ = std::clamp(quantum, std::uint32_t{1}, kMostFrames);
  input_.moveToFront();
  output_.moveToFront();
  if (quantum_ != due_) {
    quantum_ = due_;
    prime();
  }
  float* const place = input_.at(input_.frames);
  input_.frames += due_;
  return place;
}

/// Makes sure that no quantum like this one will lack output.
void Rebuffering::prime() noexcept {
  const std::uint32_t divisor = std::gcd(quantum_, frames_);
  const std::uint32_t mostGathered = frames_ - divisor + input_.frames % divisor;
  const std::uint32_t primed = input_.frames + output_.frames;
  if (primed < mostGathered) {
    output_.appendSilence(mostGathered - primed);
  }
  inputLatency_ = quantum_ - divisor + input_.frames % divisor;
  outputLatency_ = input_.frames + output_.frames - mostGathered;
}

bool Rebuffering::next(Cycle* cycle) noexcept {
  if (input_.frames < frames_) {
    return false;
  }
  *cycle = {input_.at(0), output_.at(output_.frames), input_.frames, output_.frames};
  input_.first += frames_;
  input_.frames -= frames_;
  output_.frames += frames_;
  return true;
}

const float* Rebuffering::close() noexcept {
  if (input_.frames >= frames_) {
    const std::uint32_t rest = input_.frames - input_.frames % frames_;
    input_.first += rest;
    input_.frames -= rest;
    output_.appendSilence(rest);
  }
  const float* const place = output_.at(0);
  output_.first += due_;
  output_.frames -= due_;
  return place;
}

}  // namespace orv::pipewire
