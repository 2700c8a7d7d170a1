#include "detection/ParallelTasks.h"

#include <gtest/gtest.h>

#include <vector>

TEST(ParallelTasks, EveryTaskOfEveryRunIsDoneOnce) {
  for (const std::size_t count : {0U, 1U, 2U, 7U}) {
    orv::ParallelTasks tasks(count);
    std::vector<int> done(count, 0);
    for (int run = 1; run <= 500; ++run) {
      tasks.run([&](std::size_t index) { ++done[index]; });
      EXPECT_EQ(done, std::vector<int>(count, run));
    }
  }
}

TEST(ParallelTasks, MayBeMadeForNothing) {
  const orv::ParallelTasks tasks(3);
}
