#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "hardware/pipewire/Device.h"
#include "hardware/pipewire/Facts.h"

namespace orv::pipewire {

/// Which devices programs use that do not choose one. The server has no device of its own for system sounds: they go
/// where everything goes. Guarded by its owner.
class Defaults {
 public:
  using Devices = std::vector<std::shared_ptr<Device>>;

  AudioDeviceID input() const { return input_.device; }
  AudioDeviceID output() const { return output_.device; }

  /// Takes over what the server says. Returns which properties have changed.
  std::vector<AudioHardwarePropertyID> update(const Devices& devices, const ServerFacts& facts);
  void clear();

  /// A host's choice, which holds until the server says something else, or for a moment if it says nothing. Returns
  /// whether it is a new one.
  bool choose(bool isInput, AudioDeviceID device);

  /// How long a choice is believed.
  static constexpr std::chrono::milliseconds kPatience{500};

 private:
  using Clock = std::chrono::steady_clock;
  struct Default {
    AudioDeviceID device = kAudioDeviceUnknown;
    bool isChosen = false;  ///< the server has not said so yet
    Clock::time_point chosen;
    std::string said;  ///< what the server said last
  };
  static bool update(Default& which, AudioDeviceID found, const std::string& said, const Devices& devices);

  Default input_;
  Default output_;
};

}  // namespace orv::pipewire
