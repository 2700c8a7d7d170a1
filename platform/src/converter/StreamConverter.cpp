#include "converter/StreamConverter.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "OrvPlatform/Log.h"
#include "converter/ChannelMap.h"

namespace orv::converter {
namespace {

/// Samples in a block: with doubles, what a block takes at one step and gives to the next fits a first-level cache.
constexpr std::size_t kBlockSamples = 2048;

/// Does the float's 24 bits of mantissa hold every sample of the format?
bool fitsFloat(const simd::SampleLayout& layout) {
  return layout.container == simd::SampleContainer::float32 ||
         (!simd::isFloat(layout.container) && layout.bits <= 24 &&
          (!layout.inUpperBits || layout.container != simd::SampleContainer::int32));
}

/// What to calculate with: integers where they stay exact, else floats where they hold every sample, else doubles.
simd::SampleLayout workingLayout(const StreamFormat& source, const StreamFormat& destination, bool resamples,
                                 std::uint32_t quality) {
  const bool integers = !simd::isFloat(source.layout.container) && !simd::isFloat(destination.layout.container);
  if (integers && !resamples) {
    return simd::kNativeInt32;
  }
  // Resampling below the best quality is less exact than a float is.
  const bool floatsDo = (resamples && quality < kAudioConverterQuality_Max) ||
                        (fitsFloat(source.layout) && fitsFloat(destination.layout));
  return floatsDo ? simd::kNativeFloat32 : simd::kNativeFloat64;
}

}  // namespace

StreamConverter::StreamConverter(const StreamFormat& source, const StreamFormat& destination)
    : source_(source), destination_(destination), sizes_(source, destination), decoder_(source) {}

bool StreamConverter::open() {
  try {
    return prepare();
  } catch (const std::exception& error) {
    logf("converter: %s", error.what());
    return false;
  }
}

std::uint32_t StreamConverter::resampledChannels() const {
  return std::min(source_.channels, destination_.channels);
}

bool StreamConverter::prepare() {
  if (!sizes_.resamples() && !mapsChannels()) {
    return true;
  }
  const simd::SampleLayout working = workingLayout(source_, destination_, sizes_.resamples(), quality_);
  if (sizes_.resamples()) {
    std::unique_ptr<Resampler> resampler =
        Resampler::make({source_.sampleRate, destination_.sampleRate, resampledChannels(), quality_,
                         working.container == simd::SampleContainer::float64});
    if (!resampler) {
      return false;
    }
    resampler_ = std::move(resampler);
  }
  working_ = working;
  const std::size_t widest = std::max(source_.channels, destination_.channels);
  blockPackets_ = std::max(kBlockSamples / (widest * source_.framesPerPacket), std::size_t{1});
  blockFrames_ = blockPackets_ * source_.framesPerPacket;
  const std::size_t channelBytes = blockFrames_ * simd::bytesOf(simd::SampleContainer::float64);
  decoded_.resize(channelBytes * source_.channels);
  narrowed_.resize(channelBytes * resampledChannels());
  resampled_.resize(channelBytes * resampledChannels());
  widened_.resize(channelBytes * destination_.channels);
  return true;
}

OSStatus StreamConverter::convert(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize) {
  if (inputSize % source_.bytesPerPacket != 0 || (input == nullptr && inputSize > 0)) {
    return kAudioConverterErr_InvalidInputSize;
  }
  const std::size_t packets = inputSize / source_.bytesPerPacket;
  const std::size_t frames = packets * source_.framesPerPacket;
  const std::size_t capacity = output == nullptr ? 0 : *outputSize / frameBytes();
  if (isDraining_) {
    reset();
  }
  const std::uint64_t share =
      sizes_.resamples() ? sizes_.destinationPosition(framesIn_ + frames) - sizes_.destinationPosition(framesIn_)
                         : frames;
  if (share > capacity) {
    return kAudioConverterErr_InvalidOutputSize;
  }
  const auto* source = static_cast<const std::byte*>(input);
  Output made{static_cast<std::byte*>(output), 0, mostFrames(frames, capacity)};
  if (sizes_.resamples()) {
    framesIn_ += frames;
    if (!resampleBlocks(source, packets, &made)) {
      return kOutOfMemoryStatus;
    }
  } else {
    convertBlocks(source, packets, &made);
  }
  *outputSize = static_cast<std::uint32_t>(made.made) * frameBytes();
  return noErr;
}

std::size_t StreamConverter::mostFrames(std::size_t frames, std::size_t capacityFrames) const {
  return static_cast<std::size_t>(std::min<std::uint64_t>(sizes_.mostFramesFor(frames), capacityFrames));
}

void StreamConverter::convertBlocks(const std::byte* input, std::size_t packets, Output* output) {
  if (!mapsChannels()) {
    decoder_.decode(reinterpret_cast<const std::uint8_t*>(input), packets, destination_.layout,
                    reinterpret_cast<std::uint8_t*>(output->next));
    output->made = packets * source_.framesPerPacket;
    return;
  }
  while (packets > 0) {
    const std::size_t now = std::min(packets, blockPackets_);
    encode(decode(input, now), source_.channels, now * source_.framesPerPacket, output);
    input += now * source_.bytesPerPacket;
    packets -= now;
  }
}

bool StreamConverter::resampleBlocks(const std::byte* input, std::size_t packets, Output* output) {
  do {
    const std::size_t now = std::min(packets, blockPackets_);
    const std::size_t frames = now * source_.framesPerPacket;
    if (!resample(withFewerChannels(decode(input, now), frames), frames, output)) {
      return false;
    }
    input += now * source_.bytesPerPacket;
    packets -= now;
  } while (packets > 0);
  return true;
}

/// Hands frames over and fetches whatever is ready, as long as there may be more output.
bool StreamConverter::resample(const std::byte* frames, std::size_t count, Output* output) {
  std::size_t produced = 0;
  std::size_t wanted = 0;
  do {
    wanted = std::min(output->most - output->made, blockFrames_);
    if (!resampler_->process(frames, count, resampled_.data(), wanted, &produced)) {
      return false;
    }
    encode(resampled_.data(), resampledChannels(), produced, output);
    count = 0;
  } while (produced == wanted && wanted > 0);
  return true;
}

const std::byte* StreamConverter::decode(const std::byte* input, std::size_t packets) {
  decoder_.decode(reinterpret_cast<const std::uint8_t*>(input), packets, working_,
                  reinterpret_cast<std::uint8_t*>(decoded_.data()));
  return decoded_.data();
}

const std::byte* StreamConverter::withFewerChannels(const std::byte* frames, std::size_t count) {
  if (source_.channels <= destination_.channels) {
    return frames;
  }
  mapChannels(working_.container, frames, source_.channels, narrowed_.data(), destination_.channels, count);
  return narrowed_.data();
}

void StreamConverter::encode(const std::byte* frames, std::uint32_t channels, std::size_t count, Output* output) {
  if (channels != destination_.channels) {
    mapChannels(working_.container, frames, channels, widened_.data(), destination_.channels, count);
    frames = widened_.data();
  }
  simd::convertSamples(working_, frames, destination_.layout, output->next, count * destination_.channels);
  output->next += count * frameBytes();
  output->made += count;
}

OSStatus StreamConverter::drain(void* output, std::uint32_t* outputSize) {
  const std::size_t capacity = output == nullptr ? 0 : *outputSize / frameBytes();
  if (framesIn_ == 0) {
    *outputSize = 0;
    return reset();
  }
  if (capacity == 0) {
    return kAudioConverterErr_InvalidOutputSize;
  }
  isDraining_ = true;
  Output made{static_cast<std::byte*>(output), 0, capacity};
  std::size_t produced = 0;
  do {
    const std::size_t wanted = std::min(made.most - made.made, blockFrames_);
    if (!resampler_->finish(resampled_.data(), wanted, &produced)) {
      return kOutOfMemoryStatus;
    }
    encode(resampled_.data(), resampledChannels(), produced, &made);
  } while (produced > 0 && made.made < made.most);
  *outputSize = static_cast<std::uint32_t>(made.made) * frameBytes();
  return made.made > 0 ? noErr : reset();
}

OSStatus StreamConverter::reset() {
  decoder_.reset();
  isDraining_ = false;
  const bool isFresh = framesIn_ == 0;
  framesIn_ = 0;
  if (resampler_ && !isFresh && !resampler_->reset()) {
    return kOutOfMemoryStatus;
  }
  return noErr;
}

OSStatus StreamConverter::property(AudioConverterPropertyID property, std::uint32_t* size, void* data) {
  const bool hasValue = data != nullptr && *size >= sizeof(std::uint32_t);
  std::uint32_t given = 0;
  if (hasValue) {
    std::memcpy(&given, data, sizeof(given));
  }
  const std::optional<std::uint32_t> value = valueOf(property, given);
  if (!value) {
    return kAudioConverterErr_PropertyNotSupported;
  }
  if (!hasValue) {
    return kAudioConverterErr_BadPropertySize;
  }
  std::memcpy(data, &*value, sizeof(*value));
  *size = sizeof(*value);
  return noErr;
}

std::optional<std::uint32_t> StreamConverter::valueOf(AudioConverterPropertyID property, std::uint32_t given) const {
  switch (property) {
    case kAudioConverterPropertyMinimumInputBufferSize:
      return sizes_.leastInput();
    case kAudioConverterPropertyMinimumOutputBufferSize:
      return sizes_.leastOutput();
    case kAudioConverterPropertyCalculateInputBufferSize:
      return sizes_.inputFor(given);
    case kAudioConverterPropertyCalculateOutputBufferSize:
      return sizes_.outputFor(given);
    case kAudioConverterSampleRateConverterQuality:
      return quality_;
    default:
      return std::nullopt;
  }
}

OSStatus StreamConverter::setProperty(AudioConverterPropertyID property, std::uint32_t size, const void* data) {
  if (property != kAudioConverterSampleRateConverterQuality) {
    return kAudioConverterErr_PropertyNotSupported;
  }
  if (data == nullptr || size != sizeof(std::uint32_t)) {
    return kAudioConverterErr_BadPropertySize;
  }
  const std::uint32_t before = quality_;
  std::memcpy(&quality_, data, sizeof(quality_));
  if (!open()) {
    quality_ = before;
    return kOutOfMemoryStatus;
  }
  decoder_.reset();
  isDraining_ = false;
  framesIn_ = 0;
  return noErr;
}

}  // namespace orv::converter
