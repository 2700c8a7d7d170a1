#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/LiveList.h"

/// A value that real-time threads look at while other threads put another one in its place.
///
/// What is replaced is released by the thread that replaced it, after the last look at it has ended: so whoever takes
/// an object out of the value knows, when `change` returns, that no cycle uses it any more.
template <typename Value>
class LiveValue {
 public:
  explicit LiveValue(Value value) : current_(std::make_shared<Value>(std::move(value))) { values_.add(current_); }

  /// While it lives, the value that it shows stays as it is. Real-time safe.
  class Look {
   public:
    explicit Look(const LiveValue& live) noexcept : walk_(live.values_), value_(walk_.at(0)) {}
    const Value& operator*() const noexcept { return *value_; }
    const Value* operator->() const noexcept { return value_; }

   private:
    typename orv::LiveList<Value>::Walk walk_;
    const Value* value_;
  };

  /// Thread-safe; not real-time safe.
  Value copy() const {
    const std::lock_guard guard(mutex_);
    return *current_;
  }

  /// Has `change` alter a copy, which then takes the place of the value. Requires: not from inside a look. Thread-safe;
  /// not real-time safe.
  template <typename Change>
  void change(Change&& change) {
    const std::lock_guard guard(mutex_);
    auto changed = std::make_shared<Value>(*current_);
    std::forward<Change>(change)(*changed);
    values_.add(changed);  // there is always one to look at
    values_.remove(current_.get());
    current_ = std::move(changed);
    values_.waitForWalks();
  }

  /// Returns when every look that began before has ended. Requires and safety as for `change`.
  void waitForLooks() { values_.waitForWalks(); }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<Value> current_;  // guarded by mutex_
  orv::LiveList<Value> values_;     // one; two for the moment in which it is replaced
};

/// Whether the calling thread is at a device's cycle or at what a cycle does: where nothing may be waited for.
inline bool isInCycle() noexcept {
  return orv::isInHardwareCycle() || orv::liveWalkDepth() > 0;
}
