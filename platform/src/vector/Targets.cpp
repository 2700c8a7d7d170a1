#include "vector/Targets.h"

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace orv::simd {

std::vector<Target> availableTargets() {
  hwy::SetSupportedTargetsForTest(0);
  std::vector<Target> targets = hwy::SupportedAndGeneratedTargets();
  if (targets.empty() || targets.back() != HWY_STATIC_TARGET) {
    targets.push_back(HWY_STATIC_TARGET);
  }
  return targets;
}

std::string targetName(Target target) {
  return hwy::TargetName(target);
}

void useTarget(Target target) {
  hwy::SetSupportedTargetsForTest(target);
}

void useBestTarget() {
  hwy::SetSupportedTargetsForTest(0);
}

}  // namespace orv::simd
