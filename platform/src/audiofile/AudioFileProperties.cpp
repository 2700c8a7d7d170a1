#include <cstring>
#include <string>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/Log.h"
#include "audiofile/Guarded.h"
#include "audiofile/PCMFormat.h"

/// The properties of an open file: all can be read, none can be set.

namespace {

using orv::audiofile::guardedCall;
using orv::audiofile::refuse;

template <typename Value>
std::string bytesOf(const Value& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

OSStatus refuseProperty(AudioFilePropertyID property) {
  return refuse(kAudioFileUnsupportedPropertyError,
                orv::formatText("the file has no property '%s'", orv::fourCCText(property).c_str()));
}

OSStatus valueOf(const orv::AudioFileSession& file, AudioFilePropertyID property, std::string* value) {
  const auto byteCount = static_cast<std::uint64_t>(file.dataByteCount());
  const AudioStreamBasicDescription& format = file.format();
  switch (property) {
    case kAudioFilePropertyFileFormat:
      *value = bytesOf(file.fileType());
      return noErr;
    case kAudioFilePropertyDataFormat:
      *value = bytesOf(format);
      return noErr;
    case kAudioFilePropertyDataFormatName:
      *value = orv::audiofile::formatName(format);
      return noErr;
    case kAudioFilePropertyIsOptimized:
      *value = bytesOf(std::uint32_t{file.isOptimized()});
      return noErr;
    case kAudioFilePropertyAudioDataByteCount:
      *value = bytesOf(byteCount);
      return noErr;
    case kAudioFilePropertyAudioDataPacketCount:
      *value = bytesOf(format.mBytesPerPacket == 0 ? 0 : byteCount / format.mBytesPerPacket);
      return noErr;
    case kAudioFilePropertyMaximumPacketSize:
      *value = bytesOf(format.mBytesPerPacket);
      return noErr;
    default:
      return refuseProperty(property);
  }
}

}  // namespace

OSStatus AudioFileGetPropertyInfo(AudioFileID file, AudioFilePropertyID property, std::uint32_t* size,
                                  std::uint32_t* isWritable) {
  return guardedCall(file, [&] {
    std::string value;
    const OSStatus status = valueOf(*file, property, &value);
    if (size) {
      *size = static_cast<std::uint32_t>(value.size());
    }
    if (isWritable) {
      *isWritable = 0;
    }
    return status;
  });
}

OSStatus AudioFileGetProperty(AudioFileID file, AudioFilePropertyID property, std::uint32_t* size, void* data) {
  return guardedCall(file && size && data, [&] {
    std::string value;
    if (const OSStatus status = valueOf(*file, property, &value); status != noErr) {
      return status;
    }
    if (*size < value.size()) {
      return refuse(kAudioFileBadPropertySizeError,
                    orv::formatText("property '%s' takes %zu bytes", orv::fourCCText(property).c_str(), value.size()));
    }
    std::memcpy(data, value.data(), value.size());
    *size = static_cast<std::uint32_t>(value.size());
    return noErr;
  });
}

OSStatus AudioFileSetProperty(AudioFileID file, AudioFilePropertyID property, std::uint32_t, const void* data) {
  return guardedCall(file && data, [&] {
    std::string value;
    if (const OSStatus status = valueOf(*file, property, &value); status != noErr) {
      return status;
    }
    return refuse(kAudioFileOperationNotSupportedError,
                  orv::formatText("property '%s' can't be set", orv::fourCCText(property).c_str()));
  });
}
