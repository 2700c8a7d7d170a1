#pragma once

#include <cstdint>
#include <string>

namespace orv::test {

/// Bytes that repeat nowhere near, the same for the same seed.
inline std::string noise(std::size_t count, std::uint32_t seed = 1) {
  std::string bytes(count, '\0');
  std::uint32_t state = seed * 2654435761U + 1;
  for (char& byte : bytes) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    byte = static_cast<char>(state);
  }
  return bytes;
}

}  // namespace orv::test
