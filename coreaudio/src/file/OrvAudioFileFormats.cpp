#include "OrvCoreAudio/OrvAudioFileFormats.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>

namespace orv {
namespace {

constexpr std::uint32_t kSigned = kAudioFormatFlagIsSignedInteger;
constexpr std::uint32_t kBigEndian = kAudioFormatFlagIsBigEndian;
constexpr std::uint32_t kPacked = kAudioFormatFlagIsPacked;

/// Sample flags of integers in a file of `type`. AIFC holds either byte order; what it holds without sign, few programs
/// read.
std::uint32_t integerFlags(AudioFileTypeID type, std::uint32_t bits, std::uint32_t sourceFlags) {
  switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileSoundDesigner2Type:
      return kSigned | kBigEndian | kPacked;
    case kAudioFileWAVEType:
      return bits <= 8 ? kPacked : kSigned | kPacked;
    default:
      return (sourceFlags & kSigned) != 0 ? sourceFlags : kSigned | kBigEndian | kPacked;
  }
}

}  // namespace

AudioFileTypeID fileTypeForPath(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  if (extension == ".aif" || extension == ".aiff") {
    return kAudioFileAIFFType;
  }
  if (extension == ".aifc") {
    return kAudioFileAIFCType;
  }
  if (extension == ".sd2") {
    return kAudioFileSoundDesigner2Type;
  }
  return extension == ".wav" || extension == ".wave" ? kAudioFileWAVEType : 0;
}

std::shared_ptr<OrvAudioStreamBasicDescription> losslessFormat(const OrvAudioStreamBasicDescription& source,
                                                               AudioFileTypeID& type) {
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(source.audioStreamBasicDescription(),
                                                                                  &std::free);
  auto format = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(record.get());
  if (!source.isFloat()) {
    format->setFormatFlags(integerFlags(type, source.bitsPerChannel(), source.formatFlags()));
    if (type == kAudioFileSoundDesigner2Type && source.channelsPerFrame() > 0) {
      // It knows whole bytes only. Samples are left-justified, so that they stay the same.
      format->setBitsPerChannel(8 * (source.bytesPerFrame() / source.channelsPerFrame()));
    }
    return format;
  }
  if (type == kAudioFileAIFFType) {
    type = kAudioFileAIFCType;
  }
  format->setFormatFlags(kAudioFormatFlagIsFloat | kPacked | (type == kAudioFileWAVEType ? 0 : kBigEndian));
  return format;
}

}  // namespace orv
