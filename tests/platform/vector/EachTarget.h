#pragma once

#include <gtest/gtest.h>

#include "vector/Targets.h"

namespace orv::test {

/// Runs `body` once on each instruction set that this machine has, plain C++ among them.
template <class Body>
void onEachTarget(Body body) {
  for (const simd::Target target : simd::availableTargets()) {
    SCOPED_TRACE(simd::targetName(target));
    simd::useTarget(target);
    body();
  }
  simd::useBestTarget();
}

}  // namespace orv::test
