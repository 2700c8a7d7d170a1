#pragma once

#include <map>

#include "hardware/pipewire/ServerObject.h"

struct pw_device_info;

namespace orv::pipewire {

/// A card, to which nodes belong: its names, and between which connectors it can switch.
class CardObject final : public ServerObject {
 public:
  CardObject(pw_proxy* proxy, CardFacts& facts, ServerObjectEvents& events);

  void setParameter(std::uint32_t id, const spa_pod* value) override;

 private:
  static void onInfo(void* self, const pw_device_info* info);
  static void onParam(void* self, int sequence, std::uint32_t id, std::uint32_t index, std::uint32_t next,
                      const spa_pod* param);
  void ask(std::uint32_t id);

  CardFacts& facts_;
  std::map<std::uint32_t, std::uint32_t> flags_;  // of each parameter, as last told
};

}  // namespace orv::pipewire
