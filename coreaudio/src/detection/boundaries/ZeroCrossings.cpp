#include "detection/boundaries/ZeroCrossings.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace orv::boundaries {
namespace {

constexpr double kReach = 0.010;  // seconds

std::uint32_t loudestChannel(const std::vector<float>& frames, std::uint32_t channels) {
  std::vector<double> energies(channels);
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const auto sample = double{frames[i]};
    energies[i % channels] += std::isfinite(sample) ? sample * sample : 0;
  }
  return static_cast<std::uint32_t>(std::max_element(energies.begin(), energies.end()) - energies.begin());
}

}  // namespace

std::uint64_t nearestZeroCrossing(FloatReader& reader, double sampleRate, std::uint64_t frame) {
  constexpr double most = 100'000;
  const auto reach = static_cast<std::uint64_t>(std::clamp(std::floor(kReach * sampleRate), 0.0, most));
  // One frame more at the front: a crossing is between two.
  const std::uint64_t first = frame - std::min(frame, reach + 1);
  const auto count = static_cast<std::uint32_t>(frame + reach + 1 - first);
  const std::uint32_t channels = reader.channels();
  std::vector<float> frames(std::size_t{count} * channels);
  frames.resize(std::size_t{reader.read(first, count, frames.data())} * channels);
  const std::uint32_t channel = loudestChannel(frames, channels);
  std::uint64_t nearest = frame;
  std::uint64_t distance = reach + 1;
  for (std::size_t i = 1; i * channels < frames.size(); ++i) {
    const float before = frames[(i - 1) * channels + channel];
    const float here = frames[i * channels + channel];
    const std::uint64_t at = first + i;
    const std::uint64_t away = at > frame ? at - frame : frame - at;
    if ((here == 0 || (before < 0) != (here < 0)) && away < distance) {
      nearest = at;
      distance = away;
    }
  }
  return nearest;
}

}  // namespace orv::boundaries
