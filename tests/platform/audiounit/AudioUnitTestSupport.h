#pragma once

#include <cstdint>
#include <vector>

#include "OrvPlatform/AudioUnit.h"

namespace orv::test {

AudioStreamBasicDescription floatFormat(double rate, std::uint32_t channels);
/// Signed, in host order.
AudioStreamBasicDescription integerFormat(double rate, std::uint32_t channels, std::uint32_t bits);

inline constexpr ComponentDescription kConverterUnit = {kAudioUnitType_FormatConverter, kAudioUnitSubType_Converter,
                                                        kAudioUnitManufacturer, 0, 0};
inline constexpr ComponentDescription kOutputUnit = {kAudioUnitType_Output, kAudioUnitSubType_DefaultOutput,
                                                     kAudioUnitManufacturer, 0, 0};

OSStatus setFormat(AudioUnit unit, AudioUnitScope scope, const AudioStreamBasicDescription& format);
AudioStreamBasicDescription formatOf(AudioUnit unit, AudioUnitScope scope);

/// Supplies samples through a render callback until they run out, and remembers what it was asked.
class Source {
 public:
  Source(std::vector<float> samples, std::uint32_t channels) : samples_(std::move(samples)), channels_(channels) {}

  AURenderCallbackStruct callback() { return {&Source::supply, this}; }
  OSStatus feed(AudioUnit unit);

  std::vector<std::uint32_t> asked;  ///< frames
  OSStatus statusAtEnd = kEndOfFileStatus;
  bool pointsElsewhere = false;           ///< hands out its own memory
  std::uint32_t mostAtOnce = UINT32_MAX;  ///< frames

 private:
  static OSStatus supply(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                         std::uint32_t bus, std::uint32_t frames, AudioBufferList* data);

  std::vector<float> samples_;
  std::uint32_t channels_;
  std::size_t next_ = 0;  ///< samples
};

/// What a render call left.
struct Rendered {
  OSStatus status = noErr;
  std::vector<float> samples;   ///< all that were asked for
  std::size_t audioFrames = 0;  ///< how many of them are audio
};

/// Renders floats of `channels` channels.
Rendered render(AudioUnit unit, std::uint32_t frames, std::uint32_t channels);

/// 0.001, 0.002, …
std::vector<float> countedSamples(std::size_t count);

}  // namespace orv::test
