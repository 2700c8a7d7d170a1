#include "OrvCoreAudio/OrvSplitDetection.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "OrvPlatform/Vector.h"
#include "WithoutThrowing.h"
#include "detection/CrossingAnalysis.h"
#include "detection/SplitRun.h"

namespace crossings = orv::crossings;

extern "C" {

const double dWeights[9] = {0.04, 0.08, 0.12, 0.16, 0.2, 0.16, 0.12, 0.08, 0.04};
std::uint32_t counter = 0;

}  // extern "C"

namespace {

constexpr std::int16_t kTapsAside = 4;
constexpr std::uint32_t kBytesPerSample = 2;

/// Truncates, and keeps to what 32 bits hold. NaN gives 0.
std::uint32_t truncated(double value) {
  constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
  return std::isnan(value) ? 0 : static_cast<std::uint32_t>(std::clamp(value, 0.0, kMost));
}

}  // namespace

std::uint32_t countZeroCrossings(const AudioStreamBasicDescription* format, const std::int16_t* samples,
                                 std::uint32_t byteCount, std::int16_t level) {
  const std::uint32_t channels = format->mChannelsPerFrame;
  if (channels == 0 || format->mBytesPerFrame == 0) {
    return 0;
  }
  const std::uint32_t frames = byteCount / format->mBytesPerFrame;
  const std::uint32_t examined = frames / channels + (frames % channels != 0 ? 1 : 0);
  // A format whose frames are smaller than their samples must not lead past the buffer.
  const std::uint32_t present = byteCount / kBytesPerSample / channels;
  return orv::simd::countLevelCrossings16(samples, std::min(examined, present), channels, level);
}

std::int32_t isSilence(const AudioStreamBasicDescription* format, const std::int16_t* samples, std::int16_t byteCount,
                       std::int16_t crossingsPerTenth, std::uint32_t /*unused*/, std::int16_t level) {
  const auto bytes = static_cast<std::uint32_t>(std::max<std::int16_t>(byteCount, 0));
  const std::uint32_t crossings = countZeroCrossings(format, samples, bytes, level);
  const double tenths = static_cast<double>(byteCount) / format->mBytesPerFrame / format->mSampleRate / 0.1;
  return crossings < truncated(crossingsPerTenth * tenths) ? 1 : 0;
}

std::uint32_t weightedAverage(const std::uint32_t* counts, std::int16_t count, std::int16_t index) {
  std::uint32_t sum = 0;
  for (int k = -kTapsAside; k <= kTapsAside; ++k) {
    const int neighbour = index + k;
    if (neighbour >= 0 && neighbour < count) {
      sum += truncated(counts[neighbour] * dWeights[k + kTapsAside]);
    }
  }
  return sum;
}

std::int32_t fudge(std::int16_t distance) {
  return distance == 0 ? 1000 : 700 / std::abs(static_cast<int>(distance));
}

std::int32_t findThresholdSplits(const std::uint32_t* counts, std::uint32_t count, std::int16_t sensitivity,
                                 std::uint32_t lengthOfSilence, std::uint32_t* splits) {
  return withoutThrowing("findThresholdSplits", 0, [&] {
    const std::int32_t widened = sensitivity;
    const auto found = crossings::thresholdSplits(counts, count, static_cast<std::uint32_t>(widened), lengthOfSilence,
                                                  crossings::kMostThresholdTracks, &OrvSplitRun::advance);
    std::copy(found.begin(), found.end(), splits);
    return static_cast<std::int32_t>(found.size());
  });
}

std::uint32_t findCountedSplits(const std::uint32_t* counts, std::int16_t count, std::int16_t numberOfSplits,
                                std::uint32_t* splits) {
  return withoutThrowing("findCountedSplits", std::uint32_t{0}, [&] {
    const std::int16_t wanted = std::min<std::int16_t>(numberOfSplits, kMostCountedTracks);
    const auto found = crossings::countedSplits(counts, count, wanted, &OrvSplitRun::advance);
    std::copy(found.begin(), found.end(), splits);
    const std::int32_t widened = wanted;
    return static_cast<std::uint32_t>(widened);
  });
}

std::uint32_t myMod(std::uint64_t a, std::uint64_t b) {
  return b == 0 ? 0 : static_cast<std::uint32_t>(a - b * (a / b));
}
