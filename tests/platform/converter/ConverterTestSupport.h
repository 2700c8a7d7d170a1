#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "OrvPlatform/AudioConverter.h"

namespace orv::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t kSigned = kAudioFormatFlagIsSignedInteger;
inline constexpr std::uint32_t kBigEndian = kAudioFormatFlagIsBigEndian;
inline constexpr std::uint32_t kPacked = kAudioFormatFlagIsPacked;
inline constexpr std::uint32_t kHigh = kAudioFormatFlagIsAlignedHigh;

/// Interleaved linear PCM, one frame a packet.
AudioStreamBasicDescription linear(double rate, std::uint32_t channels, std::uint32_t bits,
                                   std::uint32_t bytesPerSample, std::uint32_t flags);
/// Native, packed, 16-bit signed.
AudioStreamBasicDescription int16Format(double rate, std::uint32_t channels);
/// Native, packed, 32-bit signed.
AudioStreamBasicDescription int32Format(double rate, std::uint32_t channels);
AudioStreamBasicDescription floatFormat(double rate, std::uint32_t channels);
AudioStreamBasicDescription doubleFormat(double rate, std::uint32_t channels);
/// 'ulaw', 'alaw' or 'ima4'.
AudioStreamBasicDescription compressed(std::uint32_t formatID, double rate, std::uint32_t channels);

/// A conversion by the built-in service; the test fails where the formats are refused.
std::unique_ptr<Converter> converterBetween(const AudioStreamBasicDescription& source,
                                            const AudioStreamBasicDescription& destination);
OSStatus statusOfMaking(const AudioStreamBasicDescription& source, const AudioStreamBasicDescription& destination);

std::uint32_t property(Converter& converter, AudioConverterPropertyID id, std::uint32_t value = 0);
void setQuality(Converter& converter, std::uint32_t quality);

/// Converts everything in one call, into a buffer as large as the converter asks for.
Bytes converted(Converter& converter, const Bytes& input);
/// What is left at the end of the stream, `pieceFrames` frames at a time.
Bytes drained(Converter& converter, std::uint32_t pieceFrames = 1000);

/// A whole stream: all of the input in one call, then what is left.
Bytes convertedToTheEnd(Converter& converter, const Bytes& input, std::uint32_t pieceFrames = 1000);

template <class Sample>
Bytes bytesOf(const std::vector<Sample>& samples) {
  Bytes bytes(samples.size() * sizeof(Sample));
  if (!samples.empty()) {
    std::memcpy(bytes.data(), samples.data(), bytes.size());
  }
  return bytes;
}

template <class Sample>
std::vector<Sample> samplesOf(const Bytes& bytes) {
  std::vector<Sample> samples(bytes.size() / sizeof(Sample));
  if (!samples.empty()) {
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(Sample));
  }
  return samples;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// A sine of amplitude 0.9, interleaved, the same on all channels.
std::vector<float> sine(double frequency, double rate, std::size_t frames, std::uint32_t channels);

}  // namespace orv::test
