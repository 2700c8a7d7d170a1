#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "OrvPlatform/AudioHardware.h"

namespace orv::hardwaremodel {

/// Where the value of a property goes to: a caller's block, or nowhere when only its size is asked for. A property
/// says its value once, and both questions have their answer.
class Answer {
 public:
  /// Only the size.
  explicit Answer(std::uint32_t* size) : size_(size), isSizeOnly_(true) {}
  /// `*size`: the room in `data`, then what was filled in.
  Answer(std::uint32_t* size, void* data) : size_(size), data_(data) {}

  bool isSizeOnly() const { return isSizeOnly_; }

  OSStatus bytes(const void* source, std::size_t count) {
    const auto size = static_cast<std::uint32_t>(count);
    if (!isSizeOnly_) {
      if (*size_ < size) {
        return kAudioHardwareBadPropertySizeError;
      }
      if (size > 0 && data_ != nullptr) {
        std::memcpy(data_, source, count);
      }
    }
    *size_ = size;
    return noErr;
  }

  template <typename T>
  OSStatus value(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    return bytes(&value, sizeof value);
  }
  OSStatus flag(bool value) { return this->value(std::uint32_t{value ? 1U : 0U}); }
  OSStatus text(const std::string& text) { return bytes(text.data(), text.size()); }
  OSStatus text(const std::optional<std::string>& text) {
    return text ? bytes(text->data(), text->size()) : kAudioHardwareUnknownPropertyError;
  }
  template <typename T>
  OSStatus list(const std::vector<T>& values) {
    return bytes(values.data(), values.size() * sizeof(T));
  }

  /// What the caller passed in, for a value that comes back changed. False when there is not enough of it, or only the
  /// size is asked for.
  template <typename T>
  bool passedIn(T* value) const {
    static_assert(std::is_trivially_copyable_v<T>);
    if (isSizeOnly_ || data_ == nullptr || *size_ < sizeof(T)) {
      return false;
    }
    std::memcpy(value, data_, sizeof(T));
    return true;
  }

  /// The answer of a property whose value is passed in and replaced by what `translate(T)` makes of it.
  template <typename T, typename Translate>
  OSStatus translated(const Translate& translate) {
    T value{};
    if (isSizeOnly_) {
      return this->value(value);
    }
    return passedIn(&value) ? this->value(T(translate(value))) : kAudioHardwareBadPropertySizeError;
  }

 private:
  std::uint32_t* const size_;
  void* const data_ = nullptr;
  const bool isSizeOnly_ = false;
};

}  // namespace orv::hardwaremodel
