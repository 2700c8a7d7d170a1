#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/ChannelLayout.h"
#include "hardware/model/Formats.h"

namespace orv::hardwaremodel {

struct StreamState {
  AudioStreamID id = 0;
  std::uint32_t startingChannel = 1;  ///< of the section
  std::uint32_t channels = 0;
  std::uint32_t terminalType = 0;
  std::vector<AudioStreamBasicDescription> physicalFormats;
  std::vector<AudioStreamBasicDescription> formats;  ///< of cycles
  AudioStreamBasicDescription physicalFormat = {};   ///< in force
};

struct ControlState {
  std::uint32_t channel = 0;
  bool hasVolume = true;
  bool hasMute = true;
  bool isWritable = true;
  float scalar = 1.0F;
  float decibels = 0.0F;
  bool isMuted = false;
};

struct DataSource {
  std::uint32_t id = 0;
  std::optional<std::string> name;
};

/// How a volume's scalar follows its decibels.
enum class VolumeCurve {
  decibels,  ///< the range of decibels from end to end
  cubic,     ///< the third root of the amplitude, as desktops show it; 0 is silence
};

struct SectionState {
  bool isInput = false;
  std::uint32_t channels = 0;
  std::vector<StreamState> streams;
  std::vector<ControlState> controls;
  float quietestDecibels = -60.0F;
  float loudestDecibels = 0.0F;
  VolumeCurve volumeCurve = VolumeCurve::decibels;
  std::vector<DataSource> dataSources;
  std::uint32_t currentDataSource = 0;
  std::optional<bool> jackIsConnected;  ///< nothing: the device can't tell
  std::optional<std::array<std::uint32_t, 2>> preferredStereo;
  std::vector<AudioChannelLabel> channelLabels;
  std::uint32_t latency = 0;
  std::uint32_t safetyOffset = 0;

  /// The stream that holds a channel; channel 0 is the first stream's. Null when there is none.
  const StreamState* streamOfChannel(std::uint32_t channel) const;
  const ControlState* control(std::uint32_t channel) const;
  ControlState* control(std::uint32_t channel);

  float decibelsOfScalar(float scalar) const;
  float scalarOfDecibels(float decibels) const;
  /// What the controls make of a channel's samples (1 to `channels`): 1.0 at full volume.
  float gain(std::uint32_t channel) const;
};

/// What can change of a device's cycle, apart from the rest so that it can be put back when a change fails.
struct CycleState {
  std::uint32_t frames = 512;
  double nominalRate = 44100.0;
};

/// All that property calls see of a device. Guarded by its owner.
struct DeviceState {
  AudioDeviceID id = 0;
  std::string uid;
  std::optional<std::string> name;
  std::optional<std::string> manufacturer;
  FourCharCode transport = 0;
  NominalRates nominalRates;
  AudioValueRange frameRange = {16.0, 4096.0};
  CycleState cycle;
  double driftPartsPerMillion = 0.0;
  bool canBeDefault = true;
  bool canBeSystemDefault = true;
  bool supportsMixing = true;
  bool hasPlayThru = false;
  bool playsThru = false;
  bool isRunning = false;
  bool isRunningSomewhere = false;  ///< by whatever program
  SectionState input;
  SectionState output;

  SectionState& section(bool isInput) { return isInput ? input : output; }
  const SectionState& section(bool isInput) const { return isInput ? input : output; }
  /// Whether every stream has a format at that rate.
  bool canRunAt(double rate) const;
  double actualRate() const;
};

}  // namespace orv::hardwaremodel
