#include <chrono>
#include <stdexcept>
#include <thread>

#include "HardwareContract.h"
#include "OrvPlatform/PipeWireHardware.h"
#include "support/PrivatePipeWire.h"

namespace orv::test {
namespace {

/// One server for all tests of the program; why there is none, otherwise.
struct Server {
  std::string reason;
  std::unique_ptr<PrivatePipeWire> running = PrivatePipeWire::start(false, &reason);

  static Server& shared() {
    static Server server;
    return server;
  }
};

bool waitUntil(const std::function<bool()>& isTrue) {
  for (int i = 0; i < 10000; ++i) {
    if (isTrue()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

/// The machine's devices, on a server that has null devices only. Each test has a duplex device of its own.
class PipeWireBackend : public BackendUnderTest {
 public:
  PipeWireBackend() {
    const std::string name = nextName();
    PrivatePipeWire::addNode(name, "media.class=Audio/Duplex audio.position=[ FL FR ] device.vendor.name=Maker");
    std::string problem;
    hardware_ = connectToPipeWire(std::chrono::seconds(5), &problem);
    if (hardware_ == nullptr) {
      throw std::runtime_error(problem);
    }
    device_ = waitFor(name);
  }
  ~PipeWireBackend() override {
    for (int i = 0; i <= nodes_; ++i) {
      PrivatePipeWire::removeNode(nameOf(i));
    }
  }

  std::shared_ptr<AudioHardware> hardware() override { return hardware_; }
  AudioDeviceID duplexDevice() override { return device_; }
  bool runUntil(const std::function<bool()>& isEnough) override { return waitUntil(isEnough); }

  AudioDeviceID plugIn() override {
    const std::string name = nextName();
    PrivatePipeWire::addNode(name, "media.class=Audio/Source/Virtual audio.position=[ MONO ]");
    return waitFor(name);
  }

  void pullOut(AudioDeviceID device) override {
    const std::string name = uid(device);
    PrivatePipeWire::removeNode(name);
    waitUntil([&] { return find(name) == kAudioDeviceUnknown; });
  }

 private:
  static std::string nameOf(int number) { return "contract-" + std::to_string(number); }
  std::string nextName() { return nameOf(++nodes_); }

  AudioDeviceID waitFor(const std::string& name) {
    AudioDeviceID device = kAudioDeviceUnknown;
    waitUntil([&] { return (device = find(name)) != kAudioDeviceUnknown; });
    return device;
  }

  AudioDeviceID find(std::string name) {
    AudioDeviceID found = kAudioDeviceUnknown;
    AudioValueTranslation translation{name.data(), static_cast<std::uint32_t>(name.size()), &found, sizeof found};
    std::uint32_t size = sizeof translation;
    hardware_->hardwareProperty(kAudioHardwarePropertyDeviceForUID, &size, &translation);
    return found;
  }

  std::string uid(AudioDeviceID device) {
    std::string text(100, '\0');
    auto size = static_cast<std::uint32_t>(text.size());
    const OSStatus status =
        hardware_->deviceProperty(device, 0, false, kAudioDevicePropertyDeviceUID, &size, text.data());
    text.resize(status == noErr ? size : 0);
    return text;
  }

  int nodes_ = 0;
  std::shared_ptr<AudioHardware> hardware_;
  AudioDeviceID device_ = kAudioDeviceUnknown;
};

BackendDescription description() {
  return {"PrivateServer", [] { return std::make_unique<PipeWireBackend>(); }, [] { return Server::shared().reason; }};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(PipeWire, HardwareContract, testing::Values(description()),
                         [](const auto& backend) { return backend.param.name; });

}  // namespace orv::test
