#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "OrvPlatform/FileManager.h"

namespace orv::audiofile {

/// Reads the small pieces that a header is made of. The first 4 KiB, where nearly every header ends, cost one read of
/// the file; what lies behind them is read through a small window. Never reads more than the two blocks hold.
class HeaderReader {
 public:
  /// Most bytes that one call of `bytes` can give.
  static constexpr std::size_t kLongestPiece = 1024;

  explicit HeaderReader(FileHandle& file);

  /// Length of the file in bytes. Constant.
  std::int64_t fileSize() const { return fileSize_; }

  /// The failure that kept `bytes` from reading, `noErr` when there was none.
  OSStatus status() const { return status_; }

  /// `length` bytes from `offset` on, or an empty span when the file doesn't hold them all or can't be read. Valid
  /// until the next call.
  std::span<const std::uint8_t> bytes(std::int64_t offset, std::size_t length);

  /// What of the first 4 KiB is there.
  std::span<const std::uint8_t> head() const { return {head_.data(), headLength_}; }

 private:
  std::size_t load(std::int64_t offset, std::span<std::uint8_t> block);

  FileHandle& file_;
  std::int64_t fileSize_ = 0;
  OSStatus status_ = noErr;
  std::array<std::uint8_t, 4096> head_;
  std::size_t headLength_ = 0;
  std::array<std::uint8_t, kLongestPiece> window_;
  std::int64_t windowStart_ = 0;
  std::size_t windowLength_ = 0;
};

}  // namespace orv::audiofile
