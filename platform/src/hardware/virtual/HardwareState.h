#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "hardware/virtual/Device.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {

using HardwareChanges = std::vector<AudioHardwarePropertyID>;

/// The devices that are there, in the order of plugging, and the properties of the hardware as a whole. Guarded by its
/// owner.
class HardwareState {
 public:
  /// Null when there is none.
  std::shared_ptr<Device> device(AudioDeviceID id) const;
  std::shared_ptr<Device> deviceOfStream(AudioStreamID stream) const;
  std::shared_ptr<Device> deviceForUID(const std::string& uid) const;
  std::vector<std::shared_ptr<Device>> devices() const;
  std::size_t count() const { return entries_.size(); }

  void add(const std::shared_ptr<Device>& device);
  void remove(AudioDeviceID id);
  /// Default devices that are gone, or were never there, are chosen anew: the first that can be one.
  void chooseDefaults(HardwareChanges& changes);

  OSStatus read(AudioHardwarePropertyID property, Answer& answer) const;
  static bool isWritable(AudioHardwarePropertyID property);
  OSStatus write(AudioHardwarePropertyID property, std::uint32_t size, const void* data, HardwareChanges& changes);

 private:
  /// With what is looked for, so that a search does not go from device to device.
  struct Entry {
    AudioDeviceID id;
    AudioStreamID firstStream;
    std::uint32_t streams;
    std::shared_ptr<Device> device;
  };
  struct Default {
    AudioHardwarePropertyID property;
    bool (*isPossible)(const Device& device);
    AudioDeviceID device = 0;
  };

  const Default* defaultOf(AudioHardwarePropertyID property) const;
  OSStatus readDevices(Answer& answer) const;
  OSStatus readDeviceForUID(Answer& answer) const;
  OSStatus writeDefault(Default& which, AudioDeviceID id, HardwareChanges& changes) const;
  OSStatus setChime(float scalar, float decibels, HardwareChanges& changes);

  static bool canBeInput(const Device& device) { return device.hasSection(true) && device.canBeDefault(); }
  static bool canBeOutput(const Device& device) { return device.hasSection(false) && device.canBeDefault(); }
  static bool canBeSystem(const Device& device) { return device.hasSection(false) && device.canBeSystemDefault(); }

  std::vector<Entry> entries_;
  std::array<Default, 3> defaults_ = {{{kAudioHardwarePropertyDefaultInputDevice, canBeInput},
                                       {kAudioHardwarePropertyDefaultOutputDevice, canBeOutput},
                                       {kAudioHardwarePropertyDefaultSystemOutputDevice, canBeSystem}}};
  float chimeScalar_ = 0.5F;
  float chimeDecibels_ = -30.0F;
};

}  // namespace orv::virtualhardware
