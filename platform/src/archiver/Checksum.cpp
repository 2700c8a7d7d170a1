#include "archiver/Checksum.h"

#include <array>

namespace orv::archiver {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0xEDB88320;

constexpr auto kTable = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit) {
      rest = (rest >> 1) ^ ((rest & 1) != 0 ? kReflectedPolynomial : 0);
    }
    table[byte] = rest;
  }
  return table;
}();

}  // namespace

std::uint32_t checksum(std::span<const std::uint8_t> bytes, std::uint32_t before) {
  std::uint32_t rest = ~before;
  for (const std::uint8_t byte : bytes) {
    rest = (rest >> 8) ^ kTable[(rest ^ byte) & 0xFF];
  }
  return ~rest;
}

}  // namespace orv::archiver
