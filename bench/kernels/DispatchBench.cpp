// Handing one cycle to subscribers that do nothing, beside a plain loop over the same virtual calls; and the scan for
// peaks beside reading the same bytes from cache.
#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>
#include <OrvPlatform/VirtualHardware.h>

#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"

namespace {

constexpr int kRounds = 50;
constexpr int kCycles = 20000;  ///< a round
constexpr double kNanoseconds = 1e9;

class Idle final : public OrvCoreAudioIOSubscriber {
 public:
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
      const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
      void* /*clientData*/) noexcept override {
    return noErr;
  }
};

/// What a subscriber is called with.
struct Cycle {
  AudioTimeStamp time{};
  AudioBufferList input{1, {{2, 0, nullptr}}};
  AudioBufferList output{0, {{0, 0, nullptr}}};

  void handTo(OrvCoreAudioIOSubscriber& subscriber) {
    subscriber.audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        nullptr, &time, &input, &time, &output, &time, nullptr);
  }
};

void measureDispatch(std::size_t subscribers, orv::bench::RatioTable* table) {
  const auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  const AudioDeviceID id = hardware->plug(orv::virtualStereoInterface());
  orv::installAudioHardware(hardware);
  const auto device = OrvAudioDevice::initWithDeviceID(id);
  std::vector<OrvCoreAudioIOSubscriber*> plain;
  for (std::size_t i = 0; i < subscribers; ++i) {
    const auto idle = std::make_shared<Idle>();
    plain.push_back(idle.get());
    device->addAudioIOSubscriber_forInput(idle, true);
  }
  device->start();
  Cycle cycle;
  const auto times = orv::bench::bestTimes(kRounds, {[&] {
                                                       for (int i = 0; i < kCycles; ++i) {
                                                         cycle.handTo(*device);
                                                       }
                                                     },
                                                     [&] {
                                                       for (int i = 0; i < kCycles; ++i) {
                                                         for (OrvCoreAudioIOSubscriber* const each : plain) {
                                                           cycle.handTo(*each);
                                                         }
                                                       }
                                                     }});
  device->stop();
  const double calls = static_cast<double>(kCycles) * static_cast<double>(subscribers);
  table->addLimit(std::to_string(subscribers) + " subscribers, each beyond its call",
                  (times[0] - times[1]) / calls * kNanoseconds, times[1] / calls * kNanoseconds, 5.0, "ns");
}

void measurePeaks(std::uint32_t channels, orv::bench::RatioTable* table) {
  constexpr std::uint32_t kFrames = 512;
  std::vector<float> samples(std::size_t{kFrames} * channels);
  std::iota(samples.begin(), samples.end(), -1000.0F);
  const auto bytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
  const auto provider = OrvVUMeterDataProvider::init();
  volatile std::uint64_t sink = 0;
  const auto times = orv::bench::bestTimes(
      kRounds, {[&] {
                  for (int i = 0; i < kCycles; ++i) {
                    std::free(provider->findMaxValues_numChannels_length(samples.data(), channels, bytes));
                  }
                },
                [&] {
                  for (int i = 0; i < kCycles; ++i) {
                    const auto* const words = reinterpret_cast<const std::uint32_t*>(samples.data());
                    sink = std::accumulate(words, words + samples.size(), std::uint32_t{0});
                  }
                }});
  const double all = static_cast<double>(bytes) * kCycles;
  table->addRates("512 frames of " + std::to_string(channels) + " channels", all / times[0], all / times[1], 0.5);
}

}  // namespace

int main() {
  orv::bench::RatioTable dispatch("One cycle to subscribers that do nothing (peer: the calls themselves)");
  for (const std::size_t subscribers : {1, 8, 64}) {
    measureDispatch(subscribers, &dispatch);
  }
  dispatch.print();
  orv::bench::RatioTable peaks("Peaks of each channel (peer: reading the bytes from cache)");
  measurePeaks(2, &peaks);
  measurePeaks(8, &peaks);
  peaks.print();
}
