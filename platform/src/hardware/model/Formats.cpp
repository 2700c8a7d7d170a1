#include "hardware/model/Formats.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <tuple>

namespace orv::hardwaremodel {
namespace {

constexpr std::uint32_t kNativeOrder = std::endian::native == std::endian::big ? kAudioFormatFlagIsBigEndian : 0;

bool isPoint(const AudioValueRange& range) {
  return range.mMinimum == range.mMaximum;
}

/// How unlike two formats are, most important difference first.
auto difference(const AudioStreamBasicDescription& format, const AudioStreamBasicDescription& wanted, double rate) {
  const std::uint32_t flags = format.mFormatFlags ^ wanted.mFormatFlags;
  // More bits than wanted lose nothing; fewer do.
  const bool losesBits = format.mBitsPerChannel < wanted.mBitsPerChannel;
  const std::uint32_t bits =
      losesBits ? wanted.mBitsPerChannel - format.mBitsPerChannel : format.mBitsPerChannel - wanted.mBitsPerChannel;
  return std::tuple((flags & kAudioFormatFlagIsFloat) != 0, losesBits, bits, std::abs(rate - wanted.mSampleRate),
                    (flags & kAudioFormatFlagIsBigEndian) != 0, flags);
}

}  // namespace

AudioStreamBasicDescription packedFormat(std::uint32_t channels, std::uint32_t bits, bool isFloat, bool isBigEndian) {
  AudioStreamBasicDescription format = {};
  format.mFormatID = kAudioFormatLinearPCM;
  format.mFormatFlags = kAudioFormatFlagIsPacked |
                        (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) |
                        (isBigEndian ? kAudioFormatFlagIsBigEndian : 0);
  format.mBitsPerChannel = bits;
  format.mChannelsPerFrame = channels;
  format.mFramesPerPacket = 1;
  format.mBytesPerFrame = channels * ((bits + 7) / 8);
  format.mBytesPerPacket = format.mBytesPerFrame;
  return format;
}

AudioStreamBasicDescription floatFormat(std::uint32_t channels, double rate) {
  AudioStreamBasicDescription format = packedFormat(channels, 32, true, kNativeOrder != 0);
  format.mSampleRate = rate;
  return format;
}

bool offersRate(const NominalRates& rates, double rate) {
  return std::any_of(rates.begin(), rates.end(),
                     [&](const AudioValueRange& range) { return rate >= range.mMinimum && rate <= range.mMaximum; });
}

double closestRate(const NominalRates& rates, double rate) {
  double best = rates.front().mMinimum;
  for (const AudioValueRange& range : rates) {
    const double candidate = std::clamp(rate, range.mMinimum, range.mMaximum);
    if (std::abs(candidate - rate) < std::abs(best - rate)) {
      best = candidate;
    }
  }
  return best;
}

bool haveSameSamples(const AudioStreamBasicDescription& a, const AudioStreamBasicDescription& b) {
  return a.mFormatID == b.mFormatID && a.mFormatFlags == b.mFormatFlags && a.mBytesPerPacket == b.mBytesPerPacket &&
         a.mFramesPerPacket == b.mFramesPerPacket && a.mBytesPerFrame == b.mBytesPerFrame &&
         a.mChannelsPerFrame == b.mChannelsPerFrame && a.mBitsPerChannel == b.mBitsPerChannel;
}

std::optional<AudioStreamBasicDescription> formatAtRate(const std::vector<AudioStreamBasicDescription>& formats,
                                                        const AudioStreamBasicDescription& preferred, double rate) {
  std::optional<AudioStreamBasicDescription> found;
  for (const AudioStreamBasicDescription& format : formats) {
    const bool hasRate = format.mSampleRate == 0.0 || format.mSampleRate == rate;
    const bool isPreferred = haveSameSamples(format, preferred);
    if (hasRate && (!found || isPreferred)) {
      found = format;
      found->mSampleRate = rate;
      if (isPreferred) {
        break;
      }
    }
  }
  return found;
}

std::optional<AudioStreamBasicDescription> exactFormat(const std::vector<AudioStreamBasicDescription>& formats,
                                                       const NominalRates& rates,
                                                       const AudioStreamBasicDescription& wanted, double currentRate) {
  const double rate = wanted.mSampleRate == 0.0 ? currentRate : wanted.mSampleRate;
  if (!offersRate(rates, rate)) {
    return std::nullopt;
  }
  const auto found = formatAtRate(formats, wanted, rate);
  return found && haveSameSamples(*found, wanted) ? found : std::nullopt;
}

std::optional<AudioStreamBasicDescription> closestFormat(const std::vector<AudioStreamBasicDescription>& formats,
                                                         const NominalRates& rates,
                                                         const AudioStreamBasicDescription& wanted,
                                                         double currentRate) {
  if (wanted.mFormatID != kAudioFormatLinearPCM || !std::isfinite(wanted.mSampleRate)) {
    return std::nullopt;
  }
  AudioStreamBasicDescription target = wanted;
  target.mSampleRate = wanted.mSampleRate == 0.0 ? currentRate : wanted.mSampleRate;
  std::optional<AudioStreamBasicDescription> best;
  for (const AudioStreamBasicDescription& format : formats) {
    AudioStreamBasicDescription candidate = format;
    if (candidate.mSampleRate == 0.0) {
      candidate.mSampleRate = closestRate(rates, target.mSampleRate);
    }
    if (!best || difference(candidate, target, candidate.mSampleRate) < difference(*best, target, best->mSampleRate)) {
      best = candidate;
    }
  }
  return best;
}

std::vector<AudioStreamBasicDescription> cycleFormats(const NominalRates& rates, std::uint32_t channels) {
  if (!std::all_of(rates.begin(), rates.end(), isPoint)) {
    return {floatFormat(channels, 0.0)};
  }
  std::vector<AudioStreamBasicDescription> formats;
  formats.reserve(rates.size());
  for (const AudioValueRange& range : rates) {
    formats.push_back(floatFormat(channels, range.mMinimum));
  }
  return formats;
}

}  // namespace orv::hardwaremodel
