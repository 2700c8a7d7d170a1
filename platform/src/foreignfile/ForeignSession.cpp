#include "foreignfile/ForeignSession.h"

#include <utility>

#include "OrvPlatform/Log.h"
#include "audiofile/Guarded.h"
#include "foreignfile/ForeignFile.h"
#include "foreignfile/FrameCount.h"

namespace orv::foreignfile {
namespace {

using audiofile::guarded;
using audiofile::refuse;

OSStatus refuseToWrite() {
  return refuse(kAudioFilePermissionsError, "files of other programs can only be read");
}

}  // namespace

OSStatus openDecoded(std::unique_ptr<FileHandle> file, const ForeignKind& kind, bool forUpdate,
                     std::unique_ptr<AudioFileSession>* session) {
  std::unique_ptr<Decoder> decoder;
  OSStatus status = Decoder::open(std::move(file), kind, &decoder);
  if (status == noErr && forUpdate) {
    status = refuseToWrite();
  }
  std::int64_t frames = 0;
  if (status == noErr) {
    status = countFrames(*decoder, &frames);
  }
  if (status != noErr) {
    return status;
  }
  const Presentation presentation = decoder->presentation();
  if (frames == 0 && presentation.claimedFrames != 0) {
    return refuse(kAudioFileInvalidFileError, formatText("%s: nothing in the file can be decoded", kind.name));
  }
  *session = std::make_unique<ForeignSession>(presentation, std::make_unique<FrameReader>(std::move(decoder), frames));
  return noErr;
}

ForeignSession::ForeignSession(const Presentation& presentation, std::unique_ptr<FrameReader> reader)
    : type_(presentation.type),
      format_(audiofile::describe(presentation.pcm)),
      byteCount_(reader->byteCount()),
      reader_(std::move(reader)) {}

OSStatus ForeignSession::readBytes(std::int64_t start, std::uint32_t* count, void* buffer) {
  return guarded([&] {
    const std::lock_guard guard(mutex_);
    if (!reader_ || start < 0) {
      *count = 0;
      return reader_ ? refuse(kAudioFileInvalidPacketOffsetError, "reading can't begin before the audio")
                     : refuse(kAudioFileUnspecifiedError, "the file is closed");
    }
    return reader_->read(start, count, static_cast<std::uint8_t*>(buffer));
  });
}

OSStatus ForeignSession::writeBytes(std::int64_t, std::uint32_t* count, const void*) {
  *count = 0;
  return refuseToWrite();
}

OSStatus ForeignSession::updateSizes() {
  return refuseToWrite();
}

OSStatus ForeignSession::close() {
  return guarded([&] {
    const std::lock_guard guard(mutex_);
    if (!reader_) {
      return refuse(kAudioFileUnspecifiedError, "the file is closed");
    }
    reader_.reset();
    return noErr;
  });
}

}  // namespace orv::foreignfile
