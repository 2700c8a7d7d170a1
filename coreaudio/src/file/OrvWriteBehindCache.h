#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/ConditionLock.h"

/// Two buffers through which a new file is written behind: the caller fills one while a worker saves the other.
///
///   caller ── takes buffer free (1), leaves it full (0) ──► worker ── takes it full (0), leaves it free (1) ──► caller
///
/// A buffer belongs to whoever took its lock. The run lock wakes the worker: 1 is idle, 0 a request to save what is
/// full. Buffers are filled and saved in turn, each knows its place in the file: nothing is reordered. A buffer that
/// could not be saved stays full and is tried again with the next request.
///
/// While no request comes, the worker saves what has been gathered so far twice a second, so that a process that is
/// killed loses no more than that.
///
/// All operations are the caller's, one thread at a time.
class OrvWriteBehindCache {
 public:
  /// Bytes of each buffer.
  static constexpr std::uint32_t rawByteBufferSizeInBytes = 0xC0000;

  /// `file` stays the owner's and must outlive the cache, as must the others. Platform calls on the file are made with
  /// `platformCalls` locked. `dataLength`: bytes of audio data that the file holds now.
  OrvWriteBehindCache(AudioFileID file, const std::atomic<bool>& useInternalCache, std::mutex& platformCalls,
                      std::int64_t dataLength);
  /// Drops what was not saved: `drain` first.
  ~OrvWriteBehindCache();

  /// Whether there was memory for the buffers; without it nothing else may be called.
  bool isUsable() const { return rawByteBuffer[0] && rawByteBuffer[1]; }

  /// Accepts `*length` bytes for `offset`. Offsets inside the range that is being buffered append to what came last;
  /// others begin a new range, at the end of the data at the latest. False when a buffer could not be saved; `*length`
  /// gets the bytes accepted in any case.
  bool insertBytesIntoBuffer(const void* buffer, std::uint32_t* length, std::int64_t offset);

  /// Has everything saved and waits for it `limit` at most.
  void flush(std::chrono::nanoseconds limit);
  /// Has everything saved, however long it takes. False when something could not be.
  bool drain();

  /// Status of the save that failed last, 0 if none did since this was asked last.
  OSStatus takeFailure() { return reportedFailure.exchange(noErr); }

 private:
  struct Content {
    std::int64_t fileOffset = 0;  // where the buffer's first byte belongs
    std::uint32_t count = 0;      // bytes gathered
    std::uint32_t saved = 0;      // of them in the file already
  };

  void saveBufferRunLoop();
  void saveFullBuffers();
  OSStatus saveRawByteBuffer(unsigned index);
  void saveWhatIsGathered();
  void requestSaving();

  bool takeCurrentBuffer();
  void leaveCurrentBufferFull();
  void handOverWhatIsGathered();

  // Constant after construction.
  const AudioFileID audioFile;
  const std::atomic<bool>& useInternalCache;
  std::mutex& platformCallMutex;
  std::unique_ptr<char[]> rawByteBuffer[2];

  orv::ConditionLock rawByteBufferLock[2] = {orv::ConditionLock(1), orv::ConditionLock(1)};
  orv::ConditionLock writeThreadRunLock{1};
  Content content[2];  // each guarded by its lock

  unsigned nextToSave = 1;  // guarded by writeThreadRunLock; in between the worker's

  // Caller only.
  unsigned currentBuffer = 1;
  std::int64_t rawByteBufferStartingOffset = 0;
  std::int64_t rawByteBufferEndingOffset = 0;
  std::int64_t endOfData;  // behind the last byte in the file or accepted for it

  std::atomic<bool> threadShouldExit{false};
  std::atomic<bool> sizesAreWanted{false};  // a flush asks for the header to follow
  std::atomic<bool> savingFails{false};
  std::atomic<OSStatus> reportedFailure{noErr};
  std::thread worker;
};
