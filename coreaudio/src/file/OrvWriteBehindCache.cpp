#include "file/OrvWriteBehindCache.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/Thread.h"

using namespace std::chrono_literals;

namespace {

constexpr std::int32_t kFull = 0;
constexpr std::int32_t kFree = 1;
constexpr std::int32_t kRequest = 0;
constexpr std::int32_t kIdle = 1;

/// Saving can wait; what the caller does cannot.
constexpr double kPriorityBelowCaller = 0.25;

/// How long bytes wait in a buffer that does not fill.
constexpr auto kSavePeriod = 500ms;

/// How often a caller that waits for a free buffer looks whether saving fails.
constexpr auto kFailureCheckPeriod = 20ms;

}  // namespace

OrvWriteBehindCache::OrvWriteBehindCache(AudioFileID file, const std::atomic<bool>& useInternal,
                                         std::mutex& platformCalls, std::int64_t dataLength)
    : audioFile(file), useInternalCache(useInternal), platformCallMutex(platformCalls), endOfData(dataLength) {
  for (auto& buffer : rawByteBuffer) {
    buffer.reset(new (std::nothrow) char[rawByteBufferSizeInBytes]);
  }
  if (isUsable()) {
    worker = orv::startThread("orv-write-behind", [this] { saveBufferRunLoop(); });
  }
}

OrvWriteBehindCache::~OrvWriteBehindCache() {
  threadShouldExit.store(true);
  writeThreadRunLock.unlockWithCondition(kRequest);
  if (worker.joinable()) {
    worker.join();
  }
}

void OrvWriteBehindCache::saveBufferRunLoop() {
  orv::setCurrentThreadPriority(orv::currentThreadPriority() - kPriorityBelowCaller);
  while (!threadShouldExit.load()) {
    if (writeThreadRunLock.lockWhenConditionBefore(kRequest, kSavePeriod)) {
      saveFullBuffers();
      writeThreadRunLock.unlockIfStillTaken(kIdle);
    } else {
      saveWhatIsGathered();
    }
  }
}

void OrvWriteBehindCache::saveFullBuffers() {
  savingFails.store(false);
  while (!threadShouldExit.load() && rawByteBufferLock[nextToSave].tryLockWhenCondition(kFull)) {
    if (saveRawByteBuffer(nextToSave) != noErr) {
      savingFails.store(true);
      rawByteBufferLock[nextToSave].unlockWithCondition(kFull);
      break;
    }
    content[nextToSave] = {};
    rawByteBufferLock[nextToSave].unlockWithCondition(kFree);
    nextToSave = 1 - nextToSave;
  }
  if (sizesAreWanted.exchange(false)) {
    const std::lock_guard guard(platformCallMutex);
    if (const OSStatus status = AudioFileUpdateSizes(audioFile); status != noErr) {
      OrvAudioFile::printOSStatusCode(status);
    }
  }
}

/// Writes what of a buffer is not in the file yet; the caller has taken the buffer.
OSStatus OrvWriteBehindCache::saveRawByteBuffer(unsigned index) {
  Content& buffer = content[index];
  std::uint32_t count = buffer.count - buffer.saved;
  if (count == 0) {
    return noErr;
  }
  OSStatus status = noErr;
  {
    const std::lock_guard guard(platformCallMutex);
    status = AudioFileWriteBytes(audioFile, useInternalCache.load(), buffer.fileOffset + buffer.saved, &count,
                                 rawByteBuffer[index].get() + buffer.saved);
  }
  buffer.saved += std::min(count, buffer.count - buffer.saved);
  if (status != noErr) {
    OrvAudioFile::printOSStatusCode(status);
    reportedFailure.store(status);
  }
  return status;
}

/// Saves the bytes of a buffer that is not full yet. The buffer stays the caller's; a failure will show again when it
/// is handed over.
void OrvWriteBehindCache::saveWhatIsGathered() {
  if (rawByteBufferLock[nextToSave].tryLockWhenCondition(kFree)) {
    saveRawByteBuffer(nextToSave);
    rawByteBufferLock[nextToSave].unlockWithCondition(kFree);
  }
}

void OrvWriteBehindCache::requestSaving() {
  if (worker.joinable()) {
    writeThreadRunLock.unlockWithCondition(kRequest);
  } else {
    saveFullBuffers();
  }
}

bool OrvWriteBehindCache::insertBytesIntoBuffer(const void* buffer, std::uint32_t* length, std::int64_t offset) {
  const auto* source = static_cast<const char*>(buffer);
  std::uint32_t wanted = *length;
  *length = 0;
  while (wanted > 0) {
    if (!takeCurrentBuffer()) {
      return false;
    }
    Content& current = content[currentBuffer];
    if (offset < rawByteBufferStartingOffset || offset >= rawByteBufferEndingOffset) {
      if (current.count > 0) {
        // Bytes for another place: what was gathered here is saved first.
        leaveCurrentBufferFull();
        rawByteBufferEndingOffset = rawByteBufferStartingOffset;
        continue;
      }
      if (offset < 0 || offset > endOfData) {
        rawByteBufferLock[currentBuffer].unlockWithCondition(kFree);
        return false;
      }
      rawByteBufferStartingOffset = offset;
      rawByteBufferEndingOffset = offset + rawByteBufferSizeInBytes;
    }
    if (current.count == 0) {
      current.fileOffset = rawByteBufferStartingOffset;
    }
    const std::uint32_t moved = std::min(wanted, rawByteBufferSizeInBytes - current.count);
    std::memcpy(rawByteBuffer[currentBuffer].get() + current.count, source, moved);
    current.count += moved;
    endOfData = std::max(endOfData, current.fileOffset + current.count);
    if (current.count == rawByteBufferSizeInBytes) {
      leaveCurrentBufferFull();
    } else {
      rawByteBufferLock[currentBuffer].unlockWithCondition(kFree);
    }
    *length += moved;
    source += moved;
    wanted -= moved;
    offset += moved;
  }
  return true;
}

/// Waits for the current buffer to be free. False when the buffers can't be saved, after one more try.
bool OrvWriteBehindCache::takeCurrentBuffer() {
  orv::ConditionLock& lock = rawByteBufferLock[currentBuffer];
  if (lock.tryLockWhenCondition(kFree)) {
    return true;
  }
  if (savingFails.load()) {
    requestSaving();
  }
  while (!lock.lockWhenConditionBefore(kFree, kFailureCheckPeriod)) {
    if (savingFails.load() && writeThreadRunLock.condition() == kIdle) {
      return false;
    }
  }
  return true;
}

/// Hands the current buffer, which the caller has taken, to the worker. The range goes on behind its last byte.
void OrvWriteBehindCache::leaveCurrentBufferFull() {
  rawByteBufferStartingOffset = content[currentBuffer].fileOffset + content[currentBuffer].count;
  rawByteBufferEndingOffset = rawByteBufferStartingOffset + rawByteBufferSizeInBytes;
  rawByteBufferLock[currentBuffer].unlockWithCondition(kFull);
  currentBuffer = 1 - currentBuffer;
  requestSaving();
}

/// A current buffer that is not free is handed over already.
void OrvWriteBehindCache::handOverWhatIsGathered() {
  while (rawByteBufferLock[currentBuffer].condition() == kFree) {
    rawByteBufferLock[currentBuffer].lockWhenCondition(kFree);
    if (content[currentBuffer].count == 0) {
      rawByteBufferLock[currentBuffer].unlockWithCondition(kFree);
      return;
    }
    leaveCurrentBufferFull();
  }
}

void OrvWriteBehindCache::flush(std::chrono::nanoseconds limit) {
  handOverWhatIsGathered();
  sizesAreWanted.store(true);
  requestSaving();
  if (writeThreadRunLock.lockWhenConditionBefore(kIdle, limit)) {
    writeThreadRunLock.unlockWithCondition(kIdle);
  }
}

bool OrvWriteBehindCache::drain() {
  flush(std::chrono::nanoseconds::max());
  return !savingFails.load();
}
