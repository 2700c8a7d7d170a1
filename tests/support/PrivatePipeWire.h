#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

namespace orv::test {

/// A PipeWire server without a sound card, for this process and what it starts: `scripts/private-pipewire`, which says
/// what devices it has. Its address is in the environment while it lives.
class PrivatePipeWire {
 public:
  /// Null when there is none to be had; `reason` then says why.
  static std::unique_ptr<PrivatePipeWire> start(bool withSessionManager, std::string* reason);
  PrivatePipeWire(const PrivatePipeWire&) = delete;
  PrivatePipeWire& operator=(const PrivatePipeWire&) = delete;
  ~PrivatePipeWire();

  /// Without a warning, and waits until it is gone.
  void killServer();
  /// It hangs until it is resumed.
  void pauseServer() const;
  void resumeServer() const;
  /// Another server at the same address, with the same devices; without a session manager.
  void restartServer();

  /// Makes a null device that stays until it is removed. `properties` as in the server's configuration. Returns once
  /// the server has it.
  static void addNode(const std::string& name, const std::string& properties);
  static void removeNode(const std::string& name);

 private:
  PrivatePipeWire() = default;

  pid_t script_ = -1;
  int input_ = -1;  ///< of the script, which ends when it is closed
  pid_t server_ = -1;
  bool isOwnChild_ = false;
};

}  // namespace orv::test
