#include "hardware/pipewire/PortObject.h"

#include <pipewire/pipewire.h>
#include <spa/param/param.h>

#include <array>

#include "hardware/pipewire/Pods.h"

namespace orv::pipewire {

PortObject::PortObject(pw_proxy* proxy, PortFacts& facts, ServerObjectEvents& events)
    : ServerObject(proxy, events), facts_(facts) {
  static constexpr pw_port_events kEvents = [] {
    pw_port_events table{};
    table.version = PW_VERSION_PORT_EVENTS;
    table.param = &PortObject::onParam;
    return table;
  }();
  auto* const port = reinterpret_cast<pw_port*>(proxy);
  pw_port_add_listener(port, hook(), &kEvents, this);
  std::array<std::uint32_t, 1> watched = {SPA_PARAM_Latency};
  pw_port_subscribe_params(port, watched.data(), watched.size());
}

void PortObject::onParam(void* self, int /*sequence*/, std::uint32_t id, std::uint32_t /*index*/,
                         std::uint32_t /*next*/, const spa_pod* param) {
  auto& port = *static_cast<PortObject*>(self);
  const LatencyFacts before = port.facts_.latency;
  if (id == SPA_PARAM_Latency) {
    readLatency(param, port.facts_.isOutput, &port.facts_.latency);
  }
  if (port.facts_.latency != before) {
    port.changed();
  }
}

}  // namespace orv::pipewire
