#include "detection/ParallelTasks.h"

#include <algorithm>

#include "OrvPlatform/Thread.h"

namespace orv {

ParallelTasks::ParallelTasks(std::size_t count) : count_(count), next_(count) {
  const std::size_t processors = std::max(std::thread::hardware_concurrency(), 1U);
  const std::size_t helpers = std::min(count, processors) - (count > 0 ? 1 : 0);
  for (std::size_t i = 0; i < helpers; ++i) {
    std::thread thread = startThread("orv-task", [this] { work(); });
    // With fewer threads it takes longer, that is all.
    if (thread.joinable()) {
      threads_.push_back(std::move(thread));
    }
  }
}

ParallelTasks::~ParallelTasks() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  begun_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

void ParallelTasks::run(const std::function<void(std::size_t)>& task) {
  std::unique_lock lock(mutex_);
  task_ = &task;
  next_ = 0;
  begun_.notify_all();
  workOff(lock);
  done_.wait(lock, [this] { return underWay_ == 0; });
  task_ = nullptr;
}

void ParallelTasks::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    begun_.wait(lock, [this] { return isEnding_ || next_ < count_; });
    if (isEnding_) {
      return;
    }
    workOff(lock);
  }
}

void ParallelTasks::workOff(std::unique_lock<std::mutex>& lock) {
  while (next_ < count_) {
    const std::size_t index = next_++;
    ++underWay_;
    lock.unlock();
    (*task_)(index);
    lock.lock();
    --underWay_;
  }
  if (underWay_ == 0) {
    done_.notify_all();
  }
}

}  // namespace orv
