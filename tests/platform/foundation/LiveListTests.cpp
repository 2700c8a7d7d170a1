#include "OrvPlatform/LiveList.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

using List = orv::LiveList<int>;

/// Values that a walk meets, with `change` made when it is at the first.
template <typename Change>
std::vector<int> walk(List& list, const Change& change) {
  std::vector<int> met;
  const List::Walk walking(list);
  for (std::size_t i = 0; const int* const value = walking.at(i); ++i) {
    met.push_back(*value);
    if (i == 0) {
      change();
    }
  }
  return met;
}

std::vector<int> walk(List& list) {
  return walk(list, [] {});
}

}  // namespace

TEST(LiveList, IsWalkedInTheOrderOfAdding) {
  List list;
  EXPECT_TRUE(list.add(std::make_shared<int>(3)));
  EXPECT_TRUE(list.add(std::make_shared<int>(1)));
  EXPECT_EQ(walk(list), (std::vector<int>{3, 1}));
  EXPECT_EQ(list.size(), 2U);
}

TEST(LiveList, KeepsAnObjectOnceOnly) {
  List list;
  const auto object = std::make_shared<int>(1);
  EXPECT_TRUE(list.add(object));
  EXPECT_FALSE(list.add(object));
  EXPECT_FALSE(list.add(nullptr));
  EXPECT_EQ(list.size(), 1U);
}

TEST(LiveList, AnObjectThatIsAddedDuringAWalkIsReached) {
  List list;
  list.add(std::make_shared<int>(1));
  EXPECT_EQ(walk(list, [&] { list.add(std::make_shared<int>(2)); }), (std::vector<int>{1, 2}));
}

TEST(LiveList, RemovingTheCurrentObjectDuringAWalkSkipsTheNext) {
  List list;
  const auto first = std::make_shared<int>(1);
  list.add(first);
  list.add(std::make_shared<int>(2));
  list.add(std::make_shared<int>(3));
  EXPECT_EQ(walk(list, [&] { EXPECT_TRUE(list.remove(first.get())); }), (std::vector<int>{1, 3}));
}

TEST(LiveList, ReleasesAnObjectAtOnceWhenNobodyWalks) {
  List list;
  auto object = std::make_shared<int>(1);
  const std::weak_ptr<int> observed = object;
  list.add(object);
  EXPECT_TRUE(list.remove(object.get()));
  object = nullptr;
  EXPECT_TRUE(observed.expired());
  EXPECT_TRUE(list.collect());
}

TEST(LiveList, ReleasesNothingWhileTheCallingThreadWalks) {
  List list;
  auto object = std::make_shared<int>(1);
  const std::weak_ptr<int> observed = object;
  list.add(object);
  {
    const List::Walk walking(list);
    list.remove(object.get());
    object = nullptr;
    EXPECT_FALSE(observed.expired());
    EXPECT_FALSE(list.collect());
  }
  EXPECT_TRUE(list.collect());
  EXPECT_TRUE(observed.expired());
}

TEST(LiveList, WaitingInsideAWalkReturnsAtOnce) {
  List list;
  const List::Walk walking(list);
  list.waitForWalks();
}

TEST(LiveList, RemovingWhatIsNotThereIsNoChange) {
  List list;
  const int other = 1;
  EXPECT_FALSE(list.remove(&other));
}

TEST(LiveList, AnObjectWhoseEndTouchesTheListMayBeRemoved) {
  struct Curious {
    orv::LiveList<Curious>* list;
    std::size_t* seen;
    ~Curious() { *seen = list->size() + 1; }
  };
  std::size_t seen = 0;
  orv::LiveList<Curious> list;
  auto object = std::make_shared<Curious>(Curious{&list, &seen});
  seen = 0;
  list.add(object);
  const Curious* const raw = object.get();
  object = nullptr;
  list.remove(raw);
  EXPECT_EQ(seen, 1U);
}
