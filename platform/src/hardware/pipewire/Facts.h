#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orv::pipewire {

// What the server says, as it says it. IDs are the server's own; names need not be UTF-8.

/// A delay: the sum of the three.
struct LatencyFacts {
  float cycles = 0.0F;       ///< of the server
  std::uint32_t frames = 0;  ///< at the server's rate
  std::uint64_t nanoseconds = 0;

  bool operator==(const LatencyFacts&) const = default;
};

struct PortFacts {
  std::uint32_t node = 0;
  std::uint32_t index = 0;  ///< of the node's ports of this direction
  bool isOutput = false;
  bool isAudio = true;
  std::string channel;
  LatencyFacts latency;  ///< of the first port of a direction
};

/// How samples look on the wire to the device.
struct SampleFacts {
  std::uint32_t bits = 32;
  bool isFloat = true;

  bool operator==(const SampleFacts&) const = default;
};

struct NodeFacts {
  std::uint64_t serial = 0;  ///< in the order of appearance
  std::string name;
  std::string description;
  std::string mediaClass;
  std::string vendor;
  std::string bus;
  std::string formFactor;
  std::optional<std::uint32_t> card;
  std::optional<std::uint32_t> cardDevice;  ///< which device of the card
  long priority = 0;
  bool isKnown = false;  ///< the server has told all of this
  bool isRunning = false;
  std::uint32_t inputPorts = 0;
  std::uint32_t outputPorts = 0;
  std::vector<float> volumes;  ///< amplitudes, one for each channel; empty: not to be set
  std::optional<bool> isMuted;
  std::optional<SampleFacts> samples;
};

struct RouteFacts {
  std::uint32_t index = 0;
  bool isInput = false;
  std::string name;
  std::optional<bool> isAvailable;
  std::vector<std::uint32_t> cardDevices;
};

struct CardFacts {
  std::string name;
  std::string description;
  std::string vendor;
  std::string bus;
  std::string formFactor;
  std::map<std::uint32_t, RouteFacts> routes;         ///< by index
  std::map<std::uint32_t, std::uint32_t> routeInUse;  ///< index by device of the card
};

struct SettingsFacts {
  std::uint32_t rate = 48000;
  std::uint32_t forcedRate = 0;  ///< 0: none
  std::vector<std::uint32_t> allowedRates;
  std::uint32_t leastFrames = 32;
  std::uint32_t mostFrames = 8192;
};

struct ServerFacts {
  std::map<std::uint32_t, NodeFacts> nodes;
  std::map<std::uint32_t, PortFacts> ports;
  std::map<std::uint32_t, CardFacts> cards;
  SettingsFacts settings;
  std::string defaultSink;    ///< node names
  std::string defaultSource;  ///< may be a sink: its monitor
};

}  // namespace orv::pipewire
