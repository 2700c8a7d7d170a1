#include "OrvPlatform/NotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

#include "OrvPlatform/Log.h"

namespace orv {

struct NotificationCenter::Observers {
  using List = std::vector<std::shared_ptr<Observation::Entry>>;
  std::mutex mutex;
  List list;  // guarded by mutex
};

struct Observation::Entry {
  std::optional<std::string> name;
  bool wantsOneSender = false;
  std::weak_ptr<Object> sender;
  NotificationCenter::Observer observer;
  std::weak_ptr<NotificationCenter::Observers> home;
  std::atomic<bool> hasEnded{false};

  bool wants(const Notification& notification) const {
    return (!name || *name == notification.name) && (!wantsOneSender || sender.lock() == notification.object);
  }
};

namespace {

void tell(const NotificationCenter::Observer& observer, const Notification& notification) {
  try {
    observer(notification);
  } catch (const std::exception& failure) {
    logf("%s: an observer failed: %s", notification.name.c_str(), failure.what());
  } catch (...) {
    logf("%s: an observer failed", notification.name.c_str());
  }
}

}  // namespace

Observation::Observation(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}

Observation::Observation(Observation&& other) noexcept : entry_(std::move(other.entry_)) {}

Observation& Observation::operator=(Observation&& other) noexcept {
  if (this != &other) {
    end();
    entry_ = std::move(other.entry_);
  }
  return *this;
}

Observation::~Observation() {
  end();
}

void Observation::end() {
  const std::shared_ptr<Entry> entry = std::move(entry_);
  if (entry == nullptr) {
    return;
  }
  entry->hasEnded.store(true, std::memory_order_release);
  if (const auto home = entry->home.lock()) {
    const std::lock_guard guard(home->mutex);
    std::erase(home->list, entry);
  }
}

NotificationCenter& NotificationCenter::defaultCenter() {
  static auto* const center = new NotificationCenter;
  return *center;
}

NotificationCenter::NotificationCenter() : observers_(std::make_shared<Observers>()) {}

NotificationCenter::~NotificationCenter() = default;

Observation NotificationCenter::addObserver(std::optional<std::string> name, const std::shared_ptr<Object>& object,
                                            Observer observer) {
  auto entry = std::make_shared<Observation::Entry>();
  entry->name = std::move(name);
  entry->wantsOneSender = object != nullptr;
  entry->sender = object;
  entry->observer = std::move(observer);
  entry->home = observers_;
  const std::lock_guard guard(observers_->mutex);
  observers_->list.push_back(entry);
  return Observation(std::move(entry));
}

void NotificationCenter::post(const std::string& name, const std::shared_ptr<Object>& object) {
  const Notification notification{name, object};
  Observers::List called;
  {
    const std::lock_guard guard(observers_->mutex);
    std::copy_if(observers_->list.begin(), observers_->list.end(), std::back_inserter(called),
                 [&](const auto& entry) { return entry->wants(notification); });
  }
  for (const auto& entry : called) {
    if (!entry->hasEnded.load(std::memory_order_acquire)) {
      tell(entry->observer, notification);
    }
  }
}

}  // namespace orv
