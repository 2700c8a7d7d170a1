#pragma once

#include "hardware/pipewire/ServerObject.h"

struct pw_node_info;

namespace orv::pipewire {

/// A node that plays or hears.
class NodeObject final : public ServerObject {
 public:
  NodeObject(pw_proxy* proxy, NodeFacts& facts, ServerObjectEvents& events);

  void setParameter(std::uint32_t id, const spa_pod* value) override;

 private:
  static void onInfo(void* self, const pw_node_info* info);
  static void onParam(void* self, int sequence, std::uint32_t id, std::uint32_t index, std::uint32_t next,
                      const spa_pod* param);
  void readProperties(const pw_node_info& info);

  NodeFacts& facts_;
};

}  // namespace orv::pipewire
