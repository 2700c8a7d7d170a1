#include <gtest/gtest.h>

#include <cmath>

#include "FactsForTests.h"
#include "hardware/pipewire/DeviceFacts.h"
#include "hardware/pipewire/Wishes.h"

namespace orv::pipewire {
namespace {

using hardwaremodel::DeviceState;
using hardwaremodel::PropertyChanges;

DeviceState first(const FactsForTests& server) {
  return describe(planDevices(server.facts).at(0), server.facts);
}

bool tells(const PropertyChanges& changes, AudioDevicePropertyID property) {
  for (const auto& change : changes) {
    if (change.property == property) {
      return true;
    }
  }
  return false;
}

/// A card with a sink that has two connectors.
FactsForTests cardWithRoutes() {
  FactsForTests server;
  CardFacts& card = server.facts.cards[9];
  card.vendor = "Maker";
  card.bus = "usb";
  card.routes[0] = {0, false, "Speakers", true, {1}};
  card.routes[1] = {1, false, "Headphones", false, {1}};
  card.routes[2] = {2, true, "Microphone", true, {1}};
  card.routes[3] = {3, false, "HDMI", true, {4}};
  card.routeInUse[1] = 0;
  server.addCardNode(1, "card.out", "Audio/Sink", 9, 5);
  return server;
}

TEST(PipeWireDescription, TheCardSpeaksForANodeThatSaysNothing) {
  const auto device = first(cardWithRoutes());
  EXPECT_EQ(device.manufacturer, "Maker");
  EXPECT_EQ(device.transport, fourCC("usb "));
}

TEST(PipeWireDescription, ADeviceWithoutAMakerHasNone) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  EXPECT_EQ(first(server).manufacturer, std::nullopt);
  EXPECT_EQ(first(server).transport, fourCC("virt"));
}

TEST(PipeWireDescription, TheRoutesOfANodeAreItsDataSources) {
  const auto device = first(cardWithRoutes());
  ASSERT_EQ(device.output.dataSources.size(), 2U);
  EXPECT_EQ(device.output.dataSources[0].name, "Speakers");
  EXPECT_EQ(device.output.dataSources[1].name, "Headphones");
  EXPECT_EQ(device.output.currentDataSource, device.output.dataSources[0].id);
  EXPECT_EQ(device.output.jackIsConnected, true);
}

TEST(PipeWireDescription, ARouteThatIsSwitchedIsToldAsTheDataSourceAndTheJack) {
  FactsForTests server = cardWithRoutes();
  DeviceState device = first(server);
  server.facts.cards[9].routeInUse[1] = 1;
  PropertyChanges changes;
  update(device, first(server), {}, changes);
  EXPECT_TRUE(tells(changes, kAudioDevicePropertyDataSource));
  EXPECT_TRUE(tells(changes, kAudioDevicePropertyJackIsConnected));
  EXPECT_EQ(device.output.jackIsConnected, false);
}

TEST(PipeWireDescription, AVolumeIsTheThirdRootOfTheAmplitude) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink").volumes = {0.125F, 0.0F};
  const auto device = first(server);
  EXPECT_FLOAT_EQ(device.output.control(1)->scalar, 0.5F);
  EXPECT_NEAR(device.output.control(1)->decibels, 20 * std::log10(0.125), 1e-3);
  EXPECT_EQ(device.output.control(2)->scalar, 0.0F);
  EXPECT_EQ(device.output.control(2)->decibels, device.output.quietestDecibels);
}

TEST(PipeWireDescription, MoreThanFullVolumeIsFullVolume) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink").volumes = {3.0F, NAN};
  EXPECT_EQ(first(server).output.control(1)->scalar, 1.0F);
}

TEST(PipeWireDescription, ScalarsAndDecibelsTranslateIntoEachOther) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  const auto section = first(server).output;
  for (const float scalar : {0.0F, 0.1F, 0.5F, 0.99F, 1.0F}) {
    EXPECT_NEAR(section.scalarOfDecibels(section.decibelsOfScalar(scalar)), scalar, 1e-5);
  }
}

TEST(PipeWireDescription, AMonitorHasNoControlsOfItsOwn) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  const auto monitor = describe(planDevices(server.facts).at(1), server.facts);
  EXPECT_TRUE(monitor.input.controls.empty());
  EXPECT_EQ(monitor.input.channels, 2U);
}

TEST(PipeWireDescription, ChannelsHaveTheLabelsOfTheirLoudspeakers) {
  FactsForTests server;
  server.addNode(1, "five", "Audio/Sink", {"FL", "FR", "FC", "LFE", "RL", "RR"});
  EXPECT_EQ(first(server).output.channelLabels,
            (std::vector<AudioChannelLabel>{kAudioChannelLabel_Left, kAudioChannelLabel_Right,
                                            kAudioChannelLabel_Center, kAudioChannelLabel_LFEScreen,
                                            kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround}));
}

TEST(PipeWireDescription, StereoIsWhereTheLabelsSayAndOtherwiseInFront) {
  FactsForTests server;
  server.addNode(1, "odd", "Audio/Sink", {"FC", "FR", "FL"});
  EXPECT_EQ(first(server).output.preferredStereo, (std::array<std::uint32_t, 2>{3, 2}));
  FactsForTests numbered;
  numbered.addNode(1, "many", "Audio/Sink", {"AUX0", "AUX1", "AUX2"});
  EXPECT_EQ(first(numbered).output.preferredStereo, (std::array<std::uint32_t, 2>{1, 2}));
  EXPECT_TRUE(first(numbered).output.channelLabels.empty());
  FactsForTests mono;
  mono.addNode(1, "one", "Audio/Sink", {"MONO"});
  EXPECT_EQ(first(mono).output.preferredStereo, (std::array<std::uint32_t, 2>{1, 1}));
}

TEST(PipeWireDescription, AForcedRateIsTheNominalOneAndInTheList) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  server.facts.settings.allowedRates = {96000, 44100};
  server.facts.settings.forcedRate = 88200;
  const auto device = first(server);
  EXPECT_EQ(device.cycle.nominalRate, 88200);
  ASSERT_EQ(device.nominalRates.size(), 3U);
  EXPECT_EQ(device.nominalRates[0].mMinimum, 44100);
  EXPECT_EQ(device.nominalRates[1].mMinimum, 88200);
}

TEST(PipeWireDescription, SettingsThatMakeNoSenseDoNoHarm) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  server.facts.settings = {0, 0, {}, 0, 0};
  const auto device = first(server);
  EXPECT_GE(device.cycle.nominalRate, 1);
  EXPECT_GE(device.frameRange.mMinimum, 1);
  EXPECT_GE(device.frameRange.mMaximum, device.frameRange.mMinimum);
  EXPECT_EQ(device.cycle.frames, device.frameRange.mMaximum);
}

TEST(PipeWireDescription, LatencyIsTheSumOfWhatThePortTells) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  server.facts.ports[1100].latency = {1.0F, 20, 1'000'000};
  EXPECT_EQ(first(server).output.latency, first(server).cycle.frames + 20U + 48U);
}

TEST(PipeWireDescription, WhatAHostHasJustSetIsKeptUntilTheServerHasIt) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  DeviceState device = first(server);
  device.output.control(1)->scalar = 0.25F;
  PropertyChanges changes;
  UpdateScope scope;
  scope.settings = false;
  update(device, first(server), scope, changes);
  EXPECT_EQ(device.output.control(1)->scalar, 0.25F);
  EXPECT_TRUE(changes.empty());
  update(device, first(server), {}, changes);
  EXPECT_EQ(device.output.control(1)->scalar, 1.0F);
  EXPECT_TRUE(tells(changes, kAudioDevicePropertyVolumeScalar));
}

TEST(PipeWireDescription, ARunningDeviceHasTheRateAtWhichItRuns) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink");
  server.facts.settings.allowedRates = {48000};
  DeviceState device = first(server);
  PropertyChanges changes;
  UpdateScope scope;
  scope.runningRate = 32000;
  update(device, first(server), scope, changes);
  EXPECT_EQ(device.cycle.nominalRate, 32000);
  EXPECT_EQ(device.output.streams[0].physicalFormat.mSampleRate, 32000);
  EXPECT_TRUE(tells(changes, kAudioDevicePropertyNominalSampleRate));
}

TEST(PipeWireDescription, OneVolumeThatIsSetGoesOutWithThoseOfAllChannels) {
  FactsForTests server;
  server.addNode(1, "speakers", "Audio/Sink").volumes = {0.125F, 1.0F};
  const DeviceState before = first(server);
  DeviceState after = before;
  EXPECT_TRUE(differences(before, after).isNothing());
  after.output.control(2)->scalar = 0.1F;
  const Wishes wishes = differences(before, after);
  ASSERT_EQ(wishes.output.volume.volumes.size(), 2U);
  EXPECT_NEAR(wishes.output.volume.volumes[0], 0.125F, 1e-6);
  EXPECT_NEAR(wishes.output.volume.volumes[1], 0.001F, 1e-6);
  EXPECT_FALSE(wishes.output.volume.isMuted.has_value());
  EXPECT_TRUE(wishes.input.isNothing());
}

}  // namespace
}  // namespace orv::pipewire
