#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "OrvPlatform/LiveList.h"

namespace {

constexpr std::uint64_t kAlive = 0x600DF00D;

/// Says whether it has been destroyed, as far as memory can.
struct Witness {
  std::atomic<std::uint64_t> state{kAlive};
  std::atomic<std::thread::id>* walker = nullptr;
  std::atomic<int>* freedByWalker = nullptr;

  ~Witness() {
    state = 0;
    if (walker != nullptr && walker->load() == std::this_thread::get_id()) {
      ++*freedByWalker;
    }
  }
};

}  // namespace

TEST(LiveListConcurrency, WhatAWalkReturnsIsAliveWhileOthersChangeTheList) {
  orv::LiveList<Witness> list;
  std::atomic<bool> isDone{false};
  std::atomic<int> dead{0};
  std::atomic<int> freedByWalker{0};
  std::atomic<std::thread::id> walkerID{};
  std::atomic<std::uint64_t> met{0};
  const auto walkAll = [&] {
    const orv::LiveList<Witness>::Walk walk(list);
    for (std::size_t i = 0; const Witness* const witness = walk.at(i); ++i) {
      dead += witness->state.load() == kAlive ? 0 : 1;
      ++met;
    }
  };
  std::thread walker([&] {
    walkerID = std::this_thread::get_id();
    while (!isDone) {
      walkAll();
    }
  });
  std::thread secondWalker([&] {
    while (!isDone) {
      walkAll();
    }
  });
  std::vector<std::thread> changers;
  for (int thread = 0; thread < 2; ++thread) {
    changers.emplace_back([&] {
      for (int i = 0; i < 3000; ++i) {
        auto witness = std::make_shared<Witness>();
        witness->walker = &walkerID;
        witness->freedByWalker = &freedByWalker;
        list.add(witness);
        list.remove(witness.get());
      }
    });
  }
  for (std::thread& changer : changers) {
    changer.join();
  }
  list.add(std::make_shared<Witness>());
  while (met == 0) {
    std::this_thread::yield();
  }
  isDone = true;
  walker.join();
  secondWalker.join();
  EXPECT_EQ(dead, 0);
  EXPECT_EQ(freedByWalker, 0);
  EXPECT_TRUE(list.collect());
}

TEST(LiveListConcurrency, AfterWaitingNoWalkIsAtWhatWasRemoved) {
  orv::LiveList<std::atomic<bool>> list;
  std::atomic<bool> isDone{false};
  std::vector<std::thread> walkers;
  std::atomic<int> late{0};
  for (int thread = 0; thread < 2; ++thread) {
    walkers.emplace_back([&] {
      while (!isDone) {
        const orv::LiveList<std::atomic<bool>>::Walk walk(list);
        for (std::size_t i = 0; const std::atomic<bool>* const mayBeCalled = walk.at(i); ++i) {
          late += mayBeCalled->load() ? 0 : 1;
        }
      }
    });
  }
  for (int i = 0; i < 500; ++i) {
    const auto mayBeCalled = std::make_shared<std::atomic<bool>>(true);
    list.add(mayBeCalled);
    list.remove(mayBeCalled.get());
    list.waitForWalks();
    *mayBeCalled = false;
  }
  isDone = true;
  for (std::thread& walker : walkers) {
    walker.join();
  }
  EXPECT_EQ(late, 0);
}
