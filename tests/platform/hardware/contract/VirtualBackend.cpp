#include <thread>

#include "HardwareContract.h"
#include "OrvPlatform/VirtualHardware.h"

namespace orv::test {
namespace {

/// The virtual hardware, with a clock of one kind.
class VirtualBackend : public BackendUnderTest {
 public:
  explicit VirtualBackend(const VirtualHardwareOptions& options)
      : isByHand_(options.clock == VirtualClock::byHand), hardware_(VirtualHardware::make(options)) {
    device_ = hardware_->plug(virtualStereoInterface());
  }

  std::shared_ptr<AudioHardware> hardware() override { return hardware_; }
  AudioDeviceID duplexDevice() override { return device_; }

  bool runUntil(const std::function<bool()>& isEnough) override {
    for (int i = 0; i < 10000; ++i) {
      if (isEnough()) {
        return true;
      }
      if (isByHand_) {
        hardware_->step();
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
    return false;
  }

  AudioDeviceID plugIn() override { return hardware_->plug(virtualSixChannelOutput()); }
  void pullOut(AudioDeviceID device) override { hardware_->unplug(device); }

 private:
  const bool isByHand_;
  const std::shared_ptr<VirtualHardware> hardware_;
  AudioDeviceID device_ = kAudioDeviceUnknown;
};

BackendDescription description(const char* name, VirtualClock clock, double acceleration) {
  VirtualHardwareOptions options;
  options.clock = clock;
  options.acceleration = acceleration;
  return {name, [options] { return std::make_unique<VirtualBackend>(options); }, {}};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Virtual, HardwareContract,
                         testing::Values(description("ByHand", VirtualClock::byHand, 1.0),
                                         description("RealTime", VirtualClock::realTime, 1.0),
                                         description("Accelerated", VirtualClock::accelerated, 20.0),
                                         description("AsFastAsItGoes", VirtualClock::asFastAsItGoes, 1.0)),
                         [](const auto& backend) { return backend.param.name; });

}  // namespace orv::test
