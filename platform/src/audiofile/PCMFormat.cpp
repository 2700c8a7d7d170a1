#include "audiofile/PCMFormat.h"

#include <cmath>

#include "OrvPlatform/Log.h"

namespace orv::audiofile {
namespace {

bool isIntegerSize(std::uint32_t bits, std::uint32_t bytesPerSample) {
  return bits >= 1 && bits <= 32 && bytesPerSample <= 4 && bytesPerSample >= bytesForBits(bits);
}

bool isFloatSize(std::uint32_t bits, std::uint32_t bytesPerSample) {
  return (bits == 32 || bits == 64) && bytesPerSample == bits / 8;
}

bool isSampleSize(const PCMFormat& format) {
  return format.isFloat() ? isFloatSize(format.bits, format.bytesPerSample)
                          : isIntegerSize(format.bits, format.bytesPerSample);
}

SampleKind kindOf(std::uint32_t flags) {
  if ((flags & kAudioFormatFlagIsFloat) != 0) {
    return SampleKind::floatingPoint;
  }
  return (flags & kAudioFormatFlagIsSignedInteger) != 0 ? SampleKind::signedInteger : SampleKind::unsignedInteger;
}

bool isLeftJustified(std::uint32_t flags, const PCMFormat& format) {
  if ((flags & kAudioFormatFlagIsAlignedHigh) != 0 || format.bits == format.bytesPerSample * 8) {
    return true;
  }
  return (flags & kAudioFormatFlagIsPacked) != 0 && format.bytesPerSample == bytesForBits(format.bits);
}

}  // namespace

AudioStreamBasicDescription describe(const PCMFormat& format) {
  AudioStreamBasicDescription description{};
  description.mSampleRate = format.sampleRate;
  description.mFormatID = kAudioFormatLinearPCM;
  description.mFormatFlags =
      format.bytesPerSample == bytesForBits(format.bits) ? kAudioFormatFlagIsPacked : kAudioFormatFlagIsAlignedHigh;
  if (format.isFloat()) {
    description.mFormatFlags |= kAudioFormatFlagIsFloat;
  } else if (format.kind == SampleKind::signedInteger) {
    description.mFormatFlags |= kAudioFormatFlagIsSignedInteger;
  }
  if (format.order == ByteOrder::big) {
    description.mFormatFlags |= kAudioFormatFlagIsBigEndian;
  }
  description.mBytesPerPacket = format.bytesPerFrame();
  description.mFramesPerPacket = 1;
  description.mBytesPerFrame = format.bytesPerFrame();
  description.mChannelsPerFrame = format.channels;
  description.mBitsPerChannel = format.bits;
  return description;
}

OSStatus interpret(const AudioStreamBasicDescription& description, PCMFormat* format) {
  const auto unsupported = [](const char* problem) { return refuse(kAudioFileUnsupportedDataFormatError, problem); };
  const std::uint32_t flags = description.mFormatFlags;
  const std::uint32_t channels = description.mChannelsPerFrame;
  if (description.mFormatID != kAudioFormatLinearPCM) {
    return unsupported("only plain samples can be written");
  }
  if (channels == 0 || channels > kMostChannels) {
    return unsupported("a file holds 1 to 1024 channels");
  }
  if ((flags & kAudioFormatFlagIsNonInterleaved) != 0 && channels > 1) {
    return unsupported("a file holds interleaved samples only");
  }
  if (description.mFramesPerPacket != 1 || description.mBytesPerPacket != description.mBytesPerFrame ||
      description.mBytesPerFrame == 0 || description.mBytesPerFrame % channels != 0) {
    return unsupported("the sizes of frame and packet do not fit the channels");
  }
  format->sampleRate = description.mSampleRate;
  format->channels = channels;
  format->kind = kindOf(flags);
  format->order = (flags & kAudioFormatFlagIsBigEndian) != 0 ? ByteOrder::big : ByteOrder::little;
  format->bits = description.mBitsPerChannel;
  format->bytesPerSample = description.mBytesPerFrame / channels;
  if (!isSampleSize(*format) || !isLeftJustified(flags, *format)) {
    return unsupported("a file holds integers of 1 to 32 bits, left-justified in their bytes, or floats of 32 or 64");
  }
  if (!std::isfinite(format->sampleRate) || format->sampleRate <= 0) {
    return unsupported("the sample rate must be above zero");
  }
  return noErr;
}

OSStatus checkFormat(const PCMFormat& format, const char* container) {
  if (format.channels == 0) {
    return refuse(kAudioFileInvalidFileError, formatText("%s: the file has no channels", container));
  }
  if (format.channels > kMostChannels) {
    return refuse(kAudioFileInvalidFileError, formatText("%s: %u channels are more than the %u that can be read",
                                                         container, format.channels, kMostChannels));
  }
  if (!std::isfinite(format.sampleRate) || format.sampleRate <= 0) {
    return refuse(kAudioFileInvalidFileError, formatText("%s: %g is not a sample rate", container, format.sampleRate));
  }
  if (!isSampleSize(format)) {
    return refuse(kAudioFileUnsupportedDataFormatError, formatText("%s: samples of %u bits in %u bytes can't be read",
                                                                   container, format.bits, format.bytesPerSample));
  }
  return noErr;
}

std::string formatName(const AudioStreamBasicDescription& description) {
  const char* kind = "unsigned integer";
  if (kindOf(description.mFormatFlags) == SampleKind::floatingPoint) {
    kind = "float";
  } else if (kindOf(description.mFormatFlags) == SampleKind::signedInteger) {
    kind = "signed integer";
  }
  const char* order = "";
  if (description.mBytesPerFrame > description.mChannelsPerFrame) {
    order = (description.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0 ? ", big-endian" : ", little-endian";
  }
  return formatText("%u-bit %s%s", description.mBitsPerChannel, kind, order);
}

OSStatus refuse(OSStatus status, std::string problem) {
  setAudioFileProblem(std::move(problem));
  return status;
}

}  // namespace orv::audiofile
