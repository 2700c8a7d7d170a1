#include "hardware/pipewire/io/FilterNode.h"

#include <spa/node/io.h>

#include <algorithm>
#include <cmath>

namespace orv::pipewire {
namespace {

constexpr const char* kMonoFloat = "32 bit float mono audio";  // what the server calls a port's format

PortSamples<const float> contentOf(const pw_buffer& buffer) noexcept {
  const spa_data& data = buffer.buffer->datas[0];
  const std::uint32_t first = std::min(data.chunk->offset, data.maxsize);
  const std::uint32_t bytes = std::min(data.chunk->size, data.maxsize - first);
  if (data.data == nullptr || (data.chunk->flags & SPA_CHUNK_FLAG_EMPTY) != 0) {
    return {};
  }
  return {reinterpret_cast<const float*>(static_cast<const char*>(data.data) + first),
          static_cast<std::uint32_t>(bytes / sizeof(float))};
}

/// For `frames` frames, or as many as there is room for: the buffer says that they are there.
PortSamples<float> roomIn(pw_buffer& buffer, std::uint32_t frames) noexcept {
  const spa_data& data = buffer.buffer->datas[0];
  const auto room = static_cast<std::uint32_t>(data.maxsize / sizeof(float));
  const std::uint32_t count = data.data == nullptr ? 0 : std::min(room, frames);
  data.chunk->offset = 0;
  data.chunk->size = static_cast<std::uint32_t>(count * sizeof(float));
  data.chunk->stride = sizeof(float);
  data.chunk->flags = 0;
  return {static_cast<float*>(data.data), count};
}

}  // namespace

FilterNode::~FilterNode() {
  if (filter_ != nullptr) {
    spa_hook_remove(&hook_);
    pw_filter_destroy(filter_);
  }
}

std::string FilterNode::portName(bool isInput, std::size_t channel) {
  return (isInput ? "input_" : "output_") + std::to_string(channel + 1);
}

const pw_filter_events& FilterNode::events() {
  static const pw_filter_events kEvents = [] {
    pw_filter_events events = {};
    events.version = PW_VERSION_FILTER_EVENTS;
    // The connection may go before the filter does.
    events.destroy = [](void* data) {
      auto& node = *static_cast<FilterNode*>(data);
      spa_hook_remove(&node.hook_);
      node.filter_ = nullptr;
      node.listener_->nodeGone("the connection is closed");
    };
    events.state_changed = [](void* data, pw_filter_state /*before*/, pw_filter_state state, const char* error) {
      auto& node = *static_cast<FilterNode*>(data);
      if (state == PW_FILTER_STATE_ERROR || (state == PW_FILTER_STATE_UNCONNECTED && node.isReady_)) {
        node.listener_->nodeGone(error != nullptr ? error : "the server has removed it");
      } else if (state >= PW_FILTER_STATE_PAUSED && !node.isReady_) {
        node.isReady_ = true;
        node.listener_->nodeReady();
      }
    };
    events.process = [](void* data, spa_io_position* position) {
      static_cast<FilterNode*>(data)->listener_->quantum(position);
    };
    return events;
  }();
  return kEvents;
}

bool FilterNode::connect(const DeviceIOSetup& setup, std::uint32_t quantum, Listener& listener) {
  listener_ = &listener;
  const char* const name = setup.name.c_str();
  pw_properties* const properties =
      pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Duplex", PW_KEY_MEDIA_ROLE, "Production",
                        PW_KEY_NODE_NAME, name, PW_KEY_NODE_DESCRIPTION, name, nullptr);
  filter_ = pw_filter_new(setup.core, name, properties);
  if (filter_ == nullptr) {
    return false;
  }
  pw_filter_add_listener(filter_, &hook_, &events(), this);
  askFor(quantum, setup.rate);
  return addPorts(true, setup.input.ports.size()) && addPorts(false, setup.output.ports.size()) &&
         pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) >= 0;
}

bool FilterNode::addPorts(bool isInput, std::size_t count) {
  std::vector<Port>& ports = isInput ? inputs_ : outputs_;
  for (std::size_t channel = 0; channel < count; ++channel) {
    pw_properties* const properties =
        pw_properties_new(PW_KEY_FORMAT_DSP, kMonoFloat, PW_KEY_PORT_NAME, portName(isInput, channel).c_str(), nullptr);
    void* const port = pw_filter_add_port(filter_, isInput ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT,
                                          PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(void*), properties, nullptr, 0);
    if (port == nullptr) {
      return false;
    }
    ports.push_back({port, nullptr});
  }
  isInput ? heard_.resize(count) : played_.resize(count);
  return true;
}

void FilterNode::askFor(std::uint32_t quantum, double rate) {
  if (filter_ == nullptr) {
    return;
  }
  const std::string frames = std::to_string(quantum);
  const std::string latency = frames + "/" + std::to_string(std::max(1L, std::lround(rate)));
  const spa_dict_item items[] = {{PW_KEY_NODE_FORCE_QUANTUM, frames.c_str()}, {PW_KEY_NODE_LATENCY, latency.c_str()}};
  const spa_dict properties = {0, 2, items};
  pw_filter_update_properties(filter_, nullptr, &properties);
}

FilterNode::Taken FilterNode::takeBuffers(std::uint32_t frames) noexcept {
  Taken taken;
  std::uint32_t longest = 0;
  for (std::size_t i = 0; i < inputs_.size(); ++i) {
    inputs_[i].buffer = pw_filter_dequeue_buffer(inputs_[i].port);
    heard_[i] = inputs_[i].buffer != nullptr ? contentOf(*inputs_[i].buffer) : PortSamples<const float>{};
    taken.isAnything = taken.isAnything || inputs_[i].buffer != nullptr;
    longest = std::max(longest, heard_[i].frames);
  }
  for (std::size_t i = 0; i < outputs_.size(); ++i) {
    outputs_[i].buffer = pw_filter_dequeue_buffer(outputs_[i].port);
    played_[i] = outputs_[i].buffer != nullptr ? roomIn(*outputs_[i].buffer, frames) : PortSamples<float>{};
    taken.isAnything = taken.isAnything || (inputs_.empty() && outputs_[i].buffer != nullptr);
  }
  taken.isCut = longest > frames && frames < lastFrames_;
  lastFrames_ = frames;
  return taken;
}

void FilterNode::giveBuffersBack() noexcept {
  for (std::vector<Port>* const ports : {&inputs_, &outputs_}) {
    for (Port& port : *ports) {
      if (port.buffer != nullptr) {
        pw_filter_queue_buffer(port.port, port.buffer);
        port.buffer = nullptr;
      }
    }
  }
}

}  // namespace orv::pipewire
