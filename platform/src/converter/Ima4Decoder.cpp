#include "converter/Ima4Decoder.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace orv::converter {
namespace {

/// Step sizes of the IMA Digital Audio Focus Group's recommended practices for ADPCM (1992).
constexpr std::array<std::int16_t, 89> kStepSizes = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

constexpr std::int32_t kLastStep = static_cast<std::int32_t>(kStepSizes.size()) - 1;

/// How the magnitude of a code moves the step.
constexpr std::array<std::int8_t, 8> kStepMoves = {-1, -1, -1, -1, 2, 4, 6, 8};

std::int32_t difference(std::uint32_t code, std::int32_t step) {
  const std::int32_t size = kStepSizes[static_cast<std::size_t>(step)];
  std::int32_t sum = size >> 3;
  sum += (code & 4U) != 0 ? size : 0;
  sum += (code & 2U) != 0 ? size >> 1 : 0;
  sum += (code & 1U) != 0 ? size >> 2 : 0;
  return (code & 8U) != 0 ? -sum : sum;
}

}  // namespace

void Ima4Decoder::decodePacket(Channel& channel, const std::uint8_t* from, std::int16_t* to, std::size_t stride) {
  const std::uint32_t state = static_cast<std::uint32_t>(from[0]) << 8 | from[1];
  const auto sample = static_cast<std::int16_t>(state & 0xFF80U);
  const std::int32_t step = std::min(static_cast<std::int32_t>(state & 0x7FU), kLastStep);
  if (step != channel.step || std::abs(channel.sample - sample) > 0x7F) {
    channel.sample = sample;
    channel.step = step;
  }
  for (std::size_t i = 0; i < kIma4FramesPerPacket; ++i) {
    const std::uint32_t pair = from[2 + i / 2];
    const std::uint32_t code = i % 2 == 0 ? pair & 0xFU : pair >> 4;
    channel.sample = std::clamp(channel.sample + difference(code, channel.step), -32768, 32767);
    channel.step = std::clamp(channel.step + kStepMoves[code & 7U], 0, kLastStep);
    to[i * stride] = static_cast<std::int16_t>(channel.sample);
  }
}

void Ima4Decoder::decode(const std::uint8_t* from, std::size_t packets, std::int16_t* to) {
  for (std::size_t p = 0; p < packets; ++p) {
    for (std::size_t c = 0; c < channels_.size(); ++c, from += kIma4BytesPerPacket) {
      decodePacket(channels_[c], from, to + c, channels_.size());
    }
    to += kIma4FramesPerPacket * channels_.size();
  }
}

void Ima4Decoder::reset() {
  std::fill(channels_.begin(), channels_.end(), Channel());
}

}  // namespace orv::converter
