#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/AudioUnit.h"

namespace orv::audiounit {

/// Turns audio of one format into another when it is asked for it.
///
///   callback or connected unit ─► input buffer ─► converter ─┬─► whoever renders
///                                                            └─► held frames, where a packet gives more than was asked
///
/// Where neither rate nor packets stand in between, the audio is converted straight into the caller's buffer.
class ConverterUnit final : public RenderUnit {
 public:
  ConverterUnit();

  OSStatus initialize() override;
  OSStatus uninitialize() override;
  OSStatus property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, void* data,
                    std::uint32_t* size) override;
  OSStatus setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, const void* data,
                       std::uint32_t size) override;
  OSStatus connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) override;
  /// Allocates only as the converter does. Real-time safe where the input and the converter are.
  OSStatus render(AudioUnitRenderActionFlags* flags, const AudioTimeStamp& timeStamp, std::uint32_t bus,
                  std::uint32_t frames, AudioBufferList* data) override;

 private:
  /// Frames under way to whoever renders.
  struct Output {
    std::byte* next;
    std::uint32_t missing;  ///< frames
  };
  /// A render call that is passed on to the input.
  struct Pull {
    AudioUnitRenderActionFlags* flags;
    const AudioTimeStamp& timeStamp;
  };

  AudioStreamBasicDescription* formatOf(AudioUnitScope scope, AudioUnitElement element);
  OSStatus setFormat(AudioStreamBasicDescription* format, const void* data, std::uint32_t size);
  OSStatus setSlice(const void* data, std::uint32_t size);
  OSStatus setQuality(const void* data, std::uint32_t size);
  OSStatus setCallback(const void* data, std::uint32_t size);

  OSStatus makeConverter();
  OSStatus learnSilence();
  std::uint32_t heldBytesFor(std::uint32_t packets) const;
  void allocateBuffers();
  bool resamples() const { return source_.mSampleRate != destination_.mSampleRate; }

  bool hasRoom(const AudioBufferList* data, std::uint32_t bus, std::uint32_t frames) const;
  OSStatus renderMissing(const Pull& pull, Output* output);
  OSStatus pullAndConvert(const Pull& pull, Output* output);
  std::uint32_t packetsFor(std::uint32_t frames) const;
  OSStatus pullPackets(const Pull& pull, std::uint32_t packets, AudioBufferList* list);
  OSStatus convert(const AudioBuffer& input, Output* output);
  OSStatus drain();
  bool takeHeld(Output* output);
  void fillWithSilence(Output* output) const;

  AudioStreamBasicDescription source_;
  AudioStreamBasicDescription destination_;
  std::uint32_t framesPerSlice_ = kMostFramesPerSlice;
  std::uint32_t quality_ = kAudioConverterQuality_High;
  AURenderCallbackStruct callback_{};
  RenderUnit* connected_ = nullptr;
  std::uint32_t connectedBus_ = 0;

  // Constant while initialized.
  std::unique_ptr<Converter> converter_;  ///< null where not initialized
  std::uint32_t packetBytes_ = 0;         ///< of the source
  std::uint32_t framesPerPacket_ = 1;     ///< of the source
  std::uint32_t frameBytes_ = 0;          ///< of the destination
  std::vector<std::byte> silentFrame_;
  std::unique_ptr<std::byte[]> input_;
  std::uint32_t inputPackets_ = 0;
  std::unique_ptr<std::byte[]> held_;
  std::uint32_t heldCapacity_ = 0;  ///< bytes

  // From one render call to the next.
  std::uint32_t heldBegin_ = 0;  ///< bytes
  std::uint32_t heldEnd_ = 0;
  bool isDraining_ = false;
  OSStatus endStatus_ = noErr;  ///< what to answer when all is drained
};

}  // namespace orv::audiounit
