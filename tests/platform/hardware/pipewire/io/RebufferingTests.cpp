#include "hardware/pipewire/io/Rebuffering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <vector>

namespace {

using orv::pipewire::Rebuffering;

constexpr std::uint32_t kSizes[] = {1,   2,   3,   7,   16,  32,  48,   64,   100,  127,  128,  160,  255,  256,
                                    257, 441, 480, 512, 960, 999, 1000, 1024, 1025, 2048, 3000, 4096, 8191, 8192};

/// Passes frames through whose samples are their numbers, from 1 on, and checks what comes by.
class Passage {
 public:
  explicit Passage(std::uint32_t frames, std::uint32_t inputChannels = 2, std::uint32_t outputChannels = 2)
      : rebuffering(inputChannels, outputChannels), inputChannels_(inputChannels), outputChannels_(outputChannels) {
    rebuffering.begin(frames);
  }

  Rebuffering rebuffering;
  std::uint32_t cycles = 0;
  std::uint32_t oldest = 0;                ///< greatest age of a cycle, frames
  std::uint32_t soonest = UINT32_MAX;      ///< least time to its output
  std::optional<std::uint32_t> roundTrip;  ///< frames from the quantum's end in the input to the output, of every cycle
  std::uint32_t silentFrames = 0;          ///< of output that did not come from a cycle
  std::uint32_t silencesInside = 0;        ///< runs of them behind the first that did
  std::uint32_t faults = 0;

  /// One quantum. The cycles copy their input to their output.
  void pass(std::uint32_t quantum) {
    float* const place = rebuffering.open(quantum);
    for (std::uint32_t i = 0; place != nullptr && i < quantum * inputChannels_; ++i) {
      place[i] = static_cast<float>(sent_ + 1 + i / inputChannels_);
    }
    sent_ += quantum;
    Rebuffering::Cycle cycle;
    std::optional<std::uint32_t> thisRoundTrip;
    while (rebuffering.next(&cycle)) {
      take(cycle);
      const std::uint32_t trip = cycle.age + cycle.ahead;
      require(!thisRoundTrip || *thisRoundTrip == trip);
      thisRoundTrip = trip;
    }
    roundTrip = thisRoundTrip ? thisRoundTrip : roundTrip;
    play(rebuffering.close(), quantum);
  }

  void require(bool isTrue) { faults += isTrue ? 0 : 1; }

 private:
  void take(const Rebuffering::Cycle& cycle) {
    const std::uint32_t frames = rebuffering.frames();
    ++cycles;
    oldest = std::max(oldest, cycle.age);
    soonest = std::min(soonest, cycle.ahead);
    for (std::uint32_t i = 0; i < frames && inputChannels_ + outputChannels_ > 0; ++i) {
      const auto number = static_cast<float>(taken_ + 1 + i);
      for (std::uint32_t channel = 0; channel < inputChannels_; ++channel) {
        require(cycle.input[i * inputChannels_ + channel] == number);
      }
      for (std::uint32_t channel = 0; channel < outputChannels_; ++channel) {
        cycle.output[i * outputChannels_ + channel] = number;
      }
    }
    taken_ += frames;
  }

  void play(const float* output, std::uint32_t quantum) {
    for (std::uint32_t i = 0; output != nullptr && i < quantum; ++i) {
      const float sample = output[i * outputChannels_];
      for (std::uint32_t channel = 1; channel < outputChannels_; ++channel) {
        require(output[i * outputChannels_ + channel] == sample);
      }
      if (sample == 0.0F) {
        ++silentFrames;
        silencesInside += played_ > 0 && !isSilent_ ? 1 : 0;
      } else {
        require(sample == static_cast<float>(played_ + 1));
        ++played_;
      }
      isSilent_ = sample == 0.0F;
    }
  }

  const std::uint32_t inputChannels_;
  const std::uint32_t outputChannels_;
  std::uint32_t sent_ = 0;
  std::uint32_t taken_ = 0;
  std::uint32_t played_ = 0;
  bool isSilent_ = true;
};

}  // namespace

TEST(Rebuffering, PassesEveryFrameOnceAndInOrderForEveryQuantumAndCycle) {
  for (const std::uint32_t quantum : kSizes) {
    for (const std::uint32_t frames : kSizes) {
      Passage passage(frames);
      const std::uint32_t quanta = 3 + 3 * std::max(quantum, frames) / quantum;
      for (std::uint32_t i = 0; i < quanta; ++i) {
        passage.pass(quantum);
      }
      EXPECT_EQ(passage.faults, 0U) << quantum << " " << frames;
      EXPECT_EQ(passage.cycles, std::uint64_t{quanta} * quantum / frames) << quantum << " " << frames;
      EXPECT_EQ(passage.silencesInside, 0U) << quantum << " " << frames;
      EXPECT_EQ(passage.silentFrames, frames - std::gcd(quantum, frames)) << quantum << " " << frames;
    }
  }
}

TEST(Rebuffering, AddsTheLatencyThatItTells) {
  for (const std::uint32_t quantum : kSizes) {
    for (const std::uint32_t frames : kSizes) {
      Passage passage(frames, 0, 0);
      // As many as it takes for every remainder to occur.
      const std::uint32_t quanta = frames / std::gcd(quantum, frames) + 1;
      for (std::uint32_t i = 0; i < quanta; ++i) {
        passage.pass(quantum);
      }
      EXPECT_EQ(passage.oldest, frames + passage.rebuffering.inputLatency()) << quantum << " " << frames;
      EXPECT_EQ(passage.soonest, passage.rebuffering.outputLatency()) << quantum << " " << frames;
      EXPECT_EQ(passage.roundTrip, frames + passage.rebuffering.inputLatency() + passage.rebuffering.outputLatency())
          << quantum << " " << frames;
    }
  }
}

TEST(Rebuffering, AddsNothingWhereTheQuantumIsACycle) {
  for (const std::uint32_t frames : kSizes) {
    Passage passage(frames);
    passage.pass(frames);
    passage.pass(frames);
    EXPECT_EQ(passage.cycles, 2U);
    EXPECT_EQ(passage.silentFrames, 0U);
    EXPECT_EQ(passage.rebuffering.inputLatency() + passage.rebuffering.outputLatency(), 0U);
  }
}

TEST(Rebuffering, AddsNothingWhereTheQuantumDividesTheCycle) {
  Passage passage(1024);
  for (int i = 0; i < 8; ++i) {
    passage.pass(256);
  }
  EXPECT_EQ(passage.rebuffering.inputLatency() + passage.rebuffering.outputLatency(), 0U);
  EXPECT_EQ(passage.roundTrip, 1024U);
}

TEST(Rebuffering, LosesNoFrameWhenTheQuantumChangesAgainAndAgain) {
  for (const std::uint32_t frames : kSizes) {
    Passage passage(frames);
    std::uint32_t random = 1;
    std::uint32_t mostSilent = 0;
    for (int i = 0; i < 300; ++i) {
      random = random * 1664525 + 1013904223;
      passage.pass(kSizes[(random >> 16) % std::size(kSizes)]);
      mostSilent = std::max(mostSilent, passage.silentFrames);
    }
    EXPECT_EQ(passage.faults, 0U) << frames;
    EXPECT_LT(mostSilent, frames);  // never more silence than a cycle, however often it changes
  }
}

TEST(Rebuffering, LosesNoFrameWhenTheCycleChanges) {
  Passage passage(8192);
  std::uint32_t random = 7;
  for (int i = 0; i < 2000; ++i) {
    random = random * 1664525 + 1013904223;
    if (i % 3 == 0) {
      passage.rebuffering.setFrames(kSizes[(random >> 16) % std::size(kSizes)]);
    }
    passage.pass(kSizes[(random >> 8) % std::size(kSizes)]);
  }
  EXPECT_EQ(passage.faults, 0U);
  EXPECT_LT(passage.silentFrames, Rebuffering::kMostFrames);
}

TEST(Rebuffering, StaysStraightThroughWhenQuantumAndCycleChangeTogether) {
  Passage passage(256);
  for (const std::uint32_t frames : {256U, 1024U, 64U, 512U}) {
    passage.rebuffering.setFrames(frames);
    passage.pass(frames);
    passage.pass(frames);
    EXPECT_EQ(passage.rebuffering.inputLatency() + passage.rebuffering.outputLatency(), 0U);
  }
  EXPECT_EQ(passage.silentFrames, 0U);
}

TEST(Rebuffering, TellsWhatStaysQueuedAfterALongerCycleAsLatencyOfTheOutput) {
  Passage passage(1000);
  passage.pass(512);  // 488 frames of silence are short of a cycle
  passage.rebuffering.setFrames(64);
  passage.pass(64);
  EXPECT_EQ(passage.faults, 0U);
  EXPECT_EQ(passage.roundTrip, 64 + passage.rebuffering.inputLatency() + passage.rebuffering.outputLatency());
}

TEST(Rebuffering, ForgetsEverythingWhenItBegins) {
  Passage passage(1000);
  passage.pass(512);
  passage.rebuffering.begin(256);
  float* const place = passage.rebuffering.open(256);
  std::fill_n(place, 512, 5.0F);
  Rebuffering::Cycle cycle;
  ASSERT_TRUE(passage.rebuffering.next(&cycle));
  EXPECT_EQ(cycle.age, 256U);
  EXPECT_EQ(cycle.ahead, 0U);
  EXPECT_EQ(cycle.input[0], 5.0F);
}

TEST(Rebuffering, IsSilentForCyclesThatWereNotMade) {
  Rebuffering rebuffering(1, 1);
  rebuffering.begin(64);
  std::fill_n(rebuffering.open(256), 256, 1.0F);
  Rebuffering::Cycle cycle;
  ASSERT_TRUE(rebuffering.next(&cycle));
  std::fill_n(cycle.output, 64, 2.0F);
  const float* const output = rebuffering.close();
  EXPECT_TRUE(std::all_of(output, output + 64, [](float sample) { return sample == 2.0F; }));
  EXPECT_TRUE(std::all_of(output + 64, output + 256, [](float sample) { return sample == 0.0F; }));
}

TEST(Rebuffering, WorksWithOneSideOnly) {
  for (const std::uint32_t quantum : {256U, 1000U}) {
    Passage heard(100, 3, 0);
    Passage played(100, 0, 3);
    for (int i = 0; i < 20; ++i) {
      heard.pass(quantum);
      played.pass(quantum);
    }
    EXPECT_EQ(heard.faults + played.faults, 0U);
    EXPECT_EQ(heard.cycles, 20 * quantum / 100);
    EXPECT_EQ(played.cycles, 20 * quantum / 100);
  }
}

TEST(Rebuffering, TakesNumbersOutOfRangeForTheNearest) {
  Rebuffering rebuffering(1, 1);
  rebuffering.begin(0);
  EXPECT_EQ(rebuffering.frames(), 1U);
  rebuffering.setFrames(100'000);
  EXPECT_EQ(rebuffering.frames(), 8192U);
}
