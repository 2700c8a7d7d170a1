#include <OrvCoreAudio/ByteUtility.h>
#include <gtest/gtest.h>

#include <vector>

using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes swapped(Bytes bytes, std::uint32_t wordLength, std::uint32_t length) {
  ByteUtility::swapBytes_wordLength_length(bytes.data(), wordLength, length);
  return bytes;
}

}  // namespace

TEST(ByteUtility, ReversesEachWord) {
  EXPECT_EQ(swapped({1, 2, 3, 4, 5, 6}, 2, 6), (Bytes{2, 1, 4, 3, 6, 5}));
  EXPECT_EQ(swapped({1, 2, 3, 4, 5, 6}, 3, 6), (Bytes{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(swapped({1, 2, 3, 4}, 4, 4), (Bytes{4, 3, 2, 1}));
}

TEST(ByteUtility, StopsAtTheLength) {
  EXPECT_EQ(swapped({1, 2, 3, 4, 5, 6}, 2, 4), (Bytes{2, 1, 4, 3, 5, 6}));
}

TEST(ByteUtility, LeavesAWordThatReachesPastTheLengthAsItIs) {
  EXPECT_EQ(swapped({1, 2, 3, 4, 5, 6}, 3, 4), (Bytes{3, 2, 1, 4, 5, 6}));
  EXPECT_EQ(swapped({1, 2, 3}, 4, 3), (Bytes{1, 2, 3}));
  EXPECT_EQ(swapped({1, 2, 3}, 0xFFFFFFFF, 3), (Bytes{1, 2, 3}));
}

TEST(ByteUtility, LeavesWordsOfLessThanTwoBytesAsTheyAre) {
  EXPECT_EQ(swapped({1, 2, 3}, 1, 3), (Bytes{1, 2, 3}));
  EXPECT_EQ(swapped({1, 2, 3}, 0, 3), (Bytes{1, 2, 3}));
}

TEST(ByteUtility, ReversesSingleWordsAtAnyAlignment) {
  Bytes bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  ByteUtility::swapBytes32bit(bytes.data() + 1);
  EXPECT_EQ(bytes, (Bytes{0, 4, 3, 2, 1, 5, 6, 7, 8, 9}));
  ByteUtility::swapBytes64bit(bytes.data() + 1);
  EXPECT_EQ(bytes, (Bytes{0, 8, 7, 6, 5, 1, 2, 3, 4, 9}));
}

TEST(ByteUtility, IgnoresANullPointer) {
  ByteUtility::swapBytes_wordLength_length(nullptr, 2, 6);
  ByteUtility::swapBytes32bit(nullptr);
  ByteUtility::swapBytes64bit(nullptr);
}
