#pragma once

namespace orv {

class DeviceCycles;

/// While it lives, the calling thread is in a cycle of a device. Real-time safe.
class HardwareCycleMark {
 public:
  explicit HardwareCycleMark(DeviceCycles& cycles) noexcept : before_(current()) { current() = &cycles; }
  HardwareCycleMark(const HardwareCycleMark&) = delete;
  HardwareCycleMark& operator=(const HardwareCycleMark&) = delete;
  ~HardwareCycleMark() { current() = before_; }

  /// The device in whose cycle the calling thread is, null outside of any.
  static DeviceCycles*& current() noexcept;

 private:
  DeviceCycles* const before_;
};

}  // namespace orv
