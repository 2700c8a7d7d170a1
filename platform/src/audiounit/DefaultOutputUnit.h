#pragma once

#include "OrvPlatform/AudioUnit.h"

namespace orv::audiounit {

/// Says in what format the default output device takes audio: 44,100 Hz, stereo, 32-bit float. Plays none: rendering
/// and starting are `kAudioUnitErr_OperationNotSupported`.
class DefaultOutputUnit final : public RenderUnit {
 public:
  OSStatus initialize() override { return noErr; }
  OSStatus uninitialize() override { return noErr; }
  OSStatus property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, void* data,
                    std::uint32_t* size) override;
  OSStatus setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, const void* data,
                       std::uint32_t size) override;
  OSStatus connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) override;
  OSStatus render(AudioUnitRenderActionFlags* flags, const AudioTimeStamp& timeStamp, std::uint32_t bus,
                  std::uint32_t frames, AudioBufferList* data) override;
  OSStatus start() override { return kAudioUnitErr_OperationNotSupported; }
};

}  // namespace orv::audiounit
