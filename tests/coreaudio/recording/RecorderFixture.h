#pragma once

#include <gtest/gtest.h>

#include <OrvCoreAudio/OrvAudioRecorder.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "support/IndependentReader.h"
#include "support/ScriptedHardware.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {

/// The value that a line input delivers for a channel of a frame, as 16 bits: every frame differs from its neighbours.
inline std::int16_t lineSample(std::uint64_t frame, std::uint32_t channel) {
  return static_cast<std::int16_t>((frame * 7 + channel * 1009) % 65536);
}

/// A device with an input of any format, whose cycles the test makes.
class LineInput final : public ScriptedHardware {
 public:
  double rate = 44100;
  std::uint32_t channels = 2;
  std::uint32_t bits = 16;  ///< of the physical format; little-endian integer
  bool runs = true;         ///< what it says about itself once it is started

  /// The samples of so many frames from the device's current position on, which moves on.
  std::vector<float> nextFrames(std::uint32_t frames) {
    std::vector<float> samples(std::size_t{frames} * channels);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] =
          static_cast<float>(lineSample(position_ + i / channels, static_cast<std::uint32_t>(i % channels))) / 32768.0F;
    }
    position_ += frames;
    return samples;
  }
  std::uint64_t position() const { return position_; }

  /// One cycle of any number of frames.
  void deliver(std::uint32_t frames) { deliver(nextFrames(frames), channels); }
  void deliver(std::vector<float> samples, std::uint32_t channelsOfBlock) {
    const AudioBufferList in{
        1, {{channelsOfBlock, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()}}};
    AudioBufferList out{1, {{kChannels, sizeof output, output.data()}}};
    cycle(in, out);
  }

  OSStatus devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                              std::uint32_t* size, bool* isWritable) override {
    const OSStatus status = ScriptedHardware::devicePropertyInfo(device, channel, isInput, property, size, isWritable);
    if (property == kAudioDevicePropertyStreamFormat || property == kAudioStreamPropertyPhysicalFormat) {
      *size = sizeof(AudioStreamBasicDescription);
    } else if (property == kAudioDevicePropertyDeviceIsAlive || property == kAudioDevicePropertyDeviceIsRunning) {
      *size = sizeof(std::uint32_t);
    }
    return status;
  }
  OSStatus deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                          std::uint32_t* size, void* data) override {
    if (device != kDevice || !isThere) {
      return kAudioHardwareBadDeviceError;
    }
    switch (property) {
      case kAudioDevicePropertyBufferFrameSizeRange:
        return put(AudioValueRange{kFrames, 4096}, size, data);
      case kAudioDevicePropertyStreamFormat:
        return put(format(32, 9), size, data);
      case kAudioStreamPropertyPhysicalFormat:
        return put(format(bits, 12), size, data);
      case kAudioDevicePropertyDeviceIsAlive:
        return put(std::uint32_t{1}, size, data);
      case kAudioDevicePropertyDeviceIsRunning:
        return put(std::uint32_t{isRunning() && runs ? 1U : 0U}, size, data);
      default:
        return ScriptedHardware::deviceProperty(device, channel, isInput, property, size, data);
    }
  }

 private:
  AudioStreamBasicDescription format(std::uint32_t bitsPerSample, std::uint32_t flags) const {
    const std::uint32_t frame = bitsPerSample / 8 * channels;
    return {rate, fourCC("lpcm"), flags, frame, 1, frame, channels, bitsPerSample, 0};
  }
  template <typename Value>
  static OSStatus put(const Value& value, std::uint32_t* size, void* data) {
    if (*size < sizeof value) {
      return kAudioHardwareBadPropertySizeError;
    }
    std::memcpy(data, &value, sizeof value);
    *size = sizeof value;
    return noErr;
  }

  std::uint64_t position_ = 0;
};

/// The system's files, on a disk that can stall and fill up.
class TroubledDisk final : public FileManager {
 public:
  TroubledDisk() : system_(fileManager()), state_(std::make_shared<State>()) {}

  /// Writes of more than a header wait from now on, until `goOn`.
  void stall() { state_->setStalled(true); }
  void goOn() { state_->setStalled(false); }
  /// So many more bytes find room.
  void leave(std::int64_t bytes) { state_->room = bytes; }

  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override {
    std::unique_ptr<FileHandle> opened;
    const OSStatus status = system_->open(path, access, &opened);
    if (opened != nullptr) {
      *handle = std::make_unique<Handle>(std::move(opened), state_);
    }
    return status;
  }
  bool exists(const std::string& path) override { return system_->exists(path); }
  std::optional<FileAttributes> attributes(const std::string& path) override { return system_->attributes(path); }
  OSStatus move(const std::string& from, const std::string& to) override { return system_->move(from, to); }
  OSStatus copy(const std::string& from, const std::string& to) override { return system_->copy(from, to); }
  OSStatus remove(const std::string& path) override { return system_->remove(path); }
  OSStatus replace(const std::string& from, const std::string& to) override { return system_->replace(from, to); }
  OSStatus setHFSCodes(const std::string& path, const HFSCodes& codes) override {
    return system_->setHFSCodes(path, codes);
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool isStalled = false;  // guarded by mutex
    std::atomic<std::int64_t> room{std::int64_t{1} << 60};

    void setStalled(bool stalled) {
      const std::lock_guard guard(mutex);
      isStalled = stalled;
      changed.notify_all();
    }
    void wait() {
      std::unique_lock guard(mutex);
      changed.wait(guard, [this] { return !isStalled; });
    }
  };

  class Handle final : public FileHandle {
   public:
    Handle(std::unique_ptr<FileHandle> file, std::shared_ptr<State> state)
        : file_(std::move(file)), state_(std::move(state)) {}
    OSStatus readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) override {
      return file_->readAt(offset, buffer, length, moved);
    }
    OSStatus writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) override {
      constexpr std::size_t kLargestHeader = 512;
      if (length > kLargestHeader) {
        state_->wait();
      }
      const auto end = offset + static_cast<std::int64_t>(length);
      const std::int64_t growth = std::max<std::int64_t>(0, end - file_->size());
      const std::int64_t missing = std::max<std::int64_t>(0, growth - state_->room);
      state_->room -= growth - missing;
      const OSStatus status = file_->writeAt(offset, buffer, length - static_cast<std::size_t>(missing), moved);
      return missing > 0 && status == noErr ? kDiskFullStatus : status;
    }
    std::int64_t size() override { return file_->size(); }
    OSStatus setSize(std::int64_t size) override { return file_->setSize(size); }
    OSStatus reserve(std::int64_t offset, std::int64_t length) override {
      return offset + length - file_->size() > state_->room ? kDiskFullStatus : file_->reserve(offset, length);
    }
    OSStatus synchronise() override { return file_->synchronise(); }

   private:
    std::unique_ptr<FileHandle> file_;
    std::shared_ptr<State> state_;
  };

  std::shared_ptr<FileManager> system_;
  std::shared_ptr<State> state_;
};

/// A recorder's device, a folder for its files, and all that is posted.
class RecorderFixture : public testing::Test {
 protected:
  static constexpr std::uint32_t kFramesInBuffer = 0x60000 / 8;  ///< of two channels

  RecorderFixture() {
    installAudioHardware(hardware);
    waitForHardwareNotifications();
    device = OrvAudioDevice::initWithDeviceID(LineInput::kDevice);
    pump();
    heard.clear();
    senders.clear();
  }
  ~RecorderFixture() override {
    device = nullptr;
    pump();
    installFileManager(nullptr);
    hardware->isThere = false;
    waitForHardwareNotifications();
    installAudioHardware(std::make_shared<ScriptedHardware>());
    waitForHardwareNotifications();
    pump();
  }

  /// Does what waits for the main thread.
  static void pump() {
    while (RunLoop::main().pump() > 0) {
    }
  }
  std::size_t count(const std::string& name) {
    pump();
    return static_cast<std::size_t>(std::count(heard.begin(), heard.end(), name));
  }

  std::shared_ptr<OrvAudioRecorder> makeRecorder() const {
    return OrvAudioRecorder::initWithAudioDevice_filePath(device, path);
  }
  /// One whose device has so many channels and so many frames a second.
  std::shared_ptr<OrvAudioRecorder> makeRecorder(std::uint32_t channels, double rate) const {
    hardware->channels = channels;
    hardware->rate = rate;
    return makeRecorder();
  }
  static OrvAudioRecorder::Format pcm(double rate, std::uint32_t channels, std::uint32_t bits, std::uint32_t flags) {
    const std::uint32_t frame = bits / 8 * channels;
    const AudioStreamBasicDescription record{rate, fourCC("lpcm"), flags, frame, 1, frame, channels, bits, 0};
    return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
  }
  /// In blocks of 512 and a rest.
  void deliver(std::uint64_t frames) const {
    while (frames > 0) {
      const auto block = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, 512));
      hardware->deliver(block);
      frames -= block;
    }
  }
  void announceDeviceChange(AudioDevicePropertyID property) const {
    hardware->events().deviceChanged(LineInput::kDevice, 0, true, property);
    waitForHardwareNotifications();
    pump();
  }
  void unplug() const {
    hardware->isThere = false;
    hardware->events().hardwareChanged(kAudioHardwarePropertyDevices);
    waitForHardwareNotifications();
    pump();
  }

  /// Whether the file at `path` holds the device's frames from 0 on, as 16 bits, and how many.
  void expectFrames(std::uint64_t frames, std::uint32_t channels = 2) const {
    const auto reading = readIndependently(path);
    ASSERT_TRUE(reading);
    ASSERT_EQ(reading->frames, static_cast<std::int64_t>(frames));
    ASSERT_EQ(reading->channels, static_cast<int>(channels));
    for (std::size_t i = 0; i < reading->ints.size(); ++i) {
      ASSERT_EQ(reading->ints[i] >> 16, lineSample(i / channels, static_cast<std::uint32_t>(i % channels)))
          << "frame " << i / channels;
    }
  }

  const std::shared_ptr<LineInput> hardware = std::make_shared<LineInput>();
  std::shared_ptr<OrvAudioDevice> device;
  const TemporaryDirectory folder;
  const std::string path = folder / "take.aif";
  std::vector<std::string> heard;
  std::vector<const Object*> senders;

 private:
  Observation observation_ =
      NotificationCenter::defaultCenter().addObserver(std::nullopt, nullptr, [this](const Notification& told) {
        heard.push_back(told.name);
        senders.push_back(told.object.get());
      });
};

}  // namespace orv::test
