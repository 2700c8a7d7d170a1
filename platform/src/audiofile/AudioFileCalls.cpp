#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/Log.h"
#include "audiofile/Guarded.h"
#include "audiofile/PCMFormat.h"

/// The free functions: they check their arguments, then hand over to the service in force.

namespace {

using orv::audiofile::guardedCall;
using orv::audiofile::refuse;

OSStatus handOver(OSStatus status, std::unique_ptr<orv::AudioFileSession> session, AudioFileID* file) {
  *file = status == noErr ? session.release() : nullptr;
  return status;
}

OSStatus checkFlags(std::uint32_t flags) {
  return flags == 0 ? noErr : refuse(kAudioFileOperationNotSupportedError, "no flags are known");
}

/// Byte range of packets. A count whose bytes 32 bits can't say is cut to what they can.
struct PacketRange {
  std::int64_t start = 0;
  std::uint32_t packets = 0;
  std::uint32_t bytes = 0;
};

OSStatus packetRange(const orv::AudioFileSession& file, std::int64_t startingPacket, std::uint32_t packets,
                     PacketRange* range) {
  const std::uint32_t packetSize = file.format().mBytesPerPacket;
  if (startingPacket < 0 || packetSize == 0 ||
      startingPacket > std::numeric_limits<std::int64_t>::max() / 2 / packetSize) {
    return refuse(kAudioFileInvalidPacketOffsetError, "there is no such packet");
  }
  range->start = startingPacket * packetSize;
  range->packets = std::min(packets, std::numeric_limits<std::uint32_t>::max() / packetSize);
  range->bytes = range->packets * packetSize;
  return noErr;
}

void describePackets(AudioStreamPacketDescription* descriptions, std::uint32_t packets, std::uint32_t packetSize) {
  for (std::uint32_t packet = 0; packet < packets; ++packet) {
    descriptions[packet] = {std::int64_t{packet} * packetSize, 0, packetSize};
  }
}

}  // namespace

OSStatus AudioFileCreate(const FSRef* directory, const char* name, AudioFileTypeID type,
                         const AudioStreamBasicDescription* format, std::uint32_t flags, FSRef* newFile,
                         AudioFileID* file) {
  return guardedCall(directory && name && format && newFile && file, [&] {
    const std::string_view fileName(name);
    if (fileName.empty() || fileName.find('/') != std::string_view::npos) {
      return refuse(kWrongFileKindStatus, orv::formatText("'%s' is not the name of a file", name));
    }
    if (const OSStatus status = checkFlags(flags); status != noErr) {
      return status;
    }
    const std::string path = directory->path + "/" + name;
    std::unique_ptr<orv::AudioFileSession> session;
    const OSStatus status = orv::audioFileService()->create(path, type, *format, &session);
    if (status == noErr) {
      newFile->path = path;
    }
    return handOver(status, std::move(session), file);
  });
}

OSStatus AudioFileInitialize(const FSRef* fileRef, AudioFileTypeID type, const AudioStreamBasicDescription* format,
                             std::uint32_t flags, AudioFileID* file) {
  return guardedCall(fileRef && format && file, [&] {
    if (const OSStatus status = checkFlags(flags); status != noErr) {
      return status;
    }
    std::unique_ptr<orv::AudioFileSession> session;
    const OSStatus status = orv::audioFileService()->initialize(fileRef->path, type, *format, &session);
    return handOver(status, std::move(session), file);
  });
}

OSStatus AudioFileOpen(const FSRef* fileRef, std::int8_t permissions, AudioFileTypeID, AudioFileID* file) {
  return guardedCall(fileRef && file, [&] {
    if (permissions != kFileReadPermission && permissions != kFileReadWritePermission) {
      return refuse(kAudioFilePermissionsError, "files are opened for reading, or for reading and writing");
    }
    std::unique_ptr<orv::AudioFileSession> session;
    const OSStatus status =
        orv::audioFileService()->open(fileRef->path, permissions == kFileReadWritePermission, &session);
    return handOver(status, std::move(session), file);
  });
}

OSStatus AudioFileClose(AudioFileID file) {
  return guardedCall(file, [&] { return std::unique_ptr<orv::AudioFileSession>(file)->close(); });
}

OSStatus AudioFileReadBytes(AudioFileID file, bool, std::int64_t startingByte, std::uint32_t* numBytes, void* buffer) {
  return guardedCall(file && numBytes && (buffer || *numBytes == 0),
                     [&] { return file->readBytes(startingByte, numBytes, buffer); });
}

OSStatus AudioFileWriteBytes(AudioFileID file, bool, std::int64_t startingByte, std::uint32_t* numBytes,
                             const void* buffer) {
  return guardedCall(file && numBytes && (buffer || *numBytes == 0),
                     [&] { return file->writeBytes(startingByte, numBytes, buffer); });
}

OSStatus AudioFileReadPackets(AudioFileID file, bool, std::uint32_t* numBytes,
                              AudioStreamPacketDescription* packetDescriptions, std::int64_t startingPacket,
                              std::uint32_t* numPackets, void* buffer) {
  return guardedCall(file && numBytes && numPackets && (buffer || *numPackets == 0), [&] {
    PacketRange range;
    OSStatus status = packetRange(*file, startingPacket, *numPackets, &range);
    *numBytes = 0;
    *numPackets = 0;
    if (status != noErr) {
      return status;
    }
    const std::uint32_t packetSize = file->format().mBytesPerPacket;
    status = file->readBytes(range.start, &range.bytes, buffer);
    *numPackets = range.bytes / packetSize;
    *numBytes = *numPackets * packetSize;
    if (packetDescriptions) {
      describePackets(packetDescriptions, *numPackets, packetSize);
    }
    return status;
  });
}

OSStatus AudioFileWritePackets(AudioFileID file, bool, std::uint32_t numBytes, const AudioStreamPacketDescription*,
                               std::int64_t startingPacket, std::uint32_t* numPackets, const void* buffer) {
  return guardedCall(file && numPackets && (buffer || *numPackets == 0), [&] {
    PacketRange range;
    const std::uint32_t asked = *numPackets;
    OSStatus status = packetRange(*file, startingPacket, asked, &range);
    *numPackets = 0;
    if (status == noErr && (range.packets != asked || range.bytes > numBytes)) {
      status = refuse(kAudioFileInvalidPacketOffsetError,
                      orv::formatText("%u bytes do not hold %u packets", numBytes, asked));
    }
    if (status != noErr) {
      return status;
    }
    status = file->writeBytes(range.start, &range.bytes, buffer);
    *numPackets = range.bytes / file->format().mBytesPerPacket;
    return status;
  });
}

OSStatus AudioFileUpdateSizes(AudioFileID file) {
  return guardedCall(file, [&] { return file->updateSizes(); });
}
