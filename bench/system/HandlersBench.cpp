// What players, monitoring and meters cost a device's thread in each cycle of 512 stereo frames, beside the copy of the
// same bytes; and how long a player takes from a seek to the first cycle behind it. bench_recording has the recorder.
#include <OrvCoreAudio/OrvAudioPlayer.h>
#include <OrvCoreAudio/OrvPlayThroughHandler.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kFrames = 512;
constexpr std::uint32_t kBytes = kFrames * 2 * sizeof(float);
constexpr int kCycles = 1'000'000;
constexpr int kSeeks = 500;
constexpr double kAllowance = 100;  // ns that a cycle may take beside 1.5 times the copy

double nanoseconds(Clock::duration time) {
  return std::chrono::duration<double, std::nano>(time).count();
}

double quantile(std::vector<double>& values, double share) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

/// The buffers of a cycle, which is made by calling a handler.
struct Block {
  std::vector<float> input = std::vector<float>(kFrames * 2, 0.25F);
  std::vector<float> output = std::vector<float>(kFrames * 2);
  std::vector<float> copy = std::vector<float>(kFrames * 2);
  AudioBufferList heard{1, {{2, kBytes, input.data()}}};
  AudioBufferList played{1, {{2, kBytes, output.data()}}};
  AudioTimeStamp time{};

  void call(OrvCoreAudioIOSubscriber& handler, OrvAudioDevice& device) {
    time.mSampleTime += kFrames;
    ++time.mHostTime;
    handler.audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        &device, &time, &heard, &time, &played, &time, nullptr);
  }
};

/// Handler and copy take turns, so that both meet the same machine. `cycle` answers whether what it did counts.
void addCycles(orv::bench::RatioTable* table, const std::string& what, Block& block, int copies, bool isLimited,
               const std::function<bool(Clock::duration*)>& cycle) {
  std::vector<double> ours;
  std::vector<double> peer;
  while (ours.size() < kCycles) {
    Clock::duration time{};
    if (!cycle(&time)) {
      continue;
    }
    ours.push_back(nanoseconds(time));
    const auto begin = Clock::now();
    for (int i = 0; i < copies; ++i) {
      std::memcpy(block.copy.data(), block.input.data(), kBytes);
      *static_cast<volatile float*>(block.copy.data()) = 0;
    }
    peer.push_back(nanoseconds(Clock::now() - begin));
  }
  const double copy = quantile(peer, 0.5);
  const double most = isLimited ? 1.5 * copy + kAllowance : 1e6;
  table->addLimit(what + ", median", quantile(ours, 0.5), copy, most, "ns");
  table->addLimit(what + ", 99.99th percentile", quantile(ours, 0.9999), quantile(peer, 0.9999), 1e6, "ns");
}

Clock::duration timeOf(const std::function<void()>& work) {
  const auto begin = Clock::now();
  work();
  return Clock::now() - begin;
}

void pumpNowAndThen() {
  static int calls = 0;
  if (++calls % 100 == 0) {
    orv::RunLoop::main().pump();
  }
}

void measurePlayer(orv::bench::RatioTable* table, const std::shared_ptr<OrvAudioDevice>& device,
                   const std::string& path) {
  Block block;
  const auto player = OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path);
  const std::uint32_t last = player->lengthInFrames() - 4 * kFrames;
  player->setNotificationInterval(0);
  std::uint32_t played = last;
  std::uint64_t late = 0;
  addCycles(table, "player", block, 1, true, [&](Clock::duration* time) {
    if (played >= last) {
      player->playExactlyFromFrame_endFrame(0, player->lengthInFrames());
      played = 0;
    }
    pumpNowAndThen();
    *time = timeOf([&] { block.call(*player, *device); });
    played += kFrames;
    if (player->lateCycles() == late) {
      return true;
    }
    // It was called sooner than the file can be read.
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    late = player->lateCycles();
    return false;
  });
  player->stop();
}

void measureMonitor(orv::bench::RatioTable* table, const std::shared_ptr<OrvAudioDevice>& input,
                    const std::shared_ptr<OrvAudioDevice>& output) {
  Block block;
  const auto handler = OrvPlayThroughHandler::init();
  handler->setAudioDevice_isInput(input, true);
  handler->setAudioDevice_isInput(output, false);
  if (!handler->startBothOrNeither()) {
    throw std::runtime_error("the devices do not start");
  }
  // In and out: the bytes are copied twice.
  addCycles(table, "play-through, in and out", block, 2, true, [&](Clock::duration* time) {
    *time = timeOf([&] {
      block.call(*handler, *input);
      block.call(*handler, *output);
    });
    return true;
  });
  if (block.output != block.input) {
    throw std::runtime_error("what was heard is not what was played");
  }
  handler->stop();
}

void measureMeter(orv::bench::RatioTable* table, const std::shared_ptr<OrvAudioDevice>& device) {
  Block block;
  const auto meter = device->inputVUMeterDataProvider();
  meter->start();
  auto* const subscriber = dynamic_cast<OrvCoreAudioIOSubscriber*>(meter.get());
  if (subscriber == nullptr) {
    throw std::runtime_error("the meter hears no cycles");
  }
  addCycles(table, "meter", block, 1, false, [&](Clock::duration* time) {
    pumpNowAndThen();
    *time = timeOf([&] { block.call(*subscriber, *device); });
    return true;
  });
  meter->stop();
}

/// To a random place of a file of two hours, and the cycle behind it.
void measureSeeks(orv::bench::RatioTable* table, const std::shared_ptr<OrvAudioDevice>& device,
                  const std::string& path) {
  Block block;
  const auto player = OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path);
  player->playExactlyFromFrame_endFrame(0, player->lengthInFrames());
  std::mt19937 random(1);
  std::uniform_int_distribution<std::uint32_t> anywhere(0, player->lengthInFrames() - 4 * kFrames);
  double longest = 0;
  for (int i = 0; i < kSeeks; ++i) {
    const std::uint32_t place = anywhere(random);
    const std::uint64_t late = player->lateCycles();
    const double time = nanoseconds(timeOf([&] {
      player->setCurrentFrameOffset(place);
      block.call(*player, *device);
    }));
    if (player->lateCycles() != late) {
      throw std::runtime_error("the cycle behind a seek was silent");
    }
    longest = std::max(longest, time);
    orv::RunLoop::main().pump();
  }
  player->stop();
  constexpr double cycle = 1e6 * kFrames / 44100;
  table->addLimit("longest of 500 seeks in 2 hours, with the cycle behind it", longest / 1e3, 0, cycle, "us");
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  orv::bench::makeRecording(folder / "short.aiff", 1);
  orv::bench::makeSparseRecording(folder / "long.aiff", 120);
  const auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  orv::installAudioHardware(hardware);
  orv::VirtualDevice other = orv::virtualStereoInterface();
  other.uid = "other";
  const auto input = OrvAudioDevice::initWithDeviceID(hardware->plug(orv::virtualStereoInterface()));
  const auto output = OrvAudioDevice::initWithDeviceID(hardware->plug(other));

  orv::bench::RatioTable cycles("a cycle of 512 stereo frames; peer: memcpy of the bytes that it moves");
  measurePlayer(&cycles, output, folder / "short.aiff");
  measureMonitor(&cycles, input, output);
  measureMeter(&cycles, input);
  cycles.print();
  orv::bench::RatioTable seeks("seeking; the limit is one cycle");
  measureSeeks(&seeks, output, folder / "long.aiff");
  seeks.print();
  orv::installAudioHardware(nullptr);
  return 0;
}
