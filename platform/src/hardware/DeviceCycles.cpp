#include "DeviceCycles.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

#include "HardwareCycleMark.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Vector.h"

namespace orv {
namespace {

/// More streams, channels and frames than any device has; what claims more gets no mixing.
constexpr std::uint32_t kMostStreams = 256;
constexpr std::size_t kMostSamples = std::size_t{1} << 24;

void silence(const AudioBufferList& list) noexcept {
  for (std::uint32_t i = 0; i < list.mNumberBuffers; ++i) {
    const AudioBuffer& buffer = list.mBuffers[i];
    if (buffer.mData != nullptr && buffer.mDataByteSize > 0) {
      std::memset(buffer.mData, 0, buffer.mDataByteSize);
    }
  }
}

}  // namespace

class DeviceCycles::Mixing {
 public:
  Mixing(std::vector<AudioBuffer> streams, std::size_t samples) : samples_(samples) {
    const std::size_t bytes = offsetof(AudioBufferList, mBuffers) + streams.size() * sizeof(AudioBuffer);
    list_.resize(std::max(bytes, sizeof(AudioBufferList)) / sizeof(std::max_align_t) + 1);
    list().mNumberBuffers = static_cast<std::uint32_t>(streams.size());
    float* next = samples_.data();
    for (std::size_t i = 0; i < streams.size(); ++i) {
      capacity_.push_back(streams[i].mDataByteSize);
      streams[i].mData = next;
      next += streams[i].mDataByteSize / sizeof(float);
      list().mBuffers[i] = streams[i];
    }
  }

  /// A silent list of the shape of `output`; null when it has another one than it had when this was made.
  AudioBufferList* silentListLike(const AudioBufferList& output) noexcept {
    if (list().mNumberBuffers != output.mNumberBuffers) {
      return nullptr;
    }
    for (std::uint32_t i = 0; i < output.mNumberBuffers; ++i) {
      if (output.mBuffers[i].mDataByteSize > capacity_[i]) {
        return nullptr;
      }
      list().mBuffers[i].mDataByteSize = output.mBuffers[i].mDataByteSize;
      list().mBuffers[i].mNumberChannels = output.mBuffers[i].mNumberChannels;
    }
    silence(list());
    return &list();
  }

  void addTo(const AudioBufferList& output) noexcept {
    for (std::uint32_t i = 0; i < output.mNumberBuffers; ++i) {
      auto* const sum = static_cast<float*>(output.mBuffers[i].mData);
      const auto* const added = static_cast<const float*>(list().mBuffers[i].mData);
      if (sum != nullptr) {
        vadd(sum, 1, added, 1, sum, 1, output.mBuffers[i].mDataByteSize / sizeof(float));
      }
    }
  }

 private:
  AudioBufferList& list() noexcept { return *reinterpret_cast<AudioBufferList*>(list_.data()); }

  std::vector<std::max_align_t> list_;
  std::vector<std::uint32_t> capacity_;  // bytes of each buffer
  std::vector<float> samples_;
};

DeviceCycles::DeviceCycles(std::shared_ptr<AudioHardware> hardware, AudioDeviceID device)
    : hardware_(std::move(hardware)), device_(device) {}

std::shared_ptr<DeviceCycles::IOProc> DeviceCycles::find(AudioDeviceIOProc proc, void* clientData) const {
  const auto found = std::find_if(installed_.begin(), installed_.end(), [&](const auto& entry) {
    return entry->proc == proc && entry->clientData == clientData;
  });
  return found == installed_.end() ? nullptr : *found;
}

bool DeviceCycles::retire() {
  const std::unique_lock lock(mutex_, std::try_to_lock);
  if (!lock.owns_lock() || !installed_.empty() || isDeviceRunning_) {
    return false;
  }
  isRetired_ = true;
  return true;
}

OSStatus DeviceCycles::add(AudioDeviceIOProc proc, void* clientData) {
  const std::lock_guard guard(mutex_);
  if (isRetired_) {
    return kRetiredStatus;
  }
  if (find(proc, clientData) != nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  auto entry = std::make_shared<IOProc>();
  entry->proc = proc;
  entry->clientData = clientData;
  installed_.push_back(std::move(entry));
  return noErr;
}

OSStatus DeviceCycles::start(AudioDeviceIOProc proc, void* clientData) {
  const std::lock_guard guard(mutex_);
  const auto entry = find(proc, clientData);
  if (entry == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  entry->isCancelled.store(false, std::memory_order_release);
  const bool isFirst = running_.size() == 0;
  if (!isFirst && mixing_.size() == 0) {
    if (auto mixing = makeMixing()) {
      mixing_.add(mixing);
    }
  }
  if (!running_.add(entry)) {
    return noErr;
  }
  const OSStatus status = isDeviceRunning_ ? noErr : hardware_->start(device_, this);
  isDeviceRunning_ = status == noErr;
  if (status != noErr) {
    running_.remove(entry.get());
  }
  return status;
}

/// Requires: mutex_ is held.
OSStatus DeviceCycles::stopDevice() {
  const OSStatus status = isDeviceRunning_ ? hardware_->stop(device_) : noErr;
  isDeviceRunning_ = isDeviceRunning_ && status != noErr;
  return status;
}

/// Requires: mutex_ is held.
OSStatus DeviceCycles::stop(const std::shared_ptr<IOProc>& entry) {
  const auto running = running_.objects();
  if (std::find(running.begin(), running.end(), entry) == running.end()) {
    return noErr;
  }
  const OSStatus status = running.size() == 1 ? stopDevice() : noErr;
  if (status != noErr) {
    return status;
  }
  running_.remove(entry.get());
  running_.waitForWalks();
  if (running.size() == 1) {
    // The next time its shape may be another one.
    for (const auto& mixing : mixing_.objects()) {
      mixing_.remove(mixing.get());
    }
  }
  return noErr;
}

OSStatus DeviceCycles::stop(AudioDeviceIOProc proc, void* clientData) {
  const std::lock_guard guard(mutex_);
  const auto entry = find(proc, clientData);
  return entry == nullptr ? kAudioHardwareIllegalOperationError : stop(entry);
}

OSStatus DeviceCycles::remove(AudioDeviceIOProc proc, void* clientData) {
  const std::lock_guard guard(mutex_);
  const auto entry = find(proc, clientData);
  if (entry == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  entry->isCancelled.store(true, std::memory_order_seq_cst);
  if (stop(entry) != noErr) {
    // A device that refuses to stop goes on without it.
    running_.remove(entry.get());
    running_.waitForWalks();
  }
  std::erase(installed_, entry);
  return noErr;
}

void DeviceCycles::cancel(AudioDeviceIOProc proc, void* clientData) noexcept {
  const LiveList<IOProc>::Walk walk(running_);
  for (std::size_t i = 0; IOProc* const entry = walk.at(i); ++i) {
    if (entry->proc == proc && entry->clientData == clientData) {
      entry->isCancelled.store(true, std::memory_order_release);
    }
  }
}

bool DeviceCycles::shutDown() {
  const std::lock_guard guard(mutex_);
  stopDevice();
  for (const auto& entry : running_.objects()) {
    running_.remove(entry.get());
  }
  running_.waitForWalks();
  installed_.clear();
  return !isDeviceRunning_;
}

std::shared_ptr<DeviceCycles::Mixing> DeviceCycles::makeMixing() const {
  AudioValueRange frames{};
  std::uint32_t size = sizeof frames;
  std::uint32_t bytes = 0;
  bool isWritable = false;
  if (hardware_->deviceProperty(device_, 0, false, kAudioDevicePropertyBufferFrameSizeRange, &size, &frames) != noErr ||
      hardware_->devicePropertyInfo(device_, 0, false, kAudioDevicePropertyStreamConfiguration, &bytes, &isWritable) !=
          noErr ||
      bytes > sizeof(AudioBufferList) + kMostStreams * sizeof(AudioBuffer)) {
    return nullptr;
  }
  std::vector<std::max_align_t> block(std::max<std::size_t>(bytes, sizeof(AudioBufferList)) / sizeof(std::max_align_t) +
                                      1);
  auto* const configuration = reinterpret_cast<AudioBufferList*>(block.data());
  if (hardware_->deviceProperty(device_, 0, false, kAudioDevicePropertyStreamConfiguration, &bytes, configuration) !=
      noErr) {
    return nullptr;
  }
  const std::size_t room =
      (bytes - std::min<std::size_t>(bytes, offsetof(AudioBufferList, mBuffers))) / sizeof(AudioBuffer);
  std::vector<AudioBuffer> streams;
  std::size_t samples = 0;
  for (std::size_t i = 0; i < std::min<std::size_t>(room, configuration->mNumberBuffers); ++i) {
    AudioBuffer buffer = configuration->mBuffers[i];
    const double count = std::clamp(frames.mMaximum, 0.0, 1e6) * buffer.mNumberChannels;
    if (count > static_cast<double>(kMostSamples - samples)) {
      return nullptr;
    }
    samples += static_cast<std::size_t>(count);
    buffer.mDataByteSize = static_cast<std::uint32_t>(static_cast<std::size_t>(count) * sizeof(float));
    streams.push_back(buffer);
  }
  return std::make_shared<Mixing>(std::move(streams), samples);
}

void DeviceCycles::cycle(const HardwareCycle& cycle) noexcept {
  const HardwareCycleMark mark(*this);
  silence(*cycle.output);
  const LiveList<IOProc>::Walk walk(running_);
  const LiveList<Mixing>::Walk mixingWalk(mixing_);
  bool isFirst = true;
  for (std::size_t i = 0; IOProc* const entry = walk.at(i); ++i) {
    if (entry->isCancelled.load(std::memory_order_acquire)) {
      continue;
    }
    Mixing* const mixing = isFirst ? nullptr : mixingWalk.at(0);
    AudioBufferList* const apart = mixing != nullptr ? mixing->silentListLike(*cycle.output) : nullptr;
    entry->proc(device_, &cycle.now, cycle.input, &cycle.inputTime, apart != nullptr ? apart : cycle.output,
                &cycle.outputTime, entry->clientData);
    if (apart != nullptr) {
      mixing->addTo(*cycle.output);
    }
    isFirst = false;
  }
}

}  // namespace orv
