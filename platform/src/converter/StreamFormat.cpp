#include "converter/StreamFormat.h"

#include <bit>
#include <cmath>

#include "converter/Ima4Decoder.h"

namespace orv::converter {
namespace {

static_assert(std::endian::native == std::endian::little, "the sample kernels take the host's order for little-endian");

bool has(const AudioStreamBasicDescription& description, std::uint32_t flag) {
  return (description.mFormatFlags & flag) != 0;
}

/// A field that some leave at 0 where the value goes without saying.
bool isUnsetOr(std::uint32_t field, std::uint32_t value) {
  return field == 0 || field == value;
}

std::optional<simd::SampleLayout> floatLayout(std::uint32_t bytes, std::uint32_t bits, simd::SampleOrder order) {
  if (bits != 8 * bytes || (bits != 32 && bits != 64)) {
    return std::nullopt;
  }
  simd::SampleLayout layout = bits == 32 ? simd::kNativeFloat32 : simd::kNativeFloat64;
  layout.order = order;
  return layout;
}

std::optional<simd::SampleLayout> integerLayout(const AudioStreamBasicDescription& description, std::uint32_t bytes,
                                                simd::SampleOrder order) {
  const std::uint32_t bits = description.mBitsPerChannel;
  if (bytes < 1 || bytes > 4 || bits < 8 || bits > 8 * bytes) {
    return std::nullopt;
  }
  simd::SampleLayout layout;
  layout.container = static_cast<simd::SampleContainer>(bytes - 1);
  layout.order = bytes == 1 ? simd::SampleOrder::native : order;
  layout.bits = static_cast<std::uint8_t>(bits);
  layout.isUnsigned = !has(description, kAudioFormatFlagIsSignedInteger);
  layout.inUpperBits = bits == 8 * bytes || has(description, kAudioFormatFlagIsPacked) ||
                       has(description, kAudioFormatFlagIsAlignedHigh);
  return layout;
}

std::optional<simd::SampleLayout> linearLayout(const AudioStreamBasicDescription& description) {
  if (has(description, kAudioFormatFlagIsNonInterleaved) ||
      description.mBytesPerFrame % description.mChannelsPerFrame != 0) {
    return std::nullopt;
  }
  const std::uint32_t bytes = description.mBytesPerFrame / description.mChannelsPerFrame;
  const auto order =
      has(description, kAudioFormatFlagIsBigEndian) ? simd::SampleOrder::swapped : simd::SampleOrder::native;
  return has(description, kAudioFormatFlagIsFloat) ? floatLayout(bytes, description.mBitsPerChannel, order)
                                                   : integerLayout(description, bytes, order);
}

std::optional<Coding> codingOf(std::uint32_t formatID) {
  switch (formatID) {
    case kAudioFormatLinearPCM:
      return Coding::linear;
    case kAudioFormatULaw:
      return Coding::muLaw;
    case kAudioFormatALaw:
      return Coding::aLaw;
    case kAudioFormatIMA4:
      return Coding::ima4;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<StreamFormat> streamFormatOf(const AudioStreamBasicDescription& description) {
  const std::optional<Coding> coding = codingOf(description.mFormatID);
  const bool plausible = description.mChannelsPerFrame >= 1 && description.mChannelsPerFrame <= kMostChannels &&
                         std::isfinite(description.mSampleRate) && description.mSampleRate > 0;
  if (!coding || !plausible) {
    return std::nullopt;
  }
  StreamFormat format;
  format.coding = *coding;
  format.sampleRate = description.mSampleRate;
  format.channels = description.mChannelsPerFrame;
  format.layout = simd::kNativeInt16;
  format.bytesPerPacket = format.channels;
  if (format.coding == Coding::linear) {
    const std::optional<simd::SampleLayout> layout = linearLayout(description);
    if (!layout) {
      return std::nullopt;
    }
    format.layout = *layout;
    format.bytesPerPacket = description.mBytesPerFrame;
  } else if (format.coding == Coding::ima4) {
    format.framesPerPacket = kIma4FramesPerPacket;
    format.bytesPerPacket = kIma4BytesPerPacket * format.channels;
  }
  const bool agrees = isUnsetOr(description.mFramesPerPacket, format.framesPerPacket) &&
                      isUnsetOr(description.mBytesPerPacket, format.bytesPerPacket);
  return agrees ? std::optional(format) : std::nullopt;
}

}  // namespace orv::converter
