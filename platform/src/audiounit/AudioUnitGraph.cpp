#include "audiounit/AudioUnitGraph.h"

#include <algorithm>

namespace orv {

OSStatus AudioUnitGraph::makeUnit(Node* node) {
  const Component component = FindNextComponent(0, &node->description);
  return component == 0 ? kAudioUnitErr_ComponentNotFound : audioUnitService()->make(component - 1, &node->unit);
}

OSStatus AudioUnitGraph::open() {
  isOpen_ = true;
  OSStatus result = noErr;
  for (Node& node : nodes_) {
    const OSStatus status = node.unit ? noErr : makeUnit(&node);
    result = result != noErr ? result : status;
  }
  return result;
}

OSStatus AudioUnitGraph::newNode(const ComponentDescription& description, AUNode* node) {
  Node made{description, nullptr};
  if (isOpen_) {
    if (const OSStatus status = makeUnit(&made); status != noErr) {
      return status;
    }
  }
  nodes_.push_back(std::move(made));
  *node = static_cast<AUNode>(nodes_.size());
  return noErr;
}

OSStatus AudioUnitGraph::nodeInfo(AUNode node, ComponentDescription* description, AudioUnit* unit) const {
  if (!has(node)) {
    return kAUGraphErr_NodeNotFound;
  }
  if (description != nullptr) {
    *description = nodes_[static_cast<std::size_t>(node) - 1].description;
  }
  if (unit != nullptr) {
    *unit = unitOf(node);
  }
  return noErr;
}

/// Whether audio of `origin` reaches `node`, or they are the same. Ends because no connection closes a circle.
bool AudioUnitGraph::isFedBy(AUNode node, AUNode origin) const {
  return node == origin || std::any_of(connections_.begin(), connections_.end(), [&](const Connection& connection) {
           return connection.destination == node && isFedBy(connection.source, origin);
         });
}

OSStatus AudioUnitGraph::connect(AUNode source, std::uint32_t output, AUNode destination, std::uint32_t input) {
  if (!has(source) || !has(destination)) {
    return kAUGraphErr_NodeNotFound;
  }
  const auto isReplaced = [&](const Connection& connection) {
    return connection.destination == destination && connection.input == input;
  };
  if (isFedBy(source, destination)) {
    return kAUGraphErr_InvalidConnection;
  }
  connections_.erase(std::remove_if(connections_.begin(), connections_.end(), isReplaced), connections_.end());
  connections_.push_back({source, output, destination, input, false});
  return noErr;
}

OSStatus AudioUnitGraph::apply(Connection* connection) {
  RenderUnit* const source = unitOf(connection->source);
  RenderUnit* const destination = unitOf(connection->destination);
  if (source == nullptr || destination == nullptr) {
    return kAUGraphErr_GraphNotOpen;
  }
  AudioStreamBasicDescription format{};
  std::uint32_t size = sizeof format;
  OSStatus status =
      source->property(kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, connection->output, &format, &size);
  if (status == noErr) {
    status = destination->setProperty(kAudioUnitProperty_StreamFormat, kAudioUnitScope_Input, connection->input,
                                      &format, size);
  }
  if (status == noErr) {
    status = destination->connect(connection->input, source, connection->output);
  }
  connection->isApplied = status == noErr;
  return status;
}

OSStatus AudioUnitGraph::update() {
  OSStatus result = noErr;
  for (Connection& connection : connections_) {
    const OSStatus status = connection.isApplied ? noErr : apply(&connection);
    result = result != noErr ? result : status;
  }
  return result;
}

OSStatus AudioUnitGraph::forEachUnit(OSStatus (RenderUnit::*operation)()) {
  OSStatus result = isOpen_ ? noErr : kAUGraphErr_GraphNotOpen;
  for (const Node& node : nodes_) {
    if (node.unit) {
      const OSStatus status = (node.unit.get()->*operation)();
      result = result != noErr ? result : status;
    }
  }
  return result;
}

OSStatus AudioUnitGraph::initialize() {
  const OSStatus updated = update();
  const OSStatus initialized = forEachUnit(&RenderUnit::initialize);
  return updated != noErr ? updated : initialized;
}

OSStatus AudioUnitGraph::uninitialize() {
  return forEachUnit(&RenderUnit::uninitialize);
}

OSStatus AudioUnitGraph::start() {
  const OSStatus status = forEachUnit(&RenderUnit::start);
  if (status == noErr) {
    isRunning_ = true;
  } else {
    forEachUnit(&RenderUnit::stop);
  }
  return status;
}

OSStatus AudioUnitGraph::stop() {
  isRunning_ = false;
  return forEachUnit(&RenderUnit::stop);
}

OSStatus AudioUnitGraph::close() {
  if (isRunning_) {
    stop();
  }
  for (Node& node : nodes_) {
    node.unit.reset();
  }
  for (Connection& connection : connections_) {
    connection.isApplied = false;
  }
  isOpen_ = false;
  return noErr;
}

}  // namespace orv
