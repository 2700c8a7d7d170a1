#include "file/OrvReadAheadCache.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/Thread.h"

namespace {

constexpr std::int32_t kEmpty = 0;
constexpr std::int32_t kFull = 1;
constexpr std::int32_t kRequest = 0;
constexpr std::int32_t kIdle = 1;

/// The worker should be done before the caller needs the buffer.
constexpr double kPriorityAboveCaller = 0.05;

}  // namespace

OrvReadAheadCache::OrvReadAheadCache(AudioFileID file, const std::atomic<bool>& useInternal)
    : audioFile(file), useInternalCache(useInternal) {
  for (auto& buffer : rawByteBuffer) {
    buffer.reset(new (std::nothrow) char[rawByteBufferSizeInBytes]);
  }
  if (isUsable()) {
    worker = orv::startThread("orv-read-ahead", [this] { fillBufferRunLoop(); });
  }
}

OrvReadAheadCache::~OrvReadAheadCache() {
  threadShouldExit.store(true);
  readThreadRunLock.unlockWithCondition(kRequest);
  if (worker.joinable()) {
    worker.join();
  }
}

void OrvReadAheadCache::fillBufferRunLoop() {
  orv::setCurrentThreadPriority(orv::currentThreadPriority() + kPriorityAboveCaller);
  while (true) {
    readThreadRunLock.lockWhenCondition(kRequest);
    if (threadShouldExit.load()) {
      return;
    }
    fillEmptyBuffers();
    readThreadRunLock.unlockIfStillTaken(kIdle);
  }
}

void OrvReadAheadCache::fillEmptyBuffers() {
  while (!threadShouldExit.load() && rawByteBufferLock[nextToFill].tryLockWhenCondition(kEmpty)) {
    fillRawByteBuffer(nextToFill);
    // Also after a read error, with nothing in it: the caller then meets the error itself instead of waiting for ever.
    rawByteBufferLock[nextToFill].unlockWithCondition(kFull);
    nextToFill = 1 - nextToFill;
  }
}

void OrvReadAheadCache::fillRawByteBuffer(unsigned index) {
  std::uint32_t count = rawByteBufferSizeInBytes;
  const OSStatus status = AudioFileReadBytes(audioFile, useInternalCache.load(), rawByteBufferOffsetInFile, &count,
                                             rawByteBuffer[index].get());
  if (status != noErr && status != kEndOfFileStatus) {
    OrvAudioFile::printOSStatusCode(status);
    failure.store(status);
    count = 0;
  }
  content[index] = {rawByteBufferOffsetInFile, count, count};
  rawByteBufferOffsetInFile += count;
}

void OrvReadAheadCache::requestFilling() {
  if (worker.joinable()) {
    readThreadRunLock.unlockWithCondition(kRequest);
  } else {
    fillEmptyBuffers();
  }
}

void OrvReadAheadCache::endRangeAt(std::int64_t offset) {
  rawByteBufferEndingOffset = offset;
  endIsNotKnownYet = false;
}

void OrvReadAheadCache::pauseAndForget() {
  readThreadRunLock.lockWhenCondition(kIdle);
  rawByteBufferLock[0].unlockWithCondition(kEmpty);
  rawByteBufferLock[1].unlockWithCondition(kEmpty);
  rawByteBufferStartingOffset = 0;
  rawByteBufferEndingOffset = 0;
  endIsNotKnownYet = false;
}

void OrvReadAheadCache::resume() {
  readThreadRunLock.unlockWithCondition(kIdle);
}

bool OrvReadAheadCache::consumeRawBytes(void* buffer, std::uint32_t* length, std::int64_t offset,
                                        std::int64_t fileLength) {
  auto* destination = static_cast<char*>(buffer);
  std::uint32_t wanted = *length;
  *length = 0;
  while (true) {
    if (offset < 0 || offset >= fileLength) {
      return false;
    }
    if (wanted == 0) {
      return true;
    }
    if (!takeCurrentBufferFor(offset, wanted)) {
      if (!refillFrom(offset)) {
        return false;
      }
      continue;
    }
    Content& current = content[currentBuffer];
    const std::uint32_t moved = std::min(wanted, current.unread);
    std::memcpy(destination, rawByteBuffer[currentBuffer].get() + (offset - current.fileOffset), moved);
    current.unread -= moved;
    if (current.unread == 0) {
      leaveCurrentBufferEmpty();
    } else {
      rawByteBufferLock[currentBuffer].unlockWithCondition(kFull);
    }
    *length += moved;
    if (moved == wanted) {
      return true;
    }
    destination += moved;
    wanted -= moved;
    offset += moved;
  }
}

/// The end of a buffer that was still filling when the caller came to it.
void OrvReadAheadCache::settleRange() {
  if (!endIsNotKnownYet) {
    return;
  }
  rawByteBufferLock[currentBuffer].lockWhenCondition(kFull);
  rawByteBufferEndingOffset = rawByteBufferStartingOffset + content[currentBuffer].filled;
  endIsNotKnownYet = false;
  rawByteBufferLock[currentBuffer].unlockWithCondition(kFull);
}

/// Takes the current buffer if it holds what is asked for, or the first part of it.
bool OrvReadAheadCache::takeCurrentBufferFor(std::int64_t offset, std::uint32_t wanted) {
  settleRange();
  if (offset < rawByteBufferStartingOffset || offset >= rawByteBufferEndingOffset ||
      !rawByteBufferLock[currentBuffer].tryLockWhenCondition(kFull)) {
    return false;
  }
  const Content& current = content[currentBuffer];
  const std::int64_t copied = std::min(wanted, current.unread);
  const bool holdsIt = current.fileOffset == rawByteBufferStartingOffset && copied > 0 &&
                       offset + copied <= current.fileOffset + current.filled;
  if (!holdsIt) {
    rawByteBufferLock[currentBuffer].unlockWithCondition(kFull);
  }
  return holdsIt;
}

void OrvReadAheadCache::leaveCurrentBufferEmpty() {
  rawByteBufferLock[currentBuffer].unlockWithCondition(kEmpty);
  currentBuffer = 1 - currentBuffer;
  requestFilling();
  rawByteBufferStartingOffset = rawByteBufferEndingOffset;
  endIsNotKnownYet = true;
}

/// Fills a buffer on the caller's thread and has the worker fill the other from where that ended.
bool OrvReadAheadCache::refillFrom(std::int64_t offset) {
  pauseAndForget();
  rawByteBufferOffsetInFile = offset;
  const unsigned filled = 1 - currentBuffer;
  fillRawByteBuffer(filled);
  const std::uint32_t count = content[filled].filled;
  if (count == 0) {
    resume();
    return false;
  }
  rawByteBufferLock[filled].unlockWithCondition(kFull);
  currentBuffer = filled;
  nextToFill = 1 - filled;
  rawByteBufferStartingOffset = offset;
  rawByteBufferEndingOffset = offset + count;
  resume();
  requestFilling();
  return true;
}
