#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "OrvPlatform/RunLoop.h"

using namespace std::chrono_literals;
using orv::LoopCall;
using orv::LoopPriority;
using orv::RunLoop;

namespace {

constexpr std::uint64_t kThreads = 4;
constexpr std::uint64_t kCallsEach = 20000;

/// What each thread's calls have counted up to.
struct Counters {
  std::uint64_t next[kThreads] = {};
  bool isInOrder = true;
  std::uint64_t total = 0;
};

LoopCall count(const std::shared_ptr<Counters>& counters, std::uint64_t thread, std::uint64_t number) {
  LoopCall call;
  call.receiver = counters;
  call.numbers[0] = thread;
  call.numbers[1] = number;
  call.perform = [](const LoopCall& made) {
    auto& all = *static_cast<Counters*>(made.receiver.get());
    all.isInOrder = all.isInOrder && all.next[made.numbers[0]] == made.numbers[1];
    all.next[made.numbers[0]] = made.numbers[1] + 1;
    ++all.total;
  };
  return call;
}

}  // namespace

TEST(RunLoopConcurrency, ManyThreadsLoseNothingAndKeepTheirOrder) {
  RunLoop loop;
  const auto counters = std::make_shared<Counters>();
  std::vector<std::thread> threads;
  for (std::uint64_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::uint64_t i = 0; i < kCallsEach; ++i) {
        loop.post(LoopPriority::state, count(counters, thread, i));
      }
    });
  }
  EXPECT_TRUE(loop.runUntil([&] { return counters->total == kThreads * kCallsEach; }, 1min));
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(counters->isInOrder);
}

TEST(RunLoopConcurrency, StopFromAnotherThreadEndsTheRun) {
  RunLoop loop;
  std::thread other([&] { loop.stop(); });
  loop.run();
  other.join();
}
