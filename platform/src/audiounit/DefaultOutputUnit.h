#pragma once

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/AudioUnit.h"
#include "audiounit/ConverterUnit.h"

namespace orv::audiounit {

/// Plays on an output device.
///
///   callback or connected unit ─► converter: input's format to device's ─► device's cycle
///
/// The input has the device's format until it is given another one. Without a device it is 44,100 Hz, stereo, 32-bit
/// float, and nothing can be started. Nobody renders this unit but the device.
class DefaultOutputUnit final : public RenderUnit {
 public:
  DefaultOutputUnit() = default;
  ~DefaultOutputUnit() override { stop(); }

  OSStatus initialize() override;
  OSStatus uninitialize() override;
  OSStatus property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, void* data,
                    std::uint32_t* size) override;
  OSStatus setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, const void* data,
                       std::uint32_t size) override;
  OSStatus connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) override;
  /// `kAudioUnitErr_OperationNotSupported`.
  OSStatus render(AudioUnitRenderActionFlags* flags, const AudioTimeStamp& timeStamp, std::uint32_t bus,
                  std::uint32_t frames, AudioBufferList* data) override;
  /// Requires: initialized. Statuses of the hardware are passed on.
  OSStatus start() override;
  /// When it returns nothing is pulled any more, unless it is called from a cycle: then once that has ended.
  OSStatus stop() override;

 private:
  static OSStatus ioProc(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* input,
                         const AudioTimeStamp* inputTime, AudioBufferList* output, const AudioTimeStamp* outputTime,
                         void* clientData);
  void play(const AudioTimeStamp& time, const AudioBuffer& output) noexcept;

  AudioDeviceID device() const;
  bool isRunning() const;
  AudioStreamBasicDescription deviceFormat() const;
  double nominalRate() const;
  OSStatus followDevice();
  OSStatus setDevice(const void* data, std::uint32_t size);

  ConverterUnit converter_;
  AudioDeviceID chosenDevice_ = kAudioDeviceUnknown;   ///< unknown: the default one
  AudioDeviceID playingDevice_ = kAudioDeviceUnknown;  ///< unknown: not started
  bool isInputFormatSet_ = false;
  bool isInitialized_ = false;
  std::uint32_t deviceChannels_ = 0;  ///< constant while it runs
};

}  // namespace orv::audiounit
