#pragma once

#include <cstddef>
#include <cstdint>

/// Numbers as containers store them, at any alignment.
namespace orv::audiofile {

enum class ByteOrder { big, little };

/// The unsigned number in the `bytes` bytes (1 to 8) at `from`.
inline std::uint64_t loadNumber(const std::uint8_t* from, std::size_t bytes, ByteOrder order) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    value = (value << 8) | from[order == ByteOrder::big ? i : bytes - 1 - i];
  }
  return value;
}

/// Stores the low `bytes` bytes of `value` at `to`.
inline void storeNumber(std::uint8_t* to, std::size_t bytes, ByteOrder order, std::uint64_t value) {
  for (std::size_t i = 0; i < bytes; ++i) {
    to[order == ByteOrder::big ? bytes - 1 - i : i] = static_cast<std::uint8_t>(value);
    value >>= 8;
  }
}

inline std::uint16_t load16(const std::uint8_t* from, ByteOrder order) {
  return static_cast<std::uint16_t>(loadNumber(from, 2, order));
}
inline std::uint32_t load32(const std::uint8_t* from, ByteOrder order) {
  return static_cast<std::uint32_t>(loadNumber(from, 4, order));
}
inline std::uint64_t load64(const std::uint8_t* from, ByteOrder order) {
  return loadNumber(from, 8, order);
}

/// A four-character code reads the same in every container: first character first.
inline std::uint32_t loadCode(const std::uint8_t* from) {
  return load32(from, ByteOrder::big);
}
inline void storeCode(std::uint8_t* to, std::uint32_t code) {
  storeNumber(to, 4, ByteOrder::big, code);
}

}  // namespace orv::audiofile
