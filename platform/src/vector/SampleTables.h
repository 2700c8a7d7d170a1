#pragma once

#include <cstddef>
#include <cstdint>

/// Where bytes and lanes of vectors of samples move to when they are loaded and stored.
namespace orv::simd {

/// For each byte of a 16-byte block, where in the block it comes from; 0x80 makes it zero.
struct alignas(16) ByteTable {
  std::uint8_t index[16];
};

inline constexpr std::uint8_t kZeroByte = 0x80;

/// Brings the bytes of each sample to the top of its 32-bit lane. Samples of 1 and 2 bytes lie in the bottom of their
/// lanes before, those of 3 bytes one behind the other from the block's begin on.
template <std::size_t kBytes>
constexpr ByteTable loadTable(bool swapped) {
  constexpr std::size_t kPitch = kBytes == 3 ? 3 : 4;
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t lane = i / 4;
    const std::size_t byte = i % 4 + kBytes - 4;  // wraps below the sample's bytes
    table.index[i] =
        byte >= kBytes ? kZeroByte : static_cast<std::uint8_t>(lane * kPitch + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Brings the low bytes of each 32-bit lane together at the block's begin.
template <std::size_t kBytes>
constexpr ByteTable storeTable(bool swapped) {
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t lane = i / kBytes;
    const std::size_t byte = i % kBytes;
    table.index[i] = lane >= 4 ? kZeroByte : static_cast<std::uint8_t>(lane * 4 + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Reverses the bytes of each word, or leaves them.
template <std::size_t kBytes>
constexpr ByteTable wordTable(bool swapped) {
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t byte = i % kBytes;
    table.index[i] = static_cast<std::uint8_t>(i - byte + (swapped ? kBytes - 1 - byte : byte));
  }
  return table;
}

/// Brings the low byte of each 16-bit lane to the top; where that is then swapped, leaves it.
constexpr ByteTable raisingTable(bool swapped) {
  ByteTable table{};
  for (std::size_t i = 0; i < 16; ++i) {
    const bool isHigh = i % 2 == 1;
    table.index[i] = isHigh == swapped ? kZeroByte : static_cast<std::uint8_t>(i - i % 2);
  }
  return table;
}

/// For each 32-bit lane of a vector, which lane it comes from.
template <std::size_t kLanes>
struct alignas(64) LaneTable {
  std::int32_t index[kLanes];
};

/// Spreads groups of 3 lanes, which hold 4 samples of 3 bytes, over blocks of 4 lanes.
template <std::size_t kLanes>
constexpr LaneTable<kLanes> spreadTable() {
  LaneTable<kLanes> table{};
  for (std::size_t i = 0; i < kLanes; ++i) {
    table.index[i] = static_cast<std::int32_t>(i / 4 * 3 + i % 4);
  }
  return table;
}

/// Brings the first `kFilled` lanes of each block of 4 together at the vector's begin.
template <std::size_t kLanes, std::size_t kFilled>
constexpr LaneTable<kLanes> gatherTable() {
  LaneTable<kLanes> table{};
  for (std::size_t i = 0; i < kLanes; ++i) {
    const std::size_t lane = i / kFilled * 4 + i % kFilled;
    table.index[i] = static_cast<std::int32_t>(lane < kLanes ? lane : 0);
  }
  return table;
}

/// Brings two vectors in order that were packed to half their size in each block on its own.
template <std::size_t kLanes>
constexpr LaneTable<kLanes> packedTable() {
  LaneTable<kLanes> table{};
  for (std::size_t i = 0; i < kLanes; ++i) {
    const std::size_t vector = i / (kLanes / 2);
    const std::size_t block = i % (kLanes / 2) / 2;
    table.index[i] = static_cast<std::int32_t>(4 * block + 2 * vector + i % 2);
  }
  return table;
}

}  // namespace orv::simd
