#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"

namespace orv::test {

/// The bytes of a value, or of a list of values.
template <typename Value>
std::string bytesOf(const Value& value) {
  static_assert(std::is_trivially_copyable_v<Value>);
  return {reinterpret_cast<const char*>(&value), sizeof value};
}
template <typename Value>
std::string bytesOf(const std::vector<Value>& values) {
  std::string bytes = {};
  for (const Value& value : values) {
    bytes += bytesOf(value);
  }
  return bytes;
}

/// Where a property is found.
struct Place {
  enum class Kind { hardware, device, stream };
  Kind kind = Kind::hardware;
  std::uint32_t object = 0;
  std::uint32_t channel = 0;
  bool isInput = false;
  std::uint32_t property = 0;

  auto operator<=>(const Place&) const = default;

  static Place ofHardware(AudioHardwarePropertyID property) { return {Kind::hardware, 0, 0, false, property}; }
  static Place ofInput(AudioDeviceID device, AudioDevicePropertyID property, std::uint32_t channel = 0) {
    return {Kind::device, device, channel, true, property};
  }
  static Place ofOutput(AudioDeviceID device, AudioDevicePropertyID property, std::uint32_t channel = 0) {
    return {Kind::device, device, channel, false, property};
  }
  static Place ofStream(AudioStreamID stream, AudioStreamPropertyID property, std::uint32_t channel = 0) {
    return {Kind::stream, stream, channel, false, property};
  }
};

/// What stands there: bytes, and how it answers.
struct FakeProperty {
  std::string bytes = {};
  bool isWritable = false;
  std::optional<std::uint32_t> announcedSize = {};  ///< told instead of the bytes' number
  OSStatus infoStatus = noErr;
  OSStatus readStatus = noErr;
  OSStatus writeStatus = noErr;
  std::function<OSStatus(std::uint32_t* size, void* data)> read = {};  ///< instead of the bytes
};

/// Hardware that is a table of properties, keeps what is written to it, and makes a cycle when it is told to.
/// Thread-safe.
class FakeHardware final : public AudioHardware {
 public:
  void set(const Place& place, FakeProperty property) {
    const std::lock_guard guard(mutex_);
    properties_[place] = std::move(property);
  }
  void set(const Place& place, std::string bytes, bool isWritable = false) {
    FakeProperty property;
    property.bytes = std::move(bytes);
    property.isWritable = isWritable;
    set(place, std::move(property));
  }
  /// A device that is there: calls for it are not refused. `listed` says which the hardware lists.
  void addDevice(AudioDeviceID device) { set(Place::ofInput(device, kAudioDevicePropertyDeviceIsAlive), bytesOf(1U)); }
  void listDevices(const std::vector<AudioDeviceID>& devices) {
    for (const AudioDeviceID device : devices) {
      addDevice(device);
    }
    set(Place::ofHardware(kAudioHardwarePropertyDevices), bytesOf(devices));
  }

  /// What was written, in order.
  std::vector<std::pair<Place, std::string>> written() const {
    const std::lock_guard guard(mutex_);
    return written_;
  }
  /// Reads of a value, of this place.
  int reads(const Place& place) const {
    const std::lock_guard guard(mutex_);
    const auto found = reads_.find(place);
    return found == reads_.end() ? 0 : found->second;
  }
  bool isRunning(AudioDeviceID device) const {
    const std::lock_guard guard(mutex_);
    return sinks_.contains(device);
  }
  /// A cycle of no frames, with one buffer of input, on the calling thread.
  void makeCycle(AudioDeviceID device) {
    HardwareCycleSink* sink = nullptr;
    {
      const std::lock_guard guard(mutex_);
      sink = sinks_.at(device);
    }
    AudioBufferList input{1, {{1, 0, nullptr}}};
    AudioBufferList output{};
    HardwareCycle cycle{};
    cycle.input = &input;
    cycle.output = &output;
    sink->cycle(cycle);
  }
  HardwareEvents& events() { return *events_; }

  void setEvents(HardwareEvents* events) override { events_ = events; }

  OSStatus hardwarePropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable) override {
    return info(Place::ofHardware(property), size, isWritable);
  }
  OSStatus hardwareProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data) override {
    return read(Place::ofHardware(property), size, data);
  }
  OSStatus setHardwareProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data) override {
    return write(Place::ofHardware(property), size, data);
  }
  OSStatus devicePropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                              std::uint32_t* size, bool* isWritable) override {
    return info({Place::Kind::device, device, channel, isInput, property}, size, isWritable);
  }
  OSStatus deviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                          std::uint32_t* size, void* data) override {
    return read({Place::Kind::device, device, channel, isInput, property}, size, data);
  }
  OSStatus setDeviceProperty(AudioDeviceID device, std::uint32_t channel, bool isInput, AudioDevicePropertyID property,
                             std::uint32_t size, const void* data) override {
    return write({Place::Kind::device, device, channel, isInput, property}, size, data);
  }
  OSStatus streamPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                              std::uint32_t* size, bool* isWritable) override {
    return info(Place::ofStream(stream, property, channel), size, isWritable);
  }
  OSStatus streamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                          std::uint32_t* size, void* data) override {
    return read(Place::ofStream(stream, property, channel), size, data);
  }
  OSStatus setStreamProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                             std::uint32_t size, const void* data) override {
    return write(Place::ofStream(stream, property, channel), size, data);
  }
  OSStatus start(AudioDeviceID device, HardwareCycleSink* sink) override {
    const std::lock_guard guard(mutex_);
    sinks_[device] = sink;
    return noErr;
  }
  OSStatus stop(AudioDeviceID device) override {
    const std::lock_guard guard(mutex_);
    sinks_.erase(device);
    return noErr;
  }

 private:
  /// Requires: mutex_ is held.
  OSStatus find(const Place& place, FakeProperty* property) const {
    const auto found = properties_.find(place);
    if (found != properties_.end()) {
      *property = found->second;
      return noErr;
    }
    const bool isKnownDevice = place.kind != Place::Kind::device ||
                               properties_.contains(Place::ofInput(place.object, kAudioDevicePropertyDeviceIsAlive));
    return isKnownDevice ? kAudioHardwareUnknownPropertyError : kAudioHardwareBadDeviceError;
  }

  OSStatus info(const Place& place, std::uint32_t* size, bool* isWritable) const {
    const std::lock_guard guard(mutex_);
    FakeProperty property;
    if (const OSStatus status = find(place, &property); status != noErr) {
      return status;
    }
    *size = property.announcedSize.value_or(static_cast<std::uint32_t>(property.bytes.size()));
    *isWritable = property.isWritable;
    return property.infoStatus;
  }

  OSStatus read(const Place& place, std::uint32_t* size, void* data) {
    FakeProperty property;
    {
      const std::lock_guard guard(mutex_);
      ++reads_[place];
      if (const OSStatus status = find(place, &property); status != noErr) {
        return status;
      }
    }
    if (property.read) {
      return property.read(size, data);
    }
    if (property.readStatus != noErr) {
      return property.readStatus;
    }
    if (*size < property.bytes.size()) {
      return kAudioHardwareBadPropertySizeError;
    }
    *size = static_cast<std::uint32_t>(property.bytes.size());
    std::copy(property.bytes.begin(), property.bytes.end(), static_cast<char*>(data));
    return noErr;
  }

  OSStatus write(const Place& place, std::uint32_t size, const void* data) {
    const std::lock_guard guard(mutex_);
    FakeProperty property;
    if (const OSStatus status = find(place, &property); status != noErr) {
      return status;
    }
    if (property.writeStatus == noErr) {
      written_.emplace_back(place, std::string(static_cast<const char*>(data), size));
    }
    return property.writeStatus;
  }

  mutable std::mutex mutex_;
  std::map<Place, FakeProperty> properties_;  // guarded by mutex_, like all that follows
  std::vector<std::pair<Place, std::string>> written_;
  std::map<Place, int> reads_;
  std::map<AudioDeviceID, HardwareCycleSink*> sinks_;
  HardwareEvents* events_ = nullptr;  // set once
};

}  // namespace orv::test
