#pragma once

#include <spa/utils/hook.h>

#include <functional>
#include <map>
#include <string>

#include "hardware/pipewire/Loop.h"

struct pw_context;
struct pw_core;

namespace orv::pipewire {

/// The connection to the server. With the loop's lock held.
class Connection {
 public:
  /// `lost` is called once for each connection whose server is gone. It must not close the connection itself.
  Connection(Loop& loop, std::function<void()> lost);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  bool open(std::string* problem);
  /// Everything that was made through the connection is gone already.
  void close();
  /// Null while there is none.
  pw_core* core() const { return core_; }

  /// `done` is called when the server has answered everything that it was asked until now, unless the connection goes
  /// before.
  void whenAnswered(std::function<void()> done);

 private:
  static void onDone(void* self, std::uint32_t id, int sequence);
  static void onError(void* self, std::uint32_t id, int sequence, int result, const char* message);

  Loop& loop_;
  const std::function<void()> lost_;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  bool isLost_ = false;
  spa_hook listener_{};
  std::map<int, std::function<void()>> waiting_;  // by the number of the question
};

}  // namespace orv::pipewire
