#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"

/// The last frames of a stream, addressed by their absolute frame number: one thread stores frames as they arrive,
/// others fetch any range that is still held.
///
///   one storing thread ──► ring, a power of two of frames ──► any number of fetching threads
///                              held range [start, end)
///
/// Channels are not interleaved: one buffer each. No side ever waits. `Store` takes back what it is about to overwrite
/// from the held range first; `Fetch` looks at the held range before and after it copies. A fetch that answers 0 has
/// delivered frames of one piece, even when the storing thread went back in time meanwhile.
///
/// `Store` and `SetTimeBounds`: one thread. `Fetch`, `GetTimeBounds`, `CheckTimeBounds`: any threads, at any time. All
/// of these are real-time safe. `Allocate` and `Deallocate`: while no other thread uses the object.
class ORV_API AudioRingBuffer {
 public:
  /// What became of a request [start, end) where [held start, held end) is held.
  enum Result : std::int32_t {
    kSuccess = 0,
    kEndsAfterHeld = 1,  ///< begins inside of the held range and ends after it
    kAfterHeld = 2,      ///< begins after the held range
    kTooMuch = 3,        ///< store: more frames than the ring holds; fetch: begins before the held range, ends after it
    kBoundsUnreadable = 4,   ///< the storing thread was in the way in each of 8 attempts
    kBeginsBeforeHeld = -1,  ///< begins before the held range and ends inside of it
    kBeforeHeld = -2,        ///< ends before the held range
  };

  /// Holds nothing and has room for nothing.
  AudioRingBuffer() = default;
  AudioRingBuffer(const AudioRingBuffer&) = delete;
  AudioRingBuffer& operator=(const AudioRingBuffer&) = delete;
  ~AudioRingBuffer();

  /// Makes room for `capacityFrames` frames, raised to a power of two, and forgets what was held. The room is 0, as
  /// after `Deallocate`, when there is no memory, or when the bytes of a channel don't fit 32 bits. Not real-time safe.
  void Allocate(std::int32_t channels, std::uint32_t bytesPerFrame, std::uint32_t capacityFrames);
  void Deallocate();

  /// Stores `frames` frames, the first of which is `frameNumber`. Frames between the held end and `frameNumber` become
  /// zero bytes. Where `frameNumber` lies before the held end, all that was held is forgotten.
  /// `data`: one buffer a channel; a buffer that is missing or too short is made up with zero bytes.
  std::int32_t Store(const AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber);

  /// Copies `frames` frames from `frameNumber` on, when all of them are held; otherwise copies nothing and says why.
  /// `data`: one buffer a channel, filled as far as its byte size goes. The byte sizes stay as they are.
  /// A fetch of no frames at a held frame number copies the whole ring, beginning there.
  std::int32_t Fetch(AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) const;

  /// The held range, `end` exclusive: 0, or `kBoundsUnreadable`.
  std::int32_t GetTimeBounds(std::int64_t& start, std::int64_t& end) const;
  /// Publishes another held range. For hosts that fill the ring in a way of their own.
  void SetTimeBounds(std::int64_t start, std::int64_t end);
  /// What `Fetch` would answer for [start, end), without copying.
  std::int32_t CheckTimeBounds(std::int64_t start, std::int64_t end) const;

  std::uint32_t capacityFrames() const { return mRingFrames; }
  std::uint32_t frameMask() const { return mRingFrameMask; }

 private:
  static constexpr std::uint32_t kRecords = 32;

  /// Held bounds as they once were. The counter is that of the publication; another value while it is written.
  struct alignas(32) BoundsRecord {
    std::atomic<std::int64_t> mStartTime{0};
    std::atomic<std::int64_t> mEndTime{0};
    std::atomic<std::uint32_t> mUpdateCounter{0};
  };

  ORV_LOCAL const BoundsRecord& current() const;
  ORV_LOCAL void publish(std::int64_t start, std::int64_t end);
  ORV_LOCAL std::int32_t readBounds(std::int64_t& start, std::int64_t& end) const;
  ORV_LOCAL std::int32_t check(std::int64_t start, std::int64_t end) const;
  ORV_LOCAL void makeRoom(std::int64_t frameNumber, std::int64_t end, std::int64_t* heldEnd);
  ORV_LOCAL void zeroGap(std::int64_t from, std::int64_t to);
  ORV_LOCAL void copyIn(const AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber);
  ORV_LOCAL void copyOut(AudioBufferList* data, std::uint32_t frames, std::int64_t frameNumber) const;
  ORV_LOCAL std::uint32_t byteOffset(std::int64_t frameNumber) const;

  // Constant between Allocate and Deallocate.
  std::byte** mChannelData = nullptr;  ///< one allocation: a pointer a channel, then the channels
  std::int32_t mChannelCount = 0;
  std::uint32_t mFrameBytes = 0;
  std::uint32_t mRingFrames = 0;
  std::uint32_t mRingFrameMask = 0;
  std::uint32_t mRingBytes = 0;

  // Written by the storing thread, read by all.
  std::array<BoundsRecord, kRecords> mBoundsRecords{};
  std::atomic<std::uint32_t> mBoundsCounter{0};
  std::atomic<std::uint32_t> mRewindCounter{0};  ///< how often the bounds went back in time
};
