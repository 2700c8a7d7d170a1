// Reading properties of virtual devices, and bringing the registry up to date after one of a hundred was unplugged.
#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvPlatform/RunLoop.h>
#include <OrvPlatform/VirtualHardware.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"

namespace {

constexpr int kReads = 10000;  ///< a round
constexpr int kRounds = 20;
constexpr int kDevices = 100;

void require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(what);
  }
}

void measureRead(AudioDeviceID device, std::uint32_t channel, AudioDevicePropertyID property, const char* name,
                 orv::bench::RatioTable* table) {
  std::array<std::byte, 4096> value{};
  const auto times = orv::bench::bestTimes(
      kRounds, {[&] {
        for (int i = 0; i < kReads; ++i) {
          std::uint32_t size = value.size();
          require(AudioDeviceGetProperty(device, channel, true, property, &size, value.data()) == noErr, name);
        }
      }});
  table->addLimit(name, times[0] / kReads * 1e6, 0, 1.0, "us");
}

/// One of a hundred devices goes: from the unplugging to the registry without it, on whatever thread that is done.
void measureRebuild(orv::bench::RatioTable* table) {
  const auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  orv::installAudioHardware(hardware);
  std::vector<AudioDeviceID> ids;
  for (int i = 0; i < kDevices; ++i) {
    orv::VirtualDevice device = orv::virtualStereoInterface();
    device.uid = "device " + std::to_string(i);
    ids.push_back(hardware->plug(device));
  }
  orv::waitForHardwareNotifications();
  OrvAudioDevice::initialize();
  OrvAudioDevice::initializeListOfDevices();
  std::size_t expected = kDevices;
  const auto times = orv::bench::bestTimes(10, {[&] {
                                             require(hardware->unplug(ids.back()), "unplug");
                                             ids.pop_back();
                                             --expected;
                                             orv::waitForHardwareNotifications();
                                             require(OrvAudioDevice::allDevicesArray().count() == expected, "registry");
                                           }});
  table->addLimit("one of 100 devices unplugged, registry rebuilt", times[0] * 1e3, 0, 1.0, "ms");
}

}  // namespace

int main() {
  orv::bench::RatioTable table("Properties of virtual devices");
  const auto hardware = orv::VirtualHardware::makeDefaultSet({.clock = orv::VirtualClock::byHand});
  orv::installAudioHardware(hardware);
  AudioDeviceID device = kAudioDeviceUnknown;
  std::uint32_t size = sizeof device;
  AudioHardwareGetProperty(kAudioHardwarePropertyDefaultInputDevice, &size, &device);
  measureRead(device, 0, kAudioDevicePropertyDeviceUID, "UID", &table);
  measureRead(device, 0, kAudioDevicePropertyNominalSampleRate, "nominal sample rate", &table);
  measureRead(device, 0, kAudioDevicePropertyStreamFormat, "stream format", &table);
  measureRead(device, 0, kAudioDevicePropertyStreamFormats, "stream formats", &table);
  measureRead(device, 0, kAudioDevicePropertyStreamConfiguration, "stream configuration", &table);
  measureRead(device, 1, kAudioDevicePropertyVolumeScalar, "volume", &table);
  measureRead(device, 0, kAudioDevicePropertyDataSources, "data sources", &table);
  measureRead(device, 0, kAudioDevicePropertyAvailableNominalSampleRates, "nominal sample rates", &table);
  measureRebuild(&table);
  table.print();
}
