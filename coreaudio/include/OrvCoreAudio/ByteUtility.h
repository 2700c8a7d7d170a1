#pragma once

#include <cstdint>

#include "OrvPlatform/Export.h"

/// Reverses the bytes of words in memory, whatever the machine's byte order. Class operations only. Thread-safe,
/// real-time safe.
class ORV_API ByteUtility {
 public:
  ByteUtility() = delete;

  /// Reverses each of the words of `wordLength` bytes that `length` bytes hold. A last word that reaches past the
  /// length is left as it is, and so are words of less than two bytes.
  static void swapBytes_wordLength_length(void* bytes, std::uint32_t wordLength, std::uint32_t length);
  /// One word of 4 bytes, at any alignment.
  static void swapBytes32bit(void* bytes);
  /// One word of 8 bytes, at any alignment.
  static void swapBytes64bit(void* bytes);
};
