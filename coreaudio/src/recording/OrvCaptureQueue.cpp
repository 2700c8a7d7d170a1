#include "recording/OrvCaptureQueue.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint32_t kFewestBuffers = 2;

/// Where samples of any size begin.
constexpr std::size_t kAlignment = 64;

}  // namespace

/// The memory is written to once: a page that the system has yet to provide would hold up the cycle that meets it.
OrvCaptureBuffer::OrvCaptureBuffer(std::uint32_t size)
    : memory_(std::make_unique<std::byte[]>(kHeadroom + size + kAlignment)) {
  void* aligned = memory_.get();
  std::size_t room = kHeadroom + size + kAlignment;
  start_ = static_cast<std::byte*>(std::align(kAlignment, kHeadroom + size, aligned, room));
}

void OrvCaptureQueue::Ring::push(OrvCaptureBuffer* buffer) noexcept {
  const std::uint32_t at = pushed_.load(std::memory_order_relaxed);
  slots_[at % kMostBuffers] = buffer;
  pushed_.store(at + 1, std::memory_order_release);
}

OrvCaptureBuffer* OrvCaptureQueue::Ring::pop() noexcept {
  const std::uint32_t at = popped_.load(std::memory_order_relaxed);
  if (at == pushed_.load(std::memory_order_acquire)) {
    return nullptr;
  }
  OrvCaptureBuffer* const buffer = slots_[at % kMostBuffers];
  popped_.store(at + 1, std::memory_order_release);
  return buffer;
}

std::uint32_t OrvCaptureQueue::Ring::count() const noexcept {
  return pushed_.load(std::memory_order_acquire) - popped_.load(std::memory_order_relaxed);
}

std::uint32_t OrvCaptureQueue::Ring::mostCount() const noexcept {
  return pushed_.load(std::memory_order_relaxed) - popped_.load(std::memory_order_acquire);
}

OrvCaptureQueue::OrvCaptureQueue() {
  reserve(kFewestBuffers);
}

void OrvCaptureQueue::reserve(std::uint32_t count) {
  const std::lock_guard guard(pushLock_);
  while (buffers_.size() < std::min(count, kMostBuffers)) {
    buffers_.push_back(std::make_unique<OrvCaptureBuffer>(kBufferSize));
    keepFree(buffers_.back().get());
  }
}

OrvCaptureQueue::Appended OrvCaptureQueue::append(const void* bytes, std::uint32_t length) noexcept {
  const std::uint32_t room = current_ != nullptr ? kBufferSize - current_->count : 0;
  const std::uint32_t beyond = length - std::min(length, room);
  const std::uint32_t wanted = beyond / kBufferSize + (beyond % kBufferSize != 0 ? 1 : 0);
  if (wanted > free_.count() + spare_.count()) {
    return Appended::refused;
  }
  Appended result = Appended::kept;
  const auto* source = static_cast<const std::byte*>(bytes);
  while (length > 0) {
    if (current_ == nullptr) {
      current_ = free_.pop();
      current_ = current_ != nullptr ? current_ : spare_.pop();
    }
    const std::uint32_t part = std::min(length, kBufferSize - current_->count);
    std::memcpy(current_->data() + current_->count, source, part);
    current_->count += part;
    source += part;
    length -= part;
    if (current_->count == kBufferSize) {
      handOver();
      result = Appended::handedOver;
    }
  }
  // A saver that is behind gets full buffers: they hold more of what it can't take yet.
  if (current_ != nullptr && current_->count >= handOverSize_ && full_.mostCount() == 0) {
    handOver();
    result = Appended::handedOver;
  }
  return result;
}

void OrvCaptureQueue::handOverRest() noexcept {
  if (current_ != nullptr && current_->count > 0) {
    handOver();
  }
}

void OrvCaptureQueue::handOver() noexcept {
  full_.push(current_);
  current_ = nullptr;
}

void OrvCaptureQueue::giveBack(OrvCaptureBuffer* buffer) {
  buffer->count = 0;
  const std::lock_guard guard(pushLock_);
  keepFree(buffer);
}

/// Requires: pushLock_ is held.
void OrvCaptureQueue::keepFree(OrvCaptureBuffer* buffer) {
  (free_.mostCount() < kInUse ? free_ : spare_).push(buffer);
}
