#include "support/Timing.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace orv::bench {

std::vector<double> bestTimes(int rounds, const std::vector<std::function<void()>>& candidates) {
  std::vector<double> best(candidates.size(), std::numeric_limits<double>::infinity());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      const auto begin = std::chrono::steady_clock::now();
      candidates[i]();
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
      best[i] = std::min(best[i], elapsed.count());
    }
  }
  return best;
}

}  // namespace orv::bench
