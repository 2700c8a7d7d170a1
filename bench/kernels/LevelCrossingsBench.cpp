// Counting level crossings in cache, beside a scalar loop.
#include <OrvPlatform/Vector.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"
#include "vector/Targets.h"

namespace {

constexpr std::size_t kSamples = 384 * 1024 / sizeof(std::int16_t);
constexpr int kRounds = 100;

/// The state machine one sample after the other.
std::uint32_t countOneByOne(const std::int16_t* samples, std::size_t frames, std::uint32_t channels,
                            std::int16_t level) {
  std::uint32_t counts[8] = {};
  bool areBelow[8] = {};
  for (std::size_t i = 0; i < frames; ++i) {
    for (std::uint32_t c = 0; c < channels; ++c) {
      const std::int16_t sample = samples[i * channels + c];
      if (areBelow[c] ? level < sample : level > sample) {
        areBelow[c] = !areBelow[c];
        ++counts[c];
      }
    }
  }
  return *std::max_element(counts, counts + channels);
}

/// Noise around the level, as the quiet of a recording is.
std::vector<std::int16_t> noise() {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> value(-300, 300);
  std::vector<std::int16_t> samples(kSamples);
  std::generate(samples.begin(), samples.end(), [&] { return static_cast<std::int16_t>(value(random)); });
  return samples;
}

void measure(orv::simd::Target target, orv::bench::RatioTable* beside, orv::bench::RatioTable* alone) {
  using orv::simd::SampleOrder;
  const std::vector<std::int16_t> samples = noise();
  const std::string set = orv::simd::targetName(target);
  orv::simd::useTarget(target);
  volatile std::uint32_t sink = 0;
  for (const std::uint32_t channels : {2U, 1U, 6U}) {
    const std::size_t frames = kSamples / channels;
    const auto ours = [&](SampleOrder order) {
      return [&, order] { sink = orv::simd::countLevelCrossings16(samples.data(), frames, channels, 0, order); };
    };
    const auto times = orv::bench::bestTimes(kRounds, {ours(SampleOrder::native), ours(SampleOrder::swapped), [&] {
                                                         sink = countOneByOne(samples.data(), frames, channels, 0);
                                                       }});
    const auto bytes = static_cast<double>(frames * channels * sizeof(std::int16_t));
    const std::string what = set + ", " + std::to_string(channels) + " channels";
    beside->addRates(what, bytes / times[0], bytes / times[2], 1);
    beside->addRates(what + ", swapped", bytes / times[1], bytes / times[2], 1);
    if (channels == 2) {
      alone->addRates(what, bytes / times[0], 20e9, 1);
      alone->addRates(what + ", swapped", bytes / times[1], 20e9, 1);
    }
  }
}

}  // namespace

int main() {
  orv::bench::RatioTable beside("level crossings in cache; peer: scalar loop");
  orv::bench::RatioTable alone("level crossings in cache; peer: 20 GB/s");
  const std::vector<orv::simd::Target> targets = orv::simd::availableTargets();
  for (const orv::simd::Target target : targets) {
    const std::string name = orv::simd::targetName(target);
    if (target == targets.front() || name == "AVX2") {
      measure(target, &beside, &alone);
    }
  }
  std::printf("Instruction set in use: %s\n\n", orv::simd::targetName(targets.front()).c_str());
  beside.print();
  alone.print();
  return 0;
}
