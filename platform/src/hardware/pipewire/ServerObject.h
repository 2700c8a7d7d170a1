#pragma once

#include <spa/utils/hook.h>

#include <cstdint>

#include "hardware/pipewire/Facts.h"

struct pw_proxy;
struct spa_pod;

namespace orv::pipewire {

/// Takes what objects of the server tell.
class ServerObjectEvents {
 public:
  virtual ~ServerObjectEvents() = default;
  /// Something of what is known of the server has changed.
  virtual void factsChanged() = 0;
};

/// An object of the server that is listened to. Keeps its part of the facts up to date. With the loop's lock held.
class ServerObject {
 public:
  ServerObject(pw_proxy* proxy, ServerObjectEvents& events) : proxy_(proxy), events_(events) {}
  ServerObject(const ServerObject&) = delete;
  ServerObject& operator=(const ServerObject&) = delete;
  virtual ~ServerObject();

  /// Sets a parameter, for objects that have some.
  virtual void setParameter(std::uint32_t id, const spa_pod* value);
  /// Sets a value for objects that hold some by name; null takes it away.
  virtual void setValue(const char* key, const char* type, const char* value);

 protected:
  pw_proxy* proxy() const { return proxy_; }
  spa_hook* hook() { return &hook_; }
  void changed() { events_.factsChanged(); }

 private:
  pw_proxy* const proxy_;
  ServerObjectEvents& events_;
  spa_hook hook_{};
};

}  // namespace orv::pipewire
