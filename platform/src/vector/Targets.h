#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The instruction sets behind run-time dispatch, for tests that compare them and benchmarks that name them.
namespace orv::simd {

/// One instruction set, as Highway numbers it.
using Target = std::int64_t;

/// What both this build and this machine can run, best first. The last one needs no particular machine. Goes back to
/// the best one, as `useBestTarget` does.
std::vector<Target> availableTargets();
std::string targetName(Target target);

/// Runs everything in `orv::simd` on `target` from now on. Not thread-safe: no other thread may be inside `orv::simd`.
void useTarget(Target target);
/// Goes back to the best instruction set. Not thread-safe, as above.
void useBestTarget();

}  // namespace orv::simd
