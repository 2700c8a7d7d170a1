#include "hardware/virtual/CyclePlan.h"

#include <cmath>
#include <utility>

#include "OrvPlatform/AudioHardware.h"

namespace orv::virtualhardware {
namespace {

/// Nanoseconds.
constexpr std::uint64_t kPatience = 2'000'000'000;

}  // namespace

PlanExchange::~PlanExchange() {
  collect();
  delete offered_.load();
  delete inForce_;
}

void PlanExchange::offer(std::unique_ptr<CyclePlan> plan) {
  delete offered_.exchange(plan.release(), std::memory_order_acq_rel);
}

void PlanExchange::waitUntilTaken() {
  const std::uint64_t deadline = AudioGetCurrentHostTime() + kPatience;
  for (;;) {
    const std::uint32_t ticket = taken_.ticket();
    if (offered_.load(std::memory_order_acquire) == nullptr || AudioGetCurrentHostTime() >= deadline) {
      return;
    }
    taken_.sleepUntil(ticket, deadline);
  }
}

void PlanExchange::collect() {
  CyclePlan* plan = givenBack_.exchange(nullptr, std::memory_order_acq_rel);
  while (plan != nullptr) {
    delete std::exchange(plan, plan->next);
  }
}

CyclePlan* PlanExchange::take() noexcept {
  CyclePlan* const plan = offered_.exchange(nullptr, std::memory_order_acq_rel);
  if (plan == nullptr) {
    return inForce_;
  }
  CyclePlan* const before = std::exchange(inForce_, plan);
  if (before == nullptr) {
    return inForce_;
  }
  if (plan->followed != nullptr && plan->followed == before->feed) {
    const auto missed = static_cast<double>(before->feed->delivered() - plan->followedFrames);
    plan->feed->skip(static_cast<std::uint64_t>(std::llround(missed * plan->followedRatio)));
  }
  before->next = givenBack_.load(std::memory_order_relaxed);
  while (!givenBack_.compare_exchange_weak(before->next, before, std::memory_order_acq_rel)) {
  }
  taken_.wake();
  return inForce_;
}

}  // namespace orv::virtualhardware
