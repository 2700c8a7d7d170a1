#include "audiofile/FileSession.h"

#include <algorithm>
#include <utility>

#include "audiofile/Guarded.h"

namespace orv::audiofile {
namespace {

OSStatus refuseClosed() {
  return refuse(kAudioFileUnspecifiedError, "the file is closed");
}

}  // namespace

OSStatus FileSession::open(std::unique_ptr<FileHandle> file, const std::string& path, Purpose purpose, Clock clock,
                           std::unique_ptr<AudioFileSession>* session) {
  HeaderReader reader(*file);
  std::unique_ptr<Container> container;
  const Walk walk = purpose == Purpose::updating ? Walk::wholeFile : Walk::toTheSound;
  if (const OSStatus status = openContainer(reader, path, walk, &container); status != noErr) {
    return status;
  }
  std::unique_ptr<FileSession> opened(new FileSession(std::move(file), std::move(container)));
  if (purpose == Purpose::updating) {
    opened->writer_.emplace(*opened->file_, *opened->container_, reader.head(), std::move(clock));
  }
  *session = std::move(opened);
  return noErr;
}

std::int64_t FileSession::dataByteCount() const {
  return writer_ ? writer_->size() : container_->layout().dataBytes;
}

bool FileSession::isOptimized() const {
  return container_->layout().tailStart == container_->layout().tailEnd;
}

OSStatus FileSession::readBytes(std::int64_t start, std::uint32_t* count, void* buffer) {
  if (!file_ || start < 0) {
    *count = 0;
    return file_ ? refuse(kAudioFileInvalidPacketOffsetError, "reading can't begin before the audio") : refuseClosed();
  }
  return guarded([&] { return writer_ ? writer_->read(start, count, buffer) : read(start, count, buffer); });
}

OSStatus FileSession::read(std::int64_t start, std::uint32_t* count, void* buffer) {
  const std::int64_t asked = std::exchange(*count, 0);
  const std::int64_t wanted = std::clamp<std::int64_t>(container_->layout().dataBytes - start, 0, asked);
  std::size_t moved = 0;
  const OSStatus status = wanted == 0 ? noErr
                                      : file_->readAt(container_->layout().dataStart + start, buffer,
                                                      static_cast<std::size_t>(wanted), &moved);
  *count = static_cast<std::uint32_t>(moved);
  if (status != noErr) {
    return status;
  }
  return moved == 0 && asked > 0 ? kEndOfFileStatus : noErr;
}

OSStatus FileSession::writeBytes(std::int64_t start, std::uint32_t* count, const void* buffer) {
  const auto refuseIt = [count](OSStatus status, const char* problem) {
    *count = 0;
    return refuse(status, problem);
  };
  if (!file_) {
    return refuseIt(kAudioFileUnspecifiedError, "the file is closed");
  }
  if (!writer_) {
    return refuseIt(kAudioFilePermissionsError, "the file is open for reading only");
  }
  if (start < 0) {
    return refuseIt(kAudioFileInvalidPacketOffsetError, "writing can't begin before the audio");
  }
  return guarded([&] { return writer_->write(start, count, buffer); });
}

OSStatus FileSession::updateSizes() {
  if (!file_) {
    return refuseClosed();
  }
  return guarded([&] { return writer_ ? writer_->commit() : noErr; });
}

OSStatus FileSession::close() {
  if (!file_) {
    return refuseClosed();
  }
  const OSStatus status = guarded([&] { return writer_ ? writer_->close() : noErr; });
  writer_.reset();
  file_.reset();
  return status;
}

}  // namespace orv::audiofile
