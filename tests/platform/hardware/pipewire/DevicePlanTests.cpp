#include "hardware/pipewire/DevicePlan.h"

#include <gtest/gtest.h>

#include "FactsForTests.h"

namespace orv::pipewire {
namespace {

std::vector<std::string> uids(const std::vector<DevicePlan>& plans) {
  std::vector<std::string> all;
  for (const DevicePlan& plan : plans) {
    all.push_back(plan.uid);
  }
  return all;
}

TEST(PipeWireDevicePlan, ASinkPlaysAndItsMonitorIsAnInputDeviceOfItsOwn) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  const auto plans = planDevices(server.facts);
  ASSERT_EQ(plans.size(), 2U);
  EXPECT_EQ(plans[0].name, "The speakers");
  EXPECT_EQ(plans[0].output.node, 1U);
  EXPECT_EQ(plans[0].input.node, 0U);
  EXPECT_EQ(plans[1].uid, "speakers.monitor");
  EXPECT_EQ(plans[1].name, "Monitor of The speakers");
  EXPECT_EQ(plans[1].input.node, 1U);
  EXPECT_TRUE(plans[1].input.isMonitor);
  EXPECT_EQ(plans[1].output.node, 0U);
}

TEST(PipeWireDevicePlan, PortsAreInTheOrderOfChannels) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  const auto plans = planDevices(server.facts);
  EXPECT_EQ(plans[0].output.ports, (std::vector<std::uint32_t>{1100, 1099}));
  EXPECT_EQ(plans[1].input.ports, (std::vector<std::uint32_t>{1600, 1599}));
}

TEST(PipeWireDevicePlan, AVirtualSourceIsAnInputWhateverFeedsIt) {
  FactsForTests server;
  server.addNode(1, "tape", "Audio/Source/Virtual");
  const auto plans = planDevices(server.facts);
  ASSERT_EQ(plans.size(), 1U);
  EXPECT_EQ(plans[0].input.node, 1U);
  EXPECT_EQ(plans[0].output.node, 0U);
  EXPECT_FALSE(plans[0].input.isMonitor);
}

TEST(PipeWireDevicePlan, ADuplexNodeIsOneDevice) {
  FactsForTests server;
  server.addNode(1, "interface", "Audio/Duplex");
  const auto plans = planDevices(server.facts);
  ASSERT_EQ(plans.size(), 1U);
  EXPECT_EQ(plans[0].input.node, 1U);
  EXPECT_EQ(plans[0].output.node, 1U);
}

TEST(PipeWireDevicePlan, ACardsSinkAndSourceAreOneDeviceWithTheCardsName) {
  FactsForTests server;
  server.facts.cards[9].description = "Sound Card";
  server.addCardNode(1, "card.in", "Audio/Source", 9, 5);
  server.addCardNode(2, "card.out", "Audio/Sink", 9, 5);
  const auto plans = planDevices(server.facts);
  ASSERT_EQ(uids(plans), (std::vector<std::string>{"card.out", "card.out.monitor"}));
  EXPECT_EQ(plans[0].name, "Sound Card");
  EXPECT_EQ(plans[0].alias, "card.in");
  EXPECT_EQ(plans[0].input.node, 1U);
  EXPECT_EQ(plans[0].output.node, 2U);
}

TEST(PipeWireDevicePlan, OfSeveralSinksOfACardTheMostImportantGetsTheSource) {
  FactsForTests server;
  server.facts.cards[9].description = "Sound Card";
  server.addCardNode(1, "hdmi", "Audio/Sink", 9, 1);
  server.addCardNode(2, "analog", "Audio/Sink", 9, 7);
  server.addCardNode(3, "microphone", "Audio/Source", 9, 3);
  const auto plans = planDevices(server.facts);
  ASSERT_EQ(uids(plans), (std::vector<std::string>{"hdmi", "analog", "hdmi.monitor", "analog.monitor"}));
  EXPECT_EQ(plans[0].input.node, 0U);
  EXPECT_EQ(plans[1].input.node, 3U);
  EXPECT_EQ(plans[1].name, "The analog");
}

TEST(PipeWireDevicePlan, ANodeWhosePortsHaveNotAllComeIsLeftOut) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  server.facts.ports.erase(1100);
  EXPECT_TRUE(planDevices(server.facts).empty());
  server.addNode(2, "silent", "Audio/Source/Virtual").isKnown = false;
  EXPECT_TRUE(planDevices(server.facts).empty());
}

TEST(PipeWireDevicePlan, PortsForMIDIAreNoChannels) {
  FactsForTests server;
  server.addNode(1, "keys", "Audio/Duplex");
  server.facts.ports[1099].isAudio = false;
  EXPECT_EQ(planDevices(server.facts)[0].output.ports, (std::vector<std::uint32_t>{1100}));
}

TEST(PipeWireDevicePlan, NodesOfTheSameNameGetUIDsOfTheirOwn) {
  FactsForTests server;
  server.addNode(1, "twin", "Audio/Source/Virtual");
  server.addNode(2, "twin", "Audio/Source/Virtual");
  EXPECT_EQ(uids(planDevices(server.facts)), (std::vector<std::string>{"twin", "twin.2"}));
}

TEST(PipeWireDevicePlan, NamesAreUTF8WhateverTheServerSays) {
  FactsForTests server;
  server.addNode(1, "bad\xFFname", "Audio/Source/Virtual").description = "Worse \xC3";
  const auto plans = planDevices(server.facts);
  EXPECT_EQ(plans[0].uid, "bad\xEF\xBF\xBDname");
  EXPECT_EQ(plans[0].name, "Worse \xEF\xBF\xBD");
}

TEST(PipeWireDevicePlan, ADeviceStaysTheSameUntilItsNodesOrPortsChange) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  const auto before = planDevices(server.facts)[0];
  server.facts.nodes[1].description = "Renamed";
  EXPECT_TRUE(planDevices(server.facts)[0].isSameDevice(before));
  server.facts.ports[1050] = server.facts.ports[1100];
  server.facts.ports.erase(1100);
  EXPECT_FALSE(planDevices(server.facts)[0].isSameDevice(before));
}

}  // namespace
}  // namespace orv::pipewire
