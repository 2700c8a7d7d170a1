#include "platform/audiounit/AudioUnitTestSupport.h"

#include <algorithm>
#include <cstring>

namespace orv::test {
namespace {

AudioStreamBasicDescription linear(double rate, std::uint32_t channels, std::uint32_t bits, std::uint32_t flags) {
  const std::uint32_t frameBytes = channels * bits / 8;
  return {rate, kAudioFormatLinearPCM, flags | kAudioFormatFlagIsPacked, frameBytes, 1, frameBytes, channels, bits, 0};
}

}  // namespace

AudioStreamBasicDescription floatFormat(double rate, std::uint32_t channels) {
  return linear(rate, channels, 32, kAudioFormatFlagIsFloat);
}

AudioStreamBasicDescription integerFormat(double rate, std::uint32_t channels, std::uint32_t bits) {
  return linear(rate, channels, bits, kAudioFormatFlagIsSignedInteger);
}

OSStatus setFormat(AudioUnit unit, AudioUnitScope scope, const AudioStreamBasicDescription& format) {
  return AudioUnitSetProperty(unit, kAudioUnitProperty_StreamFormat, scope, 0, &format, sizeof format);
}

AudioStreamBasicDescription formatOf(AudioUnit unit, AudioUnitScope scope) {
  AudioStreamBasicDescription format{};
  std::uint32_t size = sizeof format;
  AudioUnitGetProperty(unit, kAudioUnitProperty_StreamFormat, scope, 0, &format, &size);
  return format;
}

OSStatus Source::feed(AudioUnit unit) {
  const AURenderCallbackStruct record = callback();
  return AudioUnitSetProperty(unit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &record,
                              sizeof record);
}

OSStatus Source::supply(void* refCon, AudioUnitRenderActionFlags* /*flags*/, const AudioTimeStamp* /*timeStamp*/,
                        std::uint32_t /*bus*/, std::uint32_t frames, AudioBufferList* data) {
  auto& self = *static_cast<Source*>(refCon);
  self.asked.push_back(frames);
  const std::size_t wanted = std::size_t{std::min(frames, self.mostAtOnce)} * self.channels_;
  const std::size_t count = std::min(wanted, self.samples_.size() - self.next_);
  AudioBuffer& buffer = data->mBuffers[0];
  if (self.pointsElsewhere) {
    buffer.mData = self.samples_.data() + self.next_;
  } else if (count > 0) {
    std::memcpy(buffer.mData, self.samples_.data() + self.next_, count * sizeof(float));
  }
  buffer.mDataByteSize = static_cast<std::uint32_t>(count * sizeof(float));
  self.next_ += count;
  return count == 0 ? self.statusAtEnd : noErr;
}

Rendered render(AudioUnit unit, std::uint32_t frames, std::uint32_t channels) {
  Rendered rendered;
  rendered.samples.assign(std::size_t{frames} * channels + 1, 99.0F);
  const auto bytes = static_cast<std::uint32_t>(frames * channels * sizeof(float));
  AudioBufferList list{1, {{channels, bytes, rendered.samples.data()}}};
  const AudioTimeStamp now{};
  rendered.status = AudioUnitRender(unit, nullptr, &now, 0, frames, &list);
  rendered.audioFrames = list.mBuffers[0].mDataByteSize / (channels * sizeof(float));
  rendered.samples.pop_back();
  return rendered;
}

std::vector<float> countedSamples(std::size_t count) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = static_cast<float>(i + 1) / 1000.0F;
  }
  return samples;
}

}  // namespace orv::test
