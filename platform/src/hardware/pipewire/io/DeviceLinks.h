#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hardware/pipewire/io/DeviceIO.h"

namespace orv::pipewire {

/// The links between a filter's ports and a device's. Everything with the loop's lock held.
class DeviceLinks {
 public:
  class Listener {
   public:
    virtual ~Listener() = default;
    /// A link has come to work, or will not.
    virtual void linksChanged() = 0;
    /// The server has taken the last link of a side away: the device is gone.
    virtual void sideGone() = 0;
  };

  explicit DeviceLinks(Listener& listener);
  DeviceLinks(const DeviceLinks&) = delete;
  DeviceLinks& operator=(const DeviceLinks&) = delete;
  /// Removes the links.
  ~DeviceLinks();

  /// Asks for all of them, once.
  void make(pw_core* core, std::uint32_t filterNode, const DeviceIOSetup& setup);
  /// Whether none is still under way.
  bool areSettled() const;
  bool isAnyUp() const;

 private:
  struct Link;
  void add(pw_core* core, bool isInput, const std::string (&ends)[4]);
  void remove(Link& link);

  Listener& listener_;
  std::vector<std::unique_ptr<Link>> links_;
};

}  // namespace orv::pipewire
