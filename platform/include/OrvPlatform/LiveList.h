#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "OrvPlatform/Export.h"

namespace orv {

/// Walks of live lists that the calling thread is in. Real-time safe.
ORV_API int& liveWalkDepth() noexcept;

/// An ordered list of shared objects that real-time threads walk without a lock while others change it.
///
/// Walking is live: whether there is one more object is asked for anew each time, so one that is added meanwhile is
/// reached when it lands behind the current place, and removing one may skip the next. Each change makes a new array;
/// the old one, and with it an object that was removed, is kept until no walk can be at it any more, and is never freed
/// by a thread that walks.
template <typename T>
class LiveList {
 public:
  using Pointer = std::shared_ptr<T>;
  using Items = std::vector<Pointer>;

  LiveList() : current_(new Items) {}
  LiveList(const LiveList&) = delete;
  LiveList& operator=(const LiveList&) = delete;
  /// Requires: nobody walks.
  ~LiveList() { delete current_.load(std::memory_order_relaxed); }

  /// While it lives, what it has returned stays alive. Real-time safe.
  class Walk {
   public:
    explicit Walk(const LiveList& list) noexcept
        : list_(list), walks_(list.walks_[list.epoch_.load(std::memory_order_relaxed) & 1]) {
      walks_.fetch_add(1, std::memory_order_seq_cst);
      ++liveWalkDepth();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk() {
      --liveWalkDepth();
      walks_.fetch_sub(1, std::memory_order_seq_cst);
    }
    /// The object that is at `index` now, null behind the last.
    T* at(std::size_t index) const noexcept {
      const Items& items = *list_.current_.load(std::memory_order_seq_cst);
      return index < items.size() ? items[index].get() : nullptr;
    }

   private:
    const LiveList& list_;
    std::atomic<std::size_t>& walks_;
  };

  /// Appends `object` unless it is there already. Whether it was appended. Thread-safe; not real-time safe.
  bool add(const Pointer& object) {
    {
      const std::lock_guard guard(mutex_);
      const Items& items = *current_.load(std::memory_order_relaxed);
      if (object == nullptr || std::find(items.begin(), items.end(), object) != items.end()) {
        return false;
      }
      auto changed = std::make_unique<Items>(items);
      changed->push_back(object);
      replace(std::move(changed));
    }
    collect();
    return true;
  }

  /// Whether it was there. What was removed is released at once where no walk can be at it, otherwise by `collect`.
  /// Thread-safe; not real-time safe.
  bool remove(const T* object) {
    {
      const std::lock_guard guard(mutex_);
      const Items& items = *current_.load(std::memory_order_relaxed);
      const auto found =
          std::find_if(items.begin(), items.end(), [&](const Pointer& item) { return item.get() == object; });
      if (found == items.end()) {
        return false;
      }
      auto changed = std::make_unique<Items>(items.begin(), found);
      changed->insert(changed->end(), found + 1, items.end());
      replace(std::move(changed));
    }
    collect();
    return true;
  }

  /// A copy of the list as it is. Thread-safe; not real-time safe.
  Items objects() const {
    const std::lock_guard guard(mutex_);
    return *current_.load(std::memory_order_relaxed);
  }

  /// Thread-safe; not real-time safe.
  std::size_t size() const {
    const std::lock_guard guard(mutex_);
    return current_.load(std::memory_order_relaxed)->size();
  }

  /// Releases what no walk can be at any more; nothing when the calling thread walks itself. Whether nothing is left to
  /// release. Never waits for a walk. Thread-safe; not real-time safe.
  bool collect() {
    std::vector<Retired> garbage;  // released when the lock is free again: destructors may come back here
    const std::lock_guard guard(mutex_);
    if (liveWalkDepth() == 0) {
      sortOut(&garbage);
    }
    return retired_.empty();
  }

  /// Returns when no walk is under way that began before, unless the calling thread walks itself: then at once.
  /// Thread-safe; not real-time safe.
  void waitForWalks() {
    if (liveWalkDepth() > 0) {
      return;
    }
    std::array<bool, 2> ended{};
    while (!ended[0] || !ended[1]) {
      for (std::size_t i = 0; i < ended.size(); ++i) {
        ended[i] = ended[i] || walks_[i].load(std::memory_order_seq_cst) == 0;
      }
      epoch_.fetch_add(1, std::memory_order_relaxed);  // lets either count run dry
      if (!ended[0] || !ended[1]) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
      }
    }
    collect();
  }

 private:
  /// An array that was replaced. A walk that may be at it began before that, and is counted until it ends: so it has
  /// ended when each of the two counts was zero once since.
  struct Retired {
    std::unique_ptr<const Items> items;
    std::array<bool, 2> wasZero{};
  };

  void replace(std::unique_ptr<Items> changed) {
    retired_.emplace_back();
    retired_.back().items.reset(current_.exchange(changed.release(), std::memory_order_seq_cst));
  }

  void sortOut(std::vector<Retired>* garbage) {
    for (std::size_t i = 0; i < walks_.size(); ++i) {
      if (walks_[i].load(std::memory_order_seq_cst) == 0) {
        std::for_each(retired_.begin(), retired_.end(), [&](Retired& retired) { retired.wasZero[i] = true; });
      }
    }
    const auto live = std::stable_partition(retired_.begin(), retired_.end(), [](const Retired& retired) {
      return !retired.wasZero[0] || !retired.wasZero[1];
    });
    garbage->assign(std::make_move_iterator(live), std::make_move_iterator(retired_.end()));
    retired_.erase(live, retired_.end());
    epoch_.fetch_add(1, std::memory_order_relaxed);
  }

  mutable std::mutex mutex_;
  std::atomic<Items*> current_;  // written under mutex_
  std::atomic<std::uint32_t> epoch_{0};
  mutable std::array<std::atomic<std::size_t>, 2> walks_{};  // begun in an even and in an odd epoch
  std::vector<Retired> retired_;                             // guarded by mutex_
};

}  // namespace orv
