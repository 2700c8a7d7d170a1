#pragma once

#include "hardware/pipewire/ServerObject.h"

namespace orv::pipewire {

/// A port whose latency is of interest.
class PortObject final : public ServerObject {
 public:
  PortObject(pw_proxy* proxy, PortFacts& facts, ServerObjectEvents& events);

 private:
  static void onParam(void* self, int sequence, std::uint32_t id, std::uint32_t index, std::uint32_t next,
                      const spa_pod* param);

  PortFacts& facts_;
};

}  // namespace orv::pipewire
