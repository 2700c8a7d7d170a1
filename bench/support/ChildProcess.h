#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orv::bench {

/// Runs a program (looked up on the PATH), its output thrown away, and returns the largest resident size in bytes that
/// it had. Throws when it does not end with status 0.
///
/// The kernel counts the caller's own size at the time of the call into the child's: keep it small where the result
/// matters.
std::int64_t runForPeakMemory(const std::vector<std::string>& arguments);

}  // namespace orv::bench
