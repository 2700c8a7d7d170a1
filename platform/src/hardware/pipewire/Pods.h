#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "hardware/pipewire/Facts.h"

struct spa_pod;

/// The server's parameters, to and from what they mean. A parameter that is not what it should be changes nothing.
namespace orv::pipewire {

void readVolumes(const spa_pod* props, NodeFacts* node);
std::optional<SampleFacts> readSamples(const spa_pod* format);
/// `isOutput`: of what leaves the port; otherwise of what comes in.
void readLatency(const spa_pod* latency, bool isOutput, LatencyFacts* facts);

struct RouteParam {
  RouteFacts route;
  std::optional<std::uint32_t> cardDevice;  ///< of a route in use
};
std::optional<RouteParam> readRoute(const spa_pod* route);

/// What to write; what is nothing, or empty, stays as it is.
struct VolumeChange {
  std::vector<float> volumes;
  std::optional<bool> isMuted;
};

/// A parameter with room for all channels that there can be.
class Pod {
 public:
  static Pod volumes(const VolumeChange& change);
  static Pod route(std::uint32_t index, std::uint32_t cardDevice, const VolumeChange* change);

  const spa_pod* get() const { return reinterpret_cast<const spa_pod*>(bytes_.data()); }

 private:
  alignas(8) std::array<std::uint8_t, 1024> bytes_{};
};

/// More channels than any node has (the server's own limit).
inline constexpr std::size_t kMostChannels = 64;

}  // namespace orv::pipewire
