// Offsets, lengths, bytes and packets.
#include <chrono>
#include <cmath>
#include <limits>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "file/OrvReadAheadCache.h"
#include "file/OrvWriteBehindCache.h"

using namespace std::chrono_literals;

namespace {

/// What a caller can wait for without noticing.
constexpr auto kFlushLimit = 300ms;

/// Keeps the read-ahead worker, if there is one, from reading while the file is written in place, and what it has read
/// from being taken for what the file then holds.
class ReadAheadPause {
 public:
  explicit ReadAheadPause(OrvReadAheadCache* cache) : cache_(cache) {
    if (cache_ != nullptr) {
      cache_->pauseAndForget();
    }
  }
  ReadAheadPause(const ReadAheadPause&) = delete;
  ReadAheadPause& operator=(const ReadAheadPause&) = delete;
  ~ReadAheadPause() {
    if (cache_ != nullptr) {
      cache_->resume();
    }
  }

 private:
  OrvReadAheadCache* const cache_;
};

}  // namespace

/// Null, and the failure remembered, without memory for the buffers.
OrvReadAheadCache* OrvAudioFile::readAhead() {
  if (!readAheadCache) {
    readAheadCache = std::make_unique<OrvReadAheadCache>(audioFileID_, _useInternalCache);
  }
  if (!readAheadCache->isUsable()) {
    readAheadCache.reset();
    remember(kOutOfMemoryStatus);
  }
  return readAheadCache.get();
}

OrvWriteBehindCache* OrvAudioFile::writeBehind() {
  if (!writeBehindCache) {
    std::int64_t dataLength = 0;
    std::uint32_t size = sizeof dataLength;
    AudioFileGetProperty(audioFileID_, kAudioFilePropertyAudioDataByteCount, &size, &dataLength);
    writeBehindCache =
        std::make_unique<OrvWriteBehindCache>(audioFileID_, _useInternalCache, platformCallMutex, dataLength);
  }
  if (!writeBehindCache->isUsable()) {
    writeBehindCache.reset();
    remember(kOutOfMemoryStatus);
  }
  return writeBehindCache.get();
}

void OrvAudioFile::setUseCache(bool useCache) {
  if (!useCache && writeBehindCache && !writeBehindCache->drain()) {
    remember(writeBehindCache->takeFailure());
  }
  _useCache = useCache;
}

bool OrvAudioFile::flush() {
  if (!_useCache || !fileIsOpen || fileAccessMode == kModeRead) {
    if (fileIsOpen && fileIsOpenForWriting) {
      const std::lock_guard guard(platformCallMutex);
      AudioFileUpdateSizes(audioFileID_);
    }
    return true;
  }
  if (writeBehindCache) {
    writeBehindCache->flush(kFlushLimit);
  }
  return true;
}

void OrvAudioFile::setOffset(std::int64_t offset) {
  if (fileAccessMode == kModeWrite || offset == _fileOffset) {
    return;
  }
  _fileOffset = offset;
  if (readAheadCache) {
    readAheadCache->endRangeAt(offset);
  }
}

std::uint64_t OrvAudioFile::lengthInBytes() {
  if (fileAccessMode == kModeWrite && _useCache && fileIsOpen) {
    return static_cast<std::uint64_t>(_fileOffset);
  }
  if (fileIsOpen && (fileSizeIsDirty || _fileLength == 0)) {
    std::uint64_t length = 0;
    std::uint32_t size = sizeof length;
    const std::lock_guard guard(platformCallMutex);
    if (AudioFileGetProperty(audioFileID_, kAudioFilePropertyAudioDataByteCount, &size, &length) == noErr) {
      _fileLength = static_cast<std::int64_t>(length);
      fileSizeIsDirty = false;
    }
  }
  return static_cast<std::uint64_t>(_fileLength);
}

std::uint32_t OrvAudioFile::lengthInFrames() {
  return !_fileStreamFormat || _bytesPerFrame == 0 ? 0 : static_cast<std::uint32_t>(lengthInBytes() / _bytesPerFrame);
}

std::int64_t OrvAudioFile::lengthInMilliSeconds() {
  if (!_fileStreamFormat || _bytesPerFrame == 0) {
    return 0;
  }
  const std::uint64_t frames = lengthInBytes() / _bytesPerFrame;
  const double milliSeconds = static_cast<double>(frames) / _sampleRate * 1000.0;
  const bool isRepresentable = std::isfinite(milliSeconds) &&
                               std::fabs(milliSeconds) < static_cast<double>(std::numeric_limits<std::int64_t>::max());
  return isRepresentable ? static_cast<std::int64_t>(milliSeconds) : 0;
}

bool OrvAudioFile::read_length(void* buffer, std::uint32_t* length) {
  if (!fileIsOpen) {
    return true;
  }
  const bool wasRead = read_length_fromOffset(buffer, length, _fileOffset);
  if (wasRead) {
    _fileOffset += *length;
  }
  return wasRead;
}

bool OrvAudioFile::read_length_fromOffset(void* buffer, std::uint32_t* length, std::int64_t offset) {
  if (!fileIsOpen) {
    return true;
  }
  if (writeBehindCache && !writeBehindCache->drain()) {
    remember(writeBehindCache->takeFailure());
  }
  if (!_useCache || !fileIsOpenForReading) {
    return readDirectly(buffer, length, offset);
  }
  OrvReadAheadCache* const cache = readAhead();
  if (cache == nullptr) {
    *length = 0;
    return false;
  }
  const bool wasRead = cache->consumeRawBytes(buffer, length, offset, _fileLength);
  if (const OSStatus status = cache->takeFailure(); status != noErr) {
    remember(status);
  }
  return wasRead;
}

bool OrvAudioFile::readDirectly(void* buffer, std::uint32_t* length, std::int64_t offset) {
  return succeededOrPrinted(AudioFileReadBytes(audioFileID_, _useInternalCache, offset, length, buffer));
}

bool OrvAudioFile::write_length(const void* buffer, std::uint32_t* length) {
  if (!fileIsOpen) {
    return false;
  }
  const bool wasWritten = write_length_atOffset(buffer, length, _fileOffset);
  if (wasWritten) {
    fileSizeIsDirty = true;
    _fileOffset += *length;
    _fileLength += *length;
  }
  return wasWritten;
}

bool OrvAudioFile::write_length_atOffset(const void* buffer, std::uint32_t* length, std::int64_t offset) {
  if (!fileIsOpen) {
    return true;
  }
  if (!writesBehind()) {
    return writeDirectly(buffer, length, offset);
  }
  OrvWriteBehindCache* const cache = writeBehind();
  if (cache == nullptr) {
    *length = 0;
    return false;
  }
  const bool wasAccepted = cache->insertBytesIntoBuffer(buffer, length, offset);
  if (const OSStatus status = cache->takeFailure(); status != noErr) {
    remember(status);
  }
  return wasAccepted;
}

bool OrvAudioFile::writeDirectly(const void* buffer, std::uint32_t* length, std::int64_t offset) {
  const ReadAheadPause pause(readAheadCache.get());
  const std::lock_guard guard(platformCallMutex);
  return succeededOrPrinted(AudioFileWriteBytes(audioFileID_, _useInternalCache, offset, length, buffer));
}

bool OrvAudioFile::readPackets_numBytes_outPacketDescriptions_startingPacket_numPackets(
    void* buffer, std::uint32_t* numBytes, AudioStreamPacketDescription* packetDescriptions,
    std::int64_t startingPacket, std::uint32_t* numPackets) {
  if (!fileIsOpen) {
    return false;
  }
  const std::lock_guard guard(platformCallMutex);
  return succeededOrPrinted(AudioFileReadPackets(audioFileID_, _useInternalCache, numBytes, packetDescriptions,
                                                 startingPacket, numPackets, buffer));
}

bool OrvAudioFile::writePackets_numBytes_inPacketDescriptions_startingPacket_numPackets(
    const void* buffer, std::uint32_t numBytes, const AudioStreamPacketDescription* packetDescriptions,
    std::int64_t startingPacket, std::uint32_t* numPackets) {
  if (!fileIsOpen || _useCache) {
    return false;
  }
  const ReadAheadPause pause(readAheadCache.get());
  const std::lock_guard guard(platformCallMutex);
  return succeededOrPrinted(AudioFileWritePackets(audioFileID_, _useInternalCache, numBytes, packetDescriptions,
                                                  startingPacket, numPackets, buffer));
}

bool OrvAudioFile::readPackets_numBytes_outPacketDescriptions_numPackets(
    void* buffer, std::uint32_t* numBytes, AudioStreamPacketDescription* packetDescriptions,
    std::uint32_t* numPackets) {
  const bool wasRead = readPackets_numBytes_outPacketDescriptions_startingPacket_numPackets(
      buffer, numBytes, packetDescriptions, _packetOffset, numPackets);
  _packetOffset += *numPackets;
  return wasRead;
}

bool OrvAudioFile::writePackets_numBytes_inPacketDescriptions_numPackets(
    const void* buffer, std::uint32_t numBytes, const AudioStreamPacketDescription* packetDescriptions,
    std::uint32_t* numPackets) {
  const bool wasWritten = writePackets_numBytes_inPacketDescriptions_startingPacket_numPackets(
      buffer, numBytes, packetDescriptions, _packetOffset, numPackets);
  _packetOffset += *numPackets;
  return wasWritten;
}
