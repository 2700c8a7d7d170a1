#pragma once

#include <cstdint>
#include <memory>

#include "OrvCoreAudio/AudioRingBuffer.h"
#include "OrvCoreAudio/OrvObject.h"

/// An `AudioRingBuffer` as an object. Threads, results and real-time safety are the ring buffer's.
class ORV_API OrvAudioRingBuffer : public OrvObject {
 public:
  /// A ring with room for `capacityInFrames` frames, raised to a power of two. Null when there is no memory for the
  /// object; a ring that could not be made stores nothing.
  static std::shared_ptr<OrvAudioRingBuffer> initWithChannels_bytesPerFrame_capacityInFrames(
      std::uint32_t channels, std::uint32_t bytesPerFrame, std::uint32_t capacityInFrames);

  std::int32_t store_numberOfFrames_frameNumber(const AudioBufferList* data, std::uint32_t frames,
                                                std::int64_t frameNumber) {
    return mAudioRingBufferDelegate.Store(data, frames, frameNumber);
  }
  std::int32_t fetch_numberOfFrames_frameNumber(AudioBufferList* data, std::uint32_t frames,
                                                std::int64_t frameNumber) const {
    return mAudioRingBufferDelegate.Fetch(data, frames, frameNumber);
  }
  std::int32_t timeBounds_endTime(std::int64_t* startTime, std::int64_t* endTime) const {
    return mAudioRingBufferDelegate.GetTimeBounds(*startTime, *endTime);
  }

 protected:
  OrvAudioRingBuffer() = default;

 private:
  AudioRingBuffer mAudioRingBufferDelegate;
};
