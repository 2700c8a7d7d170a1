#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "OrvPlatform/FileManager.h"

/// What a chunk begins with. Bytes that the file does not have are 0.
struct AIFFChunkHeader {
  static constexpr std::uint64_t kBytes = 8;

  std::array<char, 4> id{};
  std::uint32_t size = 0;  ///< of the body, without the pad byte

  bool isNamed(const char* name) const;
  /// Bytes from the chunk's begin to the next one's.
  std::uint64_t stride() const { return kBytes + size + (size & 1); }
};

/// Reads small pieces of a file that lie close together through a window, so that a walk over many short chunks is not
/// a system call each. Sees the file as it was when the window was filled: make a new one after a write.
class AIFFChunkReader {
 public:
  /// The file must outlive the object.
  explicit AIFFChunkReader(orv::FileHandle& file) : file_(file) {}

  AIFFChunkHeader header(std::uint64_t offset);
  /// Four bytes in the machine's order, 0 where there are none.
  std::uint32_t number(std::uint64_t offset);
  /// The same in the file's order.
  std::uint32_t bigEndianNumber(std::uint64_t offset);
  /// Whether the file has a byte there.
  bool reaches(std::uint64_t offset);

  /// Copies up to `length` bytes, at most 64; returns how many there are.
  std::size_t copy(std::uint64_t offset, void* to, std::size_t length);

 private:
  static constexpr std::size_t kLongestPiece = 64;

  orv::FileHandle& file_;
  std::array<std::uint8_t, 4096> window_{};
  std::uint64_t start_ = 0;
  std::size_t filled_ = 0;
};
