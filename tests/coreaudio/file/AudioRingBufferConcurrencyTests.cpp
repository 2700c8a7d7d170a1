// One thread stores, three fetch: no fetch that succeeds is torn.
#include <OrvCoreAudio/AudioRingBuffer.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>

#include "coreaudio/support/ChannelBuffers.h"

namespace {

constexpr std::uint32_t kCapacity = 256;
constexpr std::uint32_t kFetchers = 3;
constexpr int kStores = 30000;

/// A frame that says who it is: its number, and how often the storing thread had gone back in time.
struct Tag {
  std::uint32_t number;
  std::uint32_t round;
};
using Buffers = orv::test::ChannelBuffers<Tag>;

/// Stores blocks of all sizes, now and then goes back in time or leaves a gap.
class Storing {
 public:
  explicit Storing(AudioRingBuffer& ring) : ring_(ring) {}

  void run() {
    for (int i = 0; i < kStores; ++i) {
      const std::uint32_t frames = 1 + random_() % 64;
      if (i % 50 == 49) {
        // By one frame at least: storing on from the end is no going back.
        next_ = std::max<std::int64_t>(next_ - 1 - static_cast<std::int64_t>(random_() % 199), 0);
        ++round_;
      } else if (i % 70 == 69) {
        next_ += static_cast<std::int64_t>(random_() % 300);
      }
      for (std::uint32_t k = 0; k < frames; ++k) {
        const Tag tag{static_cast<std::uint32_t>(next_) + k + 1, round_};
        buffers_[0][k] = tag;
        buffers_[1][k] = {~tag.number, ~tag.round};
      }
      ASSERT_EQ(ring_.Store(buffers_.list(), frames, next_), 0);
      next_ += frames;
    }
  }

 private:
  AudioRingBuffer& ring_;
  Buffers buffers_{2, 64};
  std::mt19937 random_{1};
  std::int64_t next_ = 0;
  std::uint32_t round_ = 0;
};

/// Fetches ranges near the end of what is held until it is told to stop. Returns how many fetches succeeded.
class Fetching {
 public:
  Fetching(const AudioRingBuffer& ring, unsigned seed) : ring_(ring), random_(seed) {}

  std::uint64_t run(const std::atomic<bool>& isOver) {
    std::uint64_t successes = 0;
    while (!isOver.load()) {
      std::int64_t start = 0;
      std::int64_t end = 0;
      if (ring_.GetTimeBounds(start, end) != 0) {
        continue;
      }
      EXPECT_LE(start, end);
      EXPECT_LE(end - start, kCapacity);
      const auto frames = static_cast<std::uint32_t>(1 + random_() % 128);
      const std::int64_t first = start + static_cast<std::int64_t>(random_() % 64);
      if (ring_.Fetch(buffers_.list(), frames, first) == 0) {
        ++successes;
        expectOnePiece(frames, first);
      }
    }
    return successes;
  }

 private:
  void expectOnePiece(std::uint32_t frames, std::int64_t first) {
    std::uint32_t round = 0;
    for (std::uint32_t i = 0; i < frames; ++i) {
      const Tag tag = buffers_[0][i];
      if (tag.number == 0) {
        continue;  // a gap
      }
      ASSERT_EQ(tag.number, static_cast<std::uint32_t>(first) + i + 1);
      ASSERT_EQ(buffers_[1][i].number, ~tag.number);
      ASSERT_EQ(buffers_[1][i].round, ~tag.round);
      ASSERT_TRUE(round == 0 || round == tag.round) << "frames of two rounds in one fetch";
      round = tag.round;
    }
  }

  const AudioRingBuffer& ring_;
  Buffers buffers_{2, 128};
  std::mt19937 random_;
};

}  // namespace

TEST(RingBufferUnderThreads, AFetchThatSucceedsIsNeverTorn) {
  AudioRingBuffer ring;
  ring.Allocate(2, sizeof(Tag), kCapacity);
  std::atomic<bool> isOver{false};
  std::array<std::uint64_t, kFetchers> successes{};
  std::array<std::thread, kFetchers> fetchers;
  for (unsigned i = 0; i < kFetchers; ++i) {
    fetchers[i] = std::thread([&, i] { successes[i] = Fetching(ring, i + 2).run(isOver); });
  }
  Storing(ring).run();
  isOver = true;
  for (std::thread& fetcher : fetchers) {
    fetcher.join();
  }
  EXPECT_GT(successes[0] + successes[1] + successes[2], 0U);
}
