#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv::converter {

/// Bytes and frames of one channel's packet: 2 bytes of state and 64 codes of 4 bits.
inline constexpr std::uint32_t kIma4BytesPerPacket = 34;
inline constexpr std::uint32_t kIma4FramesPerPacket = 64;

/// Decodes IMA 4:1 ADPCM, the packets of the channels in turn, to interleaved native 16-bit samples.
///
/// The state that begins a packet has only the upper 9 bits of the last sample. Where it agrees with what the packet
/// before ended in, that is carried on instead, with all its bits; where it does not, as after a jump in the file, the
/// packet's own state counts.
class Ima4Decoder {
 public:
  explicit Ima4Decoder(std::uint32_t channels) : channels_(channels) {}

  /// Real-time safe. Requires: `packets` of 34 bytes a channel at `from`, room for 64 frames each at `to`.
  void decode(const std::uint8_t* from, std::size_t packets, std::int16_t* to);

  /// Forgets what the packets before ended in. Real-time safe.
  void reset();

 private:
  struct Channel {
    std::int32_t sample = 0;
    std::int32_t step = -1;  ///< index into the step sizes; -1 before the first packet
  };

  static void decodePacket(Channel& channel, const std::uint8_t* from, std::int16_t* to, std::size_t stride);

  std::vector<Channel> channels_;
};

}  // namespace orv::converter
