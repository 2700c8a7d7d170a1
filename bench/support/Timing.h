#pragma once

#include <functional>
#include <vector>

namespace orv::bench {

/// Seconds that each of `candidates` took in the best of `rounds` runs. The candidates take turns, so that what
/// disturbs the machine disturbs all of them.
std::vector<double> bestTimes(int rounds, const std::vector<std::function<void()>>& candidates);

}  // namespace orv::bench
