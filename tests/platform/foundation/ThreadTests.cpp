#include "OrvPlatform/Thread.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/LogCapture.h"

TEST(Thread, RunsItsBody) {
  bool ran = false;
  orv::startThread("orv-test", [&] { ran = true; }).join();
  EXPECT_TRUE(ran);
}

TEST(Thread, WhatItsBodyThrowsEndsTheThreadAndIsLogged) {
  const orv::test::LogCapture capture;
  orv::startThread("orv-test", [] { throw std::runtime_error("out of tape"); }).join();
  EXPECT_TRUE(capture.contains("orv-test: thread ended by: out of tape"));
}

TEST(Thread, LoweringItsOwnPriorityLeavesOthersAlone) {
  const double mine = orv::currentThreadPriority();
  double before = 0;
  double after = 0;
  orv::startThread("orv-test", [&] {
    before = orv::currentThreadPriority();
    orv::setCurrentThreadPriority(before - 0.25);
    after = orv::currentThreadPriority();
  }).join();
  EXPECT_NEAR(after, before - 0.25, 0.03);
  EXPECT_EQ(orv::currentThreadPriority(), mine);
}

TEST(Thread, APriorityThatIsNotAllowedOrOutOfRangeIsNoError) {
  orv::startThread("orv-test", [] {
    orv::setCurrentThreadPriority(17.0);
    EXPECT_LE(orv::currentThreadPriority(), 1.0);
    orv::setCurrentThreadPriority(-17.0);
    EXPECT_GE(orv::currentThreadPriority(), 0.0);
  }).join();
}
