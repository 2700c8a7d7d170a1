#pragma once

#include <spa/utils/hook.h>

#include <map>
#include <memory>

#include "hardware/pipewire/ServerObject.h"

struct pw_core;
struct pw_registry;
struct spa_dict;

namespace orv::pipewire {

/// What the server has, as far as it concerns devices: listens to each object, and keeps the facts. Everything with the
/// loop's lock held.
class Registry {
 public:
  Registry(pw_core* core, ServerObjectEvents& events);
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;
  ~Registry();

  const ServerFacts& facts() const { return facts_; }
  /// Null when it is gone.
  const NodeFacts* node(std::uint32_t id) const;

  /// These do nothing for an object that is gone.
  void setParameter(std::uint32_t object, std::uint32_t id, const spa_pod* value);
  /// `value` may be null: takes it away.
  void setSetting(const char* key, const char* value);
  void setDefault(const char* key, const char* value);

 private:
  static void onGlobal(void* self, std::uint32_t id, std::uint32_t permissions, const char* type, std::uint32_t version,
                       const spa_dict* properties);
  static void onRemoved(void* self, std::uint32_t id);

  void add(std::uint32_t id, const char* type, const spa_dict* properties);
  void addPort(std::uint32_t id, const spa_dict* properties);
  void remove(std::uint32_t id);
  template <typename Object, typename Facts>
  void listenTo(std::uint32_t id, const char* type, std::uint32_t version, Facts& facts);
  void setValue(std::uint32_t object, const char* key, const char* type, const char* value);

  pw_registry* const registry_;
  ServerObjectEvents& events_;
  spa_hook listener_{};
  ServerFacts facts_;
  std::uint32_t settings_ = 0;                                      // ID of the metadata; 0: none
  std::uint32_t defaults_ = 0;                                      // likewise
  std::map<std::uint32_t, std::unique_ptr<ServerObject>> objects_;  // last: they write to the facts
};

}  // namespace orv::pipewire
