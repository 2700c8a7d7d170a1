#pragma once

#include <cstdint>

#include "converter/StreamFormat.h"

namespace orv::converter {

/// How sizes on the two sides of a conversion belong together. Every result is whole packets and fits 32 bits: what
/// would be more is the largest that does.
class ConversionSizes {
 public:
  ConversionSizes(const StreamFormat& source, const StreamFormat& destination);

  bool resamples() const { return source_.sampleRate != destination_.sampleRate; }

  /// Bytes of the smallest input and output: one packet each.
  std::uint32_t leastInput() const { return source_.bytesPerPacket; }
  std::uint32_t leastOutput() const { return destination_.bytesPerPacket; }
  /// Bytes of input whose output fits `outputBytes`, as many as do.
  std::uint32_t inputFor(std::uint32_t outputBytes) const;
  /// Bytes that no conversion of `inputBytes` exceeds; without resampling exact.
  std::uint32_t outputFor(std::uint32_t inputBytes) const;

  /// Frames that no conversion of `frames` exceeds.
  std::uint64_t mostFramesFor(std::uint64_t frames) const;
  /// Where position `frame` of the source lies in the destination, rounded down.
  std::uint64_t destinationPosition(std::uint64_t frame) const;

 private:
  const StreamFormat source_;
  const StreamFormat destination_;
};

}  // namespace orv::converter
