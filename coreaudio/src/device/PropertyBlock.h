#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "OrvPlatform/AudioHardware.h"

/// The value of a property in a `malloc`ed block, together with its size: what was read, which may be less than what
/// was announced. Values come out of it by copy, and only as far as there are bytes.
class PropertyBlock {
 public:
  /// No value.
  PropertyBlock() = default;
  /// `size` zero bytes; no value when there is no memory.
  explicit PropertyBlock(std::uint32_t size)
      : bytes_(std::calloc(std::max<std::size_t>(size, 1), 1)), size_(bytes_ ? size : 0) {}

  explicit operator bool() const { return bytes_ != nullptr; }
  std::uint32_t size() const { return size_; }
  /// Never grows.
  void shrinkTo(std::uint32_t size) { size_ = std::min(size_, size); }
  void* bytes() const { return bytes_.get(); }
  /// The block, for someone who frees it with `std::free`.
  void* release() { return bytes_.release(); }

  /// The first value; bytes that are missing are zero.
  template <typename Value>
  Value first() const {
    static_assert(std::is_trivially_copyable_v<Value>);
    Value value{};
    if (bytes_ != nullptr) {
      std::memcpy(&value, bytes_.get(), std::min<std::size_t>(size_, sizeof value));
    }
    return value;
  }

  /// Whether there are bytes for a whole value.
  template <typename Value>
  bool holds() const {
    return bytes_ != nullptr && size_ >= sizeof(Value);
  }

  /// All values that are whole.
  template <typename Value>
  std::vector<Value> values() const {
    static_assert(std::is_trivially_copyable_v<Value>);
    std::vector<Value> list(size_ / sizeof(Value));
    if (!list.empty()) {
      std::memcpy(list.data(), bytes_.get(), list.size() * sizeof(Value));
    }
    return list;
  }

  std::string text() const { return bytes_ ? std::string(static_cast<const char*>(bytes_.get()), size_) : ""; }

 private:
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  std::unique_ptr<void, Free> bytes_;
  std::uint32_t size_ = 0;
};

/// Sizes in bytes, 0 with a status that is not 0. They keep the last error and log as
/// `OrvAudioDeviceUtils::hardwarePropertySize` and `sizeOfPropertyData…` do.
OSStatus readHardwarePropertySize(AudioHardwarePropertyID propertyID, std::uint32_t* size);
OSStatus readDevicePropertySize(AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel,
                                bool isInput, std::uint32_t* size);

/// Values; none when they can't be read. They keep the last error and log as `OrvAudioDeviceUtils::hardwareProperty`
/// and `anyProperty…` do.
PropertyBlock readHardwareProperty(AudioHardwarePropertyID propertyID);
PropertyBlock readDeviceProperty(AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel,
                                 bool isInput);
/// These are silent and leave the last error alone.
OSStatus fetchHardwareProperty(AudioHardwarePropertyID propertyID, PropertyBlock* block);
PropertyBlock readStreamProperty(AudioStreamID stream, AudioStreamPropertyID propertyID, std::uint32_t channel);
