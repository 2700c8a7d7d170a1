#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvPlatform/PipeWireHardware.h"
#include "platform/hardware/virtual/VirtualHardwareTestSupport.h"
#include "support/PrivatePipeWire.h"
#include "support/Process.h"

namespace orv::test {

/// Whether it comes true within ten seconds.
bool comesTrue(const std::function<bool()>& isTrue);

/// Devices of a private server, which each test has for itself.
class PipeWireTest : public testing::Test {
 protected:
  explicit PipeWireTest(bool withSessionManager = false) : withSessionManager_(withSessionManager) {}
  void SetUp() override;
  void TearDown() override;

  /// Of a device that is there; 0 otherwise.
  AudioDeviceID device(const std::string& uid);
  /// Waits for it.
  AudioDeviceID awaitDevice(const std::string& uid);
  std::vector<AudioDeviceID> devices();
  /// The server's ID of a node, for other programs.
  static std::string nodeID(const std::string& name);
  /// What the server says of a node's volumes: the text of the parameter.
  static std::string propsOf(const std::string& name);
  bool wasTold(AudioDeviceID device, std::uint32_t property);

  std::unique_ptr<PrivatePipeWire> server;
  std::shared_ptr<AudioHardware> hardware;
  RecordedEvents events;

 private:
  const bool withSessionManager_;
  std::vector<ToldChange> told_;
};

/// The same with a session manager.
class ManagedPipeWireTest : public PipeWireTest {
 protected:
  ManagedPipeWireTest() : PipeWireTest(true) {}
};

}  // namespace orv::test
