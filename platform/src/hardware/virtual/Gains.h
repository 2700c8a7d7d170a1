#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "hardware/virtual/Model.h"
#include "hardware/virtual/StreamBuffers.h"

namespace orv::virtualhardware {

/// What the controls of a section make of its samples. Set by any thread, used by the I/O thread.
class Gains {
 public:
  explicit Gains(const SectionState& section) : factors_(section.channels) { set(section); }

  void set(const SectionState& section);
  /// Channels at full volume keep their samples to the bit. Real-time safe.
  void apply(StreamBuffers& buffers) const noexcept;

 private:
  std::vector<std::atomic<float>> factors_;  // of each channel
};

}  // namespace orv::virtualhardware
