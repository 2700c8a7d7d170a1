#pragma once

#include <atomic>
#include <functional>

namespace orv::boundaries {

/// How a run is watched and stopped. Both members may be empty.
struct RunControl {
  const std::atomic<bool>* cancel = nullptr;
  std::function<void(double fraction)> progress;

  bool isCancelled() const { return cancel != nullptr && cancel->load(std::memory_order_relaxed); }

  void report(double fraction) const {
    if (progress) {
      progress(fraction);
    }
  }
};

}  // namespace orv::boundaries
