#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/ConditionLock.h"

/// Two buffers through which an open file is read ahead: the caller consumes one while a worker fills the other.
///
///   caller ── takes buffer full (1), leaves it empty (0) ──► worker ── takes it empty (0), leaves it full (1) ──►
///   caller
///
/// A buffer belongs to whoever took its lock. The run lock wakes the worker: 1 is idle, 0 a request to fill what is
/// empty; whoever holds it at 1 knows that the worker touches nothing. Buffers are consumed and filled in turn.
///
/// All operations are the caller's, one thread at a time.
class OrvReadAheadCache {
 public:
  /// Bytes of each buffer.
  static constexpr std::uint32_t rawByteBufferSizeInBytes = 0xC0000;

  /// `file` stays the owner's and must outlive the cache, as must `useInternalCache`, which is handed to each
  /// platform call.
  OrvReadAheadCache(AudioFileID file, const std::atomic<bool>& useInternalCache);
  ~OrvReadAheadCache();

  /// Whether there was memory for the buffers; without it nothing else may be called.
  bool isUsable() const { return rawByteBuffer[0] && rawByteBuffer[1]; }

  /// Copies `*length` bytes from `offset` on, of a file of `fileLength` bytes. False at the end of the data and on a
  /// read error; `*length` gets the bytes copied in any case.
  ///
  /// What is left of a buffer is counted down by each request as if reads were sequential, while the copy follows the
  /// offset: reading the same place twice uses a buffer up early and costs a refill, never wrong bytes.
  bool consumeRawBytes(void* buffer, std::uint32_t* length, std::int64_t offset, std::int64_t fileLength);

  /// Ends the range that counts as buffered at `offset`, so that the next read there is made afresh.
  void endRangeAt(std::int64_t offset);

  /// Waits until the worker is idle, keeps it so, and forgets what is buffered; then lets it go on. For writing in
  /// place.
  void pauseAndForget();
  void resume();

  /// Status of the read that failed last, 0 if none did since this was asked last.
  OSStatus takeFailure() { return failure.exchange(noErr); }

 private:
  struct Content {
    std::int64_t fileOffset = 0;  // where the buffer's first byte lies in the file
    std::uint32_t filled = 0;     // bytes that are in the buffer
    std::uint32_t unread = 0;     // counted down as requests are served
  };

  void fillBufferRunLoop();
  void fillEmptyBuffers();
  void fillRawByteBuffer(unsigned index);
  void requestFilling();

  void settleRange();
  bool takeCurrentBufferFor(std::int64_t offset, std::uint32_t wanted);
  void leaveCurrentBufferEmpty();
  bool refillFrom(std::int64_t offset);

  // Constant after construction.
  const AudioFileID audioFile;
  const std::atomic<bool>& useInternalCache;
  std::unique_ptr<char[]> rawByteBuffer[2];

  orv::ConditionLock rawByteBufferLock[2] = {orv::ConditionLock(0), orv::ConditionLock(0)};
  orv::ConditionLock readThreadRunLock{1};
  Content content[2];  // each guarded by its lock

  // Guarded by readThreadRunLock.
  std::int64_t rawByteBufferOffsetInFile = 0;
  unsigned nextToFill = 0;

  // Caller only.
  unsigned currentBuffer = 1;
  std::int64_t rawByteBufferStartingOffset = 0;
  std::int64_t rawByteBufferEndingOffset = 0;
  bool endIsNotKnownYet = false;  // the current buffer may still be filling: its end is looked up when it is needed

  std::atomic<bool> threadShouldExit{false};
  std::atomic<OSStatus> failure{noErr};
  std::thread worker;
};
