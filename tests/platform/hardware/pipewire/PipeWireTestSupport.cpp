#include "PipeWireTestSupport.h"

#include <algorithm>
#include <thread>

namespace orv::test {

bool comesTrue(const std::function<bool()>& isTrue) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

void PipeWireTest::SetUp() {
  std::string problem;
  server = PrivatePipeWire::start(withSessionManager_, &problem);
  if (server == nullptr) {
    GTEST_SKIP() << problem;
  }
  hardware = connectToPipeWire(std::chrono::seconds(10), &problem);
  ASSERT_NE(hardware, nullptr) << problem;
  hardware->setEvents(&events);
}

void PipeWireTest::TearDown() {
  hardware = nullptr;
  server = nullptr;
}

AudioDeviceID PipeWireTest::device(const std::string& uid) {
  std::string text = uid;
  AudioDeviceID found = kAudioDeviceUnknown;
  AudioValueTranslation translation{text.data(), static_cast<std::uint32_t>(text.size()), &found, sizeof found};
  std::uint32_t size = sizeof translation;
  hardware->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation);
  return found;
}

AudioDeviceID PipeWireTest::awaitDevice(const std::string& uid) {
  EXPECT_TRUE(comesTrue([&] { return device(uid) != kAudioDeviceUnknown; })) << uid;
  return device(uid);
}

std::vector<AudioDeviceID> PipeWireTest::devices() {
  std::uint32_t size = 0;
  bool isWritable = false;
  hardware->hardwarePropertyInfo(kAudioHardwarePropertyDevices, &size, &isWritable);
  std::vector<AudioDeviceID> ids(size / sizeof(AudioDeviceID));
  hardware->hardwareProperty(kAudioHardwarePropertyDevices, &size, ids.data());
  return ids;
}

std::string PipeWireTest::nodeID(const std::string& name) {
  const std::string listed = run({"pw-cli", "list-objects", "Node"}).output;
  const std::size_t at = listed.find("node.name = \"" + name + "\"");
  if (at == std::string::npos) {
    return "";
  }
  const std::size_t start = listed.rfind("id ", listed.rfind(", type", at)) + 3;
  return listed.substr(start, listed.find(',', start) - start);
}

std::string PipeWireTest::propsOf(const std::string& name) {
  return run({"pw-cli", "enum-params", nodeID(name), "Props"}).output;
}

bool PipeWireTest::wasTold(AudioDeviceID device, std::uint32_t property) {
  const auto fresh = events.take();
  told_.insert(told_.end(), fresh.begin(), fresh.end());
  return std::any_of(told_.begin(), told_.end(),
                     [&](const ToldChange& change) { return change.device == device && change.property == property; });
}

}  // namespace orv::test
