#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hardware/virtual/FrameRing.h"
#include "hardware/virtual/InputFeed.h"

namespace orv::virtualhardware {

/// Carries one device's output to one device's input, without locks.
class LoopbackCable {
 public:
  /// `channels` of the listening device; `capacity` in frames.
  LoopbackCable(std::string sourceUID, std::uint32_t channels, std::size_t capacity);

  const std::string& sourceUID() const noexcept { return sourceUID_; }

  /// I/O thread of the source. Channels as files have them: one is heard on all, missing ones are silent. What there is
  /// no room for is lost. Real-time safe.
  void send(const float* frames, std::size_t count, std::uint32_t channels, double rate) noexcept;
  /// After `send`: lets the listener have it. Real-time safe.
  void deliver() noexcept;

  /// I/O thread of the listener. Real-time safe.
  void receive(float* frames, std::size_t count, double rate) noexcept;
  /// Before the listener's first cycle: what came while nobody listened is gone.
  void drop() noexcept { ring_.read(nullptr, ring_.capacity()); }

  /// The rates of both ends, by whoever changes them; two that differ are logged, once for each pair. 0: none.
  void setSourceRate(double rate);
  void setListenerRate(double rate);
  /// The listening feed is gone. Any thread.
  void abandon() noexcept { isAbandoned_.store(true); }
  bool isAbandoned() const noexcept { return isAbandoned_.load(); }

 private:
  void comparePair(double source, double listener);

  const std::string sourceUID_;
  FrameRing ring_;
  std::vector<float> frame_;                       // source's I/O thread
  std::atomic_flag isSending_ = ATOMIC_FLAG_INIT;  // a device that takes the place of another waits for nobody
  std::atomic<double> sentRate_{0.0};
  std::atomic<double> sourceRate_{0.0};
  std::atomic<double> listenerRate_{0.0};
  std::atomic<bool> isAbandoned_{false};
};

class LoopbackFeed final : public InputFeed {
 public:
  explicit LoopbackFeed(std::shared_ptr<LoopbackCable> cable) : cable_(std::move(cable)) {}
  ~LoopbackFeed() override { cable_->abandon(); }

  bool read(float* target, std::uint32_t frames, double rate) noexcept override {
    cable_->receive(target, frames, rate);
    return true;
  }
  void begin(std::uint32_t /*frames*/) override { cable_->drop(); }
  std::shared_ptr<InputFeed> atRate(double rate, std::uint64_t* /*delivered*/) override {
    cable_->setListenerRate(rate);
    return nullptr;
  }

 private:
  const std::shared_ptr<LoopbackCable> cable_;
};

}  // namespace orv::virtualhardware
