#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "OrvCoreAudio/OrvLevelEnvelope.h"

namespace orv::boundaries {

/// Measures the blocks of an envelope, one group of frames after the other. A block is cut into 16 parts of 1.3 to
/// 2.6 ms. Their energies are taken octave by octave, and the block's level is the mean of the lower half of them: a
/// click is in a few parts only, and those do not count.
class EnvelopeMeter {
 public:
  static constexpr std::size_t kParts = 16;
  /// Blocks that `take` takes at once: few enough for everything to stay in a processor's cache.
  static constexpr std::size_t kMostBlocks = 4;

  EnvelopeMeter(double sampleRate, std::uint32_t channels);

  std::uint32_t framesPerBlock() const { return static_cast<std::uint32_t>(kParts << octaves_); }

  /// Appends the levels of the next `count` interleaved frames to `blocks`. `count` is a multiple of the frames per
  /// block but for the last call, and at most `kMostBlocks` times those.
  void take(const float* frames, std::size_t count, std::vector<OrvLevelEnvelope::Block>* blocks);

  /// How often the rate is halved at `sampleRate` until it is between 385 and 769 Hz; 0 to 10.
  static unsigned octavesAtRate(double sampleRate);

 private:
  /// One value for each band and, at the end, one for all of them together.
  static constexpr std::size_t kLanes = OrvLevelEnvelope::kBands + 1;
  using Energies = std::array<float, kLanes>;

  void addChannel(const float* frames, std::size_t count, std::uint32_t channel, std::size_t parts);
  void finishParts(std::size_t parts);
  OrvLevelEnvelope::Block blockOf(const Energies* parts, std::size_t count) const;

  const std::uint32_t channels_;
  const unsigned octaves_;
  std::vector<float> history_;  // for each channel and rate the last samples seen
  std::vector<float> upper_;    // samples of one channel at one rate, its history before them
  std::vector<float> lower_;    // the same at the next rate
  std::vector<float> octave_;
  std::vector<Energies> parts_;
  std::vector<float> minimum_;  // of each channel
  std::vector<float> maximum_;
};

}  // namespace orv::boundaries
