#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "hardware/model/Answer.h"
#include "hardware/model/DeviceState.h"

namespace orv::hardwaremodel {

/// Which channels of which section a property is there for.
enum class Scope {
  device,          ///< the device as a whole: channel 0, whichever section is named
  anySection,      ///< channel 0 of a section, even of one that has no streams
  section,         ///< channel 0 of a section that has streams
  firstChannel,    ///< channel 1 of a section that has streams
  sectionChannel,  ///< every channel of a section that has streams, the master (0) included
};

/// A property that is read, and where.
struct PropertyPlace {
  const DeviceState& device;
  const SectionState& section;
  std::uint32_t channel;
};

/// What listeners are to be told.
struct PropertyChange {
  std::uint32_t channel;
  bool isInput;
  AudioDevicePropertyID property;
};
using PropertyChanges = std::vector<PropertyChange>;

/// A property that is written, and where. The block has the size of the property's value.
struct PropertyWrite {
  DeviceState& device;
  SectionState& section;
  std::uint32_t channel;
  const void* data;
  PropertyChanges& changes;

  template <typename T>
  T value() const {
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
  }
  bool flag() const { return value<std::uint32_t>() != 0; }
  void tell(AudioDevicePropertyID property) const { changes.push_back({channel, section.isInput, property}); }
};

/// One property of a device.
struct DeviceProperty {
  AudioDevicePropertyID id;
  Scope scope;
  /// `kAudioHardwareUnknownPropertyError` where this device does not have it.
  OSStatus (*read)(const PropertyPlace& place, Answer& answer);
  /// Null: can't be written.
  OSStatus (*write)(const PropertyWrite& write) = nullptr;
  /// Null: wherever it can be read.
  bool (*isWritable)(const PropertyPlace& place) = nullptr;
};

// The properties by topic, each in the source of its name.
std::span<const DeviceProperty> identityProperties();
std::span<const DeviceProperty> cycleProperties();
std::span<const DeviceProperty> formatProperties();
std::span<const DeviceProperty> controlProperties();
std::span<const DeviceProperty> sourceProperties();

/// Null when no device has it.
const DeviceProperty* findDeviceProperty(AudioDevicePropertyID id);

/// Whether the property is there for this channel; its `read` may know better.
bool isInScope(const DeviceProperty& property, const PropertyPlace& place);

// What a knob at the device does, and a property call too. `kAudioHardwareIllegalOperationError` for frames out of
// range, `kAudioDeviceUnsupportedFormatError` for a rate that the device or one of its streams does not have.
OSStatus changeFrames(DeviceState& device, std::uint32_t frames, PropertyChanges& changes);
OSStatus changeNominalRate(DeviceState& device, double rate, PropertyChanges& changes);
void changeJack(DeviceState& device, bool isInput, bool isConnected, PropertyChanges& changes);
void changeDrift(DeviceState& device, double partsPerMillion, PropertyChanges& changes);

/// Tells a property of the device's cycle, which each section has.
void tellSections(const DeviceState& device, AudioDevicePropertyID property, PropertyChanges& changes);

// A format property of one stream, which devices and streams have alike.
OSStatus readStreamFormat(const DeviceState& device, const StreamState& stream, AudioStreamPropertyID property,
                          Answer& answer);
/// Whether it is one, and one that can be written.
bool isWritableFormat(AudioStreamPropertyID property);
OSStatus writeStreamFormat(DeviceState& device, SectionState& section, AudioStreamID stream,
                           AudioStreamPropertyID property, const AudioStreamBasicDescription& format,
                           PropertyChanges& changes);

}  // namespace orv::hardwaremodel
