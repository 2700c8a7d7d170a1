#include "detection/boundaries/EnvelopeMeter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "OrvPlatform/Octaves.h"
#include "OrvPlatform/Vector.h"

namespace orv::boundaries {
namespace {

using Block = OrvLevelEnvelope::Block;
using simd::kOctaveHistory;

constexpr std::size_t kBands = OrvLevelEnvelope::kBands;
constexpr unsigned kMostOctaves = 10;
constexpr double kHighestLastRate = 769;  // Hz; 44,100 and 48,000 Hz end at 689 and 750 Hz

/// 10 * log10(2), hundredths of a dB.
constexpr float kHundredthsPerDoubling = 301.03F;

std::int16_t hundredths(float energy) {
  if (!(energy > 0)) {
    return OrvLevelEnvelope::kSilence;
  }
  const float level = kHundredthsPerDoubling * std::log2(energy);
  return static_cast<std::int16_t>(std::clamp(level, float{OrvLevelEnvelope::kSilence}, 32'767.0F));
}

std::int16_t asSample(float value) {
  return static_cast<std::int16_t>(std::clamp(value * 32'767.0F, -32'767.0F, 32'767.0F));
}

template <typename Lanes>
void order(Lanes* a, Lanes* b) {
  for (std::size_t lane = 0; lane < a->size(); ++lane) {
    const float smaller = std::min((*a)[lane], (*b)[lane]);
    (*b)[lane] = std::max((*a)[lane], (*b)[lane]);
    (*a)[lane] = smaller;
  }
}

/// Sorts eight values in every lane: the shortest network there is, 19 comparisons.
template <typename Lanes>
void sortEight(Lanes* v) {
  constexpr std::array<std::array<std::uint8_t, 2>, 19> kNetwork{{{0, 2},
                                                                  {1, 3},
                                                                  {4, 6},
                                                                  {5, 7},
                                                                  {0, 4},
                                                                  {1, 5},
                                                                  {2, 6},
                                                                  {3, 7},
                                                                  {0, 1},
                                                                  {2, 3},
                                                                  {4, 5},
                                                                  {6, 7},
                                                                  {2, 4},
                                                                  {3, 5},
                                                                  {1, 4},
                                                                  {3, 6},
                                                                  {1, 2},
                                                                  {3, 4},
                                                                  {5, 6}}};
  for (const auto& pair : kNetwork) {
    order(&v[pair[0]], &v[pair[1]]);
  }
}

/// Mean of the eight lowest of sixteen values in every lane: of two sorted halves, crossed, the lower ones.
template <typename Lanes>
Lanes meanOfLowerHalf(const Lanes* parts) {
  std::array<Lanes, EnvelopeMeter::kParts> sorted;
  std::copy_n(parts, sorted.size(), sorted.begin());
  constexpr std::size_t kHalf = EnvelopeMeter::kParts / 2;
  sortEight(sorted.data());
  sortEight(sorted.data() + kHalf);
  Lanes mean{};
  for (std::size_t i = 0; i < kHalf; ++i) {
    for (std::size_t lane = 0; lane < mean.size(); ++lane) {
      mean[lane] += std::min(sorted[i][lane], sorted[EnvelopeMeter::kParts - 1 - i][lane]) / kHalf;
    }
  }
  return mean;
}

/// The same for a block that is cut short by the end of the recording.
template <typename Lanes>
Lanes meanOfLowerHalf(const Lanes* parts, std::size_t count) {
  Lanes mean{};
  std::vector<float> values(count);
  const std::size_t half = (count + 1) / 2;
  for (std::size_t lane = 0; lane < mean.size(); ++lane) {
    for (std::size_t i = 0; i < count; ++i) {
      values[i] = parts[i][lane];
    }
    std::sort(values.begin(), values.end());
    for (std::size_t i = 0; i < half; ++i) {
      mean[lane] += values[i] / static_cast<float>(half);
    }
  }
  return mean;
}

}  // namespace

unsigned EnvelopeMeter::octavesAtRate(double sampleRate) {
  unsigned octaves = 0;
  while (octaves < kMostOctaves && sampleRate > kHighestLastRate) {
    sampleRate /= 2;
    ++octaves;
  }
  return octaves;
}

EnvelopeMeter::EnvelopeMeter(double sampleRate, std::uint32_t channels)
    : channels_(channels), octaves_(octavesAtRate(sampleRate)) {
  const std::size_t frames = kMostBlocks * framesPerBlock();
  history_.resize(std::size_t{channels} * (octaves_ + 1) * kOctaveHistory);
  upper_.resize(kOctaveHistory + frames);
  lower_.resize(kOctaveHistory + frames);
  octave_.resize(frames);
  parts_.resize(kMostBlocks * kParts);
  minimum_.resize(channels);
  maximum_.resize(channels);
}

void EnvelopeMeter::take(const float* frames, std::size_t count, std::vector<Block>* blocks) {
  const std::size_t framesPerPart = framesPerBlock() / kParts;
  const std::size_t whole = count / framesPerPart;
  // A rest that does not fill a part is left out, but for a block that has nothing else.
  const std::size_t parts = whole % kParts == 0 && count % framesPerBlock() != 0 ? whole + 1 : whole;
  std::fill(parts_.begin(), parts_.end(), Energies{});
  for (std::uint32_t channel = 0; channel < channels_; ++channel) {
    addChannel(frames, count, channel, parts);
  }
  finishParts(parts);
  for (std::size_t part = 0; part < parts; part += kParts) {
    Block block = blockOf(&parts_[part], std::min(kParts, parts - part));
    const std::size_t first = part * framesPerPart;
    const std::size_t length = std::min<std::size_t>(framesPerBlock(), count - first);
    minimum_.assign(channels_, std::numeric_limits<float>::infinity());
    maximum_.assign(channels_, -std::numeric_limits<float>::infinity());
    simd::widenRange(frames + first * std::size_t{channels_}, length, channels_, minimum_.data(), maximum_.data());
    const float lowest = *std::min_element(minimum_.begin(), minimum_.end());
    const float highest = *std::max_element(maximum_.begin(), maximum_.end());
    block.minimum = lowest <= highest ? asSample(lowest) : std::int16_t{0};  // not, where all is NaN
    block.maximum = lowest <= highest ? asSample(highest) : std::int16_t{0};
    blocks->push_back(block);
  }
}

void EnvelopeMeter::addChannel(const float* frames, std::size_t count, std::uint32_t channel, std::size_t parts) {
  std::size_t samples = parts << octaves_;
  count = std::min(count, samples);
  simd::takeChannel(frames, count, channels_, channel, upper_.data() + kOctaveHistory);
  std::fill_n(upper_.begin() + static_cast<std::ptrdiff_t>(kOctaveHistory + count), samples - count, 0.0F);
  float* history = &history_[std::size_t{channel} * (octaves_ + 1) * kOctaveHistory];
  const auto continueHere = [&] {
    std::copy_n(history, kOctaveHistory, upper_.begin());
    std::copy_n(upper_.begin() + static_cast<std::ptrdiff_t>(samples), kOctaveHistory, history);
    history += kOctaveHistory;
  };
  for (unsigned octave = 1; octave <= octaves_; ++octave, samples /= 2) {
    continueHere();
    const std::size_t band = octaves_ - octave + 1;
    const bool isHeard = band < kBands;
    simd::splitOctave(upper_.data() + kOctaveHistory, samples / 2, lower_.data() + kOctaveHistory,
                      isHeard ? octave_.data() : nullptr);
    if (isHeard) {
      simd::addSquaresOfRuns(octave_.data(), samples / 2 / parts, parts, &parts_[0][band], kLanes);
    }
    std::swap(upper_, lower_);
  }
  continueHere();
  // What is left goes through a second difference: -38 dB at 25 Hz, -26 dB at 50 Hz.
  for (std::size_t part = 0; part < parts; ++part) {
    const float value = (upper_[part] - 2 * upper_[part + 1] + upper_[part + 2]) / 4;
    parts_[part][0] += value * value;
  }
}

/// Sums of squares become mean squares, and their sum.
void EnvelopeMeter::finishParts(std::size_t parts) {
  for (std::size_t part = 0; part < parts; ++part) {
    Energies& energies = parts_[part];
    float all = energies[0];
    for (std::size_t band = 1; band < kBands; ++band) {
      energies[band] = std::ldexp(energies[band], 1 - static_cast<int>(band));
      all += energies[band];
    }
    energies[kBands] = all;
  }
}

Block EnvelopeMeter::blockOf(const Energies* parts, std::size_t count) const {
  const Energies levels = count == kParts ? meanOfLowerHalf(parts) : meanOfLowerHalf(parts, count);
  Block block{};
  for (std::size_t band = 0; band < kBands; ++band) {
    block.bands[band] = hundredths(levels[band]);
  }
  block.level = hundredths(levels[kBands]);
  return block;
}

}  // namespace orv::boundaries
