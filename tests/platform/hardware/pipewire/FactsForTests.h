#pragma once

#include <string>
#include <vector>

#include "hardware/pipewire/Facts.h"

namespace orv::pipewire {

/// A server's nodes as tests make them up, every port in place.
class FactsForTests {
 public:
  ServerFacts facts;

  NodeFacts& addNode(std::uint32_t id, const std::string& name, const std::string& mediaClass,
                     const std::vector<std::string>& channels = {"FL", "FR"}) {
    NodeFacts& node = facts.nodes[id];
    node.serial = id;
    node.name = name;
    node.description = "The " + name;
    node.mediaClass = mediaClass;
    node.isKnown = true;
    node.volumes.assign(channels.size(), 1.0F);
    node.isMuted = false;
    addPorts(id, false, mediaClass == "Audio/Source" ? std::vector<std::string>() : channels);
    addPorts(id, true, channels);
    return node;
  }

  NodeFacts& addCardNode(std::uint32_t id, const std::string& name, const std::string& mediaClass, std::uint32_t card,
                         long priority) {
    NodeFacts& node = addNode(id, name, mediaClass);
    node.card = card;
    node.cardDevice = id;
    node.priority = priority;
    return node;
  }

 private:
  void addPorts(std::uint32_t node, bool isOutput, const std::vector<std::string>& channels) {
    // The server's IDs need not be in the order of channels.
    for (std::uint32_t i = 0; i < channels.size(); ++i) {
      PortFacts& port = facts.ports[node * 1000 + (isOutput ? 500 : 0) + 100 - i];
      port.node = node;
      port.index = i;
      port.isOutput = isOutput;
      port.channel = channels[i];
      (isOutput ? facts.nodes[node].outputPorts : facts.nodes[node].inputPorts) += 1;
    }
  }
};

}  // namespace orv::pipewire
