#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "hardware/virtual/InputFeed.h"
#include "hardware/virtual/Loopback.h"
#include "hardware/virtual/OutputCapture.h"
#include "hardware/virtual/StreamBuffers.h"
#include "hardware/virtual/Waker.h"

namespace orv::virtualhardware {

/// Everything that the cycles of a device work with. Prepared by the thread that changes something, taken over by the
/// I/O thread between two cycles, and given back to be destroyed.
struct CyclePlan {
  CyclePlan(const std::vector<std::uint32_t>& inputStreams, const std::vector<std::uint32_t>& outputStreams,
            std::uint32_t frameCount, double sampleRate)
      : frames(frameCount), rate(sampleRate), input(inputStreams, frameCount), output(outputStreams, frameCount) {}

  const std::uint32_t frames;
  const double rate;  ///< nominal
  StreamBuffers input;
  StreamBuffers output;

  std::shared_ptr<InputFeed> feed;
  /// The feed that `feed` goes on from, as of the moment when that one had delivered `followedFrames`: what it delivers
  /// until this plan is taken over is left out then, `followedRatio` frames for each. Null: none.
  std::shared_ptr<InputFeed> followed;
  std::uint64_t followedFrames = 0;
  double followedRatio = 1.0;

  std::shared_ptr<OutputCapture> capture;  ///< null: the output is not captured
  std::shared_ptr<CaptureTap> tap;         ///< of `capture`
  std::vector<std::shared_ptr<LoopbackCable>> cables;

  CyclePlan* next = nullptr;  ///< among those given back
};

/// Hands plans to the I/O thread and back.
class PlanExchange {
 public:
  PlanExchange() = default;
  PlanExchange(const PlanExchange&) = delete;
  PlanExchange& operator=(const PlanExchange&) = delete;
  ~PlanExchange();

  /// One thread at a time. Takes the place of one that was not taken over yet.
  void offer(std::unique_ptr<CyclePlan> plan);
  /// Waits until what was offered is in force, two seconds at most. Not in a cycle.
  void waitUntilTaken();
  /// Destroys the plans that were given back. Not in a cycle.
  void collect();

  /// I/O thread only. Takes over what was offered last, if anything. The plan in force is never null once one was
  /// offered. Real-time safe.
  CyclePlan* take() noexcept;
  /// I/O thread only.
  CyclePlan* inForce() const noexcept { return inForce_; }

 private:
  std::atomic<CyclePlan*> offered_{nullptr};
  std::atomic<CyclePlan*> givenBack_{nullptr};
  Waker taken_;
  CyclePlan* inForce_ = nullptr;  // I/O thread
};

}  // namespace orv::virtualhardware
