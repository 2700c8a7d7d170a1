#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orv {

/// Holds the implementation of a service that is in force, and the built-in one to go back to. Thread-safe. Made with
/// `new` and never destroyed, so that objects that outlive main still find their services.
template <typename Service>
class ServiceSlot {
 public:
  explicit ServiceSlot(std::shared_ptr<Service> builtIn) : builtIn_(std::move(builtIn)), current_(builtIn_) {}

  std::shared_ptr<Service> get() {
    const std::lock_guard guard(mutex_);
    return current_;
  }

  /// Null restores the built-in service. Returns the one before.
  std::shared_ptr<Service> install(std::shared_ptr<Service> service) {
    const std::lock_guard guard(mutex_);
    return std::exchange(current_, service ? std::move(service) : builtIn_);
  }

 private:
  const std::shared_ptr<Service> builtIn_;
  std::mutex mutex_;
  std::shared_ptr<Service> current_;  // guarded by mutex_
};

}  // namespace orv
