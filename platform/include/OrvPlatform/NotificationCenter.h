#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/Object.h"

/// Who wants to hear of something, and who tells it, without knowing each other.
namespace orv {

struct Notification {
  std::string name;
  std::shared_ptr<Object> object;  ///< the sender, or what it is about; may be null
};

/// Keeps one observer for as long as it lives. One thread at a time.
class ORV_API Observation {
 public:
  Observation() = default;
  Observation(Observation&& other) noexcept;
  Observation& operator=(Observation&& other) noexcept;
  /// As `end`.
  ~Observation();

  /// The observer hears of nothing that is posted from now on. Does nothing when it has ended.
  void end();

 private:
  friend class NotificationCenter;
  struct Entry;
  explicit Observation(std::shared_ptr<Entry> entry);
  std::shared_ptr<Entry> entry_;
};

class ORV_API NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// The one that the framework posts to, always on the main thread (`OrvPlatform/RunLoop.h`).
  static NotificationCenter& defaultCenter();

  NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;
  ~NotificationCenter();

  /// `name`: which notifications, none: all. `object`: of which sender, null: of any. Observers are called in the order
  /// in which they were added. What an observer throws is logged and ends there. Thread-safe.
  [[nodiscard]] Observation addObserver(std::optional<std::string> name, const std::shared_ptr<Object>& object,
                                        Observer observer);

  /// Calls all who want to hear of it, on the calling thread, and returns when they have returned. Observers may add
  /// and end observers, and post. One that is added meanwhile is not called for this one. Thread-safe; not real-time
  /// safe.
  void post(const std::string& name, const std::shared_ptr<Object>& object);

 private:
  friend class Observation;
  struct Observers;
  std::shared_ptr<Observers> observers_;
};

}  // namespace orv
