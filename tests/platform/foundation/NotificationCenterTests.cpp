#include "OrvPlatform/NotificationCenter.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "support/LogCapture.h"

using orv::Notification;
using orv::NotificationCenter;
using orv::Observation;

namespace {

class Sender : public orv::Object {};

}  // namespace

TEST(NotificationCenter, TellsTheObserverOfThatName) {
  NotificationCenter center;
  std::vector<std::string> heard;
  const auto observation =
      center.addObserver("one", nullptr, [&](const Notification& told) { heard.push_back(told.name); });
  center.post("two", nullptr);
  center.post("one", nullptr);
  EXPECT_EQ(heard, (std::vector<std::string>{"one"}));
}

TEST(NotificationCenter, AnObserverWithoutANameHearsEverything) {
  NotificationCenter center;
  int heard = 0;
  const auto observation = center.addObserver(std::nullopt, nullptr, [&](const Notification&) { ++heard; });
  center.post("one", nullptr);
  center.post("two", std::make_shared<Sender>());
  EXPECT_EQ(heard, 2);
}

TEST(NotificationCenter, AnObserverOfOneSenderHearsOnlyThatOne) {
  NotificationCenter center;
  const auto wanted = std::make_shared<Sender>();
  std::shared_ptr<orv::Object> from;
  const auto observation =
      center.addObserver(std::nullopt, wanted, [&](const Notification& told) { from = told.object; });
  center.post("one", std::make_shared<Sender>());
  center.post("one", nullptr);
  EXPECT_EQ(from, nullptr);
  center.post("one", wanted);
  EXPECT_EQ(from, wanted);
}

TEST(NotificationCenter, DoesNotKeepTheSenderThatAnObserverWaitsFor) {
  NotificationCenter center;
  auto wanted = std::make_shared<Sender>();
  const auto observation = center.addObserver("one", wanted, [](const Notification&) {});
  const std::weak_ptr<Sender> observed = wanted;
  wanted = nullptr;
  EXPECT_TRUE(observed.expired());
}

TEST(NotificationCenter, AnObserverOfASenderThatIsGoneHearsNothing) {
  NotificationCenter center;
  auto wanted = std::make_shared<Sender>();
  int heard = 0;
  const auto observation = center.addObserver("one", wanted, [&](const Notification&) { ++heard; });
  wanted = nullptr;
  center.post("one", std::make_shared<Sender>());
  EXPECT_EQ(heard, 0);
}

TEST(NotificationCenter, CallsObserversInTheOrderOfAdding) {
  NotificationCenter center;
  std::vector<int> order;
  const auto first = center.addObserver("one", nullptr, [&](const Notification&) { order.push_back(1); });
  const auto second = center.addObserver("one", nullptr, [&](const Notification&) { order.push_back(2); });
  center.post("one", nullptr);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(NotificationCenter, AnObservationThatEndedHearsNothing) {
  NotificationCenter center;
  int heard = 0;
  auto observation = center.addObserver("one", nullptr, [&](const Notification&) { ++heard; });
  observation.end();
  observation.end();
  center.post("one", nullptr);
  {
    const auto brief = center.addObserver("one", nullptr, [&](const Notification&) { ++heard; });
  }
  center.post("one", nullptr);
  EXPECT_EQ(heard, 0);
}

TEST(NotificationCenter, AnObserverMayEndTheNextOne) {
  NotificationCenter center;
  int heard = 0;
  Observation second;
  const auto first = center.addObserver("one", nullptr, [&](const Notification&) { second.end(); });
  second = center.addObserver("one", nullptr, [&](const Notification&) { ++heard; });
  center.post("one", nullptr);
  EXPECT_EQ(heard, 0);
}

TEST(NotificationCenter, AnObserverThatIsAddedMeanwhileWaitsForTheNextPost) {
  NotificationCenter center;
  int heard = 0;
  Observation second;
  const auto first = center.addObserver("one", nullptr, [&](const Notification&) {
    second = center.addObserver("one", nullptr, [&](const Notification&) { ++heard; });
  });
  center.post("one", nullptr);
  EXPECT_EQ(heard, 0);
}

TEST(NotificationCenter, AnObserverMayPost) {
  NotificationCenter center;
  int heard = 0;
  const auto first = center.addObserver("one", nullptr, [&](const Notification&) { center.post("two", nullptr); });
  const auto second = center.addObserver("two", nullptr, [&](const Notification&) { ++heard; });
  center.post("one", nullptr);
  EXPECT_EQ(heard, 1);
}

TEST(NotificationCenter, WhatAnObserverThrowsIsLoggedAndTheOthersAreTold) {
  const orv::test::LogCapture capture;
  NotificationCenter center;
  int heard = 0;
  const auto first =
      center.addObserver("one", nullptr, [](const Notification&) { throw std::runtime_error("out of paper"); });
  const auto second = center.addObserver("one", nullptr, [&](const Notification&) { ++heard; });
  center.post("one", nullptr);
  EXPECT_EQ(heard, 1);
  EXPECT_TRUE(capture.contains("one: an observer failed: out of paper"));
}

TEST(NotificationCenter, AnObservationMayOutliveItsCenter) {
  Observation observation;
  {
    NotificationCenter center;
    observation = center.addObserver("one", nullptr, [](const Notification&) {});
  }
  observation.end();
}
