// Recording 32-bit floats into 16-bit AIFF: what a cycle costs the device's thread, beside the copy of its bytes, and
// what a channel costs the processor, beside libsndfile.
#include <OrvCoreAudio/OrvAudioRecorder.h>
#include <sndfile.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "support/RatioTable.h"
#include "support/TemporaryDirectory.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kRate = 48000;
constexpr std::uint32_t kFrames = 512;
constexpr std::uint64_t kBytesDelivered = 400'000'000;  // of floats, for each number of channels
constexpr std::uint64_t kBytesAhead = 1'000'000;        // of the file
constexpr int kCycles = 1'000'000;

/// Processor seconds of this process until now, all threads.
double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A tone whose loudest samples clip, different in each channel.
std::vector<float> block(std::uint32_t channels) {
  std::vector<float> samples(std::size_t{kFrames} * channels);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = 1.1F * (static_cast<float>((i * 2654435761U) % 65536) / 32768.0F - 1.0F);
  }
  return samples;
}

orv::VirtualDevice input(std::uint32_t channels) {
  orv::VirtualDevice device;
  device.uid = "bench-" + std::to_string(channels);
  device.nominalSampleRate = kRate;
  device.bufferFrameSize = kFrames;
  orv::VirtualStream stream;
  const std::uint32_t frame = 2 * channels;
  stream.physicalFormats = {{0, orv::fourCC("lpcm"), 12, frame, 1, frame, channels, 16, 0}};
  device.input.streams = {stream};
  return device;
}

/// A recorder whose cycles are made by calling it.
class Take {
 public:
  Take(orv::VirtualHardware& hardware, std::uint32_t channels, const std::string& path)
      : hardware_(hardware),
        id_(hardware.plug(input(channels))),
        samples_(block(channels)),
        list_{1, {{channels, static_cast<std::uint32_t>(samples_.size() * sizeof(float)), samples_.data()}}} {
    device_ = OrvAudioDevice::initWithDeviceID(id_);
    recorder_ = OrvAudioRecorder::initWithAudioDevice_filePath(device_, path);
    if (!recorder_->startRecording()) {
      throw std::runtime_error(recorder_->lastProblem());
    }
  }

  Take(const Take&) = delete;
  Take& operator=(const Take&) = delete;
  ~Take() { hardware_.unplug(id_); }

  void cycle() {
    recorder_->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
        device_.get(), &time_, &list_, &time_, nullptr, &time_, nullptr);
  }
  void finish() {
    const bool isWhole = recorder_->finishRecording();
    while (orv::RunLoop::main().pump() > 0) {
    }
    if (!isWhole || recorder_->droppedBlocks() > 0) {
      throw std::runtime_error("frames are missing: " + recorder_->lastProblem());
    }
  }
  const std::vector<float>& samples() const { return samples_; }
  std::uint32_t bytes() const { return list_.mBuffers[0].mDataByteSize; }

 private:
  orv::VirtualHardware& hardware_;
  const AudioDeviceID id_;
  std::vector<float> samples_;
  AudioBufferList list_;
  AudioTimeStamp time_{};
  std::shared_ptr<OrvAudioDevice> device_;
  std::shared_ptr<OrvAudioRecorder> recorder_;
};

void waitUntil(const std::function<bool()>& isDone) {
  while (!isDone()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // waking up costs processor time as well
  }
}

/// Processor seconds for `kBytesDelivered`.
double record(orv::VirtualHardware& hardware, std::uint32_t channels, const std::string& path) {
  std::filesystem::remove(path);
  Take take(hardware, channels, path);
  const double begin = processorSeconds();
  std::uint64_t delivered = 0;
  std::uint64_t next = kBytesAhead;
  while (delivered < kBytesDelivered) {
    take.cycle();
    delivered += take.bytes();
    if (delivered / 2 >= next) {  // 16 bits of 32
      waitUntil([&] { return std::filesystem::file_size(path) + kBytesAhead >= delivered / 2; });
      next += kBytesAhead / 2;
      orv::RunLoop::main().pump();
    }
  }
  take.finish();
  return processorSeconds() - begin;
}

/// The same through libsndfile, which writes on the thread that calls it.
double recordWithLibsndfile(std::uint32_t channels, const std::string& path) {
  const std::vector<float> samples = block(channels);
  SF_INFO info{};
  info.channels = static_cast<int>(channels);
  info.samplerate = static_cast<int>(kRate);
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) {
    throw std::runtime_error(sf_strerror(nullptr));
  }
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  const double begin = processorSeconds();
  const std::uint64_t bytes = samples.size() * sizeof(float);
  for (std::uint64_t delivered = 0; delivered < kBytesDelivered; delivered += bytes) {
    sf_writef_float(file, samples.data(), kFrames);
  }
  sf_close(file);
  return processorSeconds() - begin;
}

void compareProcessorTime(orv::VirtualHardware& hardware) {
  const orv::test::TemporaryDirectory folder;
  orv::bench::RatioTable table("recording floats to 16-bit AIFF, per processor second; peer: libsndfile, clipping");
  std::string lines;
  for (const std::uint32_t channels : {1U, 8U, 64U, 256U}) {
    double ours = 1e9;
    double peer = 1e9;
    for (int round = 0; round < 3; ++round) {
      ours = std::min(ours, record(hardware, channels, folder / "take.aif"));
      peer = std::min(peer, recordWithLibsndfile(channels, folder / "peer.aif"));
    }
    const auto bytes = static_cast<double>(kBytesDelivered);
    table.addRates(std::to_string(channels) + " channels", bytes / ours, bytes / peer, 2.0);
    const double channelSeconds = bytes / sizeof(float) / kRate;
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(),
                  "%3u channels of 48 kHz: %6.0f channels a core (libsndfile %6.0f), %.2f %% of a core in real time\n",
                  channels, channelSeconds / ours, channelSeconds / peer, 100 * channels * ours / channelSeconds);
    lines += line.data();
  }
  table.print();
  std::printf("%s\n", lines.c_str());
}

/// Takes everything and keeps nothing but the head and the length.
class NoDisk final : public orv::FileManager {
 public:
  std::atomic<std::int64_t> length{0};
  std::array<char, 4096> head{};  ///< the thread's that writes

  OSStatus open(const std::string& /*path*/, orv::FileAccess /*access*/,
                std::unique_ptr<orv::FileHandle>* handle) override {
    *handle = std::make_unique<Handle>(*this);
    return noErr;
  }
  bool exists(const std::string& /*path*/) override { return length > 0; }
  std::optional<orv::FileAttributes> attributes(const std::string& /*path*/) override { return std::nullopt; }
  OSStatus move(const std::string& /*from*/, const std::string& /*to*/) override { return noErr; }
  OSStatus copy(const std::string& /*from*/, const std::string& /*to*/) override { return noErr; }
  OSStatus remove(const std::string& /*path*/) override { return noErr; }
  OSStatus replace(const std::string& /*from*/, const std::string& /*to*/) override { return noErr; }
  OSStatus setHFSCodes(const std::string& /*path*/, const orv::HFSCodes& /*codes*/) override { return noErr; }

 private:
  class Handle final : public orv::FileHandle {
   public:
    explicit Handle(NoDisk& disk) : disk_(disk) {}
    OSStatus readAt(std::int64_t offset, void* buffer, std::size_t bytes, std::size_t* moved) override {
      const auto there = std::max<std::int64_t>(0, inHead(disk_.length) - inHead(offset));
      *moved = std::min(bytes, static_cast<std::size_t>(there));
      std::memcpy(buffer, disk_.head.data() + inHead(offset), *moved);
      return noErr;
    }
    OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t bytes, std::size_t* moved) override {
      const std::int64_t end = offset + static_cast<std::int64_t>(bytes);
      std::memcpy(disk_.head.data() + inHead(offset), buffer, static_cast<std::size_t>(inHead(end) - inHead(offset)));
      disk_.length = std::max(disk_.length.load(), end);
      *moved = bytes;
      return noErr;
    }
    std::int64_t size() override { return disk_.length; }
    OSStatus setSize(std::int64_t size) override {
      disk_.length = size;
      return noErr;
    }
    OSStatus reserve(std::int64_t /*offset*/, std::int64_t /*bytes*/) override { return noErr; }
    OSStatus synchronise() override { return noErr; }

   private:
    std::int64_t inHead(std::int64_t offset) const {
      return std::min(offset, static_cast<std::int64_t>(disk_.head.size()));
    }

    NoDisk& disk_;
  };
};

double nanoseconds(Clock::duration time) {
  return std::chrono::duration<double, std::nano>(time).count();
}

double quantile(std::vector<double>& values, double share) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

/// Recorder and copy take turns, so that both meet the same machine.
void measureCycle(orv::VirtualHardware& hardware) {
  const auto disk = std::make_shared<NoDisk>();
  const auto system = orv::installFileManager(disk);
  constexpr int kCyclesInARow = 500;
  std::vector<double> ours;
  std::vector<double> peer;
  {
    Take take(hardware, 2, "/nowhere/take.aif");
    std::vector<char> copies(std::size_t{kCyclesInARow} * take.bytes());
    for (int row = 0; row < kCycles / kCyclesInARow; ++row) {
      for (int cycle = 0; cycle < kCyclesInARow; ++cycle) {
        const auto begin = Clock::now();
        take.cycle();
        const auto middle = Clock::now();
        std::memcpy(copies.data() + std::size_t{take.bytes()} * static_cast<std::size_t>(cycle), take.samples().data(),
                    take.bytes());
        ours.push_back(nanoseconds(middle - begin));
        peer.push_back(nanoseconds(Clock::now() - middle));
      }
      orv::RunLoop::main().pump();
      const std::int64_t delivered = std::int64_t{row + 1} * kCyclesInARow * take.bytes() / 2;
      waitUntil([&] { return disk->length + static_cast<std::int64_t>(kBytesAhead) >= delivered; });
    }
    take.finish();
  }
  orv::installFileManager(system);
  orv::bench::RatioTable table("a cycle of 512 stereo frames; peer: memcpy of the same bytes");
  const double copy = quantile(peer, 0.5);
  table.addLimit("median", quantile(ours, 0.5), copy, 1.5 * copy + 100, "ns");
  table.addLimit("99.99th percentile", quantile(ours, 0.9999), quantile(peer, 0.9999), 1e6, "ns");
  table.print();
}

}  // namespace

int main() {
  const auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
  orv::installAudioHardware(hardware);
  measureCycle(*hardware);
  compareProcessorTime(*hardware);
  orv::installAudioHardware(nullptr);
  return 0;
}
