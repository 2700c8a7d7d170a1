#include "detection/ChunkRelay.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

using orv::AudioChunk;
using orv::ChunkRelay;

namespace {

constexpr std::uint32_t kMany = 20'000;

}  // namespace

TEST(ChunkRelay, ChunksArriveInOrderAndAreUsedAgain) {
  ChunkRelay relay(3, 16);
  std::thread giver([&] {
    for (std::uint32_t i = 0; i < kMany; ++i) {
      AudioChunk* const chunk = relay.toFill();
      chunk->size = i;
      chunk->bytes[0] = static_cast<char>(i);
      relay.give();
    }
    relay.finish();
  });
  std::set<AudioChunk*> chunks;
  std::uint32_t taken = 0;
  while (AudioChunk* const chunk = relay.next()) {
    EXPECT_EQ(chunk->size, taken);
    EXPECT_EQ(chunk->bytes[0], static_cast<char>(taken));
    chunks.insert(chunk);
    ++taken;
    relay.giveBack();
  }
  giver.join();
  EXPECT_EQ(taken, kMany);
  EXPECT_LE(chunks.size(), 3U);
}

TEST(ChunkRelay, WhatWasGivenBeforeTheEndIsStillTaken) {
  ChunkRelay relay(2, 1);
  relay.toFill()->size = 7;
  relay.give();
  relay.finish();
  ASSERT_NE(relay.next(), nullptr);
  EXPECT_EQ(relay.next()->size, 7U);
  relay.giveBack();
  EXPECT_EQ(relay.next(), nullptr);
}

TEST(ChunkRelay, AGiverThatWaitsForRoomEndsWhenTheTakerStops) {
  ChunkRelay relay(1, 1);
  std::thread giver([&] {
    while (relay.toFill() != nullptr) {
      relay.give();
    }
  });
  EXPECT_NE(relay.next(), nullptr);
  relay.stop();
  giver.join();
  EXPECT_EQ(relay.toFill(), nullptr);
}

TEST(ChunkRelay, AFilledChunkThatIsNotGivenIsFilledAgain) {
  ChunkRelay relay(2, 1);
  AudioChunk* const chunk = relay.toFill();
  EXPECT_EQ(relay.toFill(), chunk);
}
