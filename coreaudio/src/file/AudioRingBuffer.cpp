#include "OrvCoreAudio/AudioRingBuffer.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "file/SharedBytes.h"

namespace {

constexpr int kAttempts = 8;
constexpr std::size_t kCacheLine = 64;

using Result = AudioRingBuffer::Result;

std::int64_t saturatingEnd(std::int64_t first, std::uint32_t frames) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  return first > kMost - frames ? kMost : first + frames;
}

Result classify(std::int64_t start, std::int64_t end, std::int64_t heldStart, std::int64_t heldEnd) {
  if (start >= heldStart) {
    if (end <= heldEnd) {
      return Result::kSuccess;
    }
    return start <= heldEnd ? Result::kEndsAfterHeld : Result::kAfterHeld;
  }
  if (end > heldEnd) {
    return Result::kTooMuch;
  }
  return end >= heldStart ? Result::kBeginsBeforeHeld : Result::kBeforeHeld;
}

}  // namespace

AudioRingBuffer::~AudioRingBuffer() {
  Deallocate();
}

void AudioRingBuffer::Allocate(std::int32_t channels, std::uint32_t bytesPerFrame, std::uint32_t capacityFrames) {
  Deallocate();
  for (BoundsRecord& record : mBoundsRecords) {
    record.mStartTime.store(0, std::memory_order_relaxed);
    record.mEndTime.store(0, std::memory_order_relaxed);
    record.mUpdateCounter.store(0, std::memory_order_relaxed);
  }
  mBoundsCounter.store(0, std::memory_order_release);

  const std::uint64_t frames = std::bit_ceil(std::uint64_t{capacityFrames});
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (channels < 0 || frames > kMost || frames * bytesPerFrame > kMost) {
    return;
  }
  const auto count = static_cast<std::size_t>(channels);
  const std::size_t ringBytes = static_cast<std::size_t>(frames) * bytesPerFrame;
  const std::size_t tableBytes = (count * sizeof(std::byte*) + kCacheLine - 1) / kCacheLine * kCacheLine;
  std::size_t allBytes = 0;
  if (__builtin_mul_overflow(ringBytes, count, &allBytes) ||
      __builtin_add_overflow(allBytes, tableBytes + kCacheLine, &allBytes)) {
    return;
  }
  allBytes -= allBytes % kCacheLine;
  auto* const block = static_cast<std::byte*>(std::aligned_alloc(kCacheLine, allBytes));
  if (block == nullptr) {
    return;
  }
  std::memset(block, 0, allBytes);
  mChannelData = reinterpret_cast<std::byte**>(block);
  for (std::size_t channel = 0; channel < count; ++channel) {
    mChannelData[channel] = block + tableBytes + channel * ringBytes;
  }
  mChannelCount = channels;
  mFrameBytes = bytesPerFrame;
  mRingFrames = static_cast<std::uint32_t>(frames);
  mRingFrameMask = mRingFrames - 1;
  mRingBytes = static_cast<std::uint32_t>(ringBytes);
}

void AudioRingBuffer::Deallocate() {
  std::free(static_cast<void*>(mChannelData));
  mChannelData = nullptr;
  mChannelCount = 0;
  mRingFrames = 0;
  mRingFrameMask = 0;
  mRingBytes = 0;
}

std::uint32_t AudioRingBuffer::byteOffset(std::int64_t frameNumber) const {
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(frameNumber) & mRingFrameMask) * mFrameBytes;
}

/// The record that was published last, as the storing thread sees it.
const AudioRingBuffer::BoundsRecord& AudioRingBuffer::current() const {
  return mBoundsRecords[mBoundsCounter.load(std::memory_order_relaxed) % kRecords];
}

std::int32_t AudioRingBuffer::Store(const AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) {
  const std::int64_t end = saturatingEnd(frameNumber, frames);
  if (frames > mRingFrames || end - frames != frameNumber) {
    return kTooMuch;
  }
  std::int64_t heldEnd = 0;
  makeRoom(frameNumber, end, &heldEnd);
  if (frameNumber > heldEnd) {
    zeroGap(heldEnd, frameNumber);
  }
  copyIn(data, frames, frameNumber);
  publish(current().mStartTime.load(std::memory_order_relaxed), end);
  return kSuccess;
}

/// Takes what is about to be overwritten back from the held range, before a byte of it changes.
void AudioRingBuffer::makeRoom(std::int64_t frameNumber, std::int64_t end, std::int64_t* heldEnd) {
  const std::int64_t heldStart = current().mStartTime.load(std::memory_order_relaxed);
  *heldEnd = current().mEndTime.load(std::memory_order_relaxed);
  if (frameNumber < *heldEnd) {
    *heldEnd = frameNumber;
    publish(frameNumber, frameNumber);
    return;
  }
  if (static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(heldStart) <= mRingFrames) {
    return;
  }
  std::int64_t start = 0;
  if (__builtin_sub_overflow(end, std::int64_t{mRingFrames}, &start)) {
    start = std::numeric_limits<std::int64_t>::min();
  }
  *heldEnd = std::max(start, *heldEnd);
  publish(start, *heldEnd);
}

void AudioRingBuffer::zeroGap(std::int64_t from, std::int64_t to) {
  const std::uint64_t gap = static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  const std::size_t bytes = static_cast<std::size_t>(std::min<std::uint64_t>(gap, mRingFrames)) * mFrameBytes;
  const std::size_t offset = byteOffset(from);
  const std::size_t first = std::min<std::size_t>(bytes, mRingBytes - offset);
  for (std::int32_t channel = 0; channel < mChannelCount; ++channel) {
    orv::shared::storeZeros(mChannelData[channel] + offset, first);
    orv::shared::storeZeros(mChannelData[channel], bytes - first);
  }
}

void AudioRingBuffer::copyIn(const AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) {
  const std::size_t wanted = std::size_t{frames} * mFrameBytes;
  const std::size_t offset = byteOffset(frameNumber);
  for (std::int32_t channel = 0; channel < mChannelCount; ++channel) {
    std::byte* const ring = mChannelData[channel];
    const std::size_t beforeWrap = std::min<std::size_t>(wanted, mRingBytes - offset);
    const auto place = static_cast<std::uint32_t>(channel);
    const AudioBuffer* const buffer =
        data != nullptr && place < data->mNumberBuffers ? data->mBuffers + place : nullptr;
    const auto* const from = buffer != nullptr ? static_cast<const std::byte*>(buffer->mData) : nullptr;
    const std::size_t there = from != nullptr ? std::min<std::size_t>(wanted, buffer->mDataByteSize) : 0;
    const std::size_t first = std::min(there, beforeWrap);
    orv::shared::store(ring + offset, from, first);
    orv::shared::storeZeros(ring + offset + first, beforeWrap - first);
    if (wanted > beforeWrap) {
      orv::shared::store(ring, from + first, there - first);
      orv::shared::storeZeros(ring + (there - first), wanted - beforeWrap - (there - first));
    }
  }
}

std::int32_t AudioRingBuffer::Fetch(AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) const {
  const std::int64_t end = saturatingEnd(frameNumber, frames);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::uint32_t rewinds = mRewindCounter.load(std::memory_order_acquire);
    if (const std::int32_t result = check(frameNumber, end); result != kSuccess) {
      return result;
    }
    copyOut(data, frames, frameNumber);
    if (const std::int32_t result = check(frameNumber, end); result != kSuccess) {
      return result;
    }
    // Frames of that number may have been taken back and stored anew since.
    if (mRewindCounter.load(std::memory_order_acquire) == rewinds) {
      return kSuccess;
    }
  }
  return kBoundsUnreadable;
}

void AudioRingBuffer::copyOut(AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) const {
  if (data == nullptr) {
    return;
  }
  const std::size_t begin = byteOffset(frameNumber);
  const std::size_t stop = byteOffset(static_cast<std::int64_t>(static_cast<std::uint64_t>(frameNumber) + frames));
  const std::size_t first = begin < stop ? stop - begin : mRingBytes - begin;
  const std::size_t second = begin < stop ? 0 : stop;
  const std::uint32_t buffers = std::min(data->mNumberBuffers, static_cast<std::uint32_t>(mChannelCount));
  for (std::uint32_t channel = 0; channel < buffers; ++channel) {
    const AudioBuffer& buffer = data->mBuffers[channel];
    if (buffer.mData == nullptr) {
      continue;
    }
    auto* const to = static_cast<std::byte*>(buffer.mData);
    const std::size_t room = buffer.mDataByteSize;
    orv::shared::load(to, mChannelData[channel] + begin, std::min(first, room));
    if (room > first && second > 0) {
      orv::shared::load(to + first, mChannelData[channel], std::min(second, room - first));
    }
  }
}

void AudioRingBuffer::publish(std::int64_t start, std::int64_t end) {
  const BoundsRecord& before = current();
  const bool goesBack = start < before.mStartTime.load(std::memory_order_relaxed) ||
                        end < before.mEndTime.load(std::memory_order_relaxed);
  const std::uint32_t next = mBoundsCounter.load(std::memory_order_relaxed) + 1;
  BoundsRecord& record = mBoundsRecords[next % kRecords];
  // A reader may still be at what this record held 32 publications ago: no value of this record's place is next - 1.
  record.mUpdateCounter.store(next - 1, std::memory_order_relaxed);
  record.mStartTime.store(start, std::memory_order_release);
  record.mEndTime.store(end, std::memory_order_release);
  record.mUpdateCounter.store(next, std::memory_order_release);
  // Only the storing thread counts: nothing to exchange with.
  mBoundsCounter.store(next, std::memory_order_release);
  if (goesBack) {
    // Behind the publication and before any frame is written: who sees the new count sees the new bounds, who sees a
    // new frame sees the new count.
    mRewindCounter.store(mRewindCounter.load(std::memory_order_relaxed) + 1, std::memory_order_release);
  }
}

std::int32_t AudioRingBuffer::readBounds(std::int64_t& start, std::int64_t& end) const {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::uint32_t counter = mBoundsCounter.load(std::memory_order_acquire);
    const BoundsRecord& record = mBoundsRecords[counter % kRecords];
    start = record.mStartTime.load(std::memory_order_acquire);
    end = record.mEndTime.load(std::memory_order_acquire);
    if (record.mUpdateCounter.load(std::memory_order_acquire) == counter) {
      return kSuccess;
    }
  }
  return kBoundsUnreadable;
}

std::int32_t AudioRingBuffer::check(std::int64_t start, std::int64_t end) const {
  std::int64_t heldStart = 0;
  std::int64_t heldEnd = 0;
  const std::int32_t result = readBounds(heldStart, heldEnd);
  return result != kSuccess ? result : classify(start, end, heldStart, heldEnd);
}

void AudioRingBuffer::SetTimeBounds(std::int64_t start, std::int64_t end) {
  publish(start, end);
}

std::int32_t AudioRingBuffer::GetTimeBounds(std::int64_t& start, std::int64_t& end) const {
  return readBounds(start, end);
}

std::int32_t AudioRingBuffer::CheckTimeBounds(std::int64_t start, std::int64_t end) const {
  return check(start, end);
}
