#include "foundation/PosixFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orv {

PosixFile::~PosixFile() {
  ::close(descriptor_);
}

OSStatus PosixFile::readAt(std::int64_t offset, void* buffer, std::size_t length, std::size_t* moved) {
  auto* bytes = static_cast<char*>(buffer);
  *moved = 0;
  while (*moved < length) {
    const ssize_t got =
        ::pread(descriptor_, bytes + *moved, length - *moved, offset + static_cast<std::int64_t>(*moved));
    if (got == 0) {
      break;
    }
    if (got < 0) {
      if (errno == EINTR) {
        continue;
      }
      return statusFromErrno(errno);
    }
    *moved += static_cast<std::size_t>(got);
  }
  return noErr;
}

OSStatus PosixFile::writeAt(std::int64_t offset, const void* buffer, std::size_t length, std::size_t* moved) {
  const auto* bytes = static_cast<const char*>(buffer);
  *moved = 0;
  while (*moved < length) {
    const ssize_t put =
        ::pwrite(descriptor_, bytes + *moved, length - *moved, offset + static_cast<std::int64_t>(*moved));
    if (put < 0) {
      if (errno == EINTR) {
        continue;
      }
      return statusFromErrno(errno);
    }
    *moved += static_cast<std::size_t>(put);
  }
  return noErr;
}

std::int64_t PosixFile::size() {
  struct stat info {};
  return ::fstat(descriptor_, &info) == 0 ? static_cast<std::int64_t>(info.st_size) : -1;
}

OSStatus PosixFile::setSize(std::int64_t size) {
  return ::ftruncate(descriptor_, size) == 0 ? noErr : statusFromErrno(errno);
}

OSStatus PosixFile::reserve(std::int64_t offset, std::int64_t length) {
  return length <= 0 ? noErr : statusFromErrno(::posix_fallocate(descriptor_, offset, length));
}

OSStatus PosixFile::synchronise() {
  return ::fsync(descriptor_) == 0 ? noErr : statusFromErrno(errno);
}

}  // namespace orv
