#include "OrvCoreAudio/OrvAudioRingBuffer.h"

#include <algorithm>
#include <limits>

#include "WithoutThrowing.h"

std::shared_ptr<OrvAudioRingBuffer> OrvAudioRingBuffer::initWithChannels_bytesPerFrame_capacityInFrames(
    std::uint32_t channels, std::uint32_t bytesPerFrame, std::uint32_t capacityInFrames) {
  return withoutThrowing("OrvAudioRingBuffer", std::shared_ptr<OrvAudioRingBuffer>(), [&] {
    std::shared_ptr<OrvAudioRingBuffer> ring(new OrvAudioRingBuffer);
    constexpr std::uint32_t kMostChannels = std::numeric_limits<std::int32_t>::max();
    ring->mAudioRingBufferDelegate.Allocate(static_cast<std::int32_t>(std::min(channels, kMostChannels)), bytesPerFrame,
                                            capacityInFrames);
    return ring;
  });
}
