#include "OrvPlatform/ConditionLock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

using orv::ConditionLock;
using namespace std::chrono_literals;

TEST(ConditionLock, HasTheConditionItIsMadeWith) {
  EXPECT_EQ(ConditionLock(0).condition(), 0);
  EXPECT_EQ(ConditionLock(-7).condition(), -7);
}

TEST(ConditionLock, IsTakenOnlyAtTheConditionAskedFor) {
  ConditionLock lock(1);
  EXPECT_FALSE(lock.tryLockWhenCondition(0));
  EXPECT_TRUE(lock.tryLockWhenCondition(1));
}

TEST(ConditionLock, ATakenLockIsNotTakenAgain) {
  ConditionLock lock(1);
  ASSERT_TRUE(lock.tryLockWhenCondition(1));
  EXPECT_FALSE(lock.tryLockWhenCondition(1));
}

TEST(ConditionLock, ReleasingSetsTheCondition) {
  ConditionLock lock(1);
  lock.lockWhenCondition(1);
  lock.unlockWithCondition(5);
  EXPECT_EQ(lock.condition(), 5);
  EXPECT_TRUE(lock.tryLockWhenCondition(5));
}

TEST(ConditionLock, AThreadThatDoesNotHoldItMayReleaseIt) {
  ConditionLock lock(0);
  lock.lockWhenCondition(0);
  std::thread([&] { lock.unlockWithCondition(1); }).join();
  EXPECT_TRUE(lock.tryLockWhenCondition(1));
}

TEST(ConditionLock, AWaitThatMeetsNoReleaseGivesUpAfterItsTime) {
  ConditionLock lock(0);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(lock.lockWhenConditionBefore(1, 5ms));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 5ms);
  EXPECT_EQ(lock.condition(), 0);
}

TEST(ConditionLock, AWaitIsEndedByTheReleaseItWaitsFor) {
  ConditionLock lock(0);
  std::thread releasing([&] {
    std::this_thread::sleep_for(2ms);  // past the time that a waiter watches, so that it sleeps
    lock.unlockWithCondition(1);
  });
  lock.lockWhenCondition(1);
  releasing.join();
  EXPECT_EQ(lock.condition(), 1);
}

TEST(ConditionLock, ReleasingIfStillTakenDoesNotWipeOutARelease) {
  ConditionLock lock(0);
  lock.lockWhenCondition(0);
  lock.unlockWithCondition(0);  // a request that comes in while the worker works
  EXPECT_FALSE(lock.unlockIfStillTaken(1));
  EXPECT_EQ(lock.condition(), 0);
  lock.lockWhenCondition(0);
  EXPECT_TRUE(lock.unlockIfStillTaken(1));
  EXPECT_EQ(lock.condition(), 1);
}

TEST(ConditionLock, HandsABufferToAndFroWithoutLosingAny) {
  constexpr std::uint32_t kRounds = 20000;
  constexpr std::int32_t kEmpty = 0;
  constexpr std::int32_t kFull = 1;
  ConditionLock lock(kEmpty);
  std::uint32_t buffer = 0;  // guarded by lock
  std::uint64_t sum = 0;
  std::thread producer([&] {
    for (std::uint32_t i = 1; i <= kRounds; ++i) {
      lock.lockWhenCondition(kEmpty);
      buffer = i;
      lock.unlockWithCondition(kFull);
    }
  });
  for (std::uint32_t i = 0; i < kRounds; ++i) {
    lock.lockWhenCondition(kFull);
    sum += buffer;
    lock.unlockWithCondition(kEmpty);
  }
  producer.join();
  EXPECT_EQ(sum, std::uint64_t{kRounds} * (kRounds + 1) / 2);
}

TEST(ConditionLock, OnlyOneOfManyWaitersHoldsItAtATime) {
  ConditionLock lock(0);
  std::uint32_t count = 0;  // guarded by lock
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        lock.lockWhenCondition(0);
        ++count;
        lock.unlockWithCondition(0);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 8000U);
}
