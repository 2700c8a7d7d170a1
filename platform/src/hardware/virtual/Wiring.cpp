#include "hardware/virtual/Wiring.h"

#include <utility>

namespace orv::virtualhardware {
namespace {

std::vector<std::uint32_t> channelsOfStreams(const SectionState& section) {
  std::vector<std::uint32_t> channels;
  channels.reserve(section.streams.size());
  for (const StreamState& stream : section.streams) {
    channels.push_back(stream.channels);
  }
  return channels;
}

}  // namespace

Wiring::Wiring(const DeviceState& device, PlanExchange& plans)
    : plans_(plans),
      inputStreams_(channelsOfStreams(device.input)),
      outputStreams_(channelsOfStreams(device.output)),
      inputChannels_(device.input.channels),
      cycle_(device.cycle) {
  disconnect();
}

void Wiring::setFeed(std::shared_ptr<InputFeed> feed) {
  const auto before = std::exchange(feed_, std::move(feed));
  offer();
}

void Wiring::setCapture(std::shared_ptr<OutputCapture> capture) {
  const auto before = std::exchange(capture_, std::move(capture));
  offer();
}

void Wiring::addCable(std::shared_ptr<LoopbackCable> cable) {
  cable->setSourceRate(cycle_.nominalRate);
  // Those that nobody listens to any more, and that only this device and its cycles still hold, are let go of here.
  std::erase_if(cables_, [](const auto& held) { return held->isAbandoned(); });
  cables_.push_back(std::move(cable));
  offer();
}

void Wiring::setCycle(const CycleState& cycle) {
  const CycleState before = std::exchange(cycle_, cycle);
  try {
    offer();
  } catch (...) {
    cycle_ = before;
    throw;
  }
  for (const auto& cable : cables_) {
    cable->setSourceRate(cycle.nominalRate);
  }
}

void Wiring::deliverLoopback() {
  for (const auto& cable : cables_) {
    cable->deliver();
  }
}

void Wiring::disconnect() {
  for (const auto& cable : cables_) {
    cable->setSourceRate(0.0);
  }
  cables_.clear();
  capture_ = nullptr;
  feed_ = inputStreams_.empty() ? nullptr : std::make_shared<SilenceFeed>(inputChannels_);
  offer();
}

void Wiring::offer() {
  auto plan = std::make_unique<CyclePlan>(inputStreams_, outputStreams_, cycle_.frames, cycle_.nominalRate);
  std::shared_ptr<InputFeed> feed = feed_;
  if (feed_ != nullptr) {
    if (auto next = feed_->atRate(cycle_.nominalRate, &plan->followedFrames)) {
      plan->followed = feed_;
      plan->followedRatio = cycle_.nominalRate / rate_;
      feed = std::move(next);
    }
  }
  plan->feed = feed;
  plan->capture = capture_;
  if (capture_ != nullptr) {
    plan->tap = capture_->tapAtRate(cycle_.nominalRate);
  }
  plan->cables = cables_;
  feed_ = std::move(feed);
  rate_ = cycle_.nominalRate;
  plans_.offer(std::move(plan));
}

}  // namespace orv::virtualhardware
