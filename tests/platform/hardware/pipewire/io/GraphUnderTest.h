#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "hardware/pipewire/io/DeviceIO.h"

namespace orv::test {

/// A connection to the server that the program runs under: what nodes and ports there are, and nodes of our own.
class GraphUnderTest {
 public:
  GraphUnderTest();
  GraphUnderTest(const GraphUnderTest&) = delete;
  GraphUnderTest& operator=(const GraphUnderTest&) = delete;
  ~GraphUnderTest();

  bool isConnected() const { return core_ != nullptr; }
  void disconnect();
  pw_thread_loop* loop() const { return loop_; }
  pw_core* core() const { return core_; }

  /// Holds the loop's lock.
  class Lock {
   public:
    explicit Lock(const GraphUnderTest& graph) : loop_(graph.loop_) { pw_thread_loop_lock(loop_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { pw_thread_loop_unlock(loop_); }

   private:
    pw_thread_loop* loop_;
  };

  /// What a node offers to hear and to play to, once it is there with that many ports; nothing after a few seconds.
  pipewire::DevicePorts heard(const std::string& node, std::size_t channels);
  pipewire::DevicePorts played(const std::string& node, std::size_t channels);

  /// Makes a null device, "Audio/Sink" or "Audio/Source/Virtual", that goes with the connection.
  void makeNode(const std::string& name, const std::string& mediaClass, std::size_t channels);
  void destroyNode(std::uint32_t id);
  std::uint32_t nodeNamed(const std::string& name) const;  ///< 0: none

  /// Sets what the server's settings say, such as "clock.force-quantum".
  static void setSetting(const std::string& key, const std::string& value);

 private:
  struct Port {
    std::uint32_t node = 0;
    std::uint32_t index = 0;
    bool isInput = false;
  };
  pipewire::DevicePorts side(const std::string& node, bool isInput, std::size_t channels);
  static void added(void* data, std::uint32_t id, std::uint32_t permissions, const char* type, std::uint32_t version,
                    const spa_dict* properties);
  static void removed(void* data, std::uint32_t id);

  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  pw_registry* registry_ = nullptr;
  spa_hook hook_{};
  std::map<std::uint32_t, std::string> nodes_;
  std::map<std::uint32_t, Port> ports_;
  std::vector<pw_proxy*> made_;
};

/// Looks again and again until it is so, ten seconds at most; whether it came to be so.
bool eventually(const std::function<bool()>& isSo);

}  // namespace orv::test
