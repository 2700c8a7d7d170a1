#include "audiofile/WAVEFormatChunk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "OrvPlatform/Log.h"

namespace orv::audiofile {
namespace {

// Coding tags (Microsoft's multimedia registrations, mmreg.h).
constexpr std::uint32_t kTagPCM = 0x0001;
constexpr std::uint32_t kTagFloat = 0x0003;
constexpr std::uint32_t kTagExtensible = 0xFFFE;

// fmt: tag 2, channels 2, rate 4, bytes a second 4, block align 2, bits 2; then the size of an extension 2: valid bits
// 2, channel mask 4, sub-format 16.
constexpr std::int64_t kPlainBytes = 16;
constexpr std::int64_t kExtensibleBytes = 40;
constexpr std::uint32_t kExtensionBytes = 22;
constexpr std::size_t kSubFormatTag = 24;
constexpr std::size_t kSubFormatRest = 26;

/// What follows the coding tag in a sub-format identifier that stands for such a tag.
constexpr std::array<std::uint8_t, 14> kTagIdentifier{0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                      0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

// Speaker positions of the channel mask.
constexpr std::uint32_t kMaskFrontLeftAndRight = 0x3;
constexpr std::uint32_t kMaskFrontCentre = 0x4;

OSStatus refuseFile(const char* problem) {
  return refuse(kAudioFileInvalidFileError, formatText("WAVE: %s", problem));
}

const char* nameOfTag(std::uint32_t tag) {
  switch (tag) {
    case 0x0002:
      return " (Microsoft ADPCM)";
    case 0x0006:
      return " (A-law)";
    case 0x0007:
      return " (mu-law)";
    case 0x0011:
      return " (IMA ADPCM)";
    case 0x0031:
      return " (GSM 6.10)";
    case 0x0050:
      return " (MPEG)";
    case 0x0055:
      return " (MP3)";
    default:
      return "";
  }
}

OSStatus refuseCoding(std::uint32_t tag) {
  return refuse(kAudioFileUnsupportedDataFormatError,
                formatText("WAVE: coding 0x%04X%s can't be read", tag, nameOfTag(tag)));
}

bool isExtensible(const PCMFormat& format) {
  return format.channels > 2 || (!format.isFloat() && (format.bits > 16 || format.bits != format.bytesPerSample * 8));
}

std::uint32_t channelMask(std::uint32_t channels) {
  if (channels == 1) {
    return kMaskFrontCentre;
  }
  return channels == 2 ? kMaskFrontLeftAndRight : 0;  // 0: channels without positions
}

}  // namespace

OSStatus readWAVEFormat(HeaderReader& reader, const Chunk& chunk, PCMFormat* format) {
  const auto length = static_cast<std::size_t>(std::min(chunk.size, kExtensibleBytes));
  const auto body = reader.bytes(chunk.body, length);
  if (chunk.size < kPlainBytes || body.empty()) {
    return refuseFile("the format chunk is too short");
  }
  const auto field16 = [body](std::size_t at) { return load16(body.data() + at, ByteOrder::little); };
  std::uint32_t tag = field16(0);
  std::uint32_t bits = field16(14);
  std::uint32_t containerBits = (bits + 7) / 8 * 8;
  if (tag == kTagExtensible) {
    if (chunk.size < kExtensibleBytes || field16(16) < kExtensionBytes) {
      return refuseFile("the extended format chunk is too short");
    }
    tag = field16(kSubFormatTag);
    if (!std::equal(kTagIdentifier.begin(), kTagIdentifier.end(), body.begin() + kSubFormatRest)) {
      return refuse(kAudioFileUnsupportedDataFormatError, "WAVE: the sub-format is not one of plain samples");
    }
    const std::uint32_t validBits = field16(18);
    containerBits = bits;
    if (tag == kTagPCM && validBits != 0 && validBits < bits) {
      bits = validBits;
    }
  }
  if (tag != kTagPCM && tag != kTagFloat) {
    return refuseCoding(tag);
  }
  format->sampleRate = load32(body.data() + 4, ByteOrder::little);
  format->channels = field16(2);
  format->order = ByteOrder::little;
  format->bits = bits;
  const std::uint32_t bytesPerFrame = field16(12);
  format->bytesPerSample = format->channels == 0 ? 0 : bytesPerFrame / format->channels;
  if (tag == kTagFloat) {
    format->kind = SampleKind::floatingPoint;
  } else {
    format->kind = format->bytesPerSample == 1 ? SampleKind::unsignedInteger : SampleKind::signedInteger;
  }
  if (const OSStatus status = checkFormat(*format, "WAVE"); status != noErr) {
    return status;
  }
  if (format->bytesPerFrame() != bytesPerFrame || format->bytesPerSample * 8 != containerBits) {
    return refuseFile("the size of a frame does not fit its samples");
  }
  return noErr;
}

OSStatus checkWAVEFormat(const PCMFormat& format) {
  const auto unsupported = [](const char* problem) { return refuse(kAudioFileUnsupportedDataFormatError, problem); };
  const SampleKind integerKind = format.bytesPerSample == 1 ? SampleKind::unsignedInteger : SampleKind::signedInteger;
  if (!format.isFloat() && format.kind != integerKind) {
    return unsupported("WAVE holds integers of 8 bits unsigned and larger ones signed");
  }
  if (format.order != ByteOrder::little && format.bytesPerSample > 1) {
    return unsupported("WAVE holds little-endian samples only");
  }
  if (format.sampleRate != std::floor(format.sampleRate) || format.sampleRate > 0xFFFFFFFFU) {
    return unsupported("WAVE holds whole sample rates only");
  }
  return noErr;
}

void addWAVEFormat(HeaderBuilder& header, const PCMFormat& format) {
  const std::uint32_t tag = format.isFloat() ? kTagFloat : kTagPCM;
  const bool extensible = isExtensible(format);
  const double bytesPerSecond = format.sampleRate * format.bytesPerFrame();
  header.beginChunk(fourCC("fmt "));
  header.number16(extensible ? kTagExtensible : tag);
  header.number16(format.channels);
  header.number32(static_cast<std::uint32_t>(format.sampleRate));
  header.number32(bytesPerSecond > 0xFFFFFFFFU ? 0 : static_cast<std::uint32_t>(bytesPerSecond));
  header.number16(format.bytesPerFrame());
  header.number16(extensible ? format.bytesPerSample * 8 : format.bits);
  if (extensible) {
    header.number16(kExtensionBytes);
    header.number16(format.bits);
    header.number32(channelMask(format.channels));
    header.number16(tag);
    header.bytes(kTagIdentifier);
  } else if (format.isFloat()) {
    header.number16(0);  // no extension
  }
  header.endChunk();
}

bool needsFactChunk(const PCMFormat& format) {
  return format.isFloat();
}

}  // namespace orv::audiofile
