#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/AudioFile.h"
#include "audiofile/ByteOrder.h"

namespace orv::audiofile {

/// More channels than any device has: what claims more is not a sound file.
inline constexpr std::uint32_t kMostChannels = 1024;

enum class SampleKind { signedInteger, unsignedInteger, floatingPoint };

/// How a container keeps plain samples: what an `AudioStreamBasicDescription` says, in a container's terms.
struct PCMFormat {
  double sampleRate = 0;
  std::uint32_t channels = 0;
  SampleKind kind = SampleKind::signedInteger;
  ByteOrder order = ByteOrder::big;
  std::uint32_t bits = 0;            ///< significant bits of a sample, left-justified in its bytes
  std::uint32_t bytesPerSample = 0;  ///< bytes that a sample takes

  std::uint32_t bytesPerFrame() const { return channels * bytesPerSample; }
  bool isFloat() const { return kind == SampleKind::floatingPoint; }
};

/// Bytes that hold `bits` bits.
constexpr std::uint32_t bytesForBits(std::uint32_t bits) {
  return (bits + 7) / 8;
}

/// The format as the framework describes it. Samples of one byte have no byte order: they carry the flag where the
/// container is a big-endian one.
AudioStreamBasicDescription describe(const PCMFormat& format);

/// The other way round. `kAudioFileUnsupportedDataFormatError`, with the problem set, when the description is not one
/// of interleaved plain samples that a file could hold.
OSStatus interpret(const AudioStreamBasicDescription& description, PCMFormat* format);

/// Checks what a file's header says before anybody computes with it. `container`: name for the problem line.
OSStatus checkFormat(const PCMFormat& format, const char* container);

/// "16-bit signed integer, big-endian".
std::string formatName(const AudioStreamBasicDescription& description);

/// Sets the problem line and returns the status.
OSStatus refuse(OSStatus status, std::string problem);

}  // namespace orv::audiofile
