#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace orv::audiofile {

/// Eight bytes of a file that are kept in memory because the file must hold something else in their place for now.
struct HeldBytes {
  std::int64_t position = 0;  ///< in the file
  std::array<std::uint8_t, 8> bytes{};

  std::int64_t end() const { return position + static_cast<std::int64_t>(bytes.size()); }

  /// Takes over what of `data`, which belongs at `offset` of the file, falls into the eight bytes.
  void absorb(std::int64_t offset, std::span<const std::uint8_t> data) {
    const auto [first, last] = overlap(offset, data.size());
    for (std::int64_t at = first; at < last; ++at) {
      bytes[static_cast<std::size_t>(at - position)] = data[static_cast<std::size_t>(at - offset)];
    }
  }

  /// Corrects `data`, which was read at `offset` of the file.
  void overlay(std::int64_t offset, std::span<std::uint8_t> data) const {
    const auto [first, last] = overlap(offset, data.size());
    for (std::int64_t at = first; at < last; ++at) {
      data[static_cast<std::size_t>(at - offset)] = bytes[static_cast<std::size_t>(at - position)];
    }
  }

 private:
  struct Range {
    std::int64_t first, last;
  };
  Range overlap(std::int64_t offset, std::size_t length) const {
    return {std::max(position, offset), std::min(end(), offset + static_cast<std::int64_t>(length))};
  }
};

}  // namespace orv::audiofile
