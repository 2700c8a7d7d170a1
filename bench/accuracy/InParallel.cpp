#include "accuracy/InParallel.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace orv::accuracy {

void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next = 0;
  std::exception_ptr failure;
  std::mutex failureMutex;
  const auto workOn = [&] {
    for (std::size_t i = next++; i < count; i = next++) {
      try {
        work(i);
      } catch (...) {
        const std::lock_guard lock(failureMutex);
        failure = std::current_exception();
        next = count;
      }
    }
  };
  std::vector<std::jthread> pool;
  for (unsigned i = 0; i < threads; ++i) {
    pool.emplace_back(workOn);
  }
  pool.clear();
  if (failure) {
    std::rethrow_exception(failure);
  }
}

}  // namespace orv::accuracy
