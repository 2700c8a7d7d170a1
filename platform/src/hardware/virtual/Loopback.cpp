#include "hardware/virtual/Loopback.h"

#include <algorithm>
#include <utility>

#include "OrvPlatform/Log.h"

namespace orv::virtualhardware {

LoopbackCable::LoopbackCable(std::string sourceUID, std::uint32_t channels, std::size_t capacity)
    : sourceUID_(std::move(sourceUID)), ring_(channels, capacity), frame_(channels) {}

void LoopbackCable::send(const float* frames, std::size_t count, std::uint32_t channels, double rate) noexcept {
  if (isSending_.test_and_set(std::memory_order_acquire)) {
    return;
  }
  sentRate_.store(rate, std::memory_order_relaxed);
  if (ring_.room() >= count) {
    const std::size_t common = std::min<std::size_t>(channels, frame_.size());
    for (std::size_t i = 0; i < count; ++i, frames += channels) {
      std::fill(std::copy_n(frames, common, frame_.begin()), frame_.end(), channels == 1 ? frames[0] : 0.0F);
      ring_.write(frame_.data(), 1);
    }
  }
  isSending_.clear(std::memory_order_release);
}

void LoopbackCable::deliver() noexcept {
  if (!isSending_.test_and_set(std::memory_order_acquire)) {
    ring_.commit();
    isSending_.clear(std::memory_order_release);
  }
}

void LoopbackCable::receive(float* frames, std::size_t count, double rate) noexcept {
  const bool isSameRate = sentRate_.load(std::memory_order_relaxed) == rate;
  const std::size_t got = ring_.read(isSameRate ? frames : nullptr, count);
  const std::size_t heard = isSameRate ? got : 0;
  std::fill_n(frames + heard * frame_.size(), (count - heard) * frame_.size(), 0.0F);
}

void LoopbackCable::setSourceRate(double rate) {
  if (sourceRate_.exchange(rate) != rate) {
    comparePair(rate, listenerRate_);
  }
}

void LoopbackCable::setListenerRate(double rate) {
  if (listenerRate_.exchange(rate) != rate) {
    comparePair(sourceRate_, rate);
  }
}

void LoopbackCable::comparePair(double source, double listener) {
  if (source != 0.0 && listener != 0.0 && source != listener) {
    logf("virtual hardware: the loopback of \"%s\" is silent: it runs at %g Hz, the listening device at %g Hz",
         sourceUID_.c_str(), source, listener);
  }
}

}  // namespace orv::virtualhardware
