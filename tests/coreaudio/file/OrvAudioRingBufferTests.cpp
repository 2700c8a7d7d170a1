#include <OrvCoreAudio/OrvAudioRingBuffer.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "coreaudio/support/ChannelBuffers.h"

namespace {

using Frame = std::uint16_t;
using Buffers = orv::test::ChannelBuffers<Frame>;
using Frames = std::vector<Frame>;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

/// A ring of two channels and eight frames. Frame n is n in the first channel and n + 1000 in the second.
class RingBuffer : public testing::Test {
 protected:
  RingBuffer() { ring.Allocate(2, sizeof(Frame), 8); }

  std::int32_t store(std::uint32_t frames, std::int64_t frameNumber) {
    Buffers buffers(2, frames);
    for (std::uint32_t i = 0; i < frames; ++i) {
      buffers[0][i] = value(frameNumber + i);
      buffers[1][i] = static_cast<Frame>(value(frameNumber + i) + 1000);
    }
    return ring.Store(buffers.list(), frames, frameNumber);
  }

  /// What lies in both channels from a frame number on; nothing when the fetch was refused.
  Frames fetched(std::uint32_t frames, std::int64_t frameNumber) {
    Buffers buffers(2, frames);
    lastResult = ring.Fetch(buffers.list(), frames, frameNumber);
    if (lastResult != 0) {
      return {};
    }
    for (std::uint32_t i = 0; i < frames; ++i) {
      EXPECT_EQ(buffers[1][i], buffers[0][i] == 0 ? 0 : buffers[0][i] + 1000);
    }
    return buffers[0];
  }

  std::int32_t check(std::int64_t start, std::int64_t end) { return ring.CheckTimeBounds(start, end); }

  std::pair<std::int64_t, std::int64_t> bounds() {
    std::pair<std::int64_t, std::int64_t> result;
    EXPECT_EQ(ring.GetTimeBounds(result.first, result.second), 0);
    return result;
  }

  static Frame value(std::int64_t frameNumber) { return static_cast<Frame>(frameNumber + 100); }
  static std::pair<std::int64_t, std::int64_t> range(std::int64_t start, std::int64_t end) { return {start, end}; }

  AudioRingBuffer ring;
  std::int32_t lastResult = 99;
};

}  // namespace

TEST_F(RingBuffer, TheCapacityIsRaisedToAPowerOfTwo) {
  ring.Allocate(1, 4, 1000);
  EXPECT_EQ(ring.capacityFrames(), 1024U);
  EXPECT_EQ(ring.frameMask(), 1023U);
  ring.Allocate(1, 4, 1024);
  EXPECT_EQ(ring.capacityFrames(), 1024U);
}

TEST_F(RingBuffer, ACapacityOf0Or1IsOneFrame) {
  for (const std::uint32_t capacity : {0U, 1U}) {
    ring.Allocate(2, sizeof(Frame), capacity);
    EXPECT_EQ(ring.capacityFrames(), 1U);
    EXPECT_EQ(ring.frameMask(), 0U);
    EXPECT_EQ(store(1, 5), 0);
    EXPECT_EQ(fetched(1, 5), Frames{value(5)});
  }
}

TEST_F(RingBuffer, MoreFramesThanTheCapacityAreTooMuch) {
  EXPECT_EQ(store(9, 0), 3);
  EXPECT_EQ(bounds(), range(0, 0));
  EXPECT_EQ(store(8, 0), 0);
  EXPECT_EQ(bounds(), range(0, 8));
}

TEST_F(RingBuffer, WhatWasStoredIsFetched) {
  EXPECT_EQ(store(5, 0), 0);
  EXPECT_EQ(fetched(5, 0), (Frames{100, 101, 102, 103, 104}));
  EXPECT_EQ(fetched(2, 2), (Frames{102, 103}));
}

TEST_F(RingBuffer, FramesThatWrapAreStoredAndFetchedInTwoPieces) {
  EXPECT_EQ(store(6, 0), 0);
  EXPECT_EQ(store(6, 6), 0);
  EXPECT_EQ(bounds(), range(4, 12));
  EXPECT_EQ(fetched(8, 4), (Frames{104, 105, 106, 107, 108, 109, 110, 111}));
  EXPECT_EQ(fetched(4, 6), (Frames{106, 107, 108, 109}));
}

TEST_F(RingBuffer, StoringBeforeTheHeldEndForgetsWhatWasHeld) {
  store(8, 0);
  EXPECT_EQ(store(2, 5), 0);
  EXPECT_EQ(bounds(), range(5, 7));
  EXPECT_EQ(fetched(2, 5), (Frames{105, 106}));
  EXPECT_EQ(store(1, -20), 0);
  EXPECT_EQ(bounds(), range(-20, -19));
  EXPECT_EQ(fetched(1, -20), Frames{80});
}

TEST_F(RingBuffer, AGapBecomesZero) {
  store(2, 0);
  EXPECT_EQ(store(2, 5), 0);
  EXPECT_EQ(bounds(), range(0, 7));
  EXPECT_EQ(fetched(7, 0), (Frames{100, 101, 0, 0, 0, 105, 106}));
}

TEST_F(RingBuffer, AGapThatWrapsBecomesZero) {
  store(7, 0);
  EXPECT_EQ(store(2, 10), 0);
  EXPECT_EQ(bounds(), range(4, 12));
  EXPECT_EQ(fetched(8, 4), (Frames{104, 105, 106, 0, 0, 0, 110, 111}));
}

TEST_F(RingBuffer, AGapLargerThanTheRingFillsWhatIsLeftOfIt) {
  store(8, 0);
  EXPECT_EQ(store(2, 1000), 0);
  EXPECT_EQ(bounds(), range(994, 1002));
  EXPECT_EQ(fetched(8, 994), (Frames{0, 0, 0, 0, 0, 0, 1100, 1101}));
}

TEST_F(RingBuffer, RequestsAreToldWhereTheyLie) {
  ring.SetTimeBounds(10, 18);
  EXPECT_EQ(check(10, 18), 0);
  EXPECT_EQ(check(12, 13), 0);
  EXPECT_EQ(check(18, 18), 0);
  EXPECT_EQ(check(12, 19), 1);
  EXPECT_EQ(check(18, 20), 1);
  EXPECT_EQ(check(19, 20), 2);
  EXPECT_EQ(check(9, 19), 3);
  EXPECT_EQ(check(8, 12), -1);
  EXPECT_EQ(check(8, 10), -1);
  EXPECT_EQ(check(8, 18), -1);
  EXPECT_EQ(check(8, 9), -2);
}

TEST_F(RingBuffer, AFetchOfWhatIsNotHeldCopiesNothing) {
  store(8, 100);
  store(4, 108);
  const std::pair<std::pair<std::uint32_t, std::int64_t>, std::int32_t> requests[] = {
      {{4, 110}, 1}, {{2, 113}, 2}, {{20, 100}, 3}, {{4, 102}, -1}, {{2, 90}, -2}};
  for (const auto& [request, result] : requests) {
    Buffers buffers(2, request.first);
    EXPECT_EQ(ring.Fetch(buffers.list(), request.first, request.second), result);
    EXPECT_EQ(buffers[0], Frames(request.first, 0));
  }
}

TEST_F(RingBuffer, AFetchOfNoFramesAtAHeldFrameCopiesTheWholeRing) {
  store(8, 0);
  Buffers buffers(2, 9);
  buffers[0][8] = 7;
  EXPECT_EQ(ring.Fetch(buffers.list(), 0, 3), 0);
  EXPECT_EQ(buffers[0], (Frames{103, 104, 105, 106, 107, 100, 101, 102, 7}));
}

TEST_F(RingBuffer, AFetchNeverCopiesPastABuffersEnd) {
  store(8, 4);
  Buffers buffers(2, 6);
  buffers.buffer(0).mDataByteSize = 5 * sizeof(Frame);
  EXPECT_EQ(ring.Fetch(buffers.list(), 8, 4), 0);
  EXPECT_EQ(buffers[0], (Frames{104, 105, 106, 107, 108, 0}));
  EXPECT_EQ(buffers[1], (Frames{1104, 1105, 1106, 1107, 1108, 1109}));
}

TEST_F(RingBuffer, TheByteSizesOfTheBuffersStayAsTheyAre) {
  store(8, 0);
  Buffers buffers(2, 20);
  EXPECT_EQ(ring.Fetch(buffers.list(), 3, 0), 0);
  EXPECT_EQ(buffers.buffer(0).mDataByteSize, 20 * sizeof(Frame));
}

TEST_F(RingBuffer, MissingAndShortBuffersAreMadeUpWithZeros) {
  store(8, 0);
  Buffers tooShort(1, 3);
  tooShort[0] = {1, 2, 3};
  EXPECT_EQ(ring.Store(tooShort.list(), 6, 8), 0);
  Buffers buffers(2, 6);
  EXPECT_EQ(ring.Fetch(buffers.list(), 6, 8), 0);
  EXPECT_EQ(buffers[0], (Frames{1, 2, 3, 0, 0, 0}));
  EXPECT_EQ(buffers[1], Frames(6, 0));
  EXPECT_EQ(ring.Store(nullptr, 2, 14), 0);
  EXPECT_EQ(ring.Fetch(nullptr, 2, 14), 0);
}

TEST_F(RingBuffer, FrameNumbersAtTheirLimitsAreHarmless) {
  EXPECT_EQ(store(2, kLeast), 0);
  EXPECT_EQ(fetched(2, kLeast).size(), 2U);
  EXPECT_EQ(store(2, kMost - 2), 0);
  EXPECT_EQ(bounds(), range(kMost - 8, kMost));
  EXPECT_EQ(fetched(2, kMost - 2).size(), 2U);
  EXPECT_EQ(store(2, kMost - 1), 3);
  fetched(5, kMost);
  EXPECT_EQ(lastResult, 0);  // What a range past the last number leaves of itself is empty, and that is held.
}

TEST_F(RingBuffer, BoundsThatAHostMadeUpAreHarmless) {
  ring.SetTimeBounds(kLeast, kMost);
  EXPECT_EQ(store(8, 0), 0);
  EXPECT_EQ(bounds(), range(0, 8));
  ring.SetTimeBounds(0, -1'000'000);
  EXPECT_EQ(store(2, 4), 0);
  ring.SetTimeBounds(100, kLeast);
  EXPECT_EQ(store(2, kLeast), 0);
  ring.SetTimeBounds(-5000, 5000);
  EXPECT_EQ(fetched(100, 0).size(), 100U);
}

TEST_F(RingBuffer, AllocatingAgainForgetsWhatWasHeld) {
  store(8, 100);
  ring.Allocate(2, sizeof(Frame), 16);
  EXPECT_EQ(bounds(), range(0, 0));
  EXPECT_EQ(store(16, 0), 0);
}

TEST_F(RingBuffer, WithoutRoomNothingIsStored) {
  ring.Deallocate();
  EXPECT_EQ(ring.capacityFrames(), 0U);
  EXPECT_EQ(store(1, 0), 3);
  EXPECT_EQ(store(0, 0), 0);
  for (const auto& [channels, bytes, frames] :
       {std::tuple{-1, 2U, 8U}, std::tuple{1, 2U, 0x80000001U}, std::tuple{1, 0x10000U, 0x10000U}}) {
    ring.Allocate(channels, bytes, frames);
    EXPECT_EQ(ring.capacityFrames(), 0U);
  }
}

TEST(OrvAudioRingBuffer, StoresFetchesAndTellsItsBounds) {
  const auto ring = OrvAudioRingBuffer::initWithChannels_bytesPerFrame_capacityInFrames(2, sizeof(Frame), 6);
  Buffers stored(2, 8);
  stored[0] = {1, 2, 3, 4, 5, 6, 7, 8};
  stored[1] = {11, 12, 13, 14, 15, 16, 17, 18};
  EXPECT_EQ(ring->store_numberOfFrames_frameNumber(stored.list(), 8, 40), 0);
  EXPECT_EQ(ring->store_numberOfFrames_frameNumber(stored.list(), 9, 48), 3);
  std::int64_t start = 0;
  std::int64_t end = 0;
  EXPECT_EQ(ring->timeBounds_endTime(&start, &end), 0);
  EXPECT_EQ(start, 40);
  EXPECT_EQ(end, 48);
  Buffers fetched(2, 3);
  EXPECT_EQ(ring->fetch_numberOfFrames_frameNumber(fetched.list(), 3, 44), 0);
  EXPECT_EQ(fetched[0], (Frames{5, 6, 7}));
  EXPECT_EQ(fetched[1], (Frames{15, 16, 17}));
  EXPECT_EQ(ring->fetch_numberOfFrames_frameNumber(fetched.list(), 3, 50), 2);
}

TEST(OrvAudioRingBuffer, ARingThatCannotBeMadeStoresNothing) {
  const auto ring = OrvAudioRingBuffer::initWithChannels_bytesPerFrame_capacityInFrames(0xFFFFFFFF, 0xFFFF, 0xFFFFFFFF);
  ASSERT_TRUE(ring);
  Buffers buffers(1, 1);
  EXPECT_EQ(ring->store_numberOfFrames_frameNumber(buffers.list(), 1, 0), 3);
}
