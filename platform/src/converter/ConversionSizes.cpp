#include "converter/ConversionSizes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orv::converter {
namespace {

/// A resampler gives its output in bursts. What it gives beyond a block's own share is limited to this many frames, so
/// that buffers can be sized; the rest waits for the blocks that follow.
constexpr std::uint64_t kFramesBeyondShare = 16;

/// Whole units of `unitBytes` that fit 32 bits, in bytes.
std::uint32_t limitedBytes(std::uint64_t units, std::uint32_t unitBytes) {
  const std::uint64_t most = std::numeric_limits<std::uint32_t>::max() / unitBytes;
  return static_cast<std::uint32_t>(std::min(units, most) * unitBytes);
}

/// `frames` scaled by the quotient of two rates. Rates may be any finite numbers, so the result may be too large.
long double scaled(std::uint64_t frames, double toRate, double fromRate) {
  constexpr long double kMost = 0x1p62L;
  return std::min(static_cast<long double>(frames) * toRate / fromRate, kMost);
}

}  // namespace

ConversionSizes::ConversionSizes(const StreamFormat& source, const StreamFormat& destination)
    : source_(source), destination_(destination) {}

std::uint32_t ConversionSizes::inputFor(std::uint32_t outputBytes) const {
  std::uint64_t frames = outputBytes / destination_.bytesPerPacket;
  if (resamples()) {
    frames = static_cast<std::uint64_t>(std::floor(scaled(frames, source_.sampleRate, destination_.sampleRate)));
  }
  return limitedBytes(frames / source_.framesPerPacket, source_.bytesPerPacket);
}

std::uint32_t ConversionSizes::outputFor(std::uint32_t inputBytes) const {
  const std::uint64_t frames = std::uint64_t{inputBytes / source_.bytesPerPacket} * source_.framesPerPacket;
  return limitedBytes(mostFramesFor(frames), destination_.bytesPerPacket);
}

std::uint64_t ConversionSizes::mostFramesFor(std::uint64_t frames) const {
  if (!resamples()) {
    return frames;
  }
  const long double share = std::ceil(scaled(frames, destination_.sampleRate, source_.sampleRate));
  return static_cast<std::uint64_t>(share) + kFramesBeyondShare;
}

std::uint64_t ConversionSizes::destinationPosition(std::uint64_t frame) const {
  return static_cast<std::uint64_t>(std::floor(scaled(frame, destination_.sampleRate, source_.sampleRate)));
}

}  // namespace orv::converter
