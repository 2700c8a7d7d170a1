#include "hardware/pipewire/Loop.h"

#include <pipewire/pipewire.h>

#include <cstdlib>
#include <ctime>
#include <exception>
#include <utility>

#include "OrvPlatform/Log.h"

namespace orv::pipewire {
namespace {

/// A task that fails must not take the loop's thread with it: it was called by C.
void run(const Loop::Task& task) noexcept {
  try {
    task();
  } catch (const std::exception& failure) {
    logf("PipeWire: %s", failure.what());
  } catch (...) {
    log("PipeWire: a task failed");
  }
}

}  // namespace

std::unique_ptr<Loop> Loop::make() {
  static const bool isInitialised = [] {
    pw_init(nullptr, nullptr);
    // What is wrong is told through statuses and our own log; the library would write lines to standard error.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody sets variables here
    if (std::getenv("PIPEWIRE_DEBUG") == nullptr) {
      pw_log_set_level(SPA_LOG_LEVEL_NONE);
    }
    return true;
  }();
  pw_thread_loop* const handle = isInitialised ? pw_thread_loop_new("orv pipewire", nullptr) : nullptr;
  return handle == nullptr ? nullptr : std::unique_ptr<Loop>(new Loop(handle));
}

Loop::Loop(pw_thread_loop* loop) : loop_(loop) {
  wakeUp_ = pw_loop_add_event(
      plain(), [](void* self, std::uint64_t /*count*/) { static_cast<Loop*>(self)->runDueTasks(); }, this);
  timer_ = pw_loop_add_timer(
      plain(), [](void* self, std::uint64_t /*expirations*/) { static_cast<Loop*>(self)->runDueTasks(); }, this);
}

Loop::~Loop() {
  stop();
  pw_loop_destroy_source(plain(), wakeUp_);
  pw_loop_destroy_source(plain(), timer_);
  pw_thread_loop_destroy(loop_);
}

pw_loop* Loop::plain() const {
  return pw_thread_loop_get_loop(loop_);
}

bool Loop::start() {
  return wakeUp_ != nullptr && timer_ != nullptr && pw_thread_loop_start(loop_) >= 0;
}

void Loop::stop() {
  pw_thread_loop_stop(loop_);
}

void Loop::postAfter(std::chrono::milliseconds delay, Task task) {
  {
    const std::lock_guard guard(mutex_);
    tasks_.emplace(Clock::now() + delay, std::move(task));
  }
  pw_loop_signal_event(plain(), wakeUp_);
}

void Loop::runDueTasks() {
  for (;;) {
    Task task;
    {
      const std::lock_guard guard(mutex_);
      if (tasks_.empty()) {
        return;
      }
      const auto first = tasks_.begin();
      if (first->first > Clock::now()) {
        setTimer(first->first);
        return;
      }
      task = std::move(first->second);
      tasks_.erase(first);
    }
    run(task);
  }
}

void Loop::setTimer(Clock::time_point due) {
  const auto delay = std::chrono::duration_cast<std::chrono::nanoseconds>(due - Clock::now()).count();
  timespec time{};
  time.tv_sec = delay > 0 ? static_cast<std::time_t>(delay / 1'000'000'000) : 0;
  time.tv_nsec = delay > 0 ? static_cast<long>(delay % 1'000'000'000) : 1;
  pw_loop_update_timer(plain(), timer_, &time, nullptr, false);
}

Loop::Lock::Lock(const Loop& loop) : loop_(loop.handle()) {
  pw_thread_loop_lock(loop_);
}

Loop::Lock::~Lock() {
  pw_thread_loop_unlock(loop_);
}

}  // namespace orv::pipewire
