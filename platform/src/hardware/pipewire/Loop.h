#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

struct pw_loop;
struct pw_thread_loop;
struct spa_source;

namespace orv::pipewire {

/// The thread on which everything happens that the server says, with the lock that guards the library's objects. Others
/// leave work to it: what must not wait for the lock, or is to happen later.
class Loop {
 public:
  using Task = std::function<void()>;

  /// Null when the system has no thread to give.
  static std::unique_ptr<Loop> make();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop();

  pw_thread_loop* handle() const { return loop_; }
  pw_loop* plain() const;

  bool start();
  /// No task runs afterwards. Not on the loop's thread.
  void stop();

  /// Any thread, without the lock. The task runs on the loop's thread with the lock held.
  void post(Task task) { postAfter(std::chrono::milliseconds(0), std::move(task)); }
  void postAfter(std::chrono::milliseconds delay, Task task);

  /// Holds the loop's lock. May be nested.
  class Lock {
   public:
    explicit Lock(const Loop& loop);
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock();

   private:
    pw_thread_loop* const loop_;
  };

 private:
  using Clock = std::chrono::steady_clock;

  explicit Loop(pw_thread_loop* loop);
  void runDueTasks();
  void setTimer(Clock::time_point due);

  pw_thread_loop* const loop_;
  spa_source* wakeUp_ = nullptr;
  spa_source* timer_ = nullptr;
  std::mutex mutex_;
  std::multimap<Clock::time_point, Task> tasks_;  // guarded by mutex_
};

}  // namespace orv::pipewire
