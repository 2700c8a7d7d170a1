#pragma once

#include <pipewire/pipewire.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "hardware/pipewire/io/CycleMaker.h"
#include "hardware/pipewire/io/DeviceIO.h"
#include "hardware/pipewire/io/DeviceLinks.h"
#include "hardware/pipewire/io/FilterNode.h"

namespace orv::pipewire {

/// What `DeviceIO` is made of: the filter, its links, and the maker of cycles between them.
class DeviceIO::Engine final : private FilterNode::Listener, private DeviceLinks::Listener {
 public:
  Engine(const DeviceIOSetup& setup, DeviceIOEvents& events);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine() override;

  bool connect();
  OSStatus start(HardwareCycleSink* sink);
  void stop();
  bool isRunning() const noexcept { return gate_.sink() != nullptr; }
  void setFrames(std::uint32_t frames);
  CycleMaker& maker() noexcept { return maker_; }

 private:
  void nodeReady() override;
  void nodeGone(const char* why) override;
  void quantum(const spa_io_position* position) noexcept override;
  void linksChanged() override;
  void sideGone() override;

  void lose();
  bool waitUntilReady();
  void waitForQuantumEnd() const;
  void makeCycles(const Quantum& quantum) noexcept;
  bool isOfDevice(const Quantum& quantum, const FilterNode::Taken& taken) noexcept;
  void handleNews();

  const DeviceIOSetup setup_;
  DeviceIOEvents& events_;
  CycleMaker maker_;
  CycleGate gate_;
  std::atomic<bool> isInQuantum_{false};
  std::atomic<bool> isLost_{false};  // set with the loop's lock held

  // What the I/O thread has to tell the loop, which it wakes with `news_`.
  std::atomic<std::uint32_t> rate_{0};  // 0 before the first quantum
  spa_source* news_ = nullptr;

  // With the loop's lock held.
  std::uint32_t toldRate_;

  // I/O thread.
  Quantum last_;
  std::uint32_t driver_;  // that gave the last quantum in which something was linked

  // Destroyed first: nothing is called any more then.
  std::optional<FilterNode> node_;
  std::optional<DeviceLinks> links_;
};

}  // namespace orv::pipewire
