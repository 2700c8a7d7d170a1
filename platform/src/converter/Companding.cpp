#include "converter/Companding.h"

#include <array>

namespace orv::converter {
namespace {

using Table = std::array<std::int16_t, 256>;

/// All bits are sent inverted: sign, 3 bits of exponent, 4 of mantissa, a bias of 33 in units of 1/8192.
constexpr std::int16_t muLawSample(std::uint8_t code) {
  const int bits = ~code & 0xFF;
  const int magnitude = ((((bits & 0x0F) << 1) + 33) << ((bits >> 4) & 7)) - 33;
  return static_cast<std::int16_t>((bits & 0x80) != 0 ? -(magnitude << 2) : magnitude << 2);
}

/// Even bits are sent inverted: sign (set = positive), 3 bits of exponent, 4 of mantissa, in units of 1/4096.
constexpr std::int16_t aLawSample(std::uint8_t code) {
  const int bits = code ^ 0x55;
  const int exponent = (bits >> 4) & 7;
  const int mantissa = ((bits & 0x0F) << 1) + 1;
  const int magnitude = exponent == 0 ? mantissa : (mantissa + 32) << (exponent - 1);
  return static_cast<std::int16_t>((bits & 0x80) != 0 ? magnitude << 3 : -(magnitude << 3));
}

template <class Decode>
constexpr Table tableOf(Decode decode) {
  Table table{};
  for (std::size_t code = 0; code < table.size(); ++code) {
    table[code] = decode(static_cast<std::uint8_t>(code));
  }
  return table;
}

constexpr Table kMuLaw = tableOf(muLawSample);
constexpr Table kALaw = tableOf(aLawSample);

void decode(const Table& table, const std::uint8_t* from, std::int16_t* to, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = table[from[i]];
  }
}

}  // namespace

void decodeMuLaw(const std::uint8_t* from, std::int16_t* to, std::size_t count) {
  decode(kMuLaw, from, to, count);
}

void decodeALaw(const std::uint8_t* from, std::int16_t* to, std::size_t count) {
  decode(kALaw, from, to, count);
}

}  // namespace orv::converter
