#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hardware/pipewire/Facts.h"

namespace orv::pipewire {

/// One side of a device.
struct SidePlan {
  std::uint32_t node = 0;            ///< 0: the device does not have this side
  std::vector<std::uint32_t> ports;  ///< in the order of channels
  bool isMonitor = false;            ///< hears what the node was given to play

  bool operator==(const SidePlan&) const = default;
};

/// A device as it is offered, put together from what the server has.
struct DevicePlan {
  std::string uid;    ///< UTF-8
  std::string alias;  ///< another UID by which it is found: of the input of a pair; empty: none
  std::string name;   ///< UTF-8
  SidePlan input;
  SidePlan output;

  /// Whether nothing has changed that a running device depends on.
  bool isSameDevice(const DevicePlan& other) const {
    return uid == other.uid && input == other.input && output == other.output;
  }
};

/// Which devices there are: first those that play or hear, in the order in which they appeared, then the monitors.
///
/// - A card's sinks and sources make devices with two sides, the most important ones with each other; so does a node
///   that has both. Such a device has the UID of its sink.
/// - Each sink has a monitor, a device of its own whose UID is the sink's with `.monitor` behind it.
/// - A node whose ports have not all come yet is left out.
std::vector<DevicePlan> planDevices(const ServerFacts& facts);

}  // namespace orv::pipewire
