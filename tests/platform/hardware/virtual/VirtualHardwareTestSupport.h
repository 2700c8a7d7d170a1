#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "OrvPlatform/VirtualHardware.h"

namespace orv::test {

/// What a backend told.
struct ToldChange {
  AudioDeviceID device = 0;  ///< 0: the hardware as a whole
  std::uint32_t channel = 0;
  bool isInput = false;
  std::uint32_t property = 0;

  bool operator==(const ToldChange&) const = default;
};

class RecordedEvents : public HardwareEvents {
 public:
  void hardwareChanged(AudioHardwarePropertyID property) noexcept override { add({0, 0, false, property}); }
  void deviceChanged(AudioDeviceID device, std::uint32_t channel, bool isInput,
                     AudioDevicePropertyID property) noexcept override {
    add({device, channel, isInput, property});
  }

  /// All since the last call.
  std::vector<ToldChange> take();
  std::size_t count(std::uint32_t property);

 private:
  void add(const ToldChange& change);

  std::mutex mutex_;
  std::vector<ToldChange> changes_;  // guarded by mutex_
};

/// What came in one cycle.
struct RecordedCycle {
  AudioTimeStamp now{};
  AudioTimeStamp inputTime{};
  AudioTimeStamp outputTime{};
  std::vector<std::vector<float>> input;  ///< of each stream
  std::vector<std::uint32_t> inputChannels;
  std::vector<std::uint32_t> outputBytes;
};

/// Keeps every cycle, and plays what `play` puts into the output.
class RecordingSink : public HardwareCycleSink {
 public:
  using Work = std::function<void(const HardwareCycle& cycle)>;

  explicit RecordingSink(Work play = {}) : play_(std::move(play)) {}
  void cycle(const HardwareCycle& cycle) noexcept override;

  const std::vector<RecordedCycle>& cycles() const { return cycles_; }
  /// The first stream's input of all cycles.
  std::vector<float> input() const;

 private:
  const Work play_;
  std::vector<RecordedCycle> cycles_;
};

/// Counts cycles; for threads.
class CountingSink : public HardwareCycleSink {
 public:
  using Work = std::function<void()>;

  explicit CountingSink(Work work = {}) : work_(std::move(work)) {}
  void cycle(const HardwareCycle& cycle) noexcept override;

  std::uint64_t cycles() const { return cycles_; }
  /// Returns when so many cycles have been.
  void waitForCycles(std::uint64_t count) const;
  bool overlapped() const { return overlapped_; }

 private:
  const Work work_;
  std::atomic<std::uint64_t> cycles_{0};
  std::atomic<bool> isInCycle_{false};
  std::atomic<bool> overlapped_{false};
};

/// Samples that differ from each other and can be told from each other: frame n of channel c is (n × channels + c + 1)
/// in the given steps.
std::vector<float> countingSamples(std::size_t frames, std::uint32_t channels, float step = 1.0F / 32768.0F);
/// Puts these samples into the first output buffer, cycle after cycle, and silence behind them.
RecordingSink::Work playing(std::vector<float> samples);

AudioStreamBasicDescription pcm(std::uint32_t channels, std::uint32_t bits, double rate = 0.0, bool isFloat = false,
                                bool isBigEndian = false);
/// Input and output of so many channels in one stream each, with all controls and one rate.
VirtualDevice simpleDevice(const std::string& uid, std::uint32_t channels = 2, double rate = 44100.0,
                           std::uint32_t frames = 64);
std::shared_ptr<VirtualHardware> handHardware();

/// A WAVE or AIFF file of `frames` × `channels` samples as they come out of `pcm(bits)`; returns what a device is to
/// hear.
std::vector<float> writeAudioFile(const std::string& path, std::uint32_t bits, std::uint32_t channels,
                                  std::size_t frames, double rate = 44100.0, unsigned seed = 1);

/// A device property that is there.
template <typename T>
T deviceValue(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
              std::uint32_t channel = 0, T value = {}) {
  std::uint32_t size = sizeof value;
  if (hardware.deviceProperty(device, channel, isInput, property, &size, &value) != noErr || size != sizeof value) {
    throw std::runtime_error("can't read " + fourCCText(property));
  }
  return value;
}

template <typename T>
OSStatus setDeviceValue(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                        const T& value, std::uint32_t channel = 0) {
  return hardware.setDeviceProperty(device, channel, isInput, property, sizeof value, &value);
}

template <typename T>
std::vector<T> deviceList(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                          std::uint32_t channel = 0) {
  std::uint32_t size = 0;
  bool isWritable = false;
  if (hardware.devicePropertyInfo(device, channel, isInput, property, &size, &isWritable) != noErr) {
    throw std::runtime_error("no " + fourCCText(property));
  }
  std::vector<T> values(size / sizeof(T));
  if (hardware.deviceProperty(device, channel, isInput, property, &size, values.data()) != noErr) {
    throw std::runtime_error("can't read " + fourCCText(property));
  }
  return values;
}

std::string deviceText(AudioHardware& hardware, AudioDeviceID device, AudioDevicePropertyID property,
                       bool isInput = true);
OSStatus deviceStatus(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                      std::uint32_t channel = 0);
bool isWritable(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                std::uint32_t channel = 0);
AudioDeviceID hardwareDevice(AudioHardware& hardware, AudioHardwarePropertyID property);

}  // namespace orv::test
