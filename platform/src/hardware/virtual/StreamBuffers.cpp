#include "hardware/virtual/StreamBuffers.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace orv::virtualhardware {

StreamBuffers::StreamBuffers(std::vector<std::uint32_t> channelsOfStreams, std::uint32_t frames)
    : channels_(std::move(channelsOfStreams)),
      frames_(frames),
      sectionChannels_(std::accumulate(channels_.begin(), channels_.end(), 0U)) {
  const std::size_t bytes = offsetof(AudioBufferList, mBuffers) + streams() * sizeof(AudioBuffer);
  list_.resize(std::max(bytes, sizeof(AudioBufferList)) / sizeof(std::max_align_t) + 1);
  for (const std::uint32_t channels : channels_) {
    samples_.emplace_back(std::size_t{channels} * frames);
  }
  if (streams() > 1) {
    interleaved_.resize(std::size_t{sectionChannels_} * frames);
  }
}

AudioBufferList* StreamBuffers::list() noexcept {
  auto* const list = reinterpret_cast<AudioBufferList*>(list_.data());
  AudioBuffer* const buffers = list->mBuffers;
  list->mNumberBuffers = static_cast<std::uint32_t>(streams());
  for (std::size_t i = 0; i < streams(); ++i) {
    buffers[i] = {channels_[i], static_cast<std::uint32_t>(samples_[i].size() * sizeof(float)), samples_[i].data()};
  }
  return list;
}

void StreamBuffers::scatter() noexcept {
  std::size_t first = 0;
  for (std::size_t i = 0; streams() > 1 && i < streams(); first += channels_[i], ++i) {
    float* target = samples(i);
    for (std::size_t frame = 0; frame < frames_; ++frame) {
      target = std::copy_n(interleaved_.data() + frame * sectionChannels_ + first, channels_[i], target);
    }
  }
}

void StreamBuffers::gather() noexcept {
  std::size_t first = 0;
  for (std::size_t i = 0; streams() > 1 && i < streams(); first += channels_[i], ++i) {
    const float* source = samples(i);
    for (std::size_t frame = 0; frame < frames_; ++frame, source += channels_[i]) {
      std::copy_n(source, channels_[i], interleaved_.data() + frame * sectionChannels_ + first);
    }
  }
}

void StreamBuffers::silence() noexcept {
  for (std::vector<float>& samples : samples_) {
    std::fill(samples.begin(), samples.end(), 0.0F);
  }
}

}  // namespace orv::virtualhardware
