#include "hardware/pipewire/DevicePlan.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "hardware/pipewire/Text.h"

namespace orv::pipewire {
namespace {

/// A node with the ports that concern it.
struct Node {
  std::uint32_t id = 0;
  const NodeFacts* facts = nullptr;
  std::vector<std::uint32_t> inputs;
  std::vector<std::uint32_t> outputs;

  /// What leaves a sink is what it was given to play.
  bool isSink() const { return facts->mediaClass.find("Sink") != std::string::npos; }
  bool isDuplex() const { return facts->mediaClass == "Audio/Duplex"; }
};

std::vector<std::uint32_t> portsOf(const ServerFacts& facts, std::uint32_t node, bool isOutput) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> found;  // index, ID
  for (const auto& [id, port] : facts.ports) {
    if (port.node == node && port.isOutput == isOutput && port.isAudio) {
      found.emplace_back(port.index, id);
    }
  }
  std::sort(found.begin(), found.end());
  std::vector<std::uint32_t> ids;
  ids.reserve(found.size());
  for (const auto& [index, id] : found) {
    ids.push_back(id);
  }
  return ids;
}

bool hasAllPorts(const ServerFacts& facts, std::uint32_t id, const NodeFacts& node) {
  std::uint32_t inputs = 0;
  std::uint32_t outputs = 0;
  for (const auto& [portID, port] : facts.ports) {
    if (port.node == id) {
      (port.isOutput ? outputs : inputs) += 1;
    }
  }
  return node.isKnown && inputs == node.inputPorts && outputs == node.outputPorts && inputs + outputs > 0;
}

std::vector<Node> readyNodes(const ServerFacts& facts) {
  std::vector<Node> nodes;
  for (const auto& [id, node] : facts.nodes) {
    if (hasAllPorts(facts, id, node) && !node.name.empty()) {
      nodes.push_back({id, &node, portsOf(facts, id, false), portsOf(facts, id, true)});
    }
  }
  std::sort(nodes.begin(), nodes.end(), [](const Node& a, const Node& b) { return a.facts->serial < b.facts->serial; });
  return nodes;
}

/// The sinks or the sources of a card, the most important first.
std::vector<const Node*> nodesOfCard(const std::vector<Node>& nodes, std::uint32_t card, bool isSink) {
  std::vector<const Node*> found;
  for (const Node& node : nodes) {
    if (node.facts->card == card && !node.isDuplex() && node.isSink() == isSink) {
      found.push_back(&node);
    }
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const Node* a, const Node* b) { return a->facts->priority > b->facts->priority; });
  return found;
}

struct Pairs {
  std::map<std::uint32_t, const Node*> sourceOfSink;  // by the sink's ID
  std::set<std::uint32_t> sources;                    // that belong to a sink
  std::set<std::uint32_t> onlyOnes;                   // sinks whose pair is all that the card has
};

Pairs pairUp(const std::vector<Node>& nodes, const ServerFacts& facts) {
  Pairs pairs;
  for (const auto& [card, cardFacts] : facts.cards) {
    const auto sinks = nodesOfCard(nodes, card, true);
    const auto sources = nodesOfCard(nodes, card, false);
    for (std::size_t i = 0; i < std::min(sinks.size(), sources.size()); ++i) {
      pairs.sourceOfSink[sinks[i]->id] = sources[i];
      pairs.sources.insert(sources[i]->id);
    }
    if (sinks.size() == 1 && sources.size() == 1) {
      pairs.onlyOnes.insert(sinks.front()->id);
    }
  }
  return pairs;
}

std::string nameOf(const NodeFacts& node) {
  return validText(node.description.empty() ? node.name : node.description);
}

std::string nameOfPair(const Node& sink, bool isOnlyOne, const ServerFacts& facts) {
  const auto card = facts.cards.find(sink.facts->card.value_or(0));
  const bool hasName = isOnlyOne && card != facts.cards.end() && !card->second.description.empty();
  return hasName ? validText(card->second.description) : nameOf(*sink.facts);
}

DevicePlan planOf(const Node& node, const Pairs& pairs, const ServerFacts& facts) {
  DevicePlan plan;
  plan.uid = validText(node.facts->name);
  plan.name = nameOf(*node.facts);
  if (node.isDuplex() || node.isSink()) {
    plan.output = {node.id, node.inputs, false};
  }
  if (node.isDuplex() || !node.isSink()) {
    plan.input = {node.id, node.outputs, false};
  }
  if (const auto pair = pairs.sourceOfSink.find(node.id); pair != pairs.sourceOfSink.end()) {
    plan.input = {pair->second->id, pair->second->outputs, false};
    plan.alias = validText(pair->second->facts->name);
    plan.name = nameOfPair(node, pairs.onlyOnes.contains(node.id), facts);
  }
  for (SidePlan* const side : {&plan.input, &plan.output}) {
    if (side->ports.empty()) {
      *side = {};
    }
  }
  return plan;
}

/// Two nodes may have the same name; the one that came later gets a number.
void makeUnique(std::vector<DevicePlan>* plans) {
  std::set<std::string> taken;
  for (DevicePlan& plan : *plans) {
    const std::string uid = plan.uid;
    for (int number = 2; !taken.insert(plan.uid).second; ++number) {
      plan.uid = uid + "." + std::to_string(number);
    }
  }
}

}  // namespace

std::vector<DevicePlan> planDevices(const ServerFacts& facts) {
  const std::vector<Node> nodes = readyNodes(facts);
  const Pairs pairs = pairUp(nodes, facts);
  std::vector<DevicePlan> plans;
  for (const Node& node : nodes) {
    DevicePlan plan = planOf(node, pairs, facts);
    if (!pairs.sources.contains(node.id) && (plan.input.node != 0 || plan.output.node != 0)) {
      plans.push_back(std::move(plan));
    }
  }
  for (const Node& node : nodes) {
    if (node.isSink() && !node.outputs.empty()) {
      DevicePlan plan;
      plan.uid = validText(node.facts->name) + ".monitor";
      plan.name = "Monitor of " + nameOf(*node.facts);
      plan.input = {node.id, node.outputs, true};
      plans.push_back(std::move(plan));
    }
  }
  makeUnique(&plans);
  return plans;
}

}  // namespace orv::pipewire
