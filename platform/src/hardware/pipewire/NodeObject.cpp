#include "hardware/pipewire/NodeObject.h"

#include <pipewire/pipewire.h>
#include <spa/param/param.h>
#include <spa/utils/dict.h>

#include <array>

#include "hardware/pipewire/Pods.h"
#include "hardware/pipewire/Text.h"

namespace orv::pipewire {
namespace {

constexpr const char* kCardDevice = "card.profile.device";

std::string textOf(const spa_dict* properties, const char* key) {
  const char* const text = spa_dict_lookup(properties, key);
  return text == nullptr ? "" : text;
}

std::optional<std::uint32_t> idOf(const spa_dict* properties, const char* key) {
  const long id = numberIn(spa_dict_lookup(properties, key), -1);
  return id >= 0 ? std::optional(static_cast<std::uint32_t>(id)) : std::nullopt;
}

}  // namespace

NodeObject::NodeObject(pw_proxy* proxy, NodeFacts& facts, ServerObjectEvents& events)
    : ServerObject(proxy, events), facts_(facts) {
  static constexpr pw_node_events kEvents = [] {
    pw_node_events table{};
    table.version = PW_VERSION_NODE_EVENTS;
    table.info = &NodeObject::onInfo;
    table.param = &NodeObject::onParam;
    return table;
  }();
  auto* const node = reinterpret_cast<pw_node*>(proxy);
  pw_node_add_listener(node, hook(), &kEvents, this);
  std::array<std::uint32_t, 3> watched = {SPA_PARAM_Props, SPA_PARAM_Format, SPA_PARAM_EnumFormat};
  pw_node_subscribe_params(node, watched.data(), watched.size());
}

void NodeObject::setParameter(std::uint32_t id, const spa_pod* value) {
  pw_node_set_param(reinterpret_cast<pw_node*>(proxy()), id, 0, value);
}

void NodeObject::onInfo(void* self, const pw_node_info* info) {
  auto& node = *static_cast<NodeObject*>(self);
  node.facts_.isKnown = true;
  node.facts_.isRunning = info->state == PW_NODE_STATE_RUNNING;
  node.facts_.inputPorts = info->n_input_ports;
  node.facts_.outputPorts = info->n_output_ports;
  if (info->props != nullptr && (info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) {
    node.readProperties(*info);
  }
  node.changed();
}

void NodeObject::readProperties(const pw_node_info& info) {
  const spa_dict* const properties = info.props;
  facts_.serial = static_cast<std::uint64_t>(numberIn(spa_dict_lookup(properties, PW_KEY_OBJECT_SERIAL), info.id));
  facts_.name = textOf(properties, PW_KEY_NODE_NAME);
  facts_.description = textOf(properties, PW_KEY_NODE_DESCRIPTION);
  facts_.mediaClass = textOf(properties, PW_KEY_MEDIA_CLASS);
  facts_.vendor = textOf(properties, PW_KEY_DEVICE_VENDOR_NAME);
  facts_.bus = textOf(properties, PW_KEY_DEVICE_BUS);
  facts_.formFactor = textOf(properties, PW_KEY_DEVICE_FORM_FACTOR);
  facts_.card = idOf(properties, PW_KEY_DEVICE_ID);
  facts_.cardDevice = idOf(properties, kCardDevice);
  facts_.priority = numberIn(spa_dict_lookup(properties, PW_KEY_PRIORITY_SESSION), 0);
}

void NodeObject::onParam(void* self, int /*sequence*/, std::uint32_t id, std::uint32_t index, std::uint32_t /*next*/,
                         const spa_pod* param) {
  auto& node = *static_cast<NodeObject*>(self);
  if (id == SPA_PARAM_Props) {
    readVolumes(param, &node.facts_);
  } else if (id == SPA_PARAM_Format || (id == SPA_PARAM_EnumFormat && index == 0 && !node.facts_.samples)) {
    if (const auto samples = readSamples(param)) {
      node.facts_.samples = samples;
    }
  } else {
    return;
  }
  node.changed();
}

}  // namespace orv::pipewire
