#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "OrvPlatform/Vector.h"
#include "platform/vector/EachTarget.h"
#include "vector/SampleKernels.h"

namespace orv::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Counted bytes with room for any alignment and a margin that must stay as it is.
Bytes countedBytes(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 7 + 3);
  }
  return bytes;
}

Bytes withWordsReversed(Bytes bytes, std::size_t offset, std::size_t wordBytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto word = bytes.begin() + static_cast<std::ptrdiff_t>(offset + i * wordBytes);
    std::reverse(word, word + static_cast<std::ptrdiff_t>(wordBytes));
  }
  return bytes;
}

void expectSwapsInPlace(std::size_t wordBytes, const std::function<void(void*, std::size_t)>& swap) {
  onEachTarget([&] {
    for (std::size_t count = 0; count <= 150; ++count) {
      const std::size_t offset = count % 17;
      const Bytes before = countedBytes(offset + count * wordBytes + 64);
      Bytes bytes = before;
      swap(bytes.data() + offset, count);
      ASSERT_EQ(bytes, withWordsReversed(before, offset, wordBytes, count)) << count;
    }
  });
}

TEST(ByteSwap, ReversesTheBytesOfEach16BitWordAndNoOthers) {
  expectSwapsInPlace(2, simd::swapBytes16);
}

TEST(ByteSwap, ReversesTheBytesOfEach24BitWordAndNoOthers) {
  expectSwapsInPlace(3, simd::swapBytes24);
}

TEST(ByteSwap, ReversesTheBytesOfEach32BitWordAndNoOthers) {
  expectSwapsInPlace(4, simd::swapBytes32);
}

TEST(ByteSwap, ReversesTheBytesOfEach64BitWordAndNoOthers) {
  expectSwapsInPlace(8, simd::swapBytes64);
}

TEST(ByteSwap, CopiesWithTheBytesReversedAndLeavesTheSourceAlone) {
  onEachTarget([&] {
    for (const std::size_t wordBytes : {2U, 3U, 4U, 8U}) {
      for (std::size_t count = 0; count <= 70; ++count) {
        const std::size_t offset = count % 5;
        const Bytes source = countedBytes(offset + count * wordBytes);
        Bytes copy(source.size() + 16, 0xEE);
        simd::copySwapped(source.data() + offset, copy.data() + offset, wordBytes, count);
        Bytes expected = withWordsReversed(source, offset, wordBytes, count);
        std::fill_n(expected.begin(), offset, std::uint8_t{0xEE});
        expected.resize(copy.size(), 0xEE);
        ASSERT_EQ(copy, expected) << wordBytes << " bytes, " << count;
      }
    }
  });
}

}  // namespace
}  // namespace orv::test
