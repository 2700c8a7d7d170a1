#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "OrvPlatform/AudioTypes.h"

namespace orv::virtualhardware {

/// The buffers of one section for cycles of a fixed number of frames: one for each stream.
class StreamBuffers {
 public:
  StreamBuffers(std::vector<std::uint32_t> channelsOfStreams, std::uint32_t frames);

  /// The list as procs get it, made afresh: procs may have changed what it said. Real-time safe.
  AudioBufferList* list() noexcept;
  std::size_t streams() const noexcept { return channels_.size(); }
  std::uint32_t channels(std::size_t stream) const noexcept { return channels_[stream]; }
  std::uint32_t sectionChannels() const noexcept { return sectionChannels_; }
  std::uint32_t frames() const noexcept { return frames_; }
  float* samples(std::size_t stream) noexcept { return samples_[stream].data(); }

  /// All channels of the section, interleaved: to fill in, then `scatter`; or, after `gather`, to read. Without any
  /// copying where the section has one stream. Real-time safe.
  float* interleaved() noexcept { return streams() == 1 ? samples(0) : interleaved_.data(); }
  void scatter() noexcept;
  void gather() noexcept;
  void silence() noexcept;

 private:
  const std::vector<std::uint32_t> channels_;
  const std::uint32_t frames_;
  std::uint32_t sectionChannels_ = 0;
  std::vector<std::max_align_t> list_;
  std::vector<std::vector<float>> samples_;  // by stream
  std::vector<float> interleaved_;           // empty where there is one stream
};

}  // namespace orv::virtualhardware
