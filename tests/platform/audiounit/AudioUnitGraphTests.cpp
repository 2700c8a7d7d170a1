#include <gtest/gtest.h>

#include "platform/audiounit/AudioUnitTestSupport.h"

namespace orv::test {
namespace {

/// A graph of two converter units.
class Graph : public testing::Test {
 protected:
  Graph() {
    EXPECT_EQ(NewAUGraph(&graph), noErr);
    EXPECT_EQ(AUGraphOpen(graph), noErr);
    EXPECT_EQ(AUGraphNewNode(graph, &kConverterUnit, &first), noErr);
    EXPECT_EQ(AUGraphNewNode(graph, &kConverterUnit, &second), noErr);
  }
  ~Graph() override { DisposeAUGraph(graph); }

  AudioUnit unitOf(AUNode node) {
    AudioUnit unit = nullptr;
    EXPECT_EQ(AUGraphGetNodeInfo(graph, node, nullptr, &unit), noErr);
    return unit;
  }

  bool isRunning() {
    bool running = false;
    EXPECT_EQ(AUGraphIsRunning(graph, &running), noErr);
    return running;
  }

  AUGraph graph = nullptr;
  AUNode first = 0;
  AUNode second = 0;
};

TEST_F(Graph, AudioFlowsThroughConnectedUnits) {
  Source source(countedSamples(50), 1);
  source.feed(unitOf(first));
  setFormat(unitOf(first), kAudioUnitScope_Input, floatFormat(44100, 1));
  setFormat(unitOf(first), kAudioUnitScope_Output, floatFormat(44100, 2));
  setFormat(unitOf(second), kAudioUnitScope_Output, floatFormat(44100, 1));
  EXPECT_EQ(AUGraphConnectNodeInput(graph, first, 0, second, 0), noErr);
  EXPECT_EQ(AUGraphInitialize(graph), noErr);
  const Rendered rendered = render(unitOf(second), 60, 1);
  EXPECT_EQ(rendered.status, kEndOfFileStatus);
  EXPECT_EQ(rendered.audioFrames, 50U);
  std::vector<float> expected = countedSamples(50);
  expected.resize(60, 0.0F);
  EXPECT_EQ(rendered.samples, expected);
}

TEST_F(Graph, AConnectionPassesTheFormatOn) {
  setFormat(unitOf(first), kAudioUnitScope_Output, floatFormat(96000, 6));
  AUGraphConnectNodeInput(graph, first, 0, second, 0);
  EXPECT_EQ(formatOf(unitOf(second), kAudioUnitScope_Input).mSampleRate, 44100);
  EXPECT_EQ(AUGraphUpdate(graph), noErr);
  EXPECT_EQ(formatOf(unitOf(second), kAudioUnitScope_Input).mSampleRate, 96000);
  EXPECT_EQ(formatOf(unitOf(second), kAudioUnitScope_Input).mChannelsPerFrame, 6U);
}

TEST_F(Graph, StartAndStopAreToldByIsRunning) {
  EXPECT_FALSE(isRunning());
  EXPECT_EQ(AUGraphInitialize(graph), noErr);
  EXPECT_EQ(AUGraphStart(graph), noErr);
  EXPECT_TRUE(isRunning());
  EXPECT_EQ(AUGraphStop(graph), noErr);
  EXPECT_FALSE(isRunning());
}

TEST_F(Graph, AnOutputUnitThatIsNotReadyKeepsTheGraphFromStarting) {
  AUNode output = 0;
  EXPECT_EQ(AUGraphNewNode(graph, &kOutputUnit, &output), noErr);
  EXPECT_EQ(AUGraphStart(graph), kAudioUnitErr_Uninitialized);
  EXPECT_FALSE(isRunning());
}

TEST_F(Graph, ClosingTakesTheUnitsAndOpeningMakesNewOnes) {
  AUGraphStart(graph);
  EXPECT_EQ(AUGraphClose(graph), noErr);
  EXPECT_FALSE(isRunning());
  EXPECT_EQ(unitOf(first), nullptr);
  EXPECT_EQ(AUGraphStart(graph), kAUGraphErr_GraphNotOpen);
  EXPECT_EQ(AUGraphOpen(graph), noErr);
  EXPECT_NE(unitOf(first), nullptr);
}

TEST_F(Graph, NodesOfAClosedGraphGetTheirUnitsWhenItOpens) {
  AUGraph closed = nullptr;
  AUNode node = 0;
  AudioUnit unit = nullptr;
  NewAUGraph(&closed);
  EXPECT_EQ(AUGraphNewNode(closed, &kConverterUnit, &node), noErr);
  EXPECT_EQ(AUGraphGetNodeInfo(closed, node, nullptr, &unit), noErr);
  EXPECT_EQ(unit, nullptr);
  EXPECT_EQ(AUGraphOpen(closed), noErr);
  EXPECT_EQ(AUGraphGetNodeInfo(closed, node, nullptr, &unit), noErr);
  EXPECT_NE(unit, nullptr);
  DisposeAUGraph(closed);
}

TEST_F(Graph, AudioNeverGoesRoundInACircle) {
  AUNode third = 0;
  AUGraphNewNode(graph, &kConverterUnit, &third);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, first, 0, first, 0), kAUGraphErr_InvalidConnection);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, first, 0, second, 0), noErr);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, second, 0, third, 0), noErr);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, third, 0, first, 0), kAUGraphErr_InvalidConnection);
}

TEST_F(Graph, UnknownNodesAndComponentsAreRefused) {
  AUNode node = 0;
  AudioUnit unit = nullptr;
  const ComponentDescription unknown = {fourCC("aufx"), fourCC("rvrb"), 0, 0, 0};
  EXPECT_EQ(AUGraphNewNode(graph, &unknown, &node), kAudioUnitErr_ComponentNotFound);
  EXPECT_EQ(AUGraphGetNodeInfo(graph, 0, nullptr, &unit), kAUGraphErr_NodeNotFound);
  EXPECT_EQ(AUGraphGetNodeInfo(graph, 3, nullptr, &unit), kAUGraphErr_NodeNotFound);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, first, 0, 9, 0), kAUGraphErr_NodeNotFound);
  EXPECT_EQ(AUGraphConnectNodeInput(graph, -1, 0, second, 0), kAUGraphErr_NodeNotFound);
}

TEST_F(Graph, AConnectionToABusThatIsNotThereFailsWhenItIsApplied) {
  EXPECT_EQ(AUGraphConnectNodeInput(graph, first, 3, second, 0), noErr);
  EXPECT_EQ(AUGraphUpdate(graph), kAudioUnitErr_InvalidParameter);
}

TEST_F(Graph, NodesTellTheirDescription) {
  ComponentDescription description{};
  EXPECT_EQ(AUGraphGetNodeInfo(graph, second, &description, nullptr), noErr);
  EXPECT_EQ(description.componentSubType, kAudioUnitSubType_Converter);
}

}  // namespace
}  // namespace orv::test
