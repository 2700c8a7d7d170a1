#pragma once

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <cstdint>
#include <string>
#include <vector>

#include "hardware/pipewire/io/DeviceIO.h"
#include "hardware/pipewire/io/Interleaving.h"

namespace orv::pipewire {

/// The node that stands for a device's I/O in the server's graph: a filter with a mono port for each channel.
class FilterNode {
 public:
  /// What a filter tells. `quantum` on the I/O thread, the others with the loop's lock held.
  class Listener {
   public:
    virtual ~Listener() = default;
    /// The node is known to the server, with all of its ports.
    virtual void nodeReady() = 0;
    /// The server has taken the node away, or refused it.
    virtual void nodeGone(const char* why) = 0;
    /// Real-time safe. `position` may be null.
    virtual void quantum(const spa_io_position* position) noexcept = 0;
  };

  FilterNode() = default;
  FilterNode(const FilterNode&) = delete;
  FilterNode& operator=(const FilterNode&) = delete;
  /// The loop's lock is held. No quantum afterwards.
  ~FilterNode();

  /// With the loop's lock held, once: with a port for each of the set-up's. False when the server refuses.
  bool connect(const DeviceIOSetup& setup, std::uint32_t quantum, Listener& listener);
  std::uint32_t id() const { return pw_filter_get_node_id(filter_); }
  static std::string portName(bool isInput, std::size_t channel);

  /// With the loop's lock held: makes the server run at this quantum, as far as it can.
  void askFor(std::uint32_t quantum, double rate);

  // In a quantum, on the I/O thread; real-time safe.

  struct Taken {
    /// Something comes from where we hear; where there is nothing to hear, something goes to where we play. Other
    /// buffers to play into may be there with nothing linked.
    bool isAnything = false;
    /// The quantum is shorter than the one before, and a port has more than fits: a driver's monitor, say, which is a
    /// quantum late. The server has no other time for these frames, so they are lost.
    bool isCut = false;
  };
  /// Takes what the ports have.
  Taken takeBuffers(std::uint32_t frames) noexcept;
  const HeardPorts& heard() const noexcept { return heard_; }
  const PlayedPorts& played() const noexcept { return played_; }
  void giveBuffersBack() noexcept;

 private:
  struct Port {
    void* port = nullptr;  // what the filter knows it by
    pw_buffer* buffer = nullptr;
  };
  bool addPorts(bool isInput, std::size_t count);
  static const pw_filter_events& events();

  pw_filter* filter_ = nullptr;
  spa_hook hook_{};
  Listener* listener_ = nullptr;
  bool isReady_ = false;
  std::uint32_t lastFrames_ = 0;  // of the quantum before; I/O thread
  std::vector<Port> inputs_;
  std::vector<Port> outputs_;
  HeardPorts heard_;
  PlayedPorts played_;
};

}  // namespace orv::pipewire
