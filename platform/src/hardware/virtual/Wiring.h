#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "hardware/virtual/CyclePlan.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {

/// What a device's input comes from and where its output goes to; makes the plans of its cycles of that. One thread at
/// a time; cycles go on meanwhile.
class Wiring {
 public:
  Wiring(const DeviceState& device, PlanExchange& plans);

  void setFeed(std::shared_ptr<InputFeed> feed);
  void setCapture(std::shared_ptr<OutputCapture> capture);
  void addCable(std::shared_ptr<LoopbackCable> cable);
  /// At the rate and with the frames that the device has now. When it throws, nothing has changed.
  void setCycle(const CycleState& cycle);
  /// By hand, after a step: lets listeners have what was sent.
  void deliverLoopback();
  /// Lets go of all files and cables.
  void disconnect();

  std::shared_ptr<InputFeed> feed() const { return feed_; }
  std::shared_ptr<OutputCapture> capture() const { return capture_; }

 private:
  void offer();

  PlanExchange& plans_;
  std::vector<std::uint32_t> inputStreams_;  // channels of each
  std::vector<std::uint32_t> outputStreams_;
  std::uint32_t inputChannels_;
  CycleState cycle_;
  double rate_ = 0.0;  // of the plan that was offered last
  std::shared_ptr<InputFeed> feed_;
  std::shared_ptr<OutputCapture> capture_;
  std::vector<std::shared_ptr<LoopbackCable>> cables_;
};

}  // namespace orv::virtualhardware
