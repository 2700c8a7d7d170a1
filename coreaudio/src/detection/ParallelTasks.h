#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace orv {

/// Does a number of tasks that have nothing to do with each other, beside each other as far as the machine has
/// processors; the caller's thread does its share. The threads wait for the next run in between. One run at a time.
class ParallelTasks {
 public:
  explicit ParallelTasks(std::size_t count);
  ParallelTasks(const ParallelTasks&) = delete;
  ParallelTasks& operator=(const ParallelTasks&) = delete;
  ~ParallelTasks();

  /// Calls `task` once with each number below `count`; returns when all calls have. `task` must not throw.
  void run(const std::function<void(std::size_t index)>& task);

 private:
  void work();
  /// Does tasks until none is left to begin. The lock is held on entry and exit, and let go of around each task.
  void workOff(std::unique_lock<std::mutex>& lock);

  const std::size_t count_;

  std::mutex mutex_;
  std::condition_variable begun_;
  std::condition_variable done_;
  // Guarded by the mutex.
  const std::function<void(std::size_t)>* task_ = nullptr;
  std::size_t next_;  ///< task to begin; `count_`: none
  std::size_t underWay_ = 0;
  bool isEnding_ = false;

  std::vector<std::thread> threads_;
};

}  // namespace orv
