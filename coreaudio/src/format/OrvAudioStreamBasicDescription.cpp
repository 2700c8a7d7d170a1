#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"

#include <cstddef>
#include <cstdio>
#include <iterator>

#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/Log.h"
#include "format/HeapCopy.h"

using orv::formatText;

namespace {

constexpr std::uint32_t kBigEndianInteger =
    kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsPacked;
constexpr std::uint32_t kBigEndianFloat =
    kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsPacked;
constexpr std::uint32_t kNativeFloat = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;

constexpr int kDefaultFileFormat = 5;
constexpr int kDefaultDeviceFormat = 3;

struct StandardFormat {
  double sampleRate;
  std::uint32_t bytesPerFrame;
  std::uint32_t channels;
  std::uint32_t bits;
  std::uint32_t flags;
};

/// The 20-bit entries lie in containers of 3 bytes and are flagged packed all the same, as audio files store them.
constexpr StandardFormat kStandardFormats[] = {
    {48000, 8, 2, 32, kBigEndianFloat},   {48000, 6, 2, 20, kBigEndianInteger}, {48000, 4, 2, 16, kBigEndianInteger},
    {44100, 8, 2, 32, kBigEndianFloat},   {44100, 6, 2, 20, kBigEndianInteger}, {44100, 4, 2, 16, kBigEndianInteger},
    {22050, 4, 2, 16, kBigEndianInteger}, {11025, 2, 2, 8, kBigEndianInteger},  {11025, 1, 1, 8, kBigEndianInteger},
    {8000, 1, 1, 8, kBigEndianInteger},
};

struct FlagName {
  std::uint32_t flag;
  const char* name;
};

constexpr FlagName kFlagNames[] = {
    {kAudioFormatFlagIsFloat, "kAudioFormatFlagIsFloat"},
    {kAudioFormatFlagIsBigEndian, "kAudioFormatFlagIsBigEndian"},
    {kAudioFormatFlagIsSignedInteger, "kAudioFormatFlagIsSignedInteger"},
    {kAudioFormatFlagIsPacked, "kAudioFormatFlagIsPacked"},
    {kAudioFormatFlagIsAlignedHigh, "kAudioFormatFlagIsAlignedHigh"},
    {kAudioFormatFlagIsNonInterleaved, "kAudioFormatFlagIsNonInterleaved"},
};

std::string channelText(std::uint32_t channels) {
  switch (channels) {
    case 1:
      return ", mono";
    case 2:
      return ", stereo";
    default:
      return formatText(", %u channels", channels);
  }
}

}  // namespace

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::init() {
  return std::shared_ptr<OrvAudioStreamBasicDescription>(new OrvAudioStreamBasicDescription);
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(
    const AudioStreamBasicDescription* record) {
  auto format = init();
  if (record != nullptr) {
    format->record_ = *record;
  }
  return format;
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::standardFormat(int index) {
  if (index < 0 || index >= static_cast<int>(std::size(kStandardFormats))) {
    return nullptr;
  }
  const StandardFormat& entry = kStandardFormats[index];
  AudioStreamBasicDescription record{};
  record.mSampleRate = entry.sampleRate;
  record.mFormatID = kAudioFormatLinearPCM;
  record.mFormatFlags = entry.flags;
  record.mBytesPerPacket = entry.bytesPerFrame;
  record.mFramesPerPacket = 1;
  record.mBytesPerFrame = entry.bytesPerFrame;
  record.mChannelsPerFrame = entry.channels;
  record.mBitsPerChannel = entry.bits;
  return initWithAudioStreamBasicDescription(&record);
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::defaultStandardFileFormat() {
  return standardFormat(kDefaultFileFormat);
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::defaultStandardDeviceFormat() {
  return makeNative(standardFormat(kDefaultDeviceFormat));
}

std::shared_ptr<OrvAudioStreamBasicDescription> OrvAudioStreamBasicDescription::makeNative(
    std::shared_ptr<OrvAudioStreamBasicDescription> format) {
  if (format) {
    format->setFormatFlags(kNativeFloat);
  }
  return format;
}

AudioStreamBasicDescription* OrvAudioStreamBasicDescription::audioStreamBasicDescription() const {
  return heapCopy(record_);
}

std::string OrvAudioStreamBasicDescription::formatIDName() const {
  return OrvAudioDeviceUtils::formatNameForID(formatID());
}

std::string OrvAudioStreamBasicDescription::description() const {
  return formatText("%.0fHz", sampleRate()) + channelText(channelsPerFrame()) +
         formatText(", %u bits", bitsPerChannel());
}

std::string OrvAudioStreamBasicDescription::printStreamFormatFlagNames() const {
  std::string lines;
  for (const FlagName& entry : kFlagNames) {
    if (hasFlag(entry.flag)) {
      lines += formatText("\t\t%s\n", entry.name);
    }
  }
  return lines;
}

std::string OrvAudioStreamBasicDescription::debugDescription() const {
  std::string text = formatText("\tSample rate:      %.0fHz\n", sampleRate());
  text += formatText("\tFormat ID:        0x%X\n", formatID());
  text += formatText("\tFormat name:      %s\n", formatIDName().c_str());
  text += formatText("\tFormat flags:     0x%X\n", formatFlags());
  text += printStreamFormatFlagNames();
  text += formatText("\tBytes/packet:     %u\n", bytesPerPacket());
  text += formatText("\tFrames/packet:    %u\n", framesPerPacket());
  text += formatText("\tBytes/frame:      %u\n", bytesPerFrame());
  text += formatText("\tChannels/frame:   %u\n", channelsPerFrame());
  text += formatText("\tBits/channel:     %u\n", bitsPerChannel());
  text += formatText("\tReserved:         0x%X\n", reserved());
  return text;
}

bool OrvAudioStreamBasicDescription::isEqual(const std::shared_ptr<const OrvObject>& other) const {
  if (other.get() == this) {
    return true;
  }
  const auto* format = dynamic_cast<const OrvAudioStreamBasicDescription*>(other.get());
  return format != nullptr && sampleRate() == format->sampleRate() && formatID() == format->formatID() &&
         formatFlags() == format->formatFlags() && bytesPerPacket() == format->bytesPerPacket() &&
         framesPerPacket() == format->framesPerPacket() && bytesPerFrame() == format->bytesPerFrame() &&
         channelsPerFrame() == format->channelsPerFrame() && bitsPerChannel() == format->bitsPerChannel();
}

bool OrvAudioStreamBasicDescription::isEqualToString(const std::optional<std::string>& text) const {
  return text && *text == description();
}

extern "C" void D_PrintStreamDesc(const AudioStreamBasicDescription* record, const char* label) {
  if (record == nullptr) {
    std::printf("Can't print a NULL desc!\n");
    return;
  }
  constexpr const char* kRule = "- - - - - - - - - - - - - - - - - - - -";
  // The code's bytes as they lie in memory, and on to the first zero byte, but never past the record.
  constexpr int kBytesFromFormatID = sizeof *record - offsetof(AudioStreamBasicDescription, mFormatID);
  const char* const formatID = reinterpret_cast<const char*>(record) + offsetof(AudioStreamBasicDescription, mFormatID);
  std::printf("%s\n%s\n%s\n", kRule, label != nullptr ? label : "", kRule);
  std::printf("  Sample Rate:%f\n", record->mSampleRate);
  std::printf("  Format ID:%.*s\n", kBytesFromFormatID, formatID);
  std::printf("  Format Flags:%lX\n", static_cast<unsigned long>(record->mFormatFlags));
  std::printf("  Bytes per Packet:%ld\n", static_cast<long>(record->mBytesPerPacket));
  std::printf("  Frames per Packet:%ld\n", static_cast<long>(record->mFramesPerPacket));
  std::printf("  Bytes per Frame:%ld\n", static_cast<long>(record->mBytesPerFrame));
  std::printf("  Channels per Frame:%ld\n", static_cast<long>(record->mChannelsPerFrame));
  std::printf("  Bits per Channel:%ld\n", static_cast<long>(record->mBitsPerChannel));
  std::printf("%s\n", kRule);
}
