#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "converter/Ima4Decoder.h"
#include "converter/StreamFormat.h"

namespace orv::converter {

/// Turns packets of a source format into samples of any linear layout, all channels interleaved as they come.
class SourceDecoder {
 public:
  explicit SourceDecoder(const StreamFormat& format);

  /// Real-time safe. `from` and `to` must not overlap.
  void decode(const std::uint8_t* from, std::size_t packets, const simd::SampleLayout& layout, std::uint8_t* to);

  /// Forgets what a coding carries over from packet to packet. Real-time safe.
  void reset();

 private:
  void decodeCompressed(const std::uint8_t* from, std::size_t packets);

  const StreamFormat format_;
  const std::size_t samplesPerPacket_;
  std::vector<std::int16_t> decoded_;  ///< of compressed packets, as many as are decoded at a time
  std::optional<Ima4Decoder> ima4_;
};

}  // namespace orv::converter
