#include "OrvPlatform/RunLoop.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <vector>

#include "support/LogCapture.h"

using namespace std::chrono_literals;
using orv::LoopCall;
using orv::LoopPriority;
using orv::RunLoop;

namespace {

LoopCall appendTo(std::shared_ptr<std::vector<std::uint64_t>> numbers, std::uint64_t number) {
  LoopCall call;
  call.receiver = std::move(numbers);
  call.numbers[0] = number;
  call.perform = [](const LoopCall& made) {
    static_cast<std::vector<std::uint64_t>*>(made.receiver.get())->push_back(made.numbers[0]);
  };
  return call;
}

bool isReadable(const RunLoop& loop) {
  pollfd wanted{loop.fileDescriptor(), POLLIN, 0};
  return poll(&wanted, 1, 0) == 1;
}

}  // namespace

TEST(RunLoop, PerformsCallsInTheOrderOfPosting) {
  RunLoop loop;
  const auto numbers = std::make_shared<std::vector<std::uint64_t>>();
  for (std::uint64_t i = 0; i < 5; ++i) {
    EXPECT_TRUE(loop.post(LoopPriority::state, appendTo(numbers, i)));
  }
  EXPECT_TRUE(numbers->empty());
  EXPECT_EQ(loop.pump(), 5U);
  EXPECT_EQ(*numbers, (std::vector<std::uint64_t>{0, 1, 2, 3, 4}));
}

TEST(RunLoop, LosesNoStateHoweverLongItIsNotPumped) {
  RunLoop loop;
  const auto numbers = std::make_shared<std::vector<std::uint64_t>>();
  constexpr std::uint64_t kCalls = 20000;
  for (std::uint64_t i = 0; i < kCalls; ++i) {
    ASSERT_TRUE(loop.post(LoopPriority::state, appendTo(numbers, i)));
  }
  loop.pump();
  ASSERT_EQ(numbers->size(), kCalls);
  for (std::uint64_t i = 0; i < kCalls; ++i) {
    ASSERT_EQ((*numbers)[i], i);
  }
}

TEST(RunLoop, LeavesOutHighRateCallsWhileManyWait) {
  RunLoop loop;
  const auto numbers = std::make_shared<std::vector<std::uint64_t>>();
  std::uint64_t taken = 0;
  for (std::uint64_t i = 0; i < 1000; ++i) {
    taken += loop.post(LoopPriority::highRate, appendTo(numbers, i)) ? 1 : 0;
  }
  EXPECT_LT(taken, 1000U);
  EXPECT_EQ(loop.leftOut(), 1000 - taken);
  EXPECT_TRUE(loop.post(LoopPriority::state, appendTo(numbers, 1000)));
  loop.pump();
  EXPECT_EQ(numbers->size(), taken + 1);
  EXPECT_EQ(numbers->back(), 1000U);
  EXPECT_TRUE(loop.post(LoopPriority::highRate, appendTo(numbers, 1001)));
}

TEST(RunLoop, KeepsTheReceiverUntilItsCallWasMade) {
  RunLoop loop;
  auto numbers = std::make_shared<std::vector<std::uint64_t>>();
  const std::weak_ptr<std::vector<std::uint64_t>> observed = numbers;
  loop.post(LoopPriority::state, appendTo(std::move(numbers), 1));
  EXPECT_FALSE(observed.expired());
  loop.pump();
  EXPECT_TRUE(observed.expired());
}

TEST(RunLoop, ReleasesWhatStillWaitsWhenItGoes) {
  auto numbers = std::make_shared<std::vector<std::uint64_t>>();
  {
    RunLoop loop;
    loop.post(LoopPriority::state, appendTo(numbers, 1));
  }
  EXPECT_TRUE(numbers->empty());
  EXPECT_EQ(numbers.use_count(), 1);
}

TEST(RunLoop, ItsDescriptorIsReadableWhileThereIsSomethingToDo) {
  RunLoop loop;
  EXPECT_FALSE(isReadable(loop));
  loop.perform([] {});
  EXPECT_TRUE(isReadable(loop));
  loop.pump();
  EXPECT_FALSE(isReadable(loop));
}

TEST(RunLoop, WhatIsHandedOverWhilePumpingWaitsForTheNextPump) {
  RunLoop loop;
  int performed = 0;
  loop.perform([&] {
    ++performed;
    loop.perform([&] { ++performed; });
  });
  EXPECT_EQ(loop.pump(), 1U);
  EXPECT_EQ(performed, 1);
  EXPECT_EQ(loop.pump(), 1U);
  EXPECT_EQ(performed, 2);
}

TEST(RunLoop, AFunctionMayPumpAndTheOrderStays) {
  RunLoop loop;
  std::vector<int> order;
  loop.perform([&] {
    order.push_back(1);
    loop.perform([&] { order.push_back(3); });
    loop.pump();
  });
  loop.perform([&] { order.push_back(2); });
  loop.pump();
  loop.pump();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(RunLoop, WhatAFunctionThrowsIsLoggedAndTheNextIsPerformed) {
  const orv::test::LogCapture capture;
  RunLoop loop;
  bool performed = false;
  loop.perform([] { throw std::runtime_error("no tape"); });
  loop.perform([&] { performed = true; });
  EXPECT_EQ(loop.pump(), 2U);
  EXPECT_TRUE(performed);
  EXPECT_TRUE(capture.contains("a function of a loop failed: no tape"));
}

TEST(RunLoop, RunsUntilItIsStopped) {
  RunLoop loop;
  int performed = 0;
  loop.perform([&] { ++performed; });
  loop.perform([&] { loop.stop(); });
  loop.run();
  EXPECT_EQ(performed, 1);
}

TEST(RunLoop, AStopBeforeTheRunEndsItAtOnce) {
  RunLoop loop;
  loop.stop();
  loop.run();
  EXPECT_EQ(loop.pump(), 0U);
}

TEST(RunLoop, AStopEndsTheInnermostRunOnly) {
  RunLoop loop;
  std::vector<int> order;
  loop.perform([&] {
    loop.perform([&] { loop.stop(); });
    loop.run();
    order.push_back(1);
    loop.perform([&] {
      order.push_back(2);
      loop.stop();
    });
  });
  loop.run();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(RunLoop, RunsUntilAConditionHolds) {
  RunLoop loop;
  bool isDone = false;
  loop.perform([&] { isDone = true; });
  EXPECT_TRUE(loop.runUntil([&] { return isDone; }, 1min));
  EXPECT_FALSE(loop.runUntil([] { return false; }, 0ns));
}

TEST(RunLoop, WakesUpForAnotherThread) {
  RunLoop loop;
  bool isDone = false;
  std::thread other([&] { loop.perform([&] { isDone = true; }); });
  EXPECT_TRUE(loop.runUntil([&] { return isDone; }, 1min));
  other.join();
}

TEST(RunLoop, AOneShotTimerFiresOnce) {
  RunLoop loop;
  int fired = 0;
  const auto timer = loop.after(1ms, [&] { ++fired; });
  EXPECT_TRUE(timer.isRunning());
  EXPECT_TRUE(loop.runUntil([&] { return fired > 0; }, 1min));
  EXPECT_FALSE(timer.isRunning());
  loop.runFor(5ms);
  EXPECT_EQ(fired, 1);
}

TEST(RunLoop, ARepeatingTimerFiresUntilItEnds) {
  RunLoop loop;
  int fired = 0;
  auto timer = loop.every(1ms, [&] { ++fired; });
  EXPECT_TRUE(loop.runUntil([&] { return fired == 3; }, 1min));
  timer.end();
  loop.runFor(5ms);
  EXPECT_EQ(fired, 3);
}

TEST(RunLoop, ATimerMayEndItselfAndStartAnother) {
  RunLoop loop;
  int fired = 0;
  orv::Timer next;
  orv::Timer timer = loop.every(1ms, [&] {
    timer.end();
    next = loop.after(1ms, [&] { ++fired; });
  });
  EXPECT_TRUE(loop.runUntil([&] { return fired == 1; }, 1min));
}

TEST(RunLoop, ATimerThatIsDestroyedNeverFires) {
  RunLoop loop;
  int fired = 0;
  {
    const auto timer = loop.after(0ns, [&] { ++fired; });
  }
  loop.pump();
  EXPECT_EQ(fired, 0);
}

TEST(RunLoop, AVeryLongDelayDoesNotWrapAround) {
  RunLoop loop;
  int fired = 0;
  const auto timer = loop.after(std::chrono::nanoseconds::max(), [&] { ++fired; });
  loop.pump();
  EXPECT_EQ(fired, 0);
  EXPECT_TRUE(timer.isRunning());
}
