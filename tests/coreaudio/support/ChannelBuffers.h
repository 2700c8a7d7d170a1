#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "OrvPlatform/AudioTypes.h"

namespace orv::test {

/// An `AudioBufferList` with a buffer for each channel, and the memory behind it.
template <class Frame>
class ChannelBuffers {
 public:
  ChannelBuffers(std::uint32_t channels, std::size_t frames) : channels_(channels, std::vector<Frame>(frames)) {
    record_.resize(sizeof(AudioBufferList) + channels * sizeof(AudioBuffer));
    list()->mNumberBuffers = channels;
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
      buffer(channel) = {1, static_cast<std::uint32_t>(frames * sizeof(Frame)), channels_[channel].data()};
    }
  }
  ChannelBuffers(const ChannelBuffers&) = delete;
  ChannelBuffers& operator=(const ChannelBuffers&) = delete;

  AudioBufferList* list() { return reinterpret_cast<AudioBufferList*>(record_.data()); }
  AudioBuffer& buffer(std::uint32_t channel) { return *(list()->mBuffers + channel); }
  std::vector<Frame>& operator[](std::size_t channel) { return channels_[channel]; }

 private:
  std::vector<std::vector<Frame>> channels_;
  std::vector<std::byte> record_;
};

}  // namespace orv::test
