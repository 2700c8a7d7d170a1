#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

class OrvAudioDevice;

/// A live view of the registry's devices of one kind, in the order in which they were first seen: each question is
/// answered from the registry as it is at that moment, also while another thread rebuilds it. Several questions that
/// belong together want one `snapshot`. Thread-safe; not real-time safe.
class ORV_API OrvAudioDeviceList {
 public:
  enum class Kind { all, input, output };

  explicit OrvAudioDeviceList(Kind kind) : kind_(kind) {}
  OrvAudioDeviceList(const OrvAudioDeviceList&) = delete;
  OrvAudioDeviceList& operator=(const OrvAudioDeviceList&) = delete;

  std::size_t count() const;
  /// Null behind the last.
  std::shared_ptr<OrvAudioDevice> at(std::size_t index) const;
  bool contains(const std::shared_ptr<OrvAudioDevice>& device) const;
  /// The devices at this moment.
  std::vector<std::shared_ptr<OrvAudioDevice>> snapshot() const;

 private:
  const Kind kind_;
};

/// As `OrvAudioDeviceList`, of all devices by their ID.
class ORV_API OrvAudioDeviceDictionary {
 public:
  OrvAudioDeviceDictionary() = default;
  OrvAudioDeviceDictionary(const OrvAudioDeviceDictionary&) = delete;
  OrvAudioDeviceDictionary& operator=(const OrvAudioDeviceDictionary&) = delete;

  std::size_t count() const;
  /// Null for an ID that is not in the registry.
  std::shared_ptr<OrvAudioDevice> objectForKey(AudioDeviceID deviceID) const;
  bool contains(AudioDeviceID deviceID) const;
  std::map<AudioDeviceID, std::shared_ptr<OrvAudioDevice>> snapshot() const;
};
