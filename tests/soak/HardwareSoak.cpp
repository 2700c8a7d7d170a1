// Hours of audio through virtual devices that are plugged in, pulled out, swapped and broken at random, while hosts
// subscribe, unsubscribe, start, stop, meter and turn knobs. Ends with a line of what happened; fails when a subscriber
// was called after its end, when anything was destroyed in a cycle, or when the audio did not add up.
//
//   hardware_soak [SECONDS] [HOURS] [SEED]    at least so many seconds and so many hours of audio
#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvAudioDeviceNotifications.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>
#include <OrvPlatform/Log.h>
#include <OrvPlatform/NotificationCenter.h>
#include <OrvPlatform/RunLoop.h>
#include <OrvPlatform/VirtualHardware.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Random = std::mt19937;

constexpr std::uint64_t kAlive = 0x600DF00D;
constexpr std::size_t kMostDevices = 8;
constexpr double kSecondsPerHour = 3600;

/// What happened, and what must not have.
struct Tally {
  std::atomic<std::uint64_t> cycles{0};
  std::atomic<std::uint64_t> milliseconds{0};  ///< of audio
  std::atomic<std::uint64_t> plugs{0};
  std::atomic<std::uint64_t> unplugs{0};
  std::atomic<std::uint64_t> swaps{0};
  std::atomic<std::uint64_t> subscriptions{0};
  std::atomic<std::uint64_t> starts{0};
  std::atomic<std::uint64_t> knobs{0};
  std::atomic<std::uint64_t> faults{0};
  std::atomic<std::uint64_t> notifications{0};
  std::atomic<std::uint64_t> wrong{0};

  double hours() const { return static_cast<double>(milliseconds) / 1000 / kSecondsPerHour; }
};

Tally tally;
std::atomic<bool> isDone{false};

std::uint32_t below(Random* random, std::size_t count) {
  return std::uniform_int_distribution<std::uint32_t>(0, static_cast<std::uint32_t>(count - 1))(*random);
}

/// Counts audio, and knows whether it is called after its end or ended in a cycle.
class Listener final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  explicit Listener(bool counts) : counts_(counts) {}
  ~Listener() override {
    state_ = 0;
    tally.wrong += orv::isInHardwareCycle() ? 1 : 0;
  }
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
      const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
      void* /*clientData*/) noexcept override {
    tally.wrong += state_ == kAlive ? 0 : 1;
    if (counts_ && outputData != nullptr && outputData->mNumberBuffers > 0) {
      const AudioBuffer& buffer = outputData->mBuffers[0];
      ++tally.cycles;
      samples_ += buffer.mDataByteSize / (sizeof(float) * buffer.mNumberChannels);
      // Milliseconds at 96 kHz, the fastest rate of the devices: rather too few.
      tally.milliseconds += samples_ / 96;
      samples_ %= 96;
    }
    return noErr;
  }

 private:
  const bool counts_;
  std::uint64_t samples_ = 0;  // I/O thread
  std::atomic<std::uint64_t> state_{kAlive};
};

/// The devices that are plugged in, as far as the plugger knows.
class Bench {
 public:
  explicit Bench(std::shared_ptr<orv::VirtualHardware> hardware) : hardware_(std::move(hardware)) {}

  void plug(Random* random) {
    const std::lock_guard guard(mutex_);
    if (devices_.size() < kMostDevices) {
      devices_.push_back(hardware_->plug(randomDevice(random)));
      ++tally.plugs;
    }
  }
  void unplug(Random* random) {
    const std::lock_guard guard(mutex_);
    if (devices_.size() > 1) {
      const auto which = devices_.begin() + 1 + below(random, devices_.size() - 1);
      tally.wrong += hardware_->unplug(*which) ? 0 : 1;
      devices_.erase(which);
      ++tally.unplugs;
    }
  }
  void swap(Random* random) {
    const std::lock_guard guard(mutex_);
    if (devices_.size() > 1) {
      AudioDeviceID& which = devices_[1 + below(random, devices_.size() - 1)];
      which = hardware_->swap(which, randomDevice(random));
      ++tally.swaps;
    }
  }
  AudioDeviceID any(Random* random) {
    const std::lock_guard guard(mutex_);
    return devices_[below(random, devices_.size())];
  }

 private:
  orv::VirtualDevice randomDevice(Random* random) {
    orv::VirtualDevice device = below(random, 2) == 0   ? orv::virtualStereoInterface()
                                : below(random, 2) == 0 ? orv::virtualEightChannelInterface()
                                                        : orv::virtualSixChannelOutput();
    device.uid += " " + std::to_string(++made_);
    return device;
  }

  const std::shared_ptr<orv::VirtualHardware> hardware_;
  std::mutex mutex_;
  std::vector<AudioDeviceID> devices_;  // guarded by mutex_; the first stays for ever
  int made_ = 0;                        // guarded by mutex_
};

void plugAndPull(Bench* bench, Random random) {
  while (!isDone) {
    switch (below(&random, 3)) {
      case 0:
        bench->plug(&random);
        break;
      case 1:
        bench->unplug(&random);
        break;
      default:
        bench->swap(&random);
        break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(below(&random, 40)));
  }
}

void subscribeAndStart(Random random) {
  while (!isDone) {
    const auto devices = OrvAudioDevice::allDevicesArray().snapshot();
    if (devices.empty()) {
      continue;
    }
    const auto device = devices[below(&random, devices.size())];
    const bool isInput = below(&random, 2) == 0;
    const auto listener = std::make_shared<Listener>(false);
    device->addAudioIOSubscriber_forInput(listener, isInput);
    device->start();
    ++tally.subscriptions;
    ++tally.starts;
    std::this_thread::sleep_for(std::chrono::microseconds(below(&random, 5000)));
    device->removeAudioIOSubscriber_forInput(listener, isInput);
    device->stop();
  }
}

void turnKnobs(Bench* bench, orv::VirtualHardware* hardware, Random random) {
  while (!isDone) {
    const auto device = OrvAudioDevice::initWithDeviceID(bench->any(&random));
    device->setVolumeScalar_forChannel_isInput(static_cast<float>(below(&random, 100)) / 100, below(&random, 3),
                                               below(&random, 2) == 0);
    device->mute(below(&random, 2) == 0);
    device->description();
    device->streams(below(&random, 2) == 0);
    if (below(&random, 20) == 0) {
      hardware->setBufferFrameSize(device->deviceID(), 256U << below(&random, 3));
    }
    if (below(&random, 20) == 0) {
      hardware->setNominalSampleRate(device->deviceID(), below(&random, 2) == 0 ? 44100.0 : 96000.0);
    }
    ++tally.knobs;
    std::this_thread::sleep_for(std::chrono::milliseconds(below(&random, 5)));
  }
}

void breakThings(Bench* bench, orv::VirtualHardware* hardware, Random random) {
  constexpr orv::VirtualFault::Kind kKinds[] = {orv::VirtualFault::Kind::start, orv::VirtualFault::Kind::stop,
                                                orv::VirtualFault::Kind::propertyRead,
                                                orv::VirtualFault::Kind::propertyWrite};
  while (!isDone) {
    const AudioDeviceID device = bench->any(&random);
    orv::VirtualFault fault;
    fault.kind = kKinds[below(&random, std::size(kKinds))];
    hardware->addFault(device, fault);
    hardware->overload(device);
    ++tally.faults;
    std::this_thread::sleep_for(std::chrono::milliseconds(below(&random, 20)));
  }
}

std::string progress(double seconds) {
  return orv::formatText(
      "soak: %.0f s, %.2f h of audio in %llu cycles; %llu plugged, %llu pulled, %llu swapped; %llu subscriptions, "
      "%llu knobs, %llu faults, %llu notifications; %llu wrong",
      seconds, tally.hours(), static_cast<unsigned long long>(tally.cycles),
      static_cast<unsigned long long>(tally.plugs), static_cast<unsigned long long>(tally.unplugs),
      static_cast<unsigned long long>(tally.swaps), static_cast<unsigned long long>(tally.subscriptions),
      static_cast<unsigned long long>(tally.knobs), static_cast<unsigned long long>(tally.faults),
      static_cast<unsigned long long>(tally.notifications), static_cast<unsigned long long>(tally.wrong));
}

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
  const double hours = argc > 2 ? std::atof(argv[2]) : 0;
  const auto seed = static_cast<Random::result_type>(argc > 3 ? std::atoi(argv[3]) : 1);
  orv::setLogSink([](std::string_view) {});  // thousands of overloads

  const auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::asFastAsItGoes});
  orv::VirtualDevice interface = orv::virtualStereoInterface();
  interface.bufferFrameSize = 2048;  // more audio in the same time
  const AudioDeviceID steady = hardware->plug(interface);
  orv::installAudioHardware(hardware);
  OrvAudioDevice::initialize();
  const auto observation = orv::NotificationCenter::defaultCenter().addObserver(
      std::nullopt, nullptr, [](const orv::Notification&) { ++tally.notifications; });

  // One device runs all the time: its audio is what is counted.
  const auto device = OrvAudioDevice::initWithDeviceID(steady);
  const auto listener = std::make_shared<Listener>(true);
  device->addAudioIOSubscriber_forInput(listener, false);
  const auto meter = OrvVUMeterDataProvider::initWithAudioDevice(device);
  meter->setNotificationInterval(100);
  meter->start();

  Bench bench(hardware);
  Random random(seed);
  bench.plug(&random);
  std::vector<std::thread> hosts;
  hosts.emplace_back(plugAndPull, &bench, Random(seed + 1));
  hosts.emplace_back(subscribeAndStart, Random(seed + 2));
  hosts.emplace_back(subscribeAndStart, Random(seed + 3));
  hosts.emplace_back(turnKnobs, &bench, hardware.get(), Random(seed + 4));
  hosts.emplace_back(breakThings, &bench, hardware.get(), Random(seed + 5));

  const auto begin = Clock::now();
  const auto report = orv::RunLoop::main().every(30s, [&] {
    std::printf("%s\n", progress(secondsSince(begin)).c_str());
    std::fflush(stdout);
  });
  // Audio that no longer comes is a failure, not a reason to wait for ever.
  orv::RunLoop::main().runUntil(
      [&] { return secondsSince(begin) >= seconds && (tally.hours() >= hours || secondsSince(begin) >= 3 * seconds); },
      std::chrono::nanoseconds::max());
  isDone = true;
  for (std::thread& host : hosts) {
    host.join();
  }
  meter->stop();
  device->removeAudioIOSubscriber_forInput(listener, false);
  orv::waitForHardwareNotifications();
  orv::RunLoop::main().pump();
  const bool isGood = tally.wrong == 0 && tally.hours() >= hours && tally.cycles > 0;
  std::printf("%s\nsoak: %s\n", progress(secondsSince(begin)).c_str(), isGood ? "passed" : "FAILED");
  return isGood ? 0 : 1;
}
