#include "detection/boundaries/MusicEnds.h"

#include <algorithm>
#include <vector>

namespace orv::boundaries {
namespace {

/// Of so long a time most is music where music begins or ends.
constexpr double kSeconds = 2.0;
constexpr double kShare = 0.7;

/// The first loud block of the first window that is mostly loud, counted from one end; `count` where there is none.
template <typename IsLoud>
std::size_t firstMusic(std::size_t count, std::size_t window, const IsLoud& isLoud) {
  window = std::min(window, count);
  const auto wanted = static_cast<std::size_t>(kShare * static_cast<double>(window)) + 1;
  std::size_t loud = 0;
  for (std::size_t i = 0; i < count; ++i) {
    loud += isLoud(i) ? 1 : 0;
    loud -= i >= window && isLoud(i - window) ? 1 : 0;
    if (loud >= wanted || (loud == window && window > 0)) {
      std::size_t first = i + 1 - std::min(window, i + 1);
      while (!isLoud(first)) {
        ++first;
      }
      return first;
    }
  }
  return count;
}

}  // namespace

MusicEnds findMusicEnds(const Loudness& loudness, const BlockTime& time) {
  const std::vector<float>& smooth = loudness.smooth();
  const std::size_t count = smooth.size();
  const std::size_t window = time.blocks(kSeconds);
  const std::size_t begin = firstMusic(count, window, [&](std::size_t i) { return smooth[i] > kMusicLoudness; });
  if (begin == count) {
    return {0, count, false};
  }
  const std::size_t behind =
      firstMusic(count, window, [&](std::size_t i) { return smooth[count - 1 - i] > kMusicLoudness; });
  return {begin, count - behind, true};
}

}  // namespace orv::boundaries
