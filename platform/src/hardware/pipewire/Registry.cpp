#include "hardware/pipewire/Registry.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/dict.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "hardware/pipewire/CardObject.h"
#include "hardware/pipewire/MetadataObject.h"
#include "hardware/pipewire/NodeObject.h"
#include "hardware/pipewire/PortObject.h"
#include "hardware/pipewire/Text.h"

namespace orv::pipewire {
namespace {

std::string_view valueOf(const spa_dict* properties, const char* key) {
  const char* const text = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
  return text == nullptr ? std::string_view() : text;
}

std::uint32_t numberOf(const spa_dict* properties, const char* key, std::uint32_t otherwise) {
  const long number = numberIn(properties == nullptr ? nullptr : spa_dict_lookup(properties, key), -1);
  return number >= 0 ? static_cast<std::uint32_t>(number) : otherwise;
}

/// Streams of programs, MIDI and video are none.
bool isDevice(std::string_view mediaClass) {
  constexpr std::string_view kKinds[] = {"Audio/Sink", "Audio/Source", "Audio/Duplex", "Audio/Sink/Virtual",
                                         "Audio/Source/Virtual"};
  return std::find(std::begin(kKinds), std::end(kKinds), mediaClass) != std::end(kKinds);
}

}  // namespace

Registry::Registry(pw_core* core, ServerObjectEvents& events)
    : registry_(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0)), events_(events) {
  static constexpr pw_registry_events kEvents = [] {
    pw_registry_events table{};
    table.version = PW_VERSION_REGISTRY_EVENTS;
    table.global = &Registry::onGlobal;
    table.global_remove = &Registry::onRemoved;
    return table;
  }();
  if (registry_ != nullptr) {
    pw_registry_add_listener(registry_, &listener_, &kEvents, this);
  }
}

Registry::~Registry() {
  objects_.clear();
  if (registry_ != nullptr) {
    spa_hook_remove(&listener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  }
}

void Registry::onGlobal(void* self, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                        std::uint32_t /*version*/, const spa_dict* properties) {
  static_cast<Registry*>(self)->add(id, type, properties);
}

void Registry::onRemoved(void* self, std::uint32_t id) {
  static_cast<Registry*>(self)->remove(id);
}

template <typename Object, typename Facts>
void Registry::listenTo(std::uint32_t id, const char* type, std::uint32_t version, Facts& facts) {
  auto* const proxy = static_cast<pw_proxy*>(pw_registry_bind(registry_, id, type, version, 0));
  if (proxy != nullptr) {
    objects_[id] = std::make_unique<Object>(proxy, facts, events_);
  }
}

void Registry::add(std::uint32_t id, const char* type, const spa_dict* properties) {
  const std::string_view kind = type;
  if (kind == PW_TYPE_INTERFACE_Node && isDevice(valueOf(properties, PW_KEY_MEDIA_CLASS))) {
    listenTo<NodeObject>(id, type, PW_VERSION_NODE, facts_.nodes[id]);
  } else if (kind == PW_TYPE_INTERFACE_Device && valueOf(properties, PW_KEY_MEDIA_CLASS) == "Audio/Device") {
    listenTo<CardObject>(id, type, PW_VERSION_DEVICE, facts_.cards[id]);
  } else if (kind == PW_TYPE_INTERFACE_Port) {
    addPort(id, properties);
  } else if (kind == PW_TYPE_INTERFACE_Metadata) {
    const std::string_view name = valueOf(properties, PW_KEY_METADATA_NAME);
    if (name == "settings" || name == "default") {
      (name == "settings" ? settings_ : defaults_) = id;
      listenTo<MetadataObject>(id, type, PW_VERSION_METADATA, facts_);
    }
  }
}

void Registry::addPort(std::uint32_t id, const spa_dict* properties) {
  PortFacts port;
  port.node = numberOf(properties, PW_KEY_NODE_ID, 0);
  if (!facts_.nodes.contains(port.node)) {
    return;
  }
  port.index = numberOf(properties, PW_KEY_PORT_ID, 0);
  port.isOutput = valueOf(properties, PW_KEY_PORT_DIRECTION) == "out";
  const std::string_view format = valueOf(properties, PW_KEY_FORMAT_DSP);
  port.isAudio = format.empty() || format.find("audio") != std::string_view::npos;
  port.channel = valueOf(properties, PW_KEY_AUDIO_CHANNEL);
  PortFacts& kept = facts_.ports[id] = port;
  if (port.index == 0) {
    listenTo<PortObject>(id, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT, kept);
  }
  events_.factsChanged();
}

void Registry::remove(std::uint32_t id) {
  objects_.erase(id);
  const bool isKnown = facts_.nodes.erase(id) + facts_.ports.erase(id) + facts_.cards.erase(id) > 0;
  if (id == settings_ || id == defaults_) {
    (id == settings_ ? settings_ : defaults_) = 0;
  }
  if (isKnown) {
    events_.factsChanged();
  }
}

const NodeFacts* Registry::node(std::uint32_t id) const {
  const auto found = facts_.nodes.find(id);
  return found == facts_.nodes.end() ? nullptr : &found->second;
}

void Registry::setParameter(std::uint32_t object, std::uint32_t id, const spa_pod* value) {
  if (const auto found = objects_.find(object); found != objects_.end()) {
    found->second->setParameter(id, value);
  }
}

void Registry::setValue(std::uint32_t object, const char* key, const char* type, const char* value) {
  if (const auto found = objects_.find(object); found != objects_.end()) {
    found->second->setValue(key, type, value);
  }
}

void Registry::setSetting(const char* key, const char* value) {
  setValue(settings_, key, nullptr, value);
}

void Registry::setDefault(const char* key, const char* value) {
  setValue(defaults_, key, "Spa:String:JSON", value);
}

}  // namespace orv::pipewire
