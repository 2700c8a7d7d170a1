#include "recording/OrvCaptureQueue.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Appended = OrvCaptureQueue::Appended;
constexpr std::uint32_t kSize = OrvCaptureQueue::kBufferSize;

/// Bytes that differ from their neighbours.
std::vector<std::byte> bytes(std::uint32_t count) {
  std::vector<std::byte> made(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    made[i] = static_cast<std::byte>(i * 31);
  }
  return made;
}

}  // namespace

TEST(OrvCaptureQueue, BytesWaitUntilABufferIsFull) {
  OrvCaptureQueue queue;
  EXPECT_EQ(queue.append(bytes(kSize - 1).data(), kSize - 1), Appended::kept);
  EXPECT_EQ(queue.next(), nullptr);
  EXPECT_EQ(queue.append(bytes(1).data(), 1), Appended::handedOver);
  OrvCaptureBuffer* const buffer = queue.next();
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(buffer->count, kSize);
  EXPECT_EQ(queue.next(), nullptr);
}

TEST(OrvCaptureQueue, BytesAreSplitOverBuffersInTheirOrder) {
  OrvCaptureQueue queue;
  queue.reserve(4);
  const auto sent = bytes(3 * kSize - 100);
  EXPECT_EQ(queue.append(sent.data(), static_cast<std::uint32_t>(sent.size())), Appended::handedOver);
  queue.handOverRest();
  std::vector<std::byte> got;
  while (OrvCaptureBuffer* const buffer = queue.next()) {
    got.insert(got.end(), buffer->data(), buffer->data() + buffer->count);
    queue.giveBack(buffer);
  }
  EXPECT_EQ(got, sent);
}

TEST(OrvCaptureQueue, ABlockThatTheFreeBuffersDoNotHoldIsRefusedWhole) {
  OrvCaptureQueue queue;
  const auto sent = bytes(2 * kSize);
  EXPECT_EQ(queue.append(sent.data(), kSize + 10), Appended::handedOver);
  EXPECT_EQ(queue.append(sent.data(), kSize - 9), Appended::refused);
  EXPECT_EQ(queue.append(sent.data(), kSize - 10), Appended::handedOver);
  EXPECT_EQ(queue.append(sent.data(), 1), Appended::refused);
  EXPECT_EQ(queue.append(sent.data(), 0), Appended::kept);
  OrvCaptureBuffer* const first = queue.next();
  ASSERT_NE(first, nullptr);
  queue.giveBack(first);
  EXPECT_EQ(queue.append(sent.data(), 1), Appended::kept);
}

TEST(OrvCaptureQueue, ASmallerHandOverSizeHandsOverBehindABlock) {
  OrvCaptureQueue queue;
  queue.setHandOverSize(1000);
  const auto sent = bytes(1500);
  EXPECT_EQ(queue.append(sent.data(), 999), Appended::kept);
  EXPECT_EQ(queue.append(sent.data(), 501), Appended::handedOver);
  EXPECT_EQ(queue.next()->count, 1500U);
}

TEST(OrvCaptureQueue, WhileABufferWaitsTheNextOneIsFilled) {
  OrvCaptureQueue queue;
  queue.setHandOverSize(1000);
  const auto sent = bytes(kSize);
  EXPECT_EQ(queue.append(sent.data(), 1000), Appended::handedOver);
  EXPECT_EQ(queue.append(sent.data(), 1000), Appended::kept);
  EXPECT_EQ(queue.append(sent.data(), kSize - 1000), Appended::handedOver);
}

TEST(OrvCaptureQueue, AnEmptyRestIsNotHandedOver) {
  OrvCaptureQueue queue;
  queue.handOverRest();
  EXPECT_EQ(queue.next(), nullptr);
}

TEST(OrvCaptureQueue, BuffersGoRoundForEver) {
  OrvCaptureQueue queue;
  const auto sent = bytes(kSize);
  for (int round = 0; round < 5000; ++round) {
    ASSERT_EQ(queue.append(sent.data(), kSize), Appended::handedOver);
    queue.giveBack(queue.next());
  }
}
