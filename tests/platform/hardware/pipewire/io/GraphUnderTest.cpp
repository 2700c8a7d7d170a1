#include "GraphUnderTest.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "support/Process.h"

namespace orv::test {
namespace {

std::uint32_t number(const spa_dict* properties, const char* key) {
  const char* const text = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
  return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

std::string text(const spa_dict* properties, const char* key) {
  const char* const found = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
  return found == nullptr ? "" : found;
}

}  // namespace

bool eventually(const std::function<bool()>& isSo) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

GraphUnderTest::GraphUnderTest() {
  pw_init(nullptr, nullptr);
  loop_ = pw_thread_loop_new("graph under test", nullptr);
  pw_properties* const properties = pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr);
  context_ = pw_context_new(pw_thread_loop_get_loop(loop_), properties, 0);
  pw_thread_loop_start(loop_);
  const Lock lock(*this);
  core_ = context_ == nullptr ? nullptr : pw_context_connect(context_, nullptr, 0);
  if (core_ == nullptr) {
    return;
  }
  registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
  static const pw_registry_events kEvents = [] {
    pw_registry_events events = {};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = &added;
    events.global_remove = &removed;
    return events;
  }();
  pw_registry_add_listener(registry_, &hook_, &kEvents, this);
}

void GraphUnderTest::disconnect() {
  const Lock lock(*this);
  for (pw_proxy* const proxy : made_) {
    pw_proxy_destroy(proxy);
  }
  made_.clear();
  if (core_ != nullptr) {
    spa_hook_remove(&hook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    pw_core_disconnect(core_);
    core_ = nullptr;
  }
}

GraphUnderTest::~GraphUnderTest() {
  disconnect();
  pw_thread_loop_stop(loop_);
  if (context_ != nullptr) {
    pw_context_destroy(context_);
  }
  pw_thread_loop_destroy(loop_);
}

void GraphUnderTest::added(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                           std::uint32_t /*version*/, const spa_dict* properties) {
  auto& graph = *static_cast<GraphUnderTest*>(data);
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
    graph.nodes_[id] = text(properties, PW_KEY_NODE_NAME);
  } else if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
    graph.ports_[id] = {number(properties, PW_KEY_NODE_ID), number(properties, PW_KEY_PORT_ID),
                        text(properties, PW_KEY_PORT_DIRECTION) == "in"};
  }
}

void GraphUnderTest::removed(void* data, std::uint32_t id) {
  auto& graph = *static_cast<GraphUnderTest*>(data);
  graph.nodes_.erase(id);
  graph.ports_.erase(id);
}

std::uint32_t GraphUnderTest::nodeNamed(const std::string& name) const {
  const Lock lock(*this);
  const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const auto& node) { return node.second == name; });
  return found == nodes_.end() ? 0 : found->first;
}

pipewire::DevicePorts GraphUnderTest::heard(const std::string& node, std::size_t channels) {
  return side(node, false, channels);
}

pipewire::DevicePorts GraphUnderTest::played(const std::string& node, std::size_t channels) {
  return side(node, true, channels);
}

pipewire::DevicePorts GraphUnderTest::side(const std::string& node, bool isInput, std::size_t channels) {
  pipewire::DevicePorts found;
  eventually([&] {
    found.node = nodeNamed(node);
    const Lock lock(*this);
    std::map<std::uint32_t, std::uint32_t> byIndex;
    for (const auto& [id, port] : ports_) {
      if (found.node != 0 && port.node == found.node && port.isInput == isInput) {
        byIndex[port.index] = id;
      }
    }
    found.ports.clear();
    for (const auto& [index, id] : byIndex) {
      found.ports.push_back(id);
    }
    return found.ports.size() == channels;
  });
  return found;
}

void GraphUnderTest::makeNode(const std::string& name, const std::string& mediaClass, std::size_t channels) {
  std::string positions = "[";
  for (std::size_t channel = 0; channel < channels; ++channel) {
    positions += " AUX" + std::to_string(channel);
  }
  positions += " ]";
  const spa_dict_item items[] = {{"factory.name", "support.null-audio-sink"},
                                 {PW_KEY_NODE_NAME, name.c_str()},
                                 {PW_KEY_MEDIA_CLASS, mediaClass.c_str()},
                                 {"audio.position", positions.c_str()},
                                 {"monitor.channel-volumes", "true"},
                                 {"monitor.passthrough", "true"},
                                 {PW_KEY_OBJECT_LINGER, "false"},
                                 {"adapter.auto-port-config", "{ mode = dsp monitor = true }"}};
  const spa_dict properties = {0, sizeof items / sizeof *items, items};
  const Lock lock(*this);
  made_.push_back(static_cast<pw_proxy*>(
      pw_core_create_object(core_, "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &properties, 0)));
}

void GraphUnderTest::destroyNode(std::uint32_t id) {
  const Lock lock(*this);
  pw_registry_destroy(registry_, id);
}

void GraphUnderTest::setSetting(const std::string& key, const std::string& value) {
  run({"pw-metadata", "-n", "settings", "0", key, value});
}

}  // namespace orv::test
