#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Export.h"

/// Status of the last read that was made through `OrvAudioDeviceUtils`, by any thread. Read it with
/// `OrvAudioDeviceUtils::lastReportedError`, which is free of data races.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name that hosts link against
extern "C" ORV_API OSStatus ___lastError;

/// The road to the properties of the hardware and of its devices, and names for what the platform says in codes. Class
/// operations only. Thread-safe; not real-time safe.
///
/// `channel` 0 is the section as a whole, `isInput` selects the input section (true) or the output section. Blocks that
/// are returned are `malloc`ed and belong to the caller, who frees them with `std::free`. Only reads set the last
/// error; writing and asking whether something can be written don't.
class ORV_API OrvAudioDeviceUtils {
 public:
  OrvAudioDeviceUtils() = delete;

  // The hardware as a whole. What fails is logged.

  static bool canSetHardwareProperty(AudioHardwarePropertyID propertyID);
  /// `data`: as many bytes as the property has.
  static bool setHardwareProperty_inData(AudioHardwarePropertyID propertyID, const void* data);
  /// Bytes; 0 when it can't be read.
  static std::uint32_t hardwarePropertySize(AudioHardwarePropertyID propertyID);
  /// Null when it can't be read.
  static void* hardwareProperty(AudioHardwarePropertyID propertyID);

  // One device. Reads that fail are silent.

  static bool canSetDeviceProperty_inPropertyID_inChannel_isInput(AudioDeviceID device,
                                                                  AudioDevicePropertyID propertyID,
                                                                  std::uint32_t channel, bool isInput);
  /// What fails is logged.
  static bool setDeviceProperty_inPropertyID_inChannel_isInput_inPropertyDataSize_inPropertyData(
      AudioDeviceID device, AudioDevicePropertyID propertyID, std::uint32_t channel, bool isInput, std::uint32_t size,
      const void* data);
  /// Bytes; 0 when it can't be read.
  static std::uint32_t sizeOfPropertyData_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                        AudioDevicePropertyID propertyID,
                                                                        std::uint32_t channel, bool isInput);
  /// Null when it can't be read, and, with a line in the log, when it has no bytes. The shorter forms read channel 0,
  /// the shortest that of the input.
  static void* anyProperty_propertyID_forChannel_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                         std::uint32_t channel, bool isInput);
  static void* anyProperty_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID, bool isInput);
  static void* anyProperty_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID);

  // The first value of a property; 0 when it can't be read, which only the last error tells from a value of 0. A value
  // of fewer bytes is filled up with zeros. The shorter forms read channel 0, the shortest that of the input.

  static std::uint32_t integerProperty_propertyID_forChannel_isInput(AudioDeviceID device,
                                                                     AudioDevicePropertyID propertyID,
                                                                     std::uint32_t channel, bool isInput);
  static std::uint32_t integerProperty_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                          bool isInput);
  static std::uint32_t integerProperty_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID);
  static float float32Property_propertyID_forChannel_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                             std::uint32_t channel, bool isInput);
  static float float32Property_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID, bool isInput);
  static float float32Property_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID);
  static double float64Property_propertyID_forChannel_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                              std::uint32_t channel, bool isInput);
  static double float64Property_propertyID_isInput(AudioDeviceID device, AudioDevicePropertyID propertyID,
                                                   bool isInput);
  static double float64Property_propertyID(AudioDeviceID device, AudioDevicePropertyID propertyID);

  // Names and messages.

  /// Status of the last read by any thread.
  static OSStatus lastReportedError();
  /// A switch for the host's own use.
  static void setPrintDebug(bool printDebug);
  /// Display name of a format ID: "Linear PCM"; "Unknown format" for one without a name.
  static std::string formatNameForID(std::uint32_t formatID);
  /// "Hardware bad device error". Bytes of an unknown code that do not print are shown as '.'.
  static std::string errorMessage(OSStatus status);
  /// "Hardware unknown property error (kAudioDevicePropertyVolumeScalar)".
  static std::string errorMessage_forProperty(OSStatus status, std::uint32_t propertyID);
  /// The platform's name of a property's code. Bytes of an unknown code that do not print are shown as '.'.
  static std::string propertyName(std::uint32_t propertyID);
};
