#include "VirtualHardwareTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <thread>

#include "OrvPlatform/AudioFile.h"

namespace orv::test {

void RecordedEvents::add(const ToldChange& change) {
  const std::lock_guard guard(mutex_);
  changes_.push_back(change);
}

std::vector<ToldChange> RecordedEvents::take() {
  const std::lock_guard guard(mutex_);
  return std::exchange(changes_, {});
}

std::size_t RecordedEvents::count(std::uint32_t property) {
  const std::lock_guard guard(mutex_);
  return static_cast<std::size_t>(std::count_if(changes_.begin(), changes_.end(),
                                                [&](const ToldChange& change) { return change.property == property; }));
}

void RecordingSink::cycle(const HardwareCycle& cycle) noexcept {
  RecordedCycle record;
  record.now = cycle.now;
  record.inputTime = cycle.inputTime;
  record.outputTime = cycle.outputTime;
  for (std::uint32_t i = 0; i < cycle.input->mNumberBuffers; ++i) {
    const AudioBuffer& buffer = cycle.input->mBuffers[i];
    const auto* const samples = static_cast<const float*>(buffer.mData);
    record.input.emplace_back(samples, samples + buffer.mDataByteSize / sizeof(float));
    record.inputChannels.push_back(buffer.mNumberChannels);
  }
  for (std::uint32_t i = 0; i < cycle.output->mNumberBuffers; ++i) {
    record.outputBytes.push_back(cycle.output->mBuffers[i].mDataByteSize);
  }
  if (play_) {
    play_(cycle);
  }
  cycles_.push_back(std::move(record));
}

std::vector<float> RecordingSink::input() const {
  std::vector<float> all;
  for (const RecordedCycle& cycle : cycles_) {
    all.insert(all.end(), cycle.input.front().begin(), cycle.input.front().end());
  }
  return all;
}

void CountingSink::cycle(const HardwareCycle& /*cycle*/) noexcept {
  if (isInCycle_.exchange(true)) {
    overlapped_ = true;
  }
  if (work_) {
    work_();
  }
  isInCycle_ = false;
  ++cycles_;
  cycles_.notify_all();
}

void CountingSink::waitForCycles(std::uint64_t count) const {
  for (std::uint64_t seen = cycles_; seen < count; seen = cycles_) {
    cycles_.wait(seen);
  }
}

std::vector<float> countingSamples(std::size_t frames, std::uint32_t channels, float step) {
  std::vector<float> samples(frames * channels);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<float>(i + 1) * step;
  }
  return samples;
}

RecordingSink::Work playing(std::vector<float> samples) {
  return [samples = std::move(samples), at = std::size_t{0}](const HardwareCycle& cycle) mutable {
    const AudioBuffer& buffer = cycle.output->mBuffers[0];
    auto* const target = static_cast<float*>(buffer.mData);
    const std::size_t count = std::min(samples.size() - at, buffer.mDataByteSize / sizeof(float));
    std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(at), count, target);
    at += count;
  };
}

AudioStreamBasicDescription pcm(std::uint32_t channels, std::uint32_t bits, double rate, bool isFloat,
                                bool isBigEndian) {
  const std::uint32_t bytes = channels * ((bits + 7) / 8);
  const std::uint32_t flags = kAudioFormatFlagIsPacked |
                              (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) |
                              (isBigEndian ? kAudioFormatFlagIsBigEndian : 0);
  return {rate, kAudioFormatLinearPCM, flags, bytes, 1, bytes, channels, bits, 0};
}

VirtualDevice simpleDevice(const std::string& uid, std::uint32_t channels, double rate, std::uint32_t frames) {
  VirtualDevice device;
  device.uid = uid;
  device.name = "Device " + uid;
  device.manufacturer = "Makers";
  device.nominalSampleRates = {{rate, rate}, {rate * 2, rate * 2}};
  device.nominalSampleRate = rate;
  device.bufferFrameSize = frames;
  for (VirtualSection* const section : {&device.input, &device.output}) {
    section->streams = {{{pcm(channels, 24), pcm(channels, 16)}, 0}};
    for (std::uint32_t channel = 0; channel <= channels; ++channel) {
      VirtualControl control;
      control.channel = channel;
      section->controls.push_back(control);
    }
  }
  return device;
}

std::shared_ptr<VirtualHardware> handHardware() {
  VirtualHardwareOptions options;
  options.clock = VirtualClock::byHand;
  return VirtualHardware::make(options);
}

std::vector<float> writeAudioFile(const std::string& path, std::uint32_t bits, std::uint32_t channels,
                                  std::size_t frames, double rate, unsigned seed) {
  const bool isWave = path.ends_with(".wav");
  const AudioStreamBasicDescription format = pcm(channels, bits, rate, false, !isWave);
  std::unique_ptr<AudioFileSession> session;
  const AudioFileTypeID type = isWave ? kAudioFileWAVEType : kAudioFileAIFFType;
  EXPECT_EQ(audioFileService()->create(path, type, format, &session), noErr) << audioFileProblem();
  const std::uint32_t bytes = bits / 8;
  std::vector<std::uint8_t> data;
  std::vector<float> heard;
  std::uint32_t state = seed * 2654435761U + 1;
  for (std::size_t i = 0; i < frames * channels; ++i) {
    state = state * 1664525U + 1013904223U;
    // Sign-extended from the upper bits, so that every value of the format can come up.
    const std::int32_t value = static_cast<std::int32_t>(state) >> (32 - bits);
    for (std::uint32_t b = 0; b < bytes; ++b) {
      const std::uint32_t shift = 8 * (isWave ? b : bytes - 1 - b);
      data.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(value) >> shift));
    }
    heard.push_back(static_cast<float>(std::ldexp(value, 1 - static_cast<int>(bits))));
  }
  auto count = static_cast<std::uint32_t>(data.size());
  EXPECT_EQ(session->writeBytes(0, &count, data.data()), noErr);
  EXPECT_EQ(session->close(), noErr);
  return heard;
}

std::string deviceText(AudioHardware& hardware, AudioDeviceID device, AudioDevicePropertyID property, bool isInput) {
  const auto characters = deviceList<char>(hardware, device, isInput, property);
  return {characters.begin(), characters.end()};
}

OSStatus deviceStatus(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                      std::uint32_t channel) {
  std::uint32_t size = 0;
  bool writable = false;
  return hardware.devicePropertyInfo(device, channel, isInput, property, &size, &writable);
}

bool isWritable(AudioHardware& hardware, AudioDeviceID device, bool isInput, AudioDevicePropertyID property,
                std::uint32_t channel) {
  std::uint32_t size = 0;
  bool writable = false;
  return hardware.devicePropertyInfo(device, channel, isInput, property, &size, &writable) == noErr && writable;
}

AudioDeviceID hardwareDevice(AudioHardware& hardware, AudioHardwarePropertyID property) {
  AudioDeviceID device = 0xFFFFFFFF;
  std::uint32_t size = sizeof device;
  EXPECT_EQ(hardware.hardwareProperty(property, &size, &device), noErr);
  return device;
}

}  // namespace orv::test
