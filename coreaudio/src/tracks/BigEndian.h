#pragma once

#include <cstdint>

/// Numbers of AIFF files, at any alignment.
inline std::uint32_t loadBigEndian32(const std::uint8_t* from) {
  return std::uint32_t{from[0]} << 24 | std::uint32_t{from[1]} << 16 | std::uint32_t{from[2]} << 8 | from[3];
}

inline void storeBigEndian32(std::uint8_t* to, std::uint32_t value) {
  for (int i = 3; i >= 0; --i, value >>= 8) {
    to[i] = static_cast<std::uint8_t>(value);
  }
}
