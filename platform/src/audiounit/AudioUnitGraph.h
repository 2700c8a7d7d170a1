#pragma once

#include <memory>
#include <vector>

#include "OrvPlatform/AudioUnit.h"

namespace orv {

/// Nodes, each of which becomes a unit while the graph is open, and the connections between them. Statuses are those
/// of the free functions. One thread at a time.
class AudioUnitGraph {
 public:
  AudioUnitGraph() = default;
  AudioUnitGraph(const AudioUnitGraph&) = delete;
  AudioUnitGraph& operator=(const AudioUnitGraph&) = delete;
  ~AudioUnitGraph() { close(); }

  OSStatus open();
  OSStatus newNode(const ComponentDescription& description, AUNode* node);
  OSStatus nodeInfo(AUNode node, ComponentDescription* description, AudioUnit* unit) const;
  OSStatus connect(AUNode source, std::uint32_t output, AUNode destination, std::uint32_t input);
  /// Applies what was connected since the last time.
  OSStatus update();
  OSStatus initialize();
  OSStatus uninitialize();
  OSStatus start();
  OSStatus stop();
  bool isRunning() const { return isRunning_; }
  OSStatus close();

 private:
  struct Node {
    ComponentDescription description;
    std::unique_ptr<RenderUnit> unit;  ///< null while the graph is closed
  };
  struct Connection {
    AUNode source;
    std::uint32_t output;
    AUNode destination;
    std::uint32_t input;
    bool isApplied;
  };

  static OSStatus makeUnit(Node* node);
  bool has(AUNode node) const { return node >= 1 && static_cast<std::size_t>(node) <= nodes_.size(); }
  RenderUnit* unitOf(AUNode node) const { return nodes_[static_cast<std::size_t>(node) - 1].unit.get(); }
  bool isFedBy(AUNode node, AUNode origin) const;
  OSStatus apply(Connection* connection);
  /// Does something with every unit; the first failure is the result.
  OSStatus forEachUnit(OSStatus (RenderUnit::*operation)());

  std::vector<Node> nodes_;
  std::vector<Connection> connections_;
  bool isOpen_ = false;
  bool isRunning_ = false;
};

}  // namespace orv
