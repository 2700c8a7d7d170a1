#pragma once

#include <cstdint>
#include <vector>

namespace orv::pipewire {

/// What a port offers for one quantum.
template <typename Sample>
struct PortSamples {
  Sample* samples = nullptr;  ///< null: nothing is linked there
  std::uint32_t frames = 0;   ///< there are so many
};
using HeardPorts = std::vector<PortSamples<const float>>;
using PlayedPorts = std::vector<PortSamples<float>>;

/// Makes `frames` interleaved frames of one channel for each port, from frame `first` of the ports on. What a port does
/// not have is silence. Real-time safe.
void interleave(const HeardPorts& ports, std::uint32_t first, std::uint32_t frames, float* interleaved) noexcept;

/// The other way round. Without `interleaved` the ports become silent. Real-time safe.
void deinterleave(const float* interleaved, std::uint32_t first, std::uint32_t frames,
                  const PlayedPorts& ports) noexcept;

}  // namespace orv::pipewire
