#include "foreignfile/HandleIO.h"

#include <cstdio>
#include <limits>
#include <utility>

#include "audiofile/Guarded.h"

namespace orv::foreignfile {

HandleIO::HandleIO(std::unique_ptr<FileHandle> file, SeekFromEnd seekFromEnd)
    : file_(std::move(file)), length_(file_->size()), seekFromEnd_(seekFromEnd) {
  if (length_ < 0) {
    failure_ = kInputOutputErrorStatus;
  }
}

SF_VIRTUAL_IO* HandleIO::calls() {
  static SF_VIRTUAL_IO calls{length, seek, read, write, tell};
  return &calls;
}

void HandleIO::restart() {
  position_ = 0;
  failure_ = noErr;
}

OSStatus HandleIO::takeFailure() {
  return std::exchange(failure_, noErr);
}

sf_count_t HandleIO::length(void* io) {
  return static_cast<HandleIO*>(io)->length_;
}

sf_count_t HandleIO::seek(sf_count_t offset, int whence, void* io) {
  auto& self = *static_cast<HandleIO*>(io);
  sf_count_t from = 0;
  if (whence == SEEK_CUR) {
    from = self.position_;
  } else if (whence == SEEK_END) {
    if (self.seekFromEnd_ == SeekFromEnd::refused) {
      return -1;
    }
    from = self.length_;
  }
  if (offset < -from || offset > std::numeric_limits<sf_count_t>::max() - from) {
    return -1;
  }
  self.position_ = from + offset;
  return self.position_;
}

sf_count_t HandleIO::read(void* buffer, sf_count_t count, void* io) {
  auto& self = *static_cast<HandleIO*>(io);
  if (count <= 0) {
    return 0;
  }
  std::size_t moved = 0;
  const OSStatus status = audiofile::guarded(
      [&] { return self.file_->readAt(self.position_, buffer, static_cast<std::size_t>(count), &moved); });
  if (status != noErr && status != kEndOfFileStatus && self.failure_ == noErr) {
    self.failure_ = status;
  }
  self.position_ += static_cast<sf_count_t>(moved);
  return static_cast<sf_count_t>(moved);
}

sf_count_t HandleIO::write(const void*, sf_count_t, void*) {
  return 0;
}

sf_count_t HandleIO::tell(void* io) {
  return static_cast<HandleIO*>(io)->position_;
}

}  // namespace orv::foreignfile
