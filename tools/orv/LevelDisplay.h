#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

#include "LevelTap.h"

namespace orv::cli {

/// The levels of a stretch of audio, channel by channel.
struct Levels {
  std::uint64_t from = 0;  ///< first frame
  std::uint64_t to = 0;    ///< frame behind the last
  std::uint32_t channels = 0;
  std::array<float, LevelTap::kChannels> peaks{};
  std::array<float, LevelTap::kChannels> magnitudes{};

  /// The next cycle follows.
  void add(const LevelTap::Cycle& cycle);
  /// The next stretch begins where this one ends.
  void restart();
  /// The largest magnitude of any channel.
  float loudest() const;
};

/// An amplitude in dB below full scale; "-inf" for none.
std::string decibelText(float amplitude);

/// Holds each channel's loudest moment for a while.
class PeakHold {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kTime{1500};

  /// What is held, after a stretch of these levels that ended at `now`.
  const std::array<float, LevelTap::kChannels>& add(const Levels& levels, Clock::time_point now);
  /// The same, and the largest of what is held.
  float loudestAfter(const Levels& levels, Clock::time_point now);

 private:
  std::array<float, LevelTap::kChannels> held_{};
  std::array<Clock::time_point, LevelTap::kChannels> since_{};
};

/// A bar of `width` places from −60 dBFS to full scale, with a mark at what is held.
std::string levelBar(float amplitude, float held, int width);

/// A bar for each channel from −60 dBFS to full scale, with what is held and the number behind it. One line for each
/// channel and the scale below, each `columns` wide at most.
std::string levelBars(const Levels& levels, const std::array<float, LevelTap::kChannels>& held, int columns);

}  // namespace orv::cli
